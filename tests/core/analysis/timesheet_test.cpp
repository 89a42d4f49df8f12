#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "core/analysis/timesheet.h"
#include "core/localisation/l10n.h"
#include "core/time/calendar.h"
#include "tests/support/process.h"
#include "tests/support/records.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using testing::act;
using testing::kHour;
using testing::kMinute;
using testing::localTime;
using testing::note;

const std::vector<Project> kProjects{{.name = "Alpha", .keywords = {"kunde"}},
                                     {.name = "Skarvelin", .keywords = {"Kraftnod", "review"}}};

std::vector<TimesheetLine> linesOf(const std::vector<Activity>& activities,
                                   const std::vector<Annotation>& notes = {},
                                   const std::vector<Project>& projects = kProjects,
                                   const std::optional<std::string>& project = std::nullopt) {
    return Timesheet::lines(activities, notes, projects, project, localTime(2026, 12, 1, 12));
}

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
        double hours;  // 0: no line
    };
    const Row rows[] = {
        {"22:30 rounds up", 22 * kMinute + 30, 0.5}, {"22:29 rounds down", 22 * kMinute + 29, 0.25},
        {"7 minutes is nothing", 7 * kMinute, 0},    {"8 minutes", 8 * kMinute, 0.25},
        {"1:22:30", 82 * kMinute + 30, 1.5},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        double start = localTime(2026, 11, 3, 10);
        auto lines = linesOf({act("Code", start, start + row.seconds, "Alpha")});
        ASSERT_EQ(lines.size(), row.hours > 0 ? 1u : 0u);
        EXPECT_EQ(lines.empty() ? 0 : lines[0].hours, row.hours);
    }
}

TEST(TimesheetLines, WorkCountsToTheDayItStartedOnByDayThenProject) {
    Activity lateEvening =
        act("Code", localTime(2026, 11, 3, 23, 30), localTime(2026, 11, 4, 0, 30), "Skarvelin");
    auto lines = linesOf(
        {lateEvening, act("Code", localTime(2026, 11, 3, 9), localTime(2026, 11, 3, 10), "Alpha"),
         act("Code", localTime(2026, 11, 2, 9), localTime(2026, 11, 2, 10), "Skarvelin"),
         act("Code", localTime(2026, 11, 3, 11), localTime(2026, 11, 3, 12), "Inbox")});
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].date, localTime(2026, 11, 2));
    EXPECT_EQ(lines[1].date, localTime(2026, 11, 3));
    EXPECT_EQ(lines[1].project, "Alpha");
    EXPECT_EQ(lines[2].project, "Skarvelin");
    EXPECT_EQ(lines[2].hours, 1);

    EXPECT_TRUE(linesOf({lateEvening}, {}, kProjects, "skarvelin").empty())
        << "the project filter is exact";
    EXPECT_TRUE(linesOf({}).empty());
}

TEST(TimesheetLines, ProjectsOrderByCodePointsNotByTheStoresOrder) {
    // The store lists names without regard to case; a timesheet by code point.
    std::vector<Project> projects{
        {.name = "alpha"}, {.name = "Beta"}, {.name = "Zeta"}, {.name = "Øko"}};
    double nine = localTime(2026, 11, 4, 9);
    std::vector<Activity> activities;
    for (const char* name : {"Øko", "alpha", "Zeta", "Beta"}) {
        activities.push_back(act("Code", nine, nine + kHour, name));
        nine += kHour;
    }
    std::vector<std::string> order;
    for (const auto& line : linesOf(activities, {}, projects)) {
        order.push_back(line.project);
    }
    EXPECT_EQ(order, (std::vector<std::string>{"Beta", "Zeta", "alpha", "Øko"}));
}

TEST(TimesheetLines, AProjectNamedLikeTheUnmatchedTimeGetsOnlyItsOwnTime) {
    double nine = localTime(2026, 11, 4, 9);
    for (const char* name : {"Uten prosjekt", "No project"}) {
        SCOPED_TRACE(name);
        auto lines = linesOf({act("Code", nine, nine + kHour, name),
                              act("Mail", nine + 2 * kHour, nine + 3 * kHour, "Inbox")},
                             {}, {{.name = name}});
        EXPECT_EQ(lines, (std::vector<TimesheetLine>{{localTime(2026, 11, 4), name, 1, name}}));
    }
}

TEST(TimesheetLines, NotesForTheProjectDescribeTheDayElseTheLongestTitles) {
    double at9 = localTime(2026, 11, 4, 9);
    std::vector<Activity> titled{
        act("Code", at9, at9 + 50 * kMinute, "Skarvelin: api.cpp"),
        act("Code", at9 + 50 * kMinute, at9 + 60 * kMinute, "Skarvelin: db.cpp"),
        act("Code", at9 + 60 * kMinute, at9 + 90 * kMinute, "Skarvelin: ui.cpp"),
        act("Code", at9 + 90 * kMinute, at9 + 110 * kMinute, "Skarvelin: ci.yml"),
        act("Code", at9 + 110 * kMinute, at9 + 120 * kMinute, "")};
    auto byTitles = linesOf(titled);
    ASSERT_EQ(byTitles.size(), 1u);
    EXPECT_EQ(byTitles[0].description, "Skarvelin: api.cpp; Skarvelin: ui.cpp; Skarvelin: ci.yml");

    std::vector<Annotation> notes{
        note("Møte med Kraftnod", at9 - kHour, at9),  // the same day, before the work
        note("Kunde-møte", at9, at9 + 10 * kMinute),  // Alpha's note
        note("Claude Code: /src/skarvelin/", at9 + 10 * kMinute, at9 + 20 * kMinute),
        note("Møte med Kraftnod", at9 + 20 * kMinute, at9 + 30 * kMinute),
        note("Skarvelin review", localTime(2026, 11, 5, 9), localTime(2026, 11, 5, 10)),
    };
    auto byNotes = linesOf(titled, notes);
    ASSERT_EQ(byNotes.size(), 1u);
    EXPECT_EQ(byNotes[0].description, "Møte med Kraftnod; Claude Code · skarvelin");
}

TEST(TimesheetCsv, TheExampleByteForByteInNorwegianAndEnglish) {
    struct Row {
        Language language;
        const char* text;
    };
    const Row rows[] = {
        {Language::nb,
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
         "Signatur prosjektansvarlig;;Dato;\n"},
        {Language::en,
         "Timesheet,\"Utvikler A\"\n"
         "Period,2025-03-01 \u2013 2025-03-31\n"
         "\n"
         "Date,Name,Project / work package,Hours,Description\n"
         "2025-03-03,\"Utvikler A\",\"Skarvelin\",\"2.25\",\"Møte med Kraftnod; "
         "Kodegjennomgang\"\n"
         "\n"
         "Total,,,\"2.25\",\n"
         "\n"
         "\"Signature, project member\",,Date,\n"
         "\"Signature, project manager\",,Date,\n"},
    };
    std::vector<TimesheetLine> lines{
        {localTime(2025, 3, 3), "Skarvelin", 2.25, "Møte med Kraftnod; Kodegjennomgang"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.language.code()));
        EXPECT_EQ(Timesheet::csv(lines, "Utvikler A", localTime(2025, 3, 1), localTime(2025, 4, 1),
                                 row.language),
                  row.text);
    }
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
              "Description\n\nTotal,,,\"0.00\",\n\n\"Signature, project member\",,Date,\n"
              "\"Signature, project manager\",,Date,\n");
}

TEST(TimesheetCsv, EveryRowReadsBackIntoItsColumnsInEveryLanguage) {
    // Read as a spreadsheet would: Python's csv module, strict about quotes.
    constexpr const char* kReadCsv = R"(
import csv, json, sys
with open(sys.argv[1], newline="", encoding="utf-8-sig") as f:
    print(json.dumps(list(csv.reader(f, delimiter=sys.argv[2], strict=True))))
)";
    using Rows = std::vector<std::vector<std::string>>;
    const std::string name = "Kari \"KN\", Nordmann; AS";
    const std::string description = "Møte \"A\";\nlinje 2, til slutt";
    testing::TempFolder folder;
    for (Language language : Language::allCases()) {
        SCOPED_TRACE(std::string(language.code()));
        auto label = [&](L10n::Key key) { return L10n::string(language, key); };
        std::string hours = language == Language::en ? "7.50" : "7,50";
        const Rows expected{
            {label("Timeliste"), name},
            {label("Periode"), "2025-03-01 \u2013 2025-03-31"},
            {},
            {label("Dato"), label("Navn"), label("Prosjekt / arbeidspakke"), label("Timer"),
             label("Beskrivelse")},
            {"2025-03-03", name, "A;B, C", hours, description},
            {},
            {label("Sum"), "", "", hours, ""},
            {},
            {label("Signatur prosjektdeltaker"), "", label("Dato"), ""},
            {label("Signatur prosjektansvarlig"), "", label("Dato"), ""},
        };
        std::string text =
            Timesheet::csv({{localTime(2025, 3, 3), "A;B, C", 7.5, description}}, name,
                           localTime(2025, 3, 1), localTime(2025, 4, 1), language);
        std::string file = folder.file(std::string(language.code()) + ".csv");
        testing::writeFile(file, std::string(Timesheet::kByteOrderMark) + text);
        auto read = testing::runProcess(
            {"/usr/bin/python3", "-c", kReadCsv, file, language == Language::en ? "," : ";"});
        ASSERT_EQ(read.status, 0) << read.error;
        EXPECT_EQ(nlohmann::json::parse(read.output).get<Rows>(), expected) << text;
    }
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
    db.insert(act("Code", at9, at9 + 2.25 * kHour));
    db.insertAnnotation(note("Møte med Kraftnod", at9, {}));
    auto lines = Timesheet::lines(db, localTime(2025, 3, 1), localTime(2025, 4, 1), std::nullopt,
                                  at9 + 2.25 * kHour);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0],
              (TimesheetLine{localTime(2025, 3, 3), "Skarvelin", 2.25, "Møte med Kraftnod"}));
}

}  // namespace
}  // namespace kvillo
