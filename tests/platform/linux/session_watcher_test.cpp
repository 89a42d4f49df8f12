#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include "core/capture/activity_monitor.h"
#include "platform/linux/session_watcher.h"
#include "tests/support/fake_clock.h"
#include "tests/support/fake_desktop.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;
using testing::ChildProcess;

// A private bus standing in for the system bus, with a mocked logind on it
// holding one session, "c1".
class Logind : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        bus_ = new ChildProcess({"dbus-daemon", "--session", "--nofork", "--print-address=1"});
        ASSERT_TRUE(testing::eventually(
            [] { return bus_->standardOutput().find('\n') != std::string::npos; }, 10s));
        address_ = bus_->standardOutput().substr(0, bus_->standardOutput().find('\n'));
        ::setenv("DBUS_SYSTEM_BUS_ADDRESS", address_.c_str(), 1);
        ::setenv("DBUS_SESSION_BUS_ADDRESS", address_.c_str(), 1);
        ::setenv("XDG_SESSION_ID", "c1", 1);
        logind_ = new ChildProcess(
            {"/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "logind"});
        ASSERT_TRUE(testing::eventually(
            [] {
                return call("org.freedesktop.DBus.Mock.AddSession", "/org/freedesktop/login1",
                            "'c1', 'seat0', 0, 'kari', True")
                           .status == 0;
            },
            10s))
            << logind_->standardError();
        static int argc = 1;
        static char name[] = "session_watcher_test";
        static char* argv[] = {name, nullptr};
        application_ = new QCoreApplication(argc, argv);
    }

    static void TearDownTestSuite() {
        delete application_;
        delete logind_;
        delete bus_;
    }

    // Calls a method of the mock with Python literal arguments.
    static testing::ProcessResult call(const std::string& method, const std::string& path,
                                       const std::string& arguments) {
        size_t dot = method.rfind('.');
        std::string script =
            "import dbus\n"
            "bus = dbus.bus.BusConnection('" +
            address_ +
            "')\n"
            "o = bus.get_object('org.freedesktop.login1', '" +
            path +
            "')\n"
            "dbus.Interface(o, '" +
            method.substr(0, dot) + "')." + method.substr(dot + 1) + "(" + arguments + ")\n";
        return testing::runProcess({"/usr/bin/python3", "-c", script});
    }

    static void processEvents(std::chrono::milliseconds time) {
        QEventLoop loop;
        QTimer::singleShot(static_cast<int>(time.count()), &loop, &QEventLoop::quit);
        loop.exec();
    }

    static ChildProcess* bus_;
    static ChildProcess* logind_;
    static std::string address_;
    static QCoreApplication* application_;
};

ChildProcess* Logind::bus_ = nullptr;
ChildProcess* Logind::logind_ = nullptr;
std::string Logind::address_;
QCoreApplication* Logind::application_ = nullptr;

TEST_F(Logind, SleepAndTheLockedHintEndTheOpenRow) {
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

    desktop.front = FrontApplication{.name = "Code", .bundleID = "code", .processID = 1};
    monitor.start();
    clock.advance(60);
    ASSERT_EQ(call("org.freedesktop.login1.Session.SetLockedHint",
                   "/org/freedesktop/login1/session/c1", "True")
                  .status,
              0);
    processEvents(500ms);
    auto rows = db.fetchActivities(0, 4e9);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].endTime, clock.now());

    clock.advance(60);
    call("org.freedesktop.login1.Session.SetLockedHint", "/org/freedesktop/login1/session/c1",
         "False");
    processEvents(500ms);
    rows = db.fetchActivities(0, 4e9);
    ASSERT_EQ(rows.size(), 2u);  // unlocking re-reads the front application
    EXPECT_FALSE(rows[1].endTime);

    clock.advance(60);
    call("org.freedesktop.DBus.Mock.EmitSignal", "/org/freedesktop/login1",
         "'org.freedesktop.login1.Manager', 'PrepareForSleep', 'b', [True]");
    processEvents(500ms);
    rows = db.fetchActivities(0, 4e9);
    EXPECT_EQ(rows[1].endTime, clock.now());
    monitor.stop();
}

}  // namespace
}  // namespace kvillo
