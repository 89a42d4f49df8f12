#include <gtest/gtest.h>

#include <filesystem>

#include "core/store/database.h"
#include "core/time/calendar.h"
#include "tests/support/process.h"
#include "tests/support/records.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using testing::runProcess;
using testing::TempFolder;

// A home with a log holding two hours of Skarvelin on 3 March 2025.
class TimesheetCommandTest : public ::testing::Test {
protected:
    TimesheetCommandTest() {
        std::filesystem::create_directories(home_.file("data/Kvillo"));
        std::filesystem::create_directories(home_.file("config/kvillo"));
        Database db(home_.file("data/Kvillo/activities.db"));
        db.saveProject("Skarvelin", {"kraftnod"});
        double nine = testing::localTime(2025, 3, 3, 9);
        db.insert(testing::act("Code", nine, nine + 7200, "kraftnod.cpp"));
        testing::writeFile(home_.file("config/kvillo/app.kvillo.shared.json"),
                           R"({"timesheetName": "Utvikler A", "language": "nb"})");
    }

    testing::ProcessResult kvillo(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {KVILLO_BINARY, "timesheet"});
        return runProcess(arguments, testing::homeEnvironment(home_));
    }

    TempFolder home_;
};

constexpr const char* kMarch =
    "Timeliste;\"Utvikler A\"\n"
    "Periode;2025-03-01 \u2013 2025-03-31\n"
    "\n"
    "Dato;Navn;Prosjekt / arbeidspakke;Timer;Beskrivelse\n"
    "2025-03-03;\"Utvikler A\";\"Skarvelin\";\"2,00\";\"kraftnod.cpp\"\n"
    "\n"
    "Sum;;;\"2,00\";\n"
    "\n"
    "Signatur prosjektdeltaker;;Dato;\n"
    "Signatur prosjektansvarlig;;Dato;\n";

TEST_F(TimesheetCommandTest, WritesTheCsvToStandardOutputWithoutAByteOrderMark) {
    auto result = kvillo({"--from", "2025-03-01", "--to", "2025-03-31", "--project", "skarvelin"});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output, kMarch);
    EXPECT_EQ(result.error, "");
}

TEST_F(TimesheetCommandTest, WritesAFileWithAByteOrderMark) {
    std::string file = home_.file("mars.csv");
    auto result = kvillo({"--from", "2025-03-01", "--to", "2025-03-31", "--output", file});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(testing::readFile(file), std::string("\xEF\xBB\xBF") + kMarch);
}

TEST_F(TimesheetCommandTest, AnOutputLinkIsKeptAndItsTargetReplaced) {
    std::string target = home_.file("regnskap.csv");
    testing::writeFile(target, "old");
    std::filesystem::permissions(target, std::filesystem::perms(0640));
    std::filesystem::create_symlink("regnskap.csv", home_.file("link.csv"));
    auto result =
        kvillo({"--from", "2025-03-01", "--to", "2025-03-31", "--output", home_.file("link.csv")});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_TRUE(std::filesystem::is_symlink(home_.file("link.csv")));
    EXPECT_EQ(testing::readFile(target), std::string("\xEF\xBB\xBF") + kMarch);
    EXPECT_EQ(std::filesystem::status(target).permissions(), std::filesystem::perms(0640));

    result = kvillo({"--output", home_.file("data")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error, "kvillo: cannot write " + home_.file("data") + ": Is a directory\n");
}

TEST_F(TimesheetCommandTest, FollowsTheLanguageSetting) {
    testing::writeFile(home_.file("config/kvillo/app.kvillo.shared.json"),
                       R"({"timesheetName": "Dev A", "language": "en"})");
    auto result = kvillo({"--from", "2025-03-03", "--to", "2025-03-03"});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output.substr(0, result.output.find('\n')), "Timesheet,\"Dev A\"");
    EXPECT_NE(result.output.find("\"2.00\""), std::string::npos);
}

TEST_F(TimesheetCommandTest, BadRequestsExitTwoAndWriteNothing) {
    struct Row {
        std::vector<std::string> arguments;
        const char* message;
    };
    const Row rows[] = {
        {{"--period", "next-month"}, "kvillo: unknown period: next-month"},
        {{"--from", "2025-3-1", "--to", "2025-03-31"}, "kvillo: not a date (YYYY-MM-DD): 2025-3-1"},
        {{"--from", "2025-02-30", "--to", "2025-03-31"}, "kvillo: not a date"},
        {{"--from", "2025-04-01", "--to", "2025-03-31"}, "kvillo: --from is after --to"},
        {{"--from", "2025-03-01"}, "kvillo: --from and --to go together"},
        {{"--period", "this-year", "--from", "2025-03-01", "--to", "2025-03-02"},
         "kvillo: --period cannot be combined"},
        {{"--project", "Ukjent"}, "kvillo: no project named Ukjent\n"},
        {{"--output"}, "kvillo: --output needs a value"},
    };
    for (auto row : rows) {
        SCOPED_TRACE(row.message);
        std::string file = home_.file("out.csv");
        row.arguments.insert(row.arguments.end(), {"--output", file});
        auto result = kvillo(row.arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.error.rfind(row.message, 0), 0u) << result.error;
        EXPECT_FALSE(std::filesystem::exists(file));
        EXPECT_EQ(result.output, "");
    }
}

}  // namespace
}  // namespace kvillo
