#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/time/time_point.h"

namespace kvillo {

// Tasks that the Claude Code hook records begin with this (case-sensitive),
// followed by a blank and the folder the assistant works in.
inline constexpr std::string_view kClaudeCodePrefix = "Claude Code:";

// A stretch of time the user described in words: the task they worked on.
// At most one annotation is open at a time (the database keeps it so).
struct Annotation {
    std::optional<std::int64_t> id{};  // absent until stored
    std::string text{};
    TimePoint startedAt = 0;
    std::optional<TimePoint> endedAt{};  // absent while open

    // endedAt - startedAt; absent while open.
    std::optional<Duration> duration() const;

    // "1h 2m", "2m 5s" or "42s"; an open annotation is measured up to `now`.
    std::string formattedDuration(TimePoint now) const;

    bool operator==(const Annotation&) const = default;
};

}  // namespace kvillo
