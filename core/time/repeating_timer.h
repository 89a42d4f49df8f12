#pragma once

#include <functional>

#include "core/time/time_point.h"

namespace kvillo {

// A tick every `interval` seconds on the owner's thread (the event loop it
// runs on), until stopped. Tests fire the ticks themselves.
class RepeatingTimer {
public:
    virtual ~RepeatingTimer() = default;
    // Replaces any earlier tick.
    virtual void start(Duration interval, std::function<void()> tick) = 0;
    virtual void stop() = 0;
};

}  // namespace kvillo
