#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/time/time_point.h"

namespace kvillo {

// One stretch of time with one application in front. A plain value: copied,
// compared field by field, never tied to the database row it came from.
struct Activity {
    std::optional<std::int64_t> id{};  // absent until stored
    std::string appName{};             // "Unknown" when the application has no name
    std::optional<std::string> bundleID{};
    std::optional<std::string> title{};  // latest non-empty window title, when recorded
    TimePoint startTime = 0;
    std::optional<TimePoint> endTime{};  // absent while still being recorded

    // endTime - startTime; absent while open. Negative if the end precedes the start.
    std::optional<Duration> duration() const;

    // "ongoing" while open, else "1h 2m", "2m 5s" or "42s".
    std::string formattedDuration() const;

    bool operator==(const Activity&) const = default;
};

}  // namespace kvillo
