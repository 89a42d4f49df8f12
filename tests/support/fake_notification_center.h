#pragma once

#include <deque>
#include <functional>
#include <mutex>
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
// after the current call returns. Posts may come from any thread.
class FakeUiThread : public UiThread {
public:
    void post(std::function<void()> work) override {
        std::lock_guard lock(mutex_);
        queue_.push_back(std::move(work));
    }

    // Runs everything posted, including what that posts, on the caller's
    // thread.
    void runPending() {
        while (true) {
            std::function<void()> work;
            {
                std::lock_guard lock(mutex_);
                if (queue_.empty()) {
                    return;
                }
                work = std::move(queue_.front());
                queue_.pop_front();
            }
            work();
        }
    }

private:
    std::mutex mutex_;
    std::deque<std::function<void()>> queue_;
};

}  // namespace kvillo::testing
