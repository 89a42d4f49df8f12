#pragma once

#include <memory>
#include <optional>

#include "core/model/notification_center.h"

class QDialog;
class QDialogButtonBox;
class QLabel;

namespace kvillo {

// Questions in a small window of our own, for desktops that cannot show
// notifications with buttons: the title as window title and heading, the
// body, and a button per action (the first is the default button, in the
// order the desktop's style puts them). It stays above other windows but is
// shown without taking the keyboard focus, so that typing elsewhere does not
// answer it. One question at a time: posting replaces the content of the one
// shown. A button answers with its action and hides the window; closing it
// (the title bar or Escape) answers kDismissAction. Texts are shown as given,
// as plain text.
//
// Threads: made, used and destroyed on the UI thread, after the
// QApplication; answers are delivered there.
class PromptWindow : public NotificationCenter {
public:
    PromptWindow();
    ~PromptWindow() override;

    void setAnswerHandler(AnswerHandler handler) override;
    void post(const Question& question) override;

private:
    void answer(const std::string& actionID);

    std::unique_ptr<QDialog> window_;
    QLabel* heading_;
    QLabel* body_;
    QDialogButtonBox* buttons_;
    // The question on screen; none once answered.
    std::optional<Question> shown_;
    AnswerHandler handler_;
};

}  // namespace kvillo
