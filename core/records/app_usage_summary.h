#pragma once

#include <optional>
#include <string>

#include "core/time/time_point.h"

namespace kvillo {

// One application's use over a period, as the usage query sums it.
struct AppUsageSummary {
    std::string appName{};
    std::optional<std::string> bundleID{};  // absent for applications without one
    Duration totalDuration = 0;             // open activities counted up to now
    int sessionCount = 0;
    std::optional<std::string> latestTitle{};  // of the latest activity with a non-empty title

    // "1h 2m", "2m" or "45s": minutes without seconds.
    std::string formattedDuration() const;

    bool operator==(const AppUsageSummary&) const = default;
};

}  // namespace kvillo
