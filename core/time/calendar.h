#pragma once

#include "core/time/time_point.h"

namespace kvillo::calendar {

// Calendar arithmetic in the process's current time zone (ICU's default zone,
// taken from TZ), so that a day with a clock change lasts 23 or 25 hours.
// Safe to call from any thread.

// The first instant of the day that contains `t`.
TimePoint startOfDay(TimePoint t);

// `t` moved by `days` calendar days, keeping its wall-clock time where the
// zone allows it.
TimePoint addDays(TimePoint t, int days);

// The half-open range [start of t's day, start of the next day).
struct DayRange {
    TimePoint start;
    TimePoint end;
};
DayRange dayRange(TimePoint t);

// Re-reads TZ. ICU keeps the default zone it saw first; a process that
// changes TZ while running (tests do) calls this afterwards.
void reloadTimeZoneFromEnvironment();

}  // namespace kvillo::calendar
