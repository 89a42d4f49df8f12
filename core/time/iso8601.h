#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/time/time_point.h"

namespace kvillo::iso8601 {

// "2026-11-23T09:15:00Z": UTC, whole seconds, the form JSON clients expect.
std::string format(TimePoint t);

// "2026-11-23T10:15:00+01:00": the wall clock `utcOffset` seconds ahead of
// UTC, whole seconds, with that offset (RFC 3339). An offset that is not
// whole minutes (local mean time before zones were standard) is cut to
// whole minutes and the clock follows it, so the text still names t.
std::string format(TimePoint t, int utcOffset);

// As above with the offset the current zone (calendar::utcOffset) has at t:
// what a user reads on their own clock. Safe to call from any thread.
std::string formatLocal(TimePoint t);

// Reads "YYYY-MM-DDTHH:MM:SS" with optional fractional seconds and a zone of
// "Z" or "+HH:MM"/"-HH:MM". Anything else gives no value.
std::optional<TimePoint> parse(std::string_view text);

}  // namespace kvillo::iso8601
