#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include "core/store/database.h"
#include "tests/support/desktop_day.h"
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
    testing::useShortestIdleThreshold(environment["XDG_CONFIG_HOME"]);
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

    testing::lockThenStayAway(rows, {.lock = [&] { return shell.lock(); },
                                     .unlock = [&] { return shell.unlock(); },
                                     .input = [&] { return shell.resetIdleTime(); }});
    if (HasFatalFailure()) {
        return;
    }

    kvillo.signal(SIGTERM);
    ASSERT_EQ(kvillo.wait(10s), 0) << kvillo.standardError();
    // The fixture's .desktop file names A by its id; B has none.
    const std::string testA = "org.kvillo.TestA";
    testing::expectTheDay(rows(), {testA, "org.kvillo.TestB", testA, testA, testA}, "Alpha two");
    EXPECT_EQ(rows()[0].bundleID, testA);
    EXPECT_FALSE(rows()[1].bundleID);
    EXPECT_EQ(kvillo.standardError().find("cannot"), std::string::npos) << kvillo.standardError();
}

}  // namespace
}  // namespace kvillo
