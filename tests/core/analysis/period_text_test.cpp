#include <gtest/gtest.h>

#include "core/analysis/fmt.h"
#include "core/analysis/period_text.h"
#include "tests/support/records.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using namespace testing;

class PeriodTextTest : public ::testing::Test {
protected:
    const double kMonday = localTime(2026, 11, 23);
};

TEST_F(PeriodTextTest, FocusDetailComparesWithThePreviousPeriod) {
    struct Row {
        const char* name;
        double active;
        double focus;
        double previousFocus;
        Period period;
        Language language;
        const char* expected;
    };
    const Row rows[] = {
        {"a quarter, the same", 120 * kMinute, 30 * kMinute, 30 * kMinute, Period::day,
         Language::nb, "25 % av aktiv tid · som i går"},
        {"59 s is still the same", 180 * kMinute, 30 * kMinute + 59, 30 * kMinute, Period::day,
         Language::nb, "17 % av aktiv tid · som i går"},
        {"60 s shows an arrow", 180 * kMinute, 31 * kMinute, 30 * kMinute, Period::day,
         Language::en, "17 % of active time · ↑ 1m from yesterday"},
        {"two minutes down", 480 * kMinute, 28 * kMinute, 30 * kMinute, Period::day, Language::nb,
         "6 % av aktiv tid · ↓ 2m fra i går"},
        {"62.5 rounds up, hours use the unit", 480 * kMinute, 300 * kMinute, 30 * kMinute,
         Period::day, Language::nb, "63 % av aktiv tid · ↑ 4t 30m fra i går"},
        {"a third", 180 * kMinute, 60 * kMinute, 30 * kMinute, Period::day, Language::es,
         "33 % del tiempo activo · ↑ 30m respecto a ayer"},
        {"a week", 3600, 0, 30 * kMinute, Period::week, Language::nb,
         "0 % av aktiv tid · ↓ 30m fra forrige uke"},
        {"a month", 3600, 0, 0, Period::month, Language::fr,
         "0 % du temps actif · comme le mois dernier"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Report report{.from = kMonday, .active = row.active, .focus = row.focus};
        EXPECT_EQ(PeriodText::focusDetail(report, row.previousFocus, row.period, row.language),
                  row.expected);
    }
    EXPECT_FALSE(PeriodText::focusDetail(Report{}, 0, Period::day, Language::nb));
}

TEST_F(PeriodTextTest, SubtitlesNamesAndFormatsFollowTheLanguage) {
    TimeRange week{kMonday, localTime(2026, 11, 30)};
    TimeRange november{localTime(2026, 11, 1), localTime(2026, 12, 1)};
    TimeRange monday{kMonday, localTime(2026, 11, 24)};
    EXPECT_EQ(PeriodText::subtitle(Period::week, week, Language::en), "Week 48 · 23 Nov – 29 Nov");
    EXPECT_EQ(PeriodText::subtitle(Period::month, november, Language::nb), "November 2026");
    EXPECT_EQ(PeriodText::subtitle(Period::day, monday, Language::en), "Monday, 23 November");
    EXPECT_EQ(PeriodText::subtitle(Period::day, monday, Language::nb), "Mandag 23. november");
    EXPECT_EQ(PeriodText::label(Period::month, Language::es), "Mes");
    using Kind = DaySegment::Kind;
    EXPECT_EQ(PeriodText::segmentName({kMonday, Kind::unmatched}, Language::en), "No project");
    EXPECT_EQ(PeriodText::segmentName({kMonday, Kind::active}, Language::fr), "Temps actif");
    EXPECT_EQ(PeriodText::segmentName({kMonday, Kind::project, "Uten prosjekt"}, Language::en),
              "Uten prosjekt");
    EXPECT_EQ(Fmt::axis(kMonday, false, Language::fr), "lun.");

    struct Row {
        double seconds;
        const char* nb;
        const char* en;
    };
    const Row rows[] = {{59, "0m", "0m"},
                        {3599, "59m", "59m"},
                        {3600, "1t 00m", "1h 00m"},
                        {7500.9, "2t 05m", "2h 05m"}};
    for (const auto& row : rows) {
        EXPECT_EQ(Fmt::duration(row.seconds, Language::nb), row.nb);
        EXPECT_EQ(Fmt::duration(row.seconds, Language::en), row.en);
    }
    EXPECT_EQ(Fmt::clock(3723.7), "1:02:03");
    EXPECT_EQ(Fmt::clock(-5), "0:00:00");
    double quarterPastNine = kMonday + 9 * kHour + 15 * kMinute;
    EXPECT_EQ(Fmt::timeRange(quarterPastNine, quarterPastNine + 85 * kMinute, Language::en),
              "09:15–10:40");
    EXPECT_EQ(Fmt::timeRange(quarterPastNine, std::nullopt, Language::nb), "09:15–nå");
}

}  // namespace
}  // namespace kvillo
