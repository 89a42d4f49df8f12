#pragma once

#include "core/time/time_point.h"

namespace kvillo {

// Where every part of the program asks for the current time, so that tests
// can fix it. Implementations must answer from any thread: the MCP server
// asks from its own.
class Clock {
public:
    virtual ~Clock() = default;
    virtual TimePoint now() const = 0;
};

}  // namespace kvillo
