#pragma once

#include <functional>
#include <string>
#include <utility>

#include "core/time/time_zone_source.h"

namespace kvillo::testing {

// A time zone source the test sets by hand; change() notifies as the real
// adapters would.
class FakeTimeZoneSource : public TimeZoneSource {
public:
    explicit FakeTimeZoneSource(std::string zone = {}) : zone(std::move(zone)) {}

    std::string zone;

    std::string currentZone() override { return zone; }
    void subscribe(std::function<void()> changed) override { changed_ = std::move(changed); }
    void unsubscribe() override { changed_ = {}; }
    bool subscribed() const { return static_cast<bool>(changed_); }

    void change(std::string newZone) {
        zone = std::move(newZone);
        if (changed_) {
            changed_();
        }
    }

private:
    std::function<void()> changed_;
};

}  // namespace kvillo::testing
