#pragma once

#include <functional>
#include <utility>

#include "core/events/observer_list.h"
#include "core/time/time_point.h"

namespace kvillo {

// The once-a-second clock that running times are drawn from. Apart from the
// model, so that its tick redraws only what shows running time. UI thread.
class Ticker {
public:
    explicit Ticker(TimePoint now) : now_(now) {}

    TimePoint now() const { return now_; }
    // Moves the clock and tells the observers.
    void set(TimePoint now) {
        now_ = now;
        observers_.notify();
    }
    [[nodiscard]] Subscription onTick(std::function<void()> observer) {
        return observers_.subscribe(std::move(observer));
    }

private:
    TimePoint now_;
    ObserverList<> observers_;
};

}  // namespace kvillo
