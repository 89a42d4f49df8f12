#pragma once

#include "core/time/calendar.h"

namespace kvillo {

// Answers "which day does this instant fall on" for many instants in a row,
// asking the calendar only when an instant leaves the last day it found.
// Time-ordered input makes that once per day instead of once per record.
class DayCursor {
public:
    TimePoint startOfDay(TimePoint t) {
        if (!(t >= day_.start && t < day_.end)) {
            day_ = calendar::dayRange(t);
        }
        return day_.start;
    }

private:
    TimeRange day_{1, 0};  // empty: the first call always asks
};

}  // namespace kvillo
