#pragma once

#include <atomic>
#include <functional>

#include "core/time/clock.h"
#include "core/time/repeating_timer.h"

namespace kvillo::testing {

// A clock that only moves when told; the server thread may read it while
// the test moves it.
class FakeClock : public Clock {
public:
    explicit FakeClock(TimePoint start) : now_(start) {}
    TimePoint now() const override { return now_.load(); }
    void set(TimePoint t) { now_.store(t); }
    void advance(Duration seconds) { now_.store(now_.load() + seconds); }

private:
    std::atomic<TimePoint> now_;
};

// A timer whose ticks the test fires, moving the clock by the interval.
class FakeTimer : public RepeatingTimer {
public:
    explicit FakeTimer(FakeClock& clock) : clock_(clock) {}
    void start(Duration interval, std::function<void()> tick) override {
        interval_ = interval;
        tick_ = std::move(tick);
    }
    void stop() override { tick_ = nullptr; }
    bool running() const { return static_cast<bool>(tick_); }

    // Advances the clock tick by tick over `seconds`, firing each tick.
    void run(Duration seconds) {
        for (Duration passed = 0; passed + interval_ <= seconds; passed += interval_) {
            clock_.advance(interval_);
            if (tick_) {
                tick_();
            }
        }
    }

private:
    FakeClock& clock_;
    Duration interval_ = 0;
    std::function<void()> tick_;
};

}  // namespace kvillo::testing
