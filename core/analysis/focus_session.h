#pragma once

#include <string>
#include <utility>
#include <vector>

#include "core/records/activity.h"
#include "core/time/time_point.h"

namespace kvillo {

// A stretch of uninterrupted computer use: consecutive activities with no
// break longer than a set gap, lasting at least a set minimum.
struct FocusSession {
    // The overview's definition: 25 minutes with no break over 2 minutes.
    static constexpr Duration kDefaultMinDuration = 1500;
    static constexpr Duration kDefaultMaxGap = 120;

    TimePoint start = 0;  // the first activity's start
    TimePoint end = 0;    // the latest end seen when the session closed
    int switches = 0;     // activities in the session minus one
    // Seconds per application, largest first (equal totals in order of
    // first appearance). Sums of whole activities, so they may add up to
    // more than the session when activities overlap.
    std::vector<std::pair<std::string, Duration>> apps{};

    Duration duration() const { return end - start; }
    bool operator==(const FocusSession&) const = default;

    // The sessions in `activities` (any order), by start. A gap is measured
    // from the latest end seen so far; a gap of exactly `maxGap` does not
    // break a run, and a run of exactly `minDuration` counts. Activities
    // without an end run until `now`.
    static std::vector<FocusSession> detect(const std::vector<Activity>& activities,
                                            Duration minDuration, Duration maxGap, TimePoint now);
};

}  // namespace kvillo
