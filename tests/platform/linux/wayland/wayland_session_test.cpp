#include <gtest/gtest.h>

#include <filesystem>

#include "core/time/system_clock.h"
#include "platform/linux/wayland/wayland_session.h"
#include "tests/support/qt_events.h"
#include "tests/support/session_bus.h"
#include "tests/support/sway_compositor.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;
using testing::processEventsUntil;

// The adapter on a real headless sway, with a two-second idle threshold so
// that an absence takes seconds: windows, titles, idle, the locker, and the
// compositor going away.
TEST(WaylandOnSway, FollowsWindowsTitlesIdleTheLockerAndTheCompositorsEnd) {
    testing::SessionBus bus;
    ASSERT_EQ(bus.error(), "");
    testing::SwayCompositor sway;
    ASSERT_EQ(sway.error(), "");
    testing::TempFolder data;
    std::filesystem::create_directories(data.file("applications"));
    testing::writeFile(data.file("applications/org.kvillo.TestA.desktop"),
                       "[Desktop Entry]\nType=Application\nName=Alpha\nExec=alpha\n");
    testing::ScopedEnv dataHome("XDG_DATA_HOME", data.path());
    testing::ensureCoreApplication();

    SystemClock clock;
    WaylandSession session(clock);
    ASSERT_TRUE(session.isConnected());
    EXPECT_TRUE(session.canTellFront());
    EXPECT_TRUE(session.canTellIdleTime());
    EXPECT_FALSE(session.isDisplayAsleep());
    int switches = 0;
    bool lost = false;
    QObject::connect(&session, &WaylandSession::activeWindowChanged, [&] { ++switches; });
    QObject::connect(&session, &WaylandSession::connectionLost,
                     [&](bool compositorGone) { lost = compositorGone; });
    auto front = [&] {
        auto application = session.frontApplication();
        return application ? application->name.value_or("?") : "";
    };

    auto alpha = sway.open("org.kvillo.TestA", "Alpha one");
    ASSERT_TRUE(alpha);
    ASSERT_TRUE(processEventsUntil([&] { return front() == "Alpha"; }, 5s));
    EXPECT_EQ(session.frontApplication()->bundleID, "org.kvillo.TestA");
    auto bravo = sway.open("org.kvillo.TestB", "Bravo one");
    ASSERT_TRUE(bravo);
    ASSERT_TRUE(processEventsUntil([&] { return front() == "org.kvillo.TestB"; }, 5s));
    ASSERT_TRUE(sway.focus("org.kvillo.TestA"));
    ASSERT_TRUE(processEventsUntil([&] { return front() == "Alpha"; }, 5s));
    alpha->retitle("Alpha \u2014 two");
    ASSERT_TRUE(
        processEventsUntil([&] { return session.activeWindowTitle() == "Alpha \u2014 two"; }, 5s));

    sway.type();
    session.setIdleThreshold(2);
    ASSERT_TRUE(processEventsUntil([&] { return session.secondsSinceLastInput() >= 2; }, 10s));
    sway.type();
    ASSERT_TRUE(processEventsUntil([&] { return session.secondsSinceLastInput() == 0; }, 5s));

    {
        auto locker = sway.lock();
        ASSERT_TRUE(processEventsUntil([&] { return front().empty(); }, 5s));
    }
    ASSERT_TRUE(processEventsUntil([&] { return front() == "Alpha"; }, 5s));
    // A, B, A, the locker, A: the "no window" a switch passes through is
    // never one of them.
    EXPECT_EQ(switches, 5);

    sway.kill();
    ASSERT_TRUE(processEventsUntil([&] { return lost; }, 5s));
    EXPECT_FALSE(session.frontApplication());
    EXPECT_EQ(session.secondsSinceLastInput(), 0);
}

}  // namespace
}  // namespace kvillo
