#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/time/time_point.h"

namespace kvillo::iso8601 {

// "2026-11-23T09:15:00Z": UTC, whole seconds, the form JSON clients expect.
std::string format(TimePoint t);

// Reads "YYYY-MM-DDTHH:MM:SS" with optional fractional seconds and a zone of
// "Z" or "+HH:MM"/"-HH:MM". Anything else gives no value.
std::optional<TimePoint> parse(std::string_view text);

}  // namespace kvillo::iso8601
