#include <gtest/gtest.h>

#include "core/analysis/timesheet.h"
#include "core/time/calendar.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using testing::localTime;
constexpr double kMinute = 60;
const double kNow = localTime(2026, 12, 1, 12);

Activity act(double start, double end, std::optional<std::string> title = std::nullopt) {
    return Activity{
        .appName = "Code", .title = std::move(title), .startTime = start, .endTime = end};
}

Annotation note(const std::string& text, double start, double end) {
    return Annotation{.id = 1, .text = text, .startedAt = start, .endedAt = end};
}

const std::vector<Project> kProjects{{.name = "Alpha", .keywords = {"kunde"}},
                                     {.name = "Skarvelin", .keywords = {"Kraftnod", "review"}}};

TEST(TimesheetDisplayTask, ClaudeCodeTasksShowTheirLastFolder) {
    struct Row {
        const char* text;
        const char* shown;
    };
    const Row rows[] = {
        {"Claude Code: /home/kari/src/skarvelin", "Claude Code · skarvelin"},
        {"Claude Code: /home/kari/src/skarvelin/", "Claude Code · skarvelin"},
        {"Claude Code: ///", "Claude Code · ///"},
        {"Claude Code: notes", "Claude Code · notes"},
        {"Claude Code:/src/x", "Claude Code:/src/x"},  // the blank belongs to the prefix
        {"Møte med Kraftnod", "Møte med Kraftnod"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Timesheet::displayTask(row.text), row.shown);
    }
}

TEST(TimesheetLines, HoursRoundToQuarterHoursAndEmptyLinesDrop) {
    struct Row {
        const char* name;
        double seconds;
        std::optional<double> hours;
    };
    const Row rows[] = {
        {"22:30 rounds up", 22 * kMinute + 30, 0.5},
        {"22:29 rounds down", 22 * kMinute + 29, 0.25},
        {"7 minutes is nothing", 7 * kMinute, std::nullopt},
        {"8 minutes", 8 * kMinute, 0.25},
        {"1:22:30", 82 * kMinute + 30, 1.5},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        double start = localTime(2026, 11, 3, 10);
        auto lines = Timesheet::lines({act(start, start + row.seconds, "Alpha")}, {}, kProjects,
                                      std::nullopt, kNow);
        if (!row.hours) {
            EXPECT_TRUE(lines.empty());
            continue;
        }
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].hours, *row.hours);
    }
}

TEST(TimesheetLines, WorkCountsToTheDayItStartedOnByDayThenProject) {
    double lateEvening = localTime(2026, 11, 3, 23, 30);
    auto lines =
        Timesheet::lines({act(lateEvening, lateEvening + 3600, "Skarvelin"),
                          act(localTime(2026, 11, 3, 9), localTime(2026, 11, 3, 10), "Alpha"),
                          act(localTime(2026, 11, 2, 9), localTime(2026, 11, 2, 10), "Skarvelin"),
                          act(localTime(2026, 11, 3, 11), localTime(2026, 11, 3, 12), "Inbox")},
                         {}, kProjects, std::nullopt, kNow);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].date, localTime(2026, 11, 2));
    EXPECT_EQ(lines[1].date, localTime(2026, 11, 3));
    EXPECT_EQ(lines[1].project, "Alpha");
    EXPECT_EQ(lines[2].project, "Skarvelin");
    EXPECT_EQ(lines[2].hours, 1);

    EXPECT_TRUE(Timesheet::lines({act(lateEvening, lateEvening + 3600, "Skarvelin")}, {}, kProjects,
                                 std::string("skarvelin"), kNow)
                    .empty());  // the project filter is exact
    EXPECT_TRUE(Timesheet::lines({}, {}, kProjects, std::nullopt, kNow).empty());
}

TEST(TimesheetLines, ProjectsOrderByCodePointsNotByTheStoresOrder) {
    // The store lists names without regard to case; a timesheet by code point.
    std::vector<Project> projects{
        {.name = "alpha"}, {.name = "Beta"}, {.name = "Zeta"}, {.name = "Øko"}};
    double nine = localTime(2026, 11, 4, 9);
    std::vector<Activity> activities{
        act(nine, nine + 3600, "Øko"), act(nine + 3600, nine + 7200, "alpha"),
        act(nine + 7200, nine + 10800, "Zeta"), act(nine + 10800, nine + 14400, "Beta")};
    auto lines = Timesheet::lines(activities, {}, projects, std::nullopt, kNow);
    std::vector<std::string> order;
    for (const auto& line : lines) {
        order.push_back(line.project);
    }
    EXPECT_EQ(order, (std::vector<std::string>{"Beta", "Zeta", "alpha", "Øko"}));
}

TEST(TimesheetLines, NotesForTheProjectDescribeTheDayElseTheLongestTitles) {
    double day = localTime(2026, 11, 4);
    double at9 = day + 9 * 3600;
    std::vector<Activity> titled{act(at9, at9 + 50 * kMinute, "Skarvelin: api.cpp"),
                                 act(at9 + 50 * kMinute, at9 + 60 * kMinute, "Skarvelin: db.cpp"),
                                 act(at9 + 60 * kMinute, at9 + 90 * kMinute, "Skarvelin: ui.cpp"),
                                 act(at9 + 90 * kMinute, at9 + 110 * kMinute, "Skarvelin: ci.yml"),
                                 act(at9 + 110 * kMinute, at9 + 120 * kMinute, "")};
    auto byTitles = Timesheet::lines(titled, {}, kProjects, std::nullopt, kNow);
    ASSERT_EQ(byTitles.size(), 1u);
    EXPECT_EQ(byTitles[0].description, "Skarvelin: api.cpp; Skarvelin: ui.cpp; Skarvelin: ci.yml");

    std::vector<Annotation> notes{
        note("Møte med Kraftnod", at9 - 3600, at9),   // the same day, before the work
        note("Kunde-møte", at9, at9 + 10 * kMinute),  // Alpha's note
        note("Claude Code: /src/skarvelin/", at9 + 10 * kMinute, at9 + 20 * kMinute),
        note("Møte med Kraftnod", at9 + 20 * kMinute, at9 + 30 * kMinute),
        note("Skarvelin review", localTime(2026, 11, 5, 9), localTime(2026, 11, 5, 10)),
    };
    auto byNotes = Timesheet::lines(titled, notes, kProjects, std::nullopt, kNow);
    ASSERT_EQ(byNotes.size(), 1u);
    EXPECT_EQ(byNotes[0].description, "Møte med Kraftnod; Claude Code · skarvelin");
}

std::string tableExampleCsv(Language language) {
    std::vector<TimesheetLine> lines{
        {localTime(2025, 3, 3), "Skarvelin", 2.25, "Møte med Kraftnod; Kodegjennomgang"}};
    return Timesheet::csv(lines, "Utvikler A", localTime(2025, 3, 1), localTime(2025, 4, 1),
                          language);
}

TEST(TimesheetCsv, TheNorwegianExampleByteForByte) {
    EXPECT_EQ(tableExampleCsv(Language::nb),
              "Timeliste;\"Utvikler A\"\n"
              "Periode;2025-03-01 \u2013 2025-03-31\n"
              "\n"
              "Dato;Navn;Prosjekt / arbeidspakke;Timer;Beskrivelse\n"
              "2025-03-03;\"Utvikler A\";\"Skarvelin\";\"2,25\";\"Møte med Kraftnod; "
              "Kodegjennomgang\"\n"
              "\n"
              "Sum;;;\"2,25\";\n"
              "\n"
              "Signatur prosjektdeltaker;;Dato;\n"
              "Signatur prosjektansvarlig;;Dato;\n");
}

TEST(TimesheetCsv, EnglishUsesCommasAndADecimalPoint) {
    EXPECT_EQ(tableExampleCsv(Language::en),
              "Timesheet,\"Utvikler A\"\n"
              "Period,2025-03-01 \u2013 2025-03-31\n"
              "\n"
              "Date,Name,Project / work package,Hours,Description\n"
              "2025-03-03,\"Utvikler A\",\"Skarvelin\",\"2.25\",\"Møte med Kraftnod; "
              "Kodegjennomgang\"\n"
              "\n"
              "Total,,,\"2.25\",\n"
              "\n"
              "Signature, project member,,Date,\n"
              "Signature, project manager,,Date,\n");
}

TEST(TimesheetCsv, QuotesAreDoubledAndAnEmptyExportStillAddsUp) {
    std::vector<TimesheetLine> lines{{localTime(2025, 3, 3), "A;B", 7.5, "Møte \"A\""},
                                     {localTime(2025, 3, 4), "A;B", 0.25, ""}};
    std::string text = Timesheet::csv(lines, "Kari; Nordmann", localTime(2025, 3, 1),
                                      localTime(2025, 4, 1), Language::fr);
    EXPECT_NE(text.find("2025-03-03;\"Kari; Nordmann\";\"A;B\";\"7,50\";\"Møte \"\"A\"\"\"\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find(";;;\"7,75\";\n"), std::string::npos) << text;

    std::string empty =
        Timesheet::csv({}, "Kari", localTime(2025, 2, 1), localTime(2025, 3, 1), Language::en);
    EXPECT_EQ(empty.substr(empty.find("Description\n")),
              "Description\n\nTotal,,,\"0.00\",\n\nSignature, project member,,Date,\n"
              "Signature, project manager,,Date,\n");
    EXPECT_NE(empty.find("2025-02-01 \u2013 2025-02-28"), std::string::npos);
}

TEST(TimesheetCsv, FileNamesNameTheProjectAndMonth) {
    double march = localTime(2025, 3, 1);
    EXPECT_EQ(Timesheet::fileName(std::nullopt, march, Language::nb),
              "Timeliste alle prosjekter 2025-03.csv");
    EXPECT_EQ(Timesheet::fileName(std::string("Skarvelin"), march, Language::en),
              "Timesheet Skarvelin 2025-03.csv");
}

TEST(TimesheetLines, ReadsTheStoreInOneGo) {
    testing::TempFolder folder;
    Database db(folder.file("activities.db"));
    db.saveProject("Skarvelin", {"Kraftnod"});
    double at9 = localTime(2025, 3, 3, 9);
    db.insert(act(at9, at9 + 2.25 * 3600));
    db.insertAnnotation(Annotation{.text = "Møte med Kraftnod", .startedAt = at9});
    auto lines = Timesheet::lines(db, localTime(2025, 3, 1), localTime(2025, 4, 1), std::nullopt,
                                  at9 + 2.25 * 3600);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0],
              (TimesheetLine{localTime(2025, 3, 3), "Skarvelin", 2.25, "Møte med Kraftnod"}));
}

}  // namespace
}  // namespace kvillo
