#pragma once

#include <chrono>

#include "core/time/clock.h"

namespace kvillo {

// The wall clock, for the running program.
class SystemClock : public Clock {
public:
    TimePoint now() const override {
        return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
            .count();
    }
};

}  // namespace kvillo
