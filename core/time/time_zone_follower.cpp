#include "core/time/time_zone_follower.h"

#include <string>

#include "core/time/calendar.h"

namespace kvillo {

TimeZoneFollower::TimeZoneFollower(TimeZoneSource& source) : source_(source) {
    follow();
    source_.subscribe([this] { follow(); });
}

TimeZoneFollower::~TimeZoneFollower() {
    source_.unsubscribe();
}

void TimeZoneFollower::follow() {
    std::string zone = source_.currentZone();
    // Adopting the same zone again would still throw away every cached
    // calendar and date text, so only a different one is applied.
    if (!zone.empty() && zone != calendar::timeZoneID()) {
        calendar::useTimeZone(zone);
    }
}

}  // namespace kvillo
