#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include "core/store/database.h"
#include "tests/support/desktop_day.h"
#include "tests/support/kwin_compositor.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;
using testing::ChildProcess;
using testing::eventually;

// A real `kvillo --headless` on a real headless KWin: switches, a title, a
// lock and an absence (the settings' shortest threshold, a minute) become
// the rows a user would expect.
TEST(KWinCapture, HeadlessKvilloRecordsSwitchesATitleALockAndAnAbsence) {
    testing::KWinCompositor kwin;
    ASSERT_EQ(kwin.error(), "");
    testing::TempFolder home;
    std::filesystem::create_directories(home.file("data/applications"));
    testing::writeFile(home.file("data/applications/org.kvillo.TestA.desktop"),
                       "[Desktop Entry]\nType=Application\nName=Alpha\nExec=alpha\n");
    testing::useShortestIdleThreshold(home.file("config"));
    ASSERT_EQ(kwin.openWindow("org.kvillo.TestA", "Alpha one"), "");

    auto environment = testing::homeEnvironment(home);
    for (const auto& [name, value] : kwin.environment()) {
        environment[name] = value;
    }
    environment["XDG_RUNTIME_DIR"] = "";  // the instance lock stays in the home
    environment["XDG_SESSION_ID"] = "auto";
    ChildProcess kvillo({KVILLO_BINARY, "--headless", "--port", "0"}, environment);
    const std::string database = home.file("data/Kvillo/activities.db");
    auto rows = [&] {
        return std::filesystem::exists(database) ? Database(database).fetchActivities(0, 4e9)
                                                 : std::vector<Activity>{};
    };
    ASSERT_TRUE(eventually([&] { return rows().size() == 1; }, 10s)) << kvillo.standardError();

    ASSERT_EQ(kwin.openWindow("org.kvillo.TestB", "Bravo one"), "");
    ASSERT_TRUE(eventually([&] { return rows().size() == 2; }, 10s));
    ASSERT_TRUE(kwin.activate("org.kvillo.TestA"));
    ASSERT_TRUE(eventually([&] { return rows().size() == 3; }, 10s));
    ASSERT_TRUE(kwin.retitle("org.kvillo.TestA", "Alpha two"));
    ASSERT_TRUE(eventually([&] { return rows().back().title == "Alpha two"; }, 10s));

    testing::lockThenStayAway(rows, {.lock = [&] { return kwin.lock(); },
                                     .unlock = [&] { return kwin.unlock(); },
                                     .input = [&] { return kwin.simulateUserActivity(); }});
    if (HasFatalFailure()) {
        return;
    }

    kvillo.signal(SIGTERM);
    ASSERT_EQ(kvillo.wait(10s), 0) << kvillo.standardError();
    testing::expectTheDay(rows(), {"Alpha", "org.kvillo.TestB", "Alpha", "Alpha", "Alpha"},
                          "Alpha two");
    EXPECT_EQ(kvillo.standardError().find("cannot"), std::string::npos) << kvillo.standardError();
}

}  // namespace
}  // namespace kvillo
