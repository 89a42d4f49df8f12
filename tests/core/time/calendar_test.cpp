#include <gtest/gtest.h>

#include "core/time/calendar.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using testing::localTime;

TEST(Calendar, DaysWithAClockChangeAreShorterOrLonger) {
    struct Row {
        const char* name;
        int month, day;
        double hours;
    };
    const Row rows[] = {
        {"ordinary day", 11, 23, 24},
        {"spring forward", 3, 29, 23},
        {"fall back", 10, 25, 25},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        auto range = calendar::dayRange(localTime(2026, row.month, row.day, 13, 45));
        EXPECT_EQ(range.start, localTime(2026, row.month, row.day));
        EXPECT_EQ(range.end - range.start, row.hours * 3600);
    }
}

TEST(Calendar, AddingDaysKeepsTheWallClock) {
    double before = localTime(2026, 3, 28, 9, 30);
    EXPECT_EQ(calendar::addDays(before, 1), localTime(2026, 3, 29, 9, 30));
    EXPECT_EQ(calendar::addDays(before, -365), localTime(2025, 3, 28, 9, 30));
}

TEST(Calendar, FollowsTheTimeZoneInForce) {
    double instant = localTime(2026, 11, 23, 0, 30);  // 23:30 UTC the day before
    testing::ScopedTimeZone utc("UTC");
    EXPECT_EQ(calendar::startOfDay(instant), localTime(2026, 11, 22));
}

}  // namespace
}  // namespace kvillo
