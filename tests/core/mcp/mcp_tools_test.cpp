#include <gtest/gtest.h>

#include "core/mcp/mcp_tools.h"
#include "core/time/iso8601.h"
#include "tests/core/mcp/mcp_fixture.h"
#include "tests/support/damaged_store.h"

namespace kvillo {
namespace {

using testing::localTime;

// A Monday: Code on Kvillo, a glance at mail, then a terminal; one task note.
class Tools : public testing::McpFixture {
protected:
    Tools() {
        db_.saveProject("Kvillo", {"kvillo"});
        add("Code", localTime(2026, 11, 23, 9), 40, "kvillo \u2014 main.cpp");
        add("Firefox", localTime(2026, 11, 23, 9, 40), 1, "Inbox");
        add("Terminal", localTime(2026, 11, 23, 10), 30);
        db_.insertAnnotation(testing::note("Skriver tester", localTime(2026, 11, 23, 9),
                                           localTime(2026, 11, 23, 10)));
    }
};

TEST_F(Tools, ActivitiesOfADayWithTheirNotes) {
    EXPECT_EQ(tool("get_activities"),
              "Activities (3 sessions):\n"
              "\u2022 Terminal  [2026-11-23T10:00:00+01:00 \u2192 2026-11-23T10:30:00+01:00]  "
              "(30m 0s)\n"
              "\u2022 Firefox \u2013 Inbox  [2026-11-23T09:40:00+01:00 \u2192 "
              "2026-11-23T09:41:00+01:00]  (1m 0s)\n"
              "\u2022 Code \u2013 kvillo \u2014 main.cpp  [2026-11-23T09:00:00+01:00 \u2192 "
              "2026-11-23T09:40:00+01:00]  (40m 0s)\n"
              "\n"
              "Annotations (1):\n"
              "\u2022 Skriver tester  [2026-11-23T09:00:00+01:00 \u2192 "
              "2026-11-23T10:00:00+01:00]  (1h 0m)");
    EXPECT_EQ(tool("get_annotations"),
              tool("get_activities").substr(tool("get_activities").find("Annotations (1):")));
    EXPECT_EQ(tool("get_activities", {{"limit", "1"}}), tool("get_activities"));
    EXPECT_TRUE(tool("get_activities", {{"limit", 1}}).starts_with("Activities (1 sessions):"));
    EXPECT_EQ(tool("get_activities", {{"date", "2026-11-22"}}), "No activities found.");
    EXPECT_EQ(tool("get_activities", {{"date", "in a while"}}), tool("get_activities"));
}

TEST_F(Tools, SearchNeedsAQuery) {
    EXPECT_EQ(tool("search_activities"), "Error: 'query' is required");
    EXPECT_TRUE(toolIsError("search_activities"));
    EXPECT_TRUE(tool("search_activities", {{"query", "INBOX"}})
                    .starts_with("Activities (1 sessions):\n\u2022 Firefox"));
}

TEST_F(Tools, UsageAndTheDailySummary) {
    EXPECT_EQ(tool("get_app_usage"),
              "App usage summary (3 apps):\n"
              "\u2022 Code: 40m across 1 session(s)\n"
              "\u2022 Terminal: 30m across 1 session(s)\n"
              "\u2022 Firefox: 1m across 1 session(s)");
    EXPECT_EQ(tool("get_app_usage", {{"from", "2026-11-20"}, {"to", "2026-11-22"}}),
              "No usage data found.");
    EXPECT_EQ(tool("get_daily_summary", {{"from", "2026-11-22"}}),
              "Daily summary:\n"
              "\n"
              "Sun 2026-11-22 \u2013 active 0m\n"
              "  (no activity)\n"
              "\n"
              "Mon 2026-11-23 \u2013 active 1h 11m\n"
              "  Top apps: Code 40m, Terminal 30m, Firefox 1m\n"
              "  Worked on: Skriver tester\n"
              "\n"
              "Total active time: 1h 11m");
    std::string week = tool("get_daily_summary");
    EXPECT_TRUE(week.find("\n\nTue 2026-11-17 \u2013 active 0m") != std::string::npos) << week;
    EXPECT_EQ(week.find("Mon 2026-11-16"), std::string::npos);
}

// A note belongs to every day it overlaps; a day names its latest hundred.
TEST_F(Tools, TheDailySummaryNamesEachDaysLatestHundredNotes) {
    using testing::note;
    db_.insertAnnotation(note("Natt", localTime(2026, 11, 20, 23), localTime(2026, 11, 21, 2)));
    std::string saturday = "  Worked on: ";
    for (int i = 0; i <= 100; ++i) {
        double start = localTime(2026, 11, 21, 3) + i * 60;
        db_.insertAnnotation(note("N" + std::to_string(i), start, start + 30));
        saturday += i < 2 ? "" : "N" + std::to_string(i) + "; ";
    }
    db_.insertAnnotation(note("Kveld", localTime(2026, 11, 21, 22), localTime(2026, 11, 22)));
    std::string summary = tool("get_daily_summary", {{"from", "2026-11-20"}, {"to", "2026-11-22"}});
    for (const std::string& day : std::vector<std::string>{
             "Fri 2026-11-20 \u2013 active 0m\n  (no activity)\n  Worked on: Natt\n",
             "Sat 2026-11-21 \u2013 active 0m\n  (no activity)\n" + saturday + "Kveld\n",
             "Sun 2026-11-22 \u2013 active 0m\n  (no activity)\n\n"}) {
        EXPECT_NE(summary.find(day), std::string::npos) << day << "\nnot in\n" << summary;
    }
}

// The unmatched time comes last however long it is, and projects that bear
// its name in either language keep their own time apart from it.
TEST_F(Tools, ProjectTimeListsNoProjectLast) {
    db_.saveProject("No project", {});
    db_.saveProject("Uten prosjekt", {});
    add("Code", localTime(2026, 11, 23, 11), 15, "No project");
    add("Code", localTime(2026, 11, 23, 12), 10, "Uten prosjekt");
    add("Terminal", localTime(2026, 11, 23, 13), 120);
    EXPECT_EQ(tool("get_project_time"),
              "Time per project:\n"
              "\n"
              "Kvillo: 41m\n"
              "  Days: Mon 11-23 41m\n"
              "  Top titles: kvillo \u2014 main.cpp 40m; Inbox 1m\n"
              "\n"
              "No project: 15m\n"
              "  Days: Mon 11-23 15m\n"
              "  Top titles: No project 15m\n"
              "\n"
              "Uten prosjekt: 10m\n"
              "  Days: Mon 11-23 10m\n"
              "  Top titles: Uten prosjekt 10m\n"
              "\n"
              "No project: 2h 30m\n"
              "  Days: Mon 11-23 2h 30m\n"
              "  Top titles: Terminal 2h 30m");
    EXPECT_EQ(tool("get_project_time", {{"from", "2026-11-01"}, {"to", "2026-11-02"}}),
              "No activity in this period.");
    for (const char* name : {"Kvillo", "No project", "Uten prosjekt"}) {
        db_.deleteProject(name);
    }
    EXPECT_EQ(tool("get_project_time"), "No projects yet. Use save_project to add one.");
}

TEST_F(Tools, FocusSessionsWithDefaultsAndHugeArguments) {
    std::string expected =
        "Focus sessions (2, total 1h 11m):\n"
        "\u2022 Mon 2026-11-23 09:00\u201309:41 (41m, 1 switches): Code (40m), Firefox (1m)\n"
        "\u2022 Mon 2026-11-23 10:00\u201310:30 (30m, 0 switches): Terminal (30m)";
    EXPECT_EQ(tool("get_focus_sessions"), expected);
    EXPECT_EQ(tool("get_focus_sessions", {{"from", "2026-11-23"}}), expected);
    EXPECT_EQ(tool("get_focus_sessions", {{"from", "2026-11-22"}}),
              "No focus sessions of 25+ minutes found.");
    EXPECT_EQ(tool("get_focus_sessions", {{"min_minutes", 35}, {"max_gap_minutes", 60}}),
              "Focus sessions (1, total 1h 30m):\n"
              "\u2022 Mon 2026-11-23 09:00\u201310:30 (1h 30m, 2 switches): Code (40m), Terminal "
              "(30m), Firefox (1m)");
    EXPECT_EQ(tool("get_focus_sessions", {{"min_minutes", 9223372036854775807LL}}),
              "No focus sessions of 2147483647+ minutes found.");
    EXPECT_FALSE(toolIsError("get_focus_sessions", {{"max_gap_minutes", -9223372036854775807LL}}));
}

TEST_F(Tools, ProjectsAreListedSavedAndDeleted) {
    EXPECT_EQ(tool("save_project", {{"name", "\u3000Skarvelin\n"},
                                    {"keywords", Json::array({"  Kraftnod\u00a0", "", "a,b", 7})}}),
              "Saved project Skarvelin with keywords: Kraftnod.");
    EXPECT_EQ(tool("save_project", {{"name", "Tom"}}), "Saved project Tom.");
    EXPECT_EQ(tool("list_projects"),
              "Projects (3):\n\u2022 Kvillo \u2013 keywords: kvillo\n"
              "\u2022 Skarvelin \u2013 keywords: Kraftnod\n\u2022 Tom");
    EXPECT_EQ(tool("save_project", {{"name", " "}}), "Error: 'name' is required");
    EXPECT_EQ(tool("delete_project", {{"name", "Ukjent"}}), "No project named Ukjent.");
    EXPECT_FALSE(toolIsError("delete_project", {{"name", "Ukjent"}}));
    EXPECT_EQ(tool("delete_project", {{"name", "tom"}}), "Deleted project tom.");
}

TEST_F(Tools, AnnotateStartsBackdatedTasksAndEndsThem) {
    EXPECT_EQ(tool("annotate", {{"text", " Fixing auth bug "}, {"duration", "1h30m"}}),
              "Annotation started: Fixing auth bug (since 2026-11-23T13:30:00+01:00)");
    // The point is skipped, as a blank is: "1.5h" reads as fifteen hours.
    EXPECT_EQ(tool("annotate", {{"text", "Review"}, {"duration", "1.5h"}}),
              "Annotation started: Review (since 2026-11-23T00:00:00+01:00)");
    EXPECT_EQ(tool("annotate", {{"text", "Now"}, {"duration", "soon"}}),
              "Annotation started: Now (since 2026-11-23T15:00:00+01:00)");
    EXPECT_EQ(db_.currentAnnotation()->text, "Now");
    // Absurd backdating is cut to 3660 days rather than overflowing.
    EXPECT_EQ(tool("annotate", {{"text", "Old"}, {"duration", "999999999999999h999999999999999h"}}),
              "Annotation started: Old (since 2016-11-15T15:00:00+01:00)");
    EXPECT_EQ(tool("annotate", {{"text", "  "}}), "Ended current annotation.");
    EXPECT_FALSE(db_.currentAnnotation());
    EXPECT_TRUE(tool("get_annotations").starts_with("Annotations (5):"));
}

// Every date-time is the user's own clock with its offset, so that "when did
// I start?" is answered right in any zone, and across a clock change.
TEST_F(Tools, DateTimesAreTheUsersClockWithItsOffset) {
    // Oslo's clocks go back from 03:00 to 02:00 at 01:00 UTC on this day.
    const double start = *iso8601::parse("2026-10-25T00:30:00Z");
    add("Shift", start, 60);
    clock_.set(start + testing::kHour);
    struct Row {
        const char* zone;
        const char* start;
        const char* end;
    };
    const Row rows[] = {
        {"Europe/Oslo", "2026-10-25T02:30:00+02:00", "2026-10-25T02:30:00+01:00"},
        {"Asia/Kathmandu", "2026-10-25T06:15:00+05:45", "2026-10-25T07:15:00+05:45"},
        {"America/St_Johns", "2026-10-24T22:00:00-02:30", "2026-10-24T23:00:00-02:30"},
        {"UTC", "2026-10-25T00:30:00+00:00", "2026-10-25T01:30:00+00:00"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.zone);
        testing::ScopedTimeZone zone(row.zone);
        std::string interval = std::string(row.start) + " \u2192 " + row.end;
        EXPECT_NE(tool("search_activities", {{"query", "Shift"}}).find(interval), std::string::npos)
            << tool("search_activities", {{"query", "Shift"}});
        EXPECT_EQ(tool("annotate", {{"text", row.zone}, {"duration", "1h"}}),
                  "Annotation started: " + std::string(row.zone) + " (since " + row.start + ")");
        tool("annotate", {{"text", ""}});
        EXPECT_NE(tool("get_annotations").find(std::string(row.zone) + "  [" + interval),
                  std::string::npos)
            << tool("get_annotations");
    }
}

TEST(McpToolsArguments, DurationsReadHoursMinutesAndBareMinutes) {
    struct Row {
        const char* text;
        std::optional<double> seconds;
    };
    const Row rows[] = {{"30m", 1800},         {"1h", 3600},         {"1h30m", 5400},
                        {"1h 30m", 5400},      {"90", 5400},         {"1h 30", 3600},
                        {"abc", std::nullopt}, {"0m", std::nullopt}, {" 45S ", 45},
                        {"", std::nullopt}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(McpTools::parseDuration(row.text), row.seconds);
    }
}

TEST_F(Tools, RangesAreWholeDaysAndAtMostNinetyTwo) {
    McpTools tools(db_, clock_);
    auto week = tools.parseRange(Json::object(), 7);
    EXPECT_EQ(week.start, localTime(2026, 11, 17));
    EXPECT_EQ(week.end, localTime(2026, 11, 24));
    EXPECT_FALSE(week.cut);
    auto backwards = tools.parseRange({{"from", "2026-11-20"}, {"to", "2026-11-10"}}, 7);
    EXPECT_EQ(backwards.start, localTime(2026, 11, 10));
    EXPECT_EQ(backwards.end, localTime(2026, 11, 11));
    auto year = tools.parseRange({{"from", "2025-01-01"}, {"to", "2026-03-31"}}, 7);
    EXPECT_EQ(year.end, localTime(2026, 4, 1));
    EXPECT_EQ(year.start, localTime(2025, 12, 30));  // 92 days before 1 April
    EXPECT_TRUE(year.cut);
}

TEST_F(Tools, ACutRangeSaysWhichDaysItCovers) {
    // A session on the first day kept: answering for it as if for the day
    // asked would be wrong.
    add("Code", localTime(2026, 8, 24, 9), 30);
    const std::string note = "Showing 2026-08-24 to 2026-11-23 (at most 92 days).\n";
    for (const char* name :
         {"get_app_usage", "get_daily_summary", "get_focus_sessions", "get_project_time"}) {
        SCOPED_TRACE(name);
        std::string answer = tool(name, {{"from", "2025-01-01"}, {"to", "2026-11-23"}});
        EXPECT_TRUE(answer.starts_with(note)) << answer;
        EXPECT_EQ(answer.find("Showing"), answer.rfind("Showing"));
        EXPECT_FALSE(tool(name, {{"from", "2026-08-24"}}).starts_with("Showing"));
    }
    EXPECT_TRUE(tool("get_daily_summary", {{"from", "2025-01-01"}})
                    .starts_with(note + "Daily summary:\n\nMon 2026-08-24 \u2013 active 30m\n"));
    // Without a "to", focus sessions cover the "from" day alone: nothing to cut.
    EXPECT_EQ(tool("get_focus_sessions", {{"from", "2025-01-01"}}),
              "No focus sessions of 25+ minutes found.");
}

// A store that cannot be read must not pass for an empty day.
TEST(ToolsOnADamagedStore, AFailedReadIsAnErrorAnswer) {
    testing::TempFolder folder;
    std::string path = folder.file("activities.db");
    Database(path).insert(testing::act("Code", localTime(2026, 11, 23, 9), std::nullopt));
    testing::damageEveryTree(path);
    Database damaged(path);
    Features features(folder.file("settings.json"), [] { return std::string("Kari"); });
    testing::FakeClock clock(localTime(2026, 11, 23, 15));
    McpDispatcher dispatcher(damaged, features, clock);
    auto answer = Json::parse(*dispatcher.handleBody(
        R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"get_app_usage"}})"));
    EXPECT_EQ(answer["result"]["content"][0]["text"],
              "Error: Failed to read: database disk image is malformed");
    EXPECT_EQ(answer["result"]["isError"], true);
}

TEST_F(Tools, TextsWithANulCharacterAreRefusedUntouched) {
    const std::string cut = std::string("Kvillo\0 (draft)", 15);
    struct Row {
        const char* tool;
        Json args;
    };
    const Row rows[] = {
        {"save_project", {{"name", cut}, {"keywords", Json::array({"x"})}}},
        {"save_project", {{"name", "Ny"}, {"keywords", Json::array({"ok", cut})}}},
        {"delete_project", {{"name", cut}}},
        {"annotate", {{"text", cut}}},
        {"search_activities", {{"query", cut}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.args.dump());
        EXPECT_EQ(tool(row.tool, row.args), "Error: the text contains a NUL character");
        EXPECT_TRUE(toolIsError(row.tool, row.args));
    }
    EXPECT_EQ(tool("list_projects"), "Projects (1):\n\u2022 Kvillo \u2013 keywords: kvillo");
    EXPECT_FALSE(db_.currentAnnotation());
}

}  // namespace
}  // namespace kvillo
