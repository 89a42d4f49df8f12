#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/records/activity.h"
#include "core/records/annotation.h"

namespace kvillo::testing {

inline constexpr double kMinute = 60;
inline constexpr double kHour = 3600;

// An activity of `app` over [start, end), open when `end` is none.
inline Activity act(const std::string& app, double start, std::optional<double> end,
                    std::optional<std::string> title = std::nullopt) {
    return Activity{.appName = app, .title = std::move(title), .startTime = start, .endTime = end};
}

// A task note over [start, end), open when `end` is none; stored notes
// have an id.
inline Annotation note(const std::string& text, double start, std::optional<double> end,
                       std::optional<std::int64_t> id = std::nullopt) {
    return Annotation{.id = id, .text = text, .startedAt = start, .endedAt = end};
}

}  // namespace kvillo::testing
