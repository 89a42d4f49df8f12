#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include "core/store/database.h"
#include "tests/support/desktop_day.h"
#include "tests/support/process.h"
#include "tests/support/session_bus.h"
#include "tests/support/sway_compositor.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;
using testing::ChildProcess;
using testing::eventually;

// A real `kvillo --headless` on a real headless sway, its home in a
// temporary folder where .desktop files name two of the test programs.
class WaylandCapture : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(bus_.error(), "");
        ASSERT_EQ(sway_.error(), "");
        std::filesystem::create_directories(home_.file("data/applications"));
        for (const auto& [id, name] :
             {std::pair{"org.kvillo.TestA", "Alpha"}, {"org.kvillo.X11Test", "Old Timer"}}) {
            testing::writeFile(
                home_.file("data/applications/" + std::string(id) + ".desktop"),
                "[Desktop Entry]\nType=Application\nExec=x\nName=" + std::string(name) + "\n");
        }
    }

    std::unique_ptr<ChildProcess> startKvillo() {
        auto environment = testing::homeEnvironment(home_);
        for (const auto& [name, value] : sway_.clientEnvironment()) {
            environment[name] = value;
        }
        environment["DBUS_SESSION_BUS_ADDRESS"] = bus_.address();
        auto kvillo = std::make_unique<ChildProcess>(
            std::vector<std::string>{KVILLO_BINARY, "--headless", "--port", "0"}, environment);
        EXPECT_TRUE(eventually([&] { return kvillo->holdsOpen(database()); }, 10s))
            << kvillo->standardError();
        return kvillo;
    }

    std::string database() const { return home_.file("data/Kvillo/activities.db"); }
    std::vector<Activity> rows() const {
        return std::filesystem::exists(database()) ? Database(database()).fetchActivities(0, 4e9)
                                                   : std::vector<Activity>{};
    }

    testing::SessionBus bus_;
    testing::SwayCompositor sway_;
    testing::TempFolder home_;
};

TEST_F(WaylandCapture, SwitchesTitlesTheLockerAndAnXWaylandWindowBecomeRows) {
    auto alpha = sway_.open("org.kvillo.TestA", "Alpha one");
    ASSERT_TRUE(alpha);
    auto kvillo = startKvillo();
    ASSERT_TRUE(eventually([&] { return rows().size() == 1; }, 10s));

    auto bravo = sway_.open("org.kvillo.TestB", "Bravo one");
    ASSERT_TRUE(bravo);
    ASSERT_TRUE(eventually([&] { return rows().size() == 2; }, 10s));
    ASSERT_TRUE(sway_.focus("org.kvillo.TestA"));
    ASSERT_TRUE(eventually([&] { return rows().size() == 3; }, 10s));
    alpha->retitle("Alpha two");
    ASSERT_TRUE(eventually([&] { return rows().back().title == "Alpha two"; }, 10s));

    {
        auto locker = sway_.lock();
        ASSERT_TRUE(eventually([&] { return rows().back().endTime.has_value(); }, 10s));
    }
    ASSERT_TRUE(eventually([&] { return rows().size() == 4; }, 10s));

    // An X11 window is seen by both XWayland and the compositor: one row
    // each time, under its .desktop name, and none when it hands the focus
    // back (whichever of the two notices first).
    auto old = sway_.open("org.kvillo.X11Test", "Old window", true);
    ASSERT_TRUE(old);
    ASSERT_TRUE(eventually([&] { return rows().size() == 5 && rows().back().title; }, 15s));
    for (size_t round = 0; round < 3; ++round) {
        ASSERT_TRUE(sway_.focus("org.kvillo.TestA"));
        ASSERT_TRUE(eventually([&] { return rows().size() >= 6 + 2 * round; }, 10s));
        ASSERT_TRUE(sway_.focus("Test_window.py", true));
        ASSERT_TRUE(eventually([&] { return rows().size() >= 7 + 2 * round; }, 10s));
    }

    kvillo->signal(SIGTERM);
    ASSERT_EQ(kvillo->wait(10s), 0) << kvillo->standardError();
    auto recorded = rows();
    ASSERT_EQ(recorded.size(), 11u);
    const std::pair<const char*, std::optional<std::string>> a{"Alpha", "org.kvillo.TestA"},
        x11{"Old Timer", "org.kvillo.X11Test"};
    const std::pair<const char*, std::optional<std::string>> expected[] = {
        a, {"org.kvillo.TestB", std::nullopt}, a, a, x11, a, x11, a, x11, a, x11,
    };
    for (size_t i = 0; i < recorded.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(recorded[i].appName, expected[i].first);
        EXPECT_EQ(recorded[i].bundleID, expected[i].second);
        ASSERT_TRUE(recorded[i].endTime);
    }
    EXPECT_EQ(recorded[0].endTime, recorded[1].startTime);
    EXPECT_EQ(recorded[1].endTime, recorded[2].startTime);
    EXPECT_LT(*recorded[2].endTime, recorded[3].startTime);  // the locked time is not work
    EXPECT_EQ(recorded[2].title, "Alpha two");
    EXPECT_EQ(recorded[4].title, "Old window");
    for (size_t i = 4; i + 1 < recorded.size(); ++i) {
        EXPECT_EQ(recorded[i].endTime, recorded[i + 1].startTime) << i;
    }
    EXPECT_EQ(kvillo->standardError().find("cannot"), std::string::npos) << kvillo->standardError();
}

// The same lock and absence as on the other desktops; the shortest
// threshold the settings allow is a minute, so this waits one.
TEST_F(WaylandCapture, ALockAndAnAbsenceEndTheRow) {
    testing::useShortestIdleThreshold(home_.file("config"));
    auto alpha = sway_.open("org.kvillo.TestA", "Alpha one");
    ASSERT_TRUE(alpha);
    auto kvillo = startKvillo();
    ASSERT_TRUE(eventually([&] { return rows().size() == 1; }, 10s));

    std::unique_ptr<ChildProcess> locker;
    testing::lockThenStayAway([&] { return rows(); }, {.lock =
                                                           [&] {
                                                               locker = sway_.lock();
                                                               return true;
                                                           },
                                                       .unlock =
                                                           [&] {
                                                               locker.reset();
                                                               return true;
                                                           },
                                                       .input =
                                                           [&] {
                                                               sway_.type();
                                                               return true;
                                                           }});
    EXPECT_EQ(rows().back().appName, "Alpha");
}

}  // namespace
}  // namespace kvillo
