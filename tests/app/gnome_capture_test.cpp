#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include "core/store/database.h"
#include "core/time/system_clock.h"
#include "tests/support/gnome_shell.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;
using testing::ChildProcess;
using testing::eventually;

// A real `kvillo --headless` on a real headless GNOME Shell with Kvillo's
// extension: switches, a title, a lock and an absence (the settings'
// shortest threshold, a minute) become the rows a user would expect.
TEST(GnomeCapture, HeadlessKvilloRecordsSwitchesATitleALockAndAnAbsence) {
    testing::GnomeShell shell({"org.kvillo.TestA"});
    ASSERT_EQ(shell.error(), "");
    auto environment = shell.clientEnvironment();
    environment["TZ"] = "Europe/Oslo";
    environment.erase("GDK_BACKEND");
    const std::string config = environment["XDG_CONFIG_HOME"] + "/kvillo";
    std::filesystem::create_directories(config);
    testing::writeFile(config + "/app.kvillo.shared.json", R"({"idleMinutes": 1})");
    const std::string database = environment["XDG_DATA_HOME"] + "/Kvillo/activities.db";
    auto rows = [&] {
        return std::filesystem::exists(database) ? Database(database).fetchActivities(0, 4e9)
                                                 : std::vector<Activity>{};
    };

    const int alpha = shell.openWindow("org.kvillo.TestA", "Alpha one");
    ASSERT_GE(alpha, 0);
    ChildProcess kvillo({KVILLO_BINARY, "--headless", "--port", "0"}, environment);
    ASSERT_TRUE(eventually([&] { return rows().size() == 1; }, 10s)) << kvillo.standardError();

    // A new window takes the focus; closing it gives it back.
    const int bravo = shell.openWindow("org.kvillo.TestB", "Bravo one");
    ASSERT_GE(bravo, 0);
    ASSERT_TRUE(eventually([&] { return rows().size() == 2; }, 10s));
    ASSERT_TRUE(shell.closeWindow(bravo));
    ASSERT_TRUE(eventually([&] { return rows().size() == 3; }, 10s));
    ASSERT_TRUE(shell.retitleWindow(alpha, "Alpha two"));
    ASSERT_TRUE(eventually([&] { return rows().back().title == "Alpha two"; }, 10s));

    ASSERT_TRUE(shell.lock());
    ASSERT_TRUE(eventually([&] { return rows().back().endTime.has_value(); }, 10s));
    ASSERT_TRUE(shell.unlock());
    ASSERT_TRUE(eventually([&] { return rows().size() == 4; }, 10s));

    ASSERT_TRUE(shell.resetIdleTime());
    const double lastInput = SystemClock().now();
    ASSERT_TRUE(eventually([&] { return rows().back().endTime.has_value(); }, 80s));
    EXPECT_NEAR(*rows().back().endTime, lastInput, 2.0);
    ASSERT_TRUE(shell.resetIdleTime());
    ASSERT_TRUE(eventually([&] { return rows().size() == 5; }, 10s));

    kvillo.signal(SIGTERM);
    ASSERT_EQ(kvillo.wait(10s), 0) << kvillo.standardError();
    auto recorded = rows();
    ASSERT_EQ(recorded.size(), 5u);
    const std::pair<const char*, std::optional<std::string>> expected[] = {
        {"org.kvillo.TestA", "org.kvillo.TestA"}, {"org.kvillo.TestB", std::nullopt},
        {"org.kvillo.TestA", "org.kvillo.TestA"}, {"org.kvillo.TestA", "org.kvillo.TestA"},
        {"org.kvillo.TestA", "org.kvillo.TestA"},
    };
    for (size_t i = 0; i < recorded.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(recorded[i].appName, expected[i].first);
        EXPECT_EQ(recorded[i].bundleID, expected[i].second);
        EXPECT_TRUE(recorded[i].endTime);
    }
    EXPECT_EQ(recorded[0].endTime, recorded[1].startTime);
    EXPECT_EQ(recorded[1].endTime, recorded[2].startTime);
    EXPECT_EQ(recorded[2].title, "Alpha two");
    EXPECT_LT(*recorded[2].endTime, recorded[3].startTime);  // locked
    EXPECT_LT(*recorded[3].endTime, recorded[4].startTime);  // away
    EXPECT_EQ(kvillo.standardError().find("cannot"), std::string::npos) << kvillo.standardError();
}

}  // namespace
}  // namespace kvillo
