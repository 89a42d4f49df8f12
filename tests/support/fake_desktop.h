#pragma once

#include <map>
#include <optional>
#include <string>

#include "core/capture/desktop.h"

namespace kvillo::testing {

// A desktop the test sets by hand: the front application, titles per
// process, idle seconds, display sleep; events are sent with the methods
// below as the real adapters would.
class FakeDesktop : public Desktop {
public:
    std::optional<FrontApplication> front;
    std::map<int, std::optional<std::string>> titles;  // by process id
    Duration idleSeconds = 0;
    std::optional<Duration> idleThreshold;
    bool displayAsleep = false;
    bool subscribed = false;
    DesktopSight seen;

    std::optional<FrontApplication> frontApplication() override { return front; }
    std::optional<std::string> windowTitle(const FrontApplication& application) override {
        auto found = titles.find(application.processID);
        return found == titles.end() ? std::nullopt : found->second;
    }
    Duration secondsSinceLastInput() override { return idleSeconds; }
    void setIdleThreshold(Duration threshold) override { idleThreshold = threshold; }
    bool isDisplayAsleep() override { return displayAsleep; }
    DesktopSight sight() const override { return seen; }
    void subscribe(DesktopEvents events) override {
        events_ = std::move(events);
        subscribed = true;
    }
    void unsubscribe() override {
        events_ = {};
        subscribed = false;
    }

    void activate(std::optional<FrontApplication> application) {
        front = application;
        if (events_.activated) {
            events_.activated(application);
        }
    }
    void sleep() {
        if (events_.willSleep) {
            events_.willSleep();
        }
    }
    void displaySleep() {
        displayAsleep = true;
        if (events_.displaySlept) {
            events_.displaySlept();
        }
    }
    void wake() {
        displayAsleep = false;
        if (events_.woke) {
            events_.woke();
        }
    }
    void end() {
        if (events_.ended) {
            events_.ended();
        }
    }
    void lock() {
        if (events_.locked) {
            events_.locked();
        }
    }
    void unlock() {
        if (events_.unlocked) {
            events_.unlocked();
        }
    }

private:
    DesktopEvents events_;
};

}  // namespace kvillo::testing
