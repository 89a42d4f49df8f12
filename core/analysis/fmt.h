#pragma once

#include <optional>
#include <string>

#include "core/localisation/language.h"
#include "core/time/time_point.h"

namespace kvillo {

// How every page writes durations, clocks, days and time ranges. Durations
// are truncated to whole seconds first. Dates are in the current time zone
// and in the language's own arrangement.
namespace Fmt {

// "45m" below an hour, else hours, the hour unit, a blank and two-digit
// minutes: "2t 05m" in Norwegian, "2h 05m" otherwise.
std::string duration(Duration seconds, Language language);

// "1:02:03"; negative durations show as "0:00:00".
std::string clock(Duration seconds);

// Weekday, day and month name, capitalised: "Mandag 23. november".
std::string day(TimePoint date, Language language);

// Short weekday and day: "man. 23".
std::string dayShort(TimePoint date, Language language);

// The chart's axis label: day and short month for a month, else the short
// weekday.
std::string axis(TimePoint date, bool month, Language language);

// "09:15–10:40", or "09:15–nå" while it runs.
std::string timeRange(TimePoint start, std::optional<TimePoint> end, Language language);

}  // namespace Fmt
}  // namespace kvillo
