#include "app/gui/prompt_window.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>

#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/app/gui/offscreen_application.h"

namespace kvillo {
namespace {

using Answers = std::vector<std::pair<std::string, std::string>>;

const Question kQuestion{"project-switch",
                         "Working on Beta?",
                         "Your windows have been Beta's for 5 minutes.",
                         {{"SWITCH", "Switch to Beta"}, {"KEEP", "Keep <Alpha> & co"}}};

QDialog* shownWindow() {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* dialog = qobject_cast<QDialog*>(widget); dialog && dialog->isVisible()) {
            return dialog;
        }
    }
    return nullptr;
}

// What the window shows: its title, its texts, its buttons ('*' marks the
// default one).
std::vector<std::string> contents(QWidget* window) {
    std::vector<std::string> shown{window->windowTitle().toStdString()};
    for (QLabel* label : window->findChildren<QLabel*>()) {
        if (label->isVisible()) {
            shown.push_back(label->text().toStdString());
        }
    }
    for (QPushButton* button : window->findChildren<QPushButton*>()) {
        shown.push_back(button->text().toStdString() + (button->isDefault() ? "*" : ""));
    }
    return shown;
}

QPushButton* button(QWidget* window, const QString& text) {
    for (QPushButton* button : window->findChildren<QPushButton*>()) {
        if (button->text() == text) {
            return button;
        }
    }
    return nullptr;
}

TEST(PromptWindow, ShowsTheQuestionAndAnswersOnceByButton) {
    testing::ensureOffscreenApplication();
    PromptWindow prompt;
    Answers answers;
    prompt.setAnswerHandler([&](const std::string& request, const std::string& action) {
        answers.emplace_back(request, action);
    });

    prompt.post(kQuestion);
    QDialog* window = shownWindow();
    ASSERT_TRUE(window);
    // Markup and mnemonics in the texts are shown as written.
    EXPECT_EQ(contents(window),
              (std::vector<std::string>{"Working on Beta?", "Working on Beta?",
                                        "Your windows have been Beta's for 5 minutes.",
                                        "Switch to Beta*", "Keep <Alpha> && co"}));
    EXPECT_TRUE(window->windowFlags() & Qt::WindowStaysOnTopHint);

    QPushButton* keep = button(window, "Keep <Alpha> && co");
    ASSERT_TRUE(keep);
    keep->click();
    keep->click();  // hidden by then; a second answer would be wrong
    EXPECT_EQ(answers, (Answers{{"project-switch", "KEEP"}}));
    EXPECT_FALSE(window->isVisible());

    // A repost replaces what is shown, buttons and all.
    prompt.post(kQuestion);
    prompt.post({"other", "Working on Gamma?", "", {{"A", "Yes"}, {"B", "No"}}});
    ASSERT_EQ(shownWindow(), window);
    EXPECT_EQ(contents(window),
              (std::vector<std::string>{"Working on Gamma?", "Working on Gamma?", "Yes*", "No"}));
    button(window, "Yes")->click();
    EXPECT_EQ(answers, (Answers{{"project-switch", "KEEP"}, {"other", "A"}}));
}

TEST(PromptWindow, ClosingDismisses) {
    testing::ensureOffscreenApplication();
    PromptWindow prompt;
    Answers answers;
    prompt.setAnswerHandler([&](const std::string& request, const std::string& action) {
        answers.emplace_back(request, action);
    });
    const std::vector<std::pair<const char*, std::function<void(QDialog*)>>> ways{
        {"title bar", [](QDialog* window) { window->close(); }},
        {"Escape",
         [](QDialog* window) {
             QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
             QApplication::sendEvent(window, &escape);
         }},
    };
    for (const auto& [name, close] : ways) {
        SCOPED_TRACE(name);
        answers.clear();
        prompt.post(kQuestion);
        QDialog* window = shownWindow();
        ASSERT_TRUE(window);
        close(window);
        EXPECT_FALSE(window->isVisible());
        EXPECT_EQ(answers, (Answers{{"project-switch", NotificationCenter::kDismissAction}}));
    }
}

}  // namespace
}  // namespace kvillo
