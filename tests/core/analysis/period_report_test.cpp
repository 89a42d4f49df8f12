#include <gtest/gtest.h>

#include "core/analysis/period_report.h"
#include "tests/support/records.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using namespace testing;

// The week of Monday 23 November 2026, seen on the Wednesday evening.
class PeriodReportTest : public ::testing::Test {
protected:
    Report weekReport(const std::vector<Activity>& activities,
                      const std::vector<Annotation>& annotations = {},
                      const std::vector<Project>& projects = {}, ReportSwitches switches = {}) {
        return PeriodReport::analyse(activities, annotations, projects, kWeek, switches, kNow);
    }

    const double kMonday = localTime(2026, 11, 23);
    const double kNow = localTime(2026, 11, 25, 18);
    const TimeRange kWeek{kMonday, localTime(2026, 11, 30)};
};

TEST_F(PeriodReportTest, RangesAreIsoWeeksAndCalendarMonthsAcrossClockChanges) {
    EXPECT_EQ(PeriodReport::range(Period::week, localTime(2026, 11, 29, 23, 59)), kWeek);
    EXPECT_EQ(PeriodReport::range(Period::week, localTime(2026, 11, 30)).start,
              localTime(2026, 11, 30));
    auto spring = PeriodReport::range(Period::week, localTime(2026, 3, 29, 12));
    EXPECT_EQ(spring.start, localTime(2026, 3, 23));
    EXPECT_EQ(spring.end - spring.start, 7 * 24 * kHour - kHour);
    auto october = PeriodReport::range(Period::month, localTime(2026, 10, 31, 23));
    EXPECT_EQ(october.end - october.start, 31 * 24 * kHour + kHour);
    EXPECT_EQ(PeriodReport::previousRange(Period::month, localTime(2026, 3, 1)),
              (TimeRange{localTime(2026, 2, 1), localTime(2026, 3, 1)}));
    EXPECT_EQ(PeriodReport::step(Period::month, localTime(2026, 1, 31, 12), 1),
              localTime(2026, 2, 28, 12));
}

TEST_F(PeriodReportTest, TimeIsSplitByProjectAppAndDay) {
    const std::vector<Project> projects{{.name = "Skarvelin", .keywords = {"kraftnod"}}};
    double tuesday = kMonday + 24 * kHour;
    double nine = kMonday + 9 * kHour;
    auto report =
        weekReport({act("Code", nine, nine + 30 * kMinute, "Skarvelin: api.cpp"),
                    act("Mail", nine + 35 * kMinute, nine + 40 * kMinute),           // carried over
                    act("Mail", nine + 3 * kHour, nine + 3 * kHour + 20 * kMinute),  // unmatched
                    act("Code", tuesday + 23.5 * kHour, tuesday + 24.5 * kHour, "kraftnod.cpp"),
                    act("Terminal", kNow - 10 * kMinute, std::nullopt)},  // open: up to now
                   {}, projects);
    EXPECT_EQ(report.active, (30 + 5 + 20 + 60 + 10) * kMinute);
    EXPECT_EQ(report.apps,
              (std::vector<NamedTime>{
                  {"Code", 90 * kMinute}, {"Mail", 25 * kMinute}, {"Terminal", 10 * kMinute}}));
    EXPECT_EQ(report.projects, (std::vector<NamedTime>{{"Skarvelin", 95 * kMinute}}));
    EXPECT_EQ(report.unmatched, 30 * kMinute);
    EXPECT_EQ(report.focus, 90 * kMinute);  // the two long editor stretches
    ASSERT_EQ(report.segments.size(), 4u);
    EXPECT_EQ(report.segments[0],
              (DaySegment{kMonday, DaySegment::Kind::project, "Skarvelin", 35 * kMinute}));
    EXPECT_EQ(report.segments[1],
              (DaySegment{kMonday, DaySegment::Kind::unmatched, "", 20 * kMinute}));
    EXPECT_EQ(report.segments[2],
              (DaySegment{tuesday, DaySegment::Kind::project, "Skarvelin", 60 * kMinute}));

    auto empty = weekReport({});
    EXPECT_EQ(empty.active, 0);
    EXPECT_TRUE(empty.apps.empty() && empty.segments.empty());
}

TEST_F(PeriodReportTest, AProjectNamedLikeTheUnmatchedTimeStaysApartFromIt) {
    double nine = kMonday + 9 * kHour;
    for (const char* name : {"Uten prosjekt", "No project"}) {
        SCOPED_TRACE(name);
        auto report = weekReport({act("Code", nine, nine + 30 * kMinute, name),
                                  act("Mail", nine + 2 * kHour, nine + 2 * kHour + 20 * kMinute)},
                                 {}, {{.name = name}});
        EXPECT_EQ(report.projects, (std::vector<NamedTime>{{name, 30 * kMinute}}));
        EXPECT_EQ(report.unmatched, 20 * kMinute);
        EXPECT_EQ(report.segments, (std::vector<DaySegment>{
                                       {kMonday, DaySegment::Kind::project, name, 30 * kMinute},
                                       {kMonday, DaySegment::Kind::unmatched, "", 20 * kMinute}}));
    }
}

TEST_F(PeriodReportTest, SwitchedOffFeaturesLeaveTheirFiguresEmpty) {
    const std::vector<Project> projects{{.name = "Skarvelin"}};
    double nine = kMonday + 9 * kHour;
    auto report =
        weekReport({act("Code", nine, nine + 40 * kMinute, "Skarvelin"),
                    act("Code", nine + 24 * kHour, nine + 24 * kHour + 10 * kMinute, "Skarvelin")},
                   {note("Skarvelin", nine, nine + kHour, 1)}, projects,
                   {.focusSessions = false, .projects = false, .workingOn = false});
    EXPECT_TRUE(report.projects.empty());
    EXPECT_EQ(report.unmatched, 0);
    EXPECT_TRUE(report.focusSessions.empty());
    EXPECT_TRUE(report.tasks.empty());
    EXPECT_EQ(report.segments,
              (std::vector<DaySegment>{
                  {kMonday, DaySegment::Kind::active, "", 40 * kMinute},
                  {kMonday + 24 * kHour, DaySegment::Kind::active, "", 10 * kMinute}}));
}

TEST_F(PeriodReportTest, TasksMergeRepeatsWithinADayNewestFirst) {
    const std::vector<Project> projects{{.name = "Skarvelin"}};
    double nine = kMonday + 9 * kHour;
    double tuesday = kMonday + 24 * kHour;
    std::vector<Annotation> notes{
        note("Skarvelin API", nine, nine + 30 * kMinute, 1),
        note("Skarvelin API", nine + kHour, nine + 75 * kMinute, 2),  // merged
        note("Lunsj", nine + 2 * kHour, nine + 150 * kMinute, 3),
        note("Skarvelin API", nine + 3 * kHour, nine + 190 * kMinute, 4),  // broken by Lunsj
        note("Skarvelin API", tuesday + 9 * kHour, tuesday + 9 * kHour + 20 * kMinute, 5),
        note("Unsaved", tuesday + 10 * kHour, tuesday + 11 * kHour),  // no id: skipped
        note("Skarvelin API", kNow - 5 * kMinute, std::nullopt, 6),   // running
    };
    auto tasks = weekReport({}, notes, projects).tasks;
    ASSERT_EQ(tasks.size(), 5u);
    EXPECT_EQ(tasks[4].seconds, 45 * kMinute);
    EXPECT_EQ(tasks[4].end, nine + 75 * kMinute);
    EXPECT_EQ(tasks[4].project, "Skarvelin");
    EXPECT_EQ(tasks[3].text, "Lunsj");
    EXPECT_FALSE(tasks[3].project);
    EXPECT_EQ(tasks[0].seconds, 5 * kMinute);
    EXPECT_FALSE(tasks[0].end);

    auto days = TaskDay::group(tasks);
    ASSERT_EQ(days.size(), 3u);
    EXPECT_EQ(days[2].day, kMonday);
    ASSERT_EQ(days[2].rows.size(), 2u);
    EXPECT_EQ(days[2].rows[0], (TaskDay::Row{"Skarvelin API", "Skarvelin", nine,
                                             nine + 190 * kMinute, 55 * kMinute, 2}));
    EXPECT_EQ(days[2].total(), 85 * kMinute);
    EXPECT_FALSE(days[0].rows[0].last);
}

}  // namespace
}  // namespace kvillo
