#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "core/model/notification_center.h"
#include "core/model/ui_thread.h"

namespace kvillo::testing {

// Keeps the questions posted; the test answers the last one.
class FakeNotificationCenter : public NotificationCenter {
public:
    std::vector<Question> posted;

    void setAnswerHandler(AnswerHandler handler) override { handler_ = std::move(handler); }
    void post(const Question& question) override { posted.push_back(question); }

    void answer(const std::string& actionID) {
        if (handler_ && !posted.empty()) {
            handler_(posted.back().requestID, actionID);
        }
    }
    bool hasAnswerHandler() const { return static_cast<bool>(handler_); }

private:
    AnswerHandler handler_;
};

// Holds what is posted until the test runs it, as an event loop would
// after the current call returns.
class FakeUiThread : public UiThread {
public:
    void post(std::function<void()> work) override { queue_.push_back(std::move(work)); }

    // Runs everything posted, including what that posts.
    void runPending() {
        while (!queue_.empty()) {
            auto work = std::move(queue_.front());
            queue_.pop_front();
            work();
        }
    }

private:
    std::deque<std::function<void()>> queue_;
};

}  // namespace kvillo::testing
