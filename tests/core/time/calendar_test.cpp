#include <gtest/gtest.h>

#include "core/time/calendar.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using testing::localTime;

TEST(Calendar, DaysWithAClockChangeAreShorterOrLongerAndDayStepsKeepTheWallClock) {
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
        EXPECT_EQ(calendar::addDays(localTime(2026, row.month, row.day - 1, 13, 45), 1),
                  localTime(2026, row.month, row.day, 13, 45));
    }
}

TEST(Calendar, FollowsTheTimeZoneInForce) {
    double instant = localTime(2026, 11, 23, 0, 30);  // 23:30 UTC the day before
    testing::ScopedTimeZone utc("UTC");
    EXPECT_EQ(calendar::startOfDay(instant), localTime(2026, 11, 22));
}

TEST(Calendar, PeriodsStartOnMondaysAndFirstDays) {
    double sunday = localTime(2026, 3, 29, 22);
    EXPECT_EQ(calendar::startOf(calendar::Unit::week, sunday), localTime(2026, 3, 23));
    EXPECT_EQ(calendar::startOf(calendar::Unit::week, localTime(2026, 3, 23, 0, 0)),
              localTime(2026, 3, 23));
    EXPECT_EQ(calendar::startOf(calendar::Unit::month, sunday), localTime(2026, 3, 1));
    EXPECT_EQ(calendar::startOf(calendar::Unit::quarter, localTime(2026, 6, 30, 23)),
              localTime(2026, 4, 1));
    EXPECT_EQ(calendar::startOf(calendar::Unit::year, sunday), localTime(2026, 1, 1));
    // The week of New Year 2027 began in December.
    EXPECT_EQ(calendar::startOf(calendar::Unit::week, localTime(2027, 1, 1)),
              localTime(2026, 12, 28));
}

TEST(Calendar, IsoWeeksFollowTheThursdayRule) {
    struct Row {
        int year, month, day, week;
    };
    const Row rows[] = {{2026, 1, 1, 1},  {2026, 11, 23, 48}, {2026, 12, 31, 53},
                        {2027, 1, 3, 53}, {2027, 1, 4, 1},    {2024, 12, 30, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.year) + "-" + std::to_string(row.month) + "-" +
                     std::to_string(row.day));
        EXPECT_EQ(calendar::isoWeek(localTime(row.year, row.month, row.day, 12)), row.week);
    }
}

TEST(Calendar, DatesExistOnlyInTheCalendar) {
    EXPECT_EQ(calendar::startOfDate({2026, 3, 29}), localTime(2026, 3, 29));
    EXPECT_EQ(calendar::startOfDate({2028, 2, 29}), localTime(2028, 2, 29));
    EXPECT_FALSE(calendar::startOfDate({2026, 2, 29}));
    EXPECT_FALSE(calendar::startOfDate({2026, 13, 1}));
    EXPECT_FALSE(calendar::startOfDate({2026, 4, 31}));
    {
        // Chile's clocks skip from midnight to one o'clock on 8 September 2024.
        testing::ScopedTimeZone santiago("America/Santiago");
        auto skipped = calendar::startOfDate({2024, 9, 8});
        ASSERT_TRUE(skipped);
        EXPECT_EQ(*skipped, localTime(2024, 9, 8, 1));
    }
    auto date = calendar::dateOf(localTime(2026, 11, 23, 23, 59));
    EXPECT_EQ(date.year * 10000 + date.month * 100 + date.day, 20261123);
}

TEST(Calendar, FixedAndLocalisedDateTexts) {
    double t = localTime(2026, 3, 5, 8, 7);
    EXPECT_EQ(calendar::format(t, "yyyy-MM-dd HH:mm"), "2026-03-05 08:07");
    EXPECT_EQ(calendar::formatSkeleton(t, "dMMM", "en_GB"), "5 Mar");
    EXPECT_EQ(calendar::formatSkeleton(t, "LLLLyyyy", "fr_FR"), "mars 2026");
    EXPECT_EQ(calendar::formatSkeleton(t, "EEEEdMMMM", "es_ES"), "jueves, 5 de marzo");
}

}  // namespace
}  // namespace kvillo
