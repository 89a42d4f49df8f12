#include <gtest/gtest.h>

#include "core/time/calendar.h"
#include "core/time/time_zone_follower.h"
#include "tests/support/fake_time_zone_source.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using testing::localTime;

// The calendar follows the source from Oslo to New York without TZ
// changing; an empty or unknown id leaves the zone alone.
TEST(TimeZoneFollower, DaysFollowTheSourcesZone) {
    // libc, told by TZ, is the independent reckoner of New York's day: the
    // 8th of March 2026 is 23 hours long there and 24 in Oslo.
    TimeRange newYorkDay;
    {
        testing::ScopedTimeZone newYork("America/New_York");
        newYorkDay = {localTime(2026, 3, 8), localTime(2026, 3, 9)};
    }
    testing::ScopedTimeZone oslo("Europe/Oslo");
    double instant = localTime(2026, 3, 8, 12);
    TimeRange osloDay = calendar::dayRange(instant);
    ASSERT_EQ(osloDay.end - osloDay.start, 24 * 3600);

    testing::FakeTimeZoneSource source("Europe/Oslo");
    unsigned generation = calendar::zoneGeneration();
    {
        TimeZoneFollower follower(source);
        EXPECT_TRUE(source.subscribed());
        // Already in use: calendars cached in other threads are kept.
        EXPECT_EQ(calendar::zoneGeneration(), generation);

        source.change("America/New_York");
        EXPECT_EQ(calendar::timeZoneID(), "America/New_York");
        EXPECT_EQ(calendar::startOfDay(instant), newYorkDay.start);
        EXPECT_EQ(calendar::dayRange(instant), newYorkDay);

        generation = calendar::zoneGeneration();
        for (const char* unknown : {"", "Mars/Olympus_Mons", "CET-1CEST"}) {
            SCOPED_TRACE(unknown);
            source.change(unknown);
            EXPECT_EQ(calendar::zoneGeneration(), generation);
            EXPECT_EQ(calendar::dayRange(instant), newYorkDay);
        }
        EXPECT_FALSE(calendar::useTimeZone("Mars/Olympus_Mons"));
        EXPECT_EQ(calendar::timeZoneID(), "America/New_York");
    }
    EXPECT_FALSE(source.subscribed());
    source.change("Europe/Oslo");
    EXPECT_EQ(calendar::dayRange(instant), newYorkDay);
}

}  // namespace
}  // namespace kvillo
