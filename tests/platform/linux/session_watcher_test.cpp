#include <gtest/gtest.h>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

#include <string>
#include <vector>

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
constexpr const char* kLogindPath = "/org/freedesktop/login1";
constexpr const char* kSession = "/org/freedesktop/login1/session/c1";
constexpr const char* kScreenSaver = "org.gnome.ScreenSaver";

// The mocked logind with session "c1" as this process's session.
std::string startLogind(testing::SessionBus& bus) {
    if (!bus.error().empty()) {
        return bus.error();
    }
    if (auto failed = bus.startMock(kLogind, {"--system", "--template", "logind"});
        !failed.empty()) {
        return failed;
    }
    auto added = bus.call(kLogind, kLogindPath, "org.freedesktop.DBus.Mock.AddSession",
                          "'c1', 'seat0', 0, 'kari', True");
    return added.status == 0 ? "" : added.error;
}

// What logind lists, each inhibitor as "what mode who".
std::vector<std::string> inhibitors() {
    QDBusMessage reply = QDBusConnection::systemBus().call(QDBusMessage::createMethodCall(
        kLogind, kLogindPath, "org.freedesktop.login1.Manager", "ListInhibitors"));
    if (reply.type() != QDBusMessage::ReplyMessage) {
        return {"error: " + reply.errorMessage().toStdString()};
    }
    std::vector<std::string> listed;
    const auto list = reply.arguments().value(0).value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        QString what, who, why, mode;
        uint uid = 0, pid = 0;
        list.beginStructure();
        list >> what >> who >> why >> mode >> uid >> pid;
        list.endStructure();
        listed.push_back((what + " " + mode + " " + who).toStdString());
    }
    list.endArray();
    return listed;
}

// logind's locked hint and sleep signal, from a mocked logind holding one
// session, "c1", and a mocked screensaver, through the watcher into a monitor
// over a fake desktop.
TEST(Logind, SleepAndTheLockedHintEndTheOpenRow) {
    testing::SessionBus bus;
    ASSERT_EQ(startLogind(bus), "");
    ASSERT_EQ(bus.startMock(kScreenSaver, {"--template", "gnome_screensaver"}), "");
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

    // A screensaver that ends before logind says "unlocked" unlocks nothing.
    bus.call(kScreenSaver, "/org/gnome/ScreenSaver", "org.freedesktop.DBus.Mock.EmitSignal",
             "'org.gnome.ScreenSaver', 'ActiveChanged', 'b', [False]");
    testing::processEventsFor(300ms);
    EXPECT_EQ(rows().size(), 1u);

    clock.advance(60);
    bus.call(kLogind, kSession, "org.freedesktop.login1.Session.SetLockedHint", "False");
    // Unlocking re-reads the front application.
    ASSERT_TRUE(testing::processEventsUntil([&] { return rows().size() == 2; }, 5s));
    EXPECT_FALSE(rows()[1].endTime);

    clock.advance(60);
    bus.call(kLogind, kLogindPath, "org.freedesktop.DBus.Mock.EmitSignal",
             "'org.freedesktop.login1.Manager', 'PrepareForSleep', 'b', [True]");
    ASSERT_TRUE(testing::processEventsUntil([&] { return rows()[1].endTime.has_value(); }, 5s));
    EXPECT_EQ(rows()[1].endTime, clock.now());
    monitor.stop();
}

// Autostarted under some desktops, the program is in no session of its own
// (the mock knows no process): it follows the user's display session.
TEST(Logind, WithoutASessionOfItsOwnItFollowsTheUsersDisplaySession) {
    testing::SessionBus bus;
    ASSERT_EQ(startLogind(bus), "");
    ASSERT_EQ(
        bus.call(kLogind, "/org/freedesktop/login1/user/0", "org.freedesktop.DBus.Properties.Set",
                 "'org.freedesktop.login1.User', 'Display', "
                 "dbus.Struct(('c1', dbus.ObjectPath('" +
                     std::string(kSession) + "')), signature='so', variant_level=1)")
            .status,
        0);
    // The template's GetUser adds a number to a text and fails.
    ASSERT_EQ(bus.call(kLogind, kLogindPath, "org.freedesktop.DBus.Mock.AddMethod",
                       "'org.freedesktop.login1.Manager', 'GetUser', 'u', 'o', "
                       "'ret = \"/org/freedesktop/login1/user/%d\" % args[0]'")
                  .status,
              0);
    testing::ScopedEnv noSession("XDG_SESSION_ID", "");
    testing::ensureCoreApplication();
    SessionWatcher watcher;
    bool locked = false;
    QObject::connect(&watcher, &SessionWatcher::locked, [&] { locked = true; });
    bus.call(kLogind, kSession, "org.freedesktop.login1.Session.SetLockedHint", "True");
    EXPECT_TRUE(testing::processEventsUntil([&] { return locked; }, 5s));
}

// The delay inhibitor is held whenever the machine runs, still held while
// willSleep() is handled, released right after, and taken once again on
// waking; sleep and shutdown alike. Only our own session's removal ends it.
TEST(Logind, InhibitorSpansWillSleepAndOnlyOurSessionEnds) {
    testing::SessionBus bus;
    ASSERT_EQ(startLogind(bus), "");
    testing::ScopedEnv session("XDG_SESSION_ID", "c1");
    testing::ensureCoreApplication();
    auto emitSignal = [&](const std::string& name, const std::string& signature,
                          const std::string& arguments) {
        return bus
            .call(kLogind, kLogindPath, "org.freedesktop.DBus.Mock.EmitSignal",
                  "'org.freedesktop.login1.Manager', '" + name + "', '" + signature + "', [" +
                      arguments + "]")
            .status;
    };

    SessionWatcher watcher;
    const std::vector<std::string> held{"sleep:shutdown delay Kvillo"};
    EXPECT_EQ(inhibitors(), held);
    std::vector<std::vector<std::string>> heldDuringWillSleep;
    int wakes = 0;
    int ends = 0;
    QObject::connect(&watcher, &SessionWatcher::willSleep,
                     [&] { heldDuringWillSleep.push_back(inhibitors()); });
    QObject::connect(&watcher, &SessionWatcher::woke, [&] { ++wakes; });
    QObject::connect(&watcher, &SessionWatcher::sessionEnded, [&] { ++ends; });

    // A stray "false" while running takes no second inhibitor and is no
    // wake-up: releasing one would then leave one listed.
    ASSERT_EQ(emitSignal("PrepareForSleep", "b", "False"), 0);
    for (const std::string signal : {"PrepareForSleep", "PrepareForShutdown"}) {
        SCOPED_TRACE(signal);
        size_t sleeps = heldDuringWillSleep.size();
        ASSERT_EQ(emitSignal(signal, "b", "True"), 0);
        ASSERT_TRUE(testing::processEventsUntil(
            [&] { return heldDuringWillSleep.size() > sleeps && inhibitors().empty(); }, 5s));
        EXPECT_EQ(heldDuringWillSleep.back(), held);
        int wakesBefore = wakes;
        ASSERT_EQ(emitSignal(signal, "b", "False"), 0);
        ASSERT_TRUE(testing::processEventsUntil([&] { return wakes > wakesBefore; }, 5s));
        EXPECT_EQ(inhibitors(), held);
    }
    EXPECT_EQ(wakes, 2);

    ASSERT_EQ(emitSignal("SessionRemoved", "so", "'c2', '/org/freedesktop/login1/session/c2'"), 0);
    ASSERT_EQ(emitSignal("SessionRemoved", "so", std::string("'c1', '") + kSession + "'"), 0);
    ASSERT_EQ(emitSignal("SessionRemoved", "so", std::string("'c1', '") + kSession + "'"), 0);
    // Signals arrive in order: once this one is handled, so are those.
    ASSERT_EQ(emitSignal("PrepareForSleep", "b", "True"), 0);
    ASSERT_TRUE(testing::processEventsUntil([&] { return heldDuringWillSleep.size() == 3; }, 5s));
    EXPECT_EQ(ends, 1);
}

}  // namespace
}  // namespace kvillo
