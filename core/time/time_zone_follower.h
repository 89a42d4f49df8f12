#pragma once

#include "core/time/time_zone_source.h"

namespace kvillo {

// Keeps the calendar's zone (calendar::useTimeZone) on the system's: applies
// the source's zone at construction and whenever the source reports a
// change. An empty or unknown id leaves the zone in use as it is. Lives on
// the source's thread; `source` must outlive the follower, which subscribes
// to it for its lifetime (and so must be its only subscriber).
class TimeZoneFollower {
public:
    explicit TimeZoneFollower(TimeZoneSource& source);
    ~TimeZoneFollower();
    TimeZoneFollower(const TimeZoneFollower&) = delete;
    TimeZoneFollower& operator=(const TimeZoneFollower&) = delete;

private:
    void follow();

    TimeZoneSource& source_;
};

}  // namespace kvillo
