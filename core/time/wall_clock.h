#pragma once

#include <chrono>

#include "core/time/time_point.h"

namespace kvillo {

// The real current time, for the edges of the program that are not tests.
inline TimePoint wallClockNow() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

}  // namespace kvillo
