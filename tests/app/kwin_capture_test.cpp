#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include "core/store/database.h"
#include "core/time/system_clock.h"
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
    std::filesystem::create_directories(home.file("config/kvillo"));
    testing::writeFile(home.file("data/applications/org.kvillo.TestA.desktop"),
                       "[Desktop Entry]\nType=Application\nName=Alpha\nExec=alpha\n");
    testing::writeFile(home.file("config/kvillo/app.kvillo.shared.json"), R"({"idleMinutes": 1})");
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

    ASSERT_TRUE(kwin.lock());
    ASSERT_TRUE(eventually([&] { return rows().back().endTime.has_value(); }, 10s));
    ASSERT_TRUE(kwin.unlock());
    ASSERT_TRUE(eventually([&] { return rows().size() == 4; }, 10s));

    ASSERT_TRUE(kwin.simulateUserActivity());
    const double lastInput = SystemClock().now();
    ASSERT_TRUE(eventually([&] { return rows().back().endTime.has_value(); }, 80s));
    EXPECT_NEAR(*rows().back().endTime, lastInput, 2.0);
    ASSERT_TRUE(kwin.simulateUserActivity());
    ASSERT_TRUE(eventually([&] { return rows().size() == 5; }, 10s));

    kvillo.signal(SIGTERM);
    ASSERT_EQ(kvillo.wait(10s), 0) << kvillo.standardError();
    auto recorded = rows();
    ASSERT_EQ(recorded.size(), 5u);
    const char* names[] = {"Alpha", "org.kvillo.TestB", "Alpha", "Alpha", "Alpha"};
    for (size_t i = 0; i < recorded.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(recorded[i].appName, names[i]);
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
