#include "app/gui/prompt_window.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace kvillo {
namespace {

constexpr int kMinimumWidth = 340;
constexpr int kMaximumWidth = 480;
constexpr int kMargin = 16;

QString qs(const std::string& text) {
    return QString::fromStdString(text);
}

}  // namespace

PromptWindow::PromptWindow() : window_(std::make_unique<QDialog>()) {
    // Above other windows, yet not in the way of what the user is typing:
    // with the focus, Return would answer for them.
    window_->setWindowFlag(Qt::WindowStaysOnTopHint);
    window_->setAttribute(Qt::WA_ShowWithoutActivating);

    heading_ = new QLabel;
    QFont bold = heading_->font();
    bold.setBold(true);
    bold.setPointSizeF(bold.pointSizeF() * 1.15);
    heading_->setFont(bold);
    body_ = new QLabel;
    body_->setWordWrap(true);
    for (QLabel* label : {heading_, body_}) {
        // Project names and task texts are not markup.
        label->setTextFormat(Qt::PlainText);
    }
    buttons_ = new QDialogButtonBox;

    auto* layout = new QVBoxLayout(window_.get());
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->addWidget(heading_);
    layout->addWidget(body_);
    layout->addSpacing(layout->spacing());
    layout->addWidget(buttons_);

    // Escape and the title bar's close button both reject.
    QObject::connect(window_.get(), &QDialog::rejected, [this] { answer(kDismissAction); });
}

PromptWindow::~PromptWindow() = default;

void PromptWindow::setAnswerHandler(AnswerHandler handler) {
    handler_ = std::move(handler);
}

void PromptWindow::post(const Question& question) {
    shown_ = question;
    window_->setWindowTitle(qs(question.title));
    heading_->setText(qs(question.title));
    body_->setText(qs(question.body));
    body_->setVisible(!question.body.empty());
    // Not deleted at once: the handler that posts this question may run
    // inside one of these buttons' clicked().
    for (QAbstractButton* old : buttons_->buttons()) {
        buttons_->removeButton(old);
        old->deleteLater();
    }
    bool first = true;
    for (const Question::Action& action : question.actions) {
        // The roles only place the buttons as the desktop's style would;
        // each answers with its own action.
        QString title = qs(action.title).replace(u'&', QStringLiteral("&&"));
        QPushButton* button = buttons_->addButton(
            title, first ? QDialogButtonBox::AcceptRole : QDialogButtonBox::RejectRole);
        button->setDefault(first);
        QObject::connect(button, &QPushButton::clicked, [this, id = action.id] { answer(id); });
        first = false;
    }
    // Windows do not size themselves by their height for a width; the
    // wrapped body needs that.
    int width = std::clamp(window_->sizeHint().width(), kMinimumWidth, kMaximumWidth);
    window_->resize(width, window_->layout()->totalHeightForWidth(width));
    window_->show();
    window_->raise();
}

void PromptWindow::answer(const std::string& actionID) {
    if (!shown_) {
        return;
    }
    std::string requestID = std::exchange(shown_, std::nullopt)->requestID;
    // Hidden before the handler runs, which may post the next question.
    window_->hide();
    // A copy: the handler may replace itself.
    if (AnswerHandler handler = handler_) {
        handler(requestID, actionID);
    }
}

}  // namespace kvillo
