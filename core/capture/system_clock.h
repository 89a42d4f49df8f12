#pragma once

#include "core/capture/desktop.h"
#include "core/time/wall_clock.h"

namespace kvillo {

// The real clock, for the running program.
class SystemClock : public Clock {
public:
    TimePoint now() override { return wallClockNow(); }
};

}  // namespace kvillo
