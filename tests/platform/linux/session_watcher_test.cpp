#include <gtest/gtest.h>

#include <QObject>

#include "core/capture/activity_monitor.h"
#include "platform/linux/session_watcher.h"
#include "tests/support/fake_clock.h"
#include "tests/support/fake_desktop.h"
#include "tests/support/qt_events.h"
#include "tests/support/session_bus.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;

constexpr const char* kLogind = "org.freedesktop.login1";
constexpr const char* kSession = "/org/freedesktop/login1/session/c1";

// logind's locked hint and sleep signal, from a mocked logind holding one
// session, "c1", through the watcher into a monitor over a fake desktop.
TEST(Logind, SleepAndTheLockedHintEndTheOpenRow) {
    testing::SessionBus bus;
    ASSERT_EQ(bus.error(), "");
    ASSERT_EQ(bus.startMock(kLogind, {"--system", "--template", "logind"}), "");
    ASSERT_EQ(bus.call(kLogind, "/org/freedesktop/login1", "org.freedesktop.DBus.Mock.AddSession",
                       "'c1', 'seat0', 0, 'kari', True")
                  .status,
              0);
    testing::ScopedEnv session("XDG_SESSION_ID", "c1");
    testing::ensureCoreApplication();

    testing::TempFolder folder;
    Database db(folder.file("activities.db"));
    Features features(folder.file("settings.json"), [] { return std::string(); });
    testing::FakeDesktop desktop;
    testing::FakeClock clock(testing::localTime(2026, 11, 23, 9));
    testing::FakeTimer timer(clock);
    ActivityMonitor monitor(db, features, desktop, clock, timer);
    SessionWatcher watcher;
    QObject::connect(&watcher, &SessionWatcher::willSleep, [&] { desktop.sleep(); });
    QObject::connect(&watcher, &SessionWatcher::locked, [&] { desktop.lock(); });
    QObject::connect(&watcher, &SessionWatcher::unlocked, [&] { desktop.unlock(); });
    auto rows = [&] { return db.fetchActivities(0, 4e9); };

    desktop.front = FrontApplication{.name = "Code", .bundleID = "code", .processID = 1};
    monitor.start();
    clock.advance(60);
    bus.call(kLogind, kSession, "org.freedesktop.login1.Session.SetLockedHint", "True");
    ASSERT_TRUE(testing::processEventsUntil([&] { return rows()[0].endTime.has_value(); }, 5s));
    EXPECT_EQ(rows()[0].endTime, clock.now());

    clock.advance(60);
    bus.call(kLogind, kSession, "org.freedesktop.login1.Session.SetLockedHint", "False");
    // Unlocking re-reads the front application.
    ASSERT_TRUE(testing::processEventsUntil([&] { return rows().size() == 2; }, 5s));
    EXPECT_FALSE(rows()[1].endTime);

    clock.advance(60);
    bus.call(kLogind, "/org/freedesktop/login1", "org.freedesktop.DBus.Mock.EmitSignal",
             "'org.freedesktop.login1.Manager', 'PrepareForSleep', 'b', [True]");
    ASSERT_TRUE(testing::processEventsUntil([&] { return rows()[1].endTime.has_value(); }, 5s));
    EXPECT_EQ(rows()[1].endTime, clock.now());
    monitor.stop();
}

}  // namespace
}  // namespace kvillo
