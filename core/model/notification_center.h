#pragma once

#include <functional>
#include <string>
#include <vector>

namespace kvillo {

// A question put to the user outside the program's windows, with two
// buttons; on Linux a desktop notification, or a small window of our own
// where the desktop cannot show buttons.
struct Question {
    struct Action {
        std::string id;  // given back as the answer
        std::string title;
        bool operator==(const Action&) const = default;
    };

    // Questions with the same identifier are one question: posting again
    // replaces the one still shown.
    std::string requestID;
    std::string title;
    std::string body;
    std::vector<Action> actions;
    bool operator==(const Question&) const = default;
};

// Where questions are posted and their answers come from.
//
// Threads: post() and setAnswerHandler() are called on the UI thread; the
// handler may be called on any thread, so it hands its work to the UI
// thread (UiThread::post) before touching the program's state.
class NotificationCenter {
public:
    // The answer when the user clicked the question itself rather than a
    // button (counts as the first action), and when they closed it unanswered.
    static constexpr const char* kDefaultAction = "default";
    static constexpr const char* kDismissAction = "dismiss";

    // Called with the question's request identifier and the identifier of the
    // action taken (one of the question's, kDefaultAction or kDismissAction).
    using AnswerHandler =
        std::function<void(const std::string& requestID, const std::string& actionID)>;

    virtual ~NotificationCenter() = default;

    // Replaces any earlier handler.
    virtual void setAnswerHandler(AnswerHandler handler) = 0;

    // Shows the question at once. Never fails: a question that cannot be
    // shown is simply never answered.
    virtual void post(const Question& question) = 0;
};

}  // namespace kvillo
