#include <gtest/gtest.h>

#include "core/analysis/fmt.h"
#include "core/analysis/period_report.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using testing::localTime;
constexpr double kMinute = 60;
constexpr double kHour = 3600;

class PeriodReportTest : public ::testing::Test {
protected:
    PeriodReportTest() { features_.setLanguage(Language::nb); }

    void add(const std::string& app, double start, double minutes,
             std::optional<std::string> title = std::nullopt) {
        db_.insert(Activity{.appName = app,
                            .title = std::move(title),
                            .startTime = start,
                            .endTime = start + minutes * kMinute});
    }

    ReportInputs inputs(std::map<Features::Key, bool> states = {}) const {
        return ReportInputs{.now = now_, .projects = db_.fetchProjects(), .featureStates = states};
    }

    testing::TempFolder folder_;
    mutable Database db_{folder_.file("activities.db")};
    Features features_{folder_.file("settings.json"), [] { return std::string("Kari"); }};
    PeriodReport periods_{db_, features_};
    double monday_ = localTime(2026, 11, 23);
    double now_ = localTime(2026, 11, 25, 18);
};

TEST_F(PeriodReportTest, RangesAreIsoWeeksAndCalendarMonthsAcrossClockChanges) {
    EXPECT_EQ(PeriodReport::range(Period::week, localTime(2026, 11, 29, 23, 59)),
              (TimeRange{localTime(2026, 11, 23), localTime(2026, 11, 30)}));
    EXPECT_EQ(PeriodReport::range(Period::week, localTime(2026, 11, 30, 0, 0)).start,
              localTime(2026, 11, 30));
    auto spring = PeriodReport::range(Period::week, localTime(2026, 3, 29, 12));
    EXPECT_EQ(spring.start, localTime(2026, 3, 23));
    EXPECT_EQ(spring.end - spring.start, 7 * 24 * kHour - kHour);
    auto october = PeriodReport::range(Period::month, localTime(2026, 10, 31, 23));
    EXPECT_EQ(october.end - october.start, 31 * 24 * kHour + kHour);
    auto day = PeriodReport::range(Period::day, localTime(2026, 10, 25, 12));
    EXPECT_EQ(day.end - day.start, 25 * kHour);
    EXPECT_EQ(PeriodReport::step(Period::month, localTime(2026, 1, 31, 12), 1),
              localTime(2026, 2, 28, 12));
    EXPECT_EQ(PeriodReport::step(Period::week, localTime(2026, 3, 25, 9), 1),
              localTime(2026, 4, 1, 9));
}

TEST_F(PeriodReportTest, AnEmptyPeriodHasNothingToShow) {
    auto report = periods_.report(monday_, monday_ + 7 * 24 * kHour, inputs());
    EXPECT_EQ(report.active, 0);
    EXPECT_TRUE(report.apps.empty());
    EXPECT_TRUE(report.segments.empty());
    EXPECT_FALSE(periods_.focusDetail(report, Period::week, now_));
}

TEST_F(PeriodReportTest, TimeIsSplitByProjectAppAndDay) {
    db_.saveProject("Skarvelin", {"kraftnod"});
    double tuesday = monday_ + 24 * kHour;
    add("Code", monday_ + 9 * kHour, 30, "Skarvelin: api.cpp");
    add("Mail", monday_ + 9 * kHour + 35 * kMinute, 5);                    // carried over
    add("Mail", monday_ + 12 * kHour, 20);                                 // unmatched
    add("Code", tuesday + 23 * kHour + 30 * kMinute, 60, "kraftnod.cpp");  // runs past midnight
    db_.insert(Activity{.appName = "Terminal", .startTime = now_ - 10 * kMinute});  // open

    auto report = periods_.report(monday_, monday_ + 7 * 24 * kHour, inputs());
    EXPECT_EQ(report.active, (30 + 5 + 20 + 60 + 10) * kMinute);
    ASSERT_EQ(report.apps.size(), 3u);
    EXPECT_EQ(report.apps[0], (NamedTime{"Code", 90 * kMinute}));
    EXPECT_EQ(report.apps[1], (NamedTime{"Mail", 25 * kMinute}));
    ASSERT_EQ(report.projects.size(), 1u);
    EXPECT_EQ(report.projects[0], (NamedTime{"Skarvelin", 95 * kMinute}));
    EXPECT_EQ(report.unmatched, 30 * kMinute);
    ASSERT_EQ(report.focusSessions.size(), 2u);  // the two long editor stretches
    EXPECT_EQ(report.focus, 90 * kMinute);
    ASSERT_EQ(report.segments.size(), 4u);
    EXPECT_EQ(report.segments[0], (DaySegment{monday_, "Skarvelin", 35 * kMinute}));
    EXPECT_EQ(report.segments[1], (DaySegment{monday_, "Uten prosjekt", 20 * kMinute}));
    EXPECT_EQ(report.segments[2], (DaySegment{tuesday, "Skarvelin", 60 * kMinute}));
}

TEST_F(PeriodReportTest, SwitchedOffFeaturesLeaveTheirFiguresEmpty) {
    db_.saveProject("Skarvelin", {});
    add("Code", monday_ + 9 * kHour, 40, "Skarvelin");
    add("Code", monday_ + 33 * kHour, 10, "Skarvelin");
    db_.insertAnnotation(Annotation{
        .text = "Skarvelin", .startedAt = monday_ + 9 * kHour, .endedAt = monday_ + 10 * kHour});
    auto off = inputs({{Features::Key::projects, false},
                       {Features::Key::focusSessions, false},
                       {Features::Key::workingOn, false}});
    auto report = periods_.report(monday_, monday_ + 7 * 24 * kHour, off);
    EXPECT_TRUE(report.projects.empty());
    EXPECT_EQ(report.unmatched, 0);
    EXPECT_TRUE(report.focusSessions.empty());
    EXPECT_TRUE(report.tasks.empty());
    ASSERT_EQ(report.segments.size(), 2u);
    EXPECT_EQ(report.segments[0], (DaySegment{monday_, "Aktiv tid", 40 * kMinute}));

    features_.setLanguage(Language::en);
    features_.set(Features::Key::projects, false);  // read from the settings when not given
    auto fromSettings = periods_.report(monday_, monday_ + 7 * 24 * kHour, inputs());
    EXPECT_EQ(fromSettings.segments[0].name, "Active time");
    ASSERT_EQ(fromSettings.focusSessions.size(), 1u);
    EXPECT_EQ(fromSettings.focus, 40 * kMinute);
    EXPECT_EQ(fromSettings.tasks.size(), 1u);
}

TEST_F(PeriodReportTest, TasksMergeRepeatsWithinADayNewestFirst) {
    db_.saveProject("Skarvelin", {});
    auto addNote = [&](const std::string& text, double start, std::optional<double> minutes) {
        db_.insertAnnotation(Annotation{
            .text = text,
            .startedAt = start,
            .endedAt = minutes ? std::optional(start + *minutes * kMinute) : std::nullopt});
    };
    double tuesday = monday_ + 24 * kHour;
    addNote("Skarvelin API", monday_ + 9 * kHour, 30);
    addNote("Skarvelin API", monday_ + 10 * kHour, 15);  // merged
    addNote("Lunsj", monday_ + 11 * kHour, 30);
    addNote("Skarvelin API", monday_ + 12 * kHour, 10);          // broken by Lunsj
    addNote("Skarvelin API", tuesday + 9 * kHour, 20);           // next day
    addNote("Skarvelin API", now_ - 5 * kMinute, std::nullopt);  // running

    auto tasks = periods_.report(monday_, monday_ + 7 * 24 * kHour, inputs()).tasks;
    ASSERT_EQ(tasks.size(), 5u);
    EXPECT_EQ(tasks[4].seconds, 45 * kMinute);
    EXPECT_EQ(tasks[4].end, monday_ + 10 * kHour + 15 * kMinute);
    EXPECT_EQ(tasks[4].project, "Skarvelin");
    EXPECT_EQ(tasks[3].text, "Lunsj");
    EXPECT_FALSE(tasks[3].project);
    EXPECT_EQ(tasks[0].seconds, 5 * kMinute);
    EXPECT_FALSE(tasks[0].end);

    auto days = TaskDay::group(tasks);
    ASSERT_EQ(days.size(), 3u);
    EXPECT_EQ(days[2].day, monday_);
    ASSERT_EQ(days[2].rows.size(), 2u);
    EXPECT_EQ(days[2].rows[0].text, "Skarvelin API");
    EXPECT_EQ(days[2].rows[0].sessions, 2);
    EXPECT_EQ(days[2].rows[0].seconds, 55 * kMinute);
    EXPECT_EQ(days[2].rows[0].first, monday_ + 9 * kHour);
    EXPECT_EQ(days[2].rows[0].last, monday_ + 12 * kHour + 10 * kMinute);
    EXPECT_EQ(days[2].total(), 85 * kMinute);
    EXPECT_FALSE(days[0].rows[0].last);
}

TEST_F(PeriodReportTest, FocusDetailComparesWithThePreviousPeriod) {
    double yesterday = monday_ - 24 * kHour;
    add("Code", yesterday + 9 * kHour, 30);  // 30 minutes of focus the day before
    struct Row {
        const char* name;
        double active;
        double focus;
        Language language;
        const char* expected;
    };
    const Row rows[] = {
        {"a quarter, the same", 120 * kMinute, 30 * kMinute, Language::nb,
         "25 % av aktiv tid · som i går"},
        {"59 s is still the same", 180 * kMinute, 30 * kMinute + 59, Language::nb,
         "17 % av aktiv tid · som i går"},
        {"60 s shows an arrow", 180 * kMinute, 31 * kMinute, Language::en,
         "17 % of active time · ↑ 1m from yesterday"},
        {"two minutes down", 480 * kMinute, 28 * kMinute, Language::nb,
         "6 % av aktiv tid · ↓ 2m fra i går"},
        {"62.5 rounds up, hours use the unit", 480 * kMinute, 300 * kMinute, Language::nb,
         "63 % av aktiv tid · ↑ 4t 30m fra i går"},
        {"a third", 180 * kMinute, 60 * kMinute, Language::es,
         "33 % del tiempo activo · ↑ 30m respecto a ayer"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        features_.setLanguage(row.language);
        Report report{
            .from = monday_, .to = monday_ + 24 * kHour, .active = row.active, .focus = row.focus};
        EXPECT_EQ(periods_.focusDetail(report, Period::day, now_), row.expected);
    }
    features_.setLanguage(Language::nb);
    Report week{.from = monday_, .to = monday_ + 7 * 24 * kHour, .active = 3600, .focus = 0};
    EXPECT_EQ(periods_.focusDetail(week, Period::week, now_),
              "0 % av aktiv tid · ↓ 30m fra forrige uke");
}

TEST_F(PeriodReportTest, SubtitlesAndFormatsFollowTheLanguage) {
    double sunday = monday_ + 6 * 24 * kHour;
    features_.setLanguage(Language::en);
    EXPECT_EQ(periods_.subtitle(Period::week, monday_, sunday + 24 * kHour),
              "Week 48 · 23 Nov – 29 Nov");
    EXPECT_EQ(periods_.subtitle(Period::month, localTime(2026, 11, 1), localTime(2026, 12, 1)),
              "November 2026");
    EXPECT_EQ(periods_.subtitle(Period::day, monday_, monday_ + 24 * kHour), "Monday, 23 November");
    features_.setLanguage(Language::nb);
    EXPECT_EQ(periods_.subtitle(Period::month, localTime(2026, 11, 1), localTime(2026, 12, 1)),
              "November 2026");
    EXPECT_EQ(periods_.subtitle(Period::day, monday_, monday_ + 24 * kHour), "Mandag 23. november");
    EXPECT_EQ(Fmt::axis(monday_, false, Language::fr), "lun.");

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
    double quarterPastNine = monday_ + 9 * kHour + 15 * kMinute;
    EXPECT_EQ(Fmt::timeRange(quarterPastNine, quarterPastNine + 85 * kMinute, Language::en),
              "09:15–10:40");
    EXPECT_EQ(Fmt::timeRange(quarterPastNine, std::nullopt, Language::nb), "09:15–nå");
}

}  // namespace
}  // namespace kvillo
