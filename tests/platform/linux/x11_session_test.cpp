#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QObject>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "core/store/database.h"
#include "core/time/system_clock.h"
#include "platform/linux/x11_session.h"
#include "tests/support/process.h"
#include "tests/support/qt_events.h"
#include "tests/support/temp_folder.h"
#include "tests/support/x_server.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;
using testing::ChildProcess;
using testing::eventually;
using testing::TempFolder;
using testing::XServer;

// A private X server, applications described by .desktop files in a
// temporary XDG data folder, and four windows: an editor with a UTF-8
// title, a notes program with a Latin-1 WM_NAME, a program no .desktop file
// knows, and an old one titled in COMPOUND_TEXT.
class X11 : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        home_ = new TempFolder;
        std::filesystem::create_directories(home_->file("data/applications/example"));
        testing::writeFile(home_->file("data/applications/org.example.Editor.desktop"),
                           "[Desktop Entry]\nType=Application\nName=Editor\n"
                           "Name[nb]=Redigerer\nStartupWMClass=ExampleEditor\nExec=editor\n");
        testing::writeFile(home_->file("data/applications/example/notes.desktop"),
                           "[Desktop Entry]\nType=Application\nName=Notes, daily\nExec=notes\n");
        ::setenv("XDG_DATA_HOME", home_->file("data").c_str(), 1);
        ::setenv("XDG_DATA_DIRS", home_->file("none").c_str(), 1);
        ::setenv("LANG", "nb_NO.UTF-8", 1);

        server_ = new XServer;
        if (!server_->error().empty()) {
            setUpError_ = server_->error();
            return;
        }
        windows_ = new ChildProcess(
            {"/usr/bin/python3", std::string(SOURCE_DIR) + "/make_windows.py",
             "exampleeditor|ExampleEditor|main.cpp \u2014 Editor|net|4242",
             "example-notes|Notes|Caf\u00e9 notes|latin1|4343",
             "mystery|Mystery Tool|Secret|net|4444", "legacy|Legacy|Gammel caf\u00e9|ctext|4545"});
        bool mapped = eventually(
            [] {
                std::string output = windows_->standardOutput();
                return std::count(output.begin(), output.end(), '\n') == 4;
            },
            30s);
        if (!mapped) {
            setUpError_ = "no test windows: " + windows_->standardError();
            return;
        }
        std::istringstream ids(windows_->standardOutput());
        for (auto& id : ids_) {
            ids >> id;
            if (!XServer::waitUntilManaged(id)) {
                setUpError_ = "openbox did not manage window " + id;
            }
        }
        testing::ensureCoreApplication();
    }

    // A failed set-up fails each test; asserting in SetUpTestSuite would
    // only skip them.
    void SetUp() override { ASSERT_EQ(setUpError_, ""); }

    static void TearDownTestSuite() {
        delete windows_;
        delete server_;
        delete home_;
    }

    static void activate(int window) { ASSERT_TRUE(XServer::activate(ids_[window])); }

    static std::string setUpError_;
    static TempFolder* home_;
    static XServer* server_;
    static ChildProcess* windows_;
    static std::string ids_[4];
};

std::string X11::setUpError_;
TempFolder* X11::home_ = nullptr;
XServer* X11::server_ = nullptr;
ChildProcess* X11::windows_ = nullptr;
std::string X11::ids_[4];

TEST_F(X11, NamesApplicationsByTheirDesktopFiles) {
    X11Session session;
    ASSERT_TRUE(session.isConnected());
    struct Row {
        int window;
        std::optional<std::string> name, id, title;
        int pid;
    };
    const Row rows[] = {
        {0, "Redigerer", "org.example.Editor", "main.cpp \u2014 Editor", 4242},
        {1, "Notes, daily", "example-notes", "Caf\u00e9 notes", 4343},
        {2, "Mystery Tool", std::nullopt, "Secret", 4444},
        {3, "Legacy", std::nullopt, "Gammel caf\u00e9", 4545},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.window);
        activate(row.window);
        auto front = session.frontApplication();
        ASSERT_TRUE(front);
        EXPECT_EQ(*front, (FrontApplication{row.name, row.id, row.pid}));
        EXPECT_EQ(session.activeWindowTitle(), row.title);
    }
    auto retitle = testing::runProcess({"xprop", "-id", ids_[3], "-f", "_NET_WM_NAME", "8u", "-set",
                                        "_NET_WM_NAME", "Ny tittel \u00e6\u00f8\u00e5"});
    ASSERT_EQ(retitle.status, 0) << retitle.error;
    EXPECT_EQ(session.activeWindowTitle(), "Ny tittel \u00e6\u00f8\u00e5");
    EXPECT_FALSE(session.isDisplayAsleep());  // Xvfb has no DPMS to sleep with
}

TEST_F(X11, ActivationsArriveAsEventsOncePerSwitch) {
    X11Session session;
    int changes = 0;
    QObject::connect(&session, &X11Session::activeWindowChanged, [&] { ++changes; });
    activate(0);
    testing::processEventsUntil([&] { return changes > 0; }, 2s);
    changes = 0;
    activate(1);
    EXPECT_TRUE(testing::processEventsUntil([&] { return changes == 1; }, 2s));
    activate(1);  // already active: no change, and none after the debounce
    testing::processEventsFor(400ms);
    EXPECT_EQ(changes, 1);
}

// The program in front exits while the window manager is too slow to say so:
// _NET_ACTIVE_WINDOW still names the destroyed window.
TEST_F(X11, AClosedProgramIsNotInFront) {
    X11Session session;
    ChildProcess doomed({"/usr/bin/python3", std::string(SOURCE_DIR) + "/make_windows.py",
                         "doomed|Doomed|Last words|net|4646"});
    ASSERT_TRUE(
        eventually([&] { return doomed.standardOutput().find('\n') != std::string::npos; }, 30s))
        << doomed.standardError();
    std::string id = doomed.standardOutput().substr(0, doomed.standardOutput().find('\n'));
    ASSERT_TRUE(XServer::waitUntilManaged(id));
    ASSERT_TRUE(XServer::activate(id));
    ASSERT_EQ(session.frontApplication().value_or(FrontApplication{}).processID, 4646);
    int changes = 0;
    QObject::connect(&session, &X11Session::activeWindowChanged, [&] { ++changes; });
    testing::processEventsUntil([&] { return changes > 0; }, 2s);  // the activation's own
    changes = 0;

    auto activeWindowIsTheDeadOne = [&] {
        return testing::runProcess({"xprop", "-root", "_NET_ACTIVE_WINDOW"})
                   .output.find(id.substr(2)) != std::string::npos;
    };
    server_->pauseWindowManager();
    struct Resume {
        ~Resume() { server_->resumeWindowManager(); }  // for the later tests, should this fail
    } resume;
    doomed.signal(SIGKILL);
    doomed.wait(10s);
    ASSERT_TRUE(eventually(
        [&] {
            return testing::runProcess({"xwininfo", "-id", id}).status != 0;
        },
        10s));
    ASSERT_TRUE(activeWindowIsTheDeadOne());
    // Before any event is read: the query itself learns of the destruction.
    EXPECT_FALSE(session.frontApplication());
    EXPECT_FALSE(session.activeWindowTitle());
    EXPECT_TRUE(testing::processEventsUntil([&] { return changes == 1; }, 2s));

    server_->resumeWindowManager();
    ASSERT_TRUE(eventually([&] { return !activeWindowIsTheDeadOne(); }, 10s));
    EXPECT_NE(session.frontApplication().value_or(FrontApplication{}).processID, 4646);
}

TEST_F(X11, IdleTimeGrowsAndInputResetsIt) {
    X11Session session;
    testing::runProcess({"xdotool", "mousemove", "10", "10"});
    ASSERT_TRUE(eventually([&] { return session.secondsSinceLastInput() >= 1.0; }, 5s));
    double idle = session.secondsSinceLastInput();
    testing::runProcess({"xdotool", "mousemove", "50", "60"});
    EXPECT_LT(session.secondsSinceLastInput(), idle);
}

// What `xset s activate` and `xset s reset` do, without needing xset.
bool forceScreenSaver(const std::string& mode) {
    return testing::runProcess({"/usr/bin/python3", "-c",
                                "from Xlib import display, X\n"
                                "d = display.Display()\n"
                                "d.force_screen_saver(X.ScreenSaver" +
                                    mode + ")\nd.sync()\n"})
               .status == 0;
}

// The server repeats On and Off when forced to a state it is already in;
// only changes come through.
TEST_F(X11, TheScreenSaverSendsDisplaySleep) {
    X11Session session;
    std::vector<bool> changes;
    QObject::connect(&session, &X11Session::displaySleepChanged,
                     [&](bool asleep) { changes.push_back(asleep); });
    const struct {
        const char* command;
        std::vector<bool> changes;
    } steps[] = {
        {"Active", {true}},
        {"Active", {true}},
        {"Reset", {true, false}},
        {"Reset", {true, false}},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.command);
        ASSERT_TRUE(forceScreenSaver(step.command));
        testing::processEventsUntil([&] { return changes == step.changes; }, 2s);
        // A round trip on the session's connection brings in any notify the
        // server sent before it, repeats included.
        EXPECT_EQ(session.isDisplayAsleep(), step.changes.back());
        QCoreApplication::processEvents();
        EXPECT_EQ(changes, step.changes);
    }
}

TEST_F(X11, ALostServerIsReportedOnceAndAnswersNothing) {
    XServer doomed;  // its own, so the other tests keep theirs
    ASSERT_EQ(doomed.error(), "");
    X11Session session;
    ASSERT_TRUE(session.isConnected());
    int losses = 0;
    QObject::connect(&session, &X11Session::connectionLost, [&] { ++losses; });
    doomed.kill();
    EXPECT_TRUE(testing::processEventsUntil([&] { return losses > 0; }, 5s));
    EXPECT_FALSE(session.isConnected());
    EXPECT_FALSE(session.frontApplication());
    EXPECT_FALSE(session.activeWindowTitle());
    EXPECT_EQ(session.secondsSinceLastInput(), 0);
    EXPECT_FALSE(session.isDisplayAsleep());
    testing::processEventsFor(200ms);
    EXPECT_EQ(losses, 1);
}

TEST_F(X11, HeadlessKvilloRecordsTheWindowsForReal) {
    TempFolder home;
    std::string database = std::string(std::getenv("XDG_DATA_HOME")) + "/Kvillo/activities.db";
    std::filesystem::remove(database);
    activate(0);
    ChildProcess kvillo({KVILLO_BINARY, "--headless", "--port", "0"},
                        {{"HOME", home.path()},
                         {"XDG_CONFIG_HOME", home.file("config")},
                         {"DBUS_SESSION_BUS_ADDRESS", ""}});
    ASSERT_TRUE(eventually([&] { return kvillo.holdsOpen(database); }, 10s));
    auto rows = [&] { return Database(database).fetchActivities(0, 4e9); };
    // The title comes with the monitor's first tick.
    ASSERT_TRUE(eventually([&] { return !rows().empty() && rows()[0].title; }, 10s));
    activate(1);
    ASSERT_TRUE(eventually([&] { return rows().size() == 2; }, 5s));
    activate(2);
    ASSERT_TRUE(eventually([&] { return rows().size() == 3; }, 5s));
    kvillo.signal(SIGTERM);
    ASSERT_EQ(kvillo.wait(10s), 0) << kvillo.standardError();

    auto recorded = rows();
    ASSERT_EQ(recorded.size(), 3u);
    EXPECT_EQ(recorded[0].appName, "Redigerer");
    EXPECT_EQ(recorded[0].bundleID, "org.example.Editor");
    EXPECT_EQ(recorded[0].title, "main.cpp \u2014 Editor");
    EXPECT_EQ(recorded[1].appName, "Notes, daily");
    EXPECT_EQ(recorded[0].endTime, recorded[1].startTime);
    EXPECT_EQ(recorded[2].appName, "Mystery Tool");
    EXPECT_FALSE(recorded[2].bundleID);
    EXPECT_TRUE(recorded[2].endTime);  // closed at SIGTERM
}

// A logout takes the X server away under a running Kvillo, headless or in
// the tray (where Qt's own X layer ends the process): the row ends then, not
// half an hour later at the next start's repair.
TEST_F(X11, LosingTheServerEndsTheRowAtOnceInBothModes) {
    struct Mode {
        const char* name;
        std::vector<std::string> arguments;
    };
    const Mode modes[] = {{"headless", {"--headless"}}, {"tray", {}}};
    for (const auto& mode : modes) {
        SCOPED_TRACE(mode.name);
        XServer doomed;
        ASSERT_EQ(doomed.error(), "");
        ChildProcess window({"/usr/bin/python3", std::string(SOURCE_DIR) + "/make_windows.py",
                             "exampleeditor|ExampleEditor|main.cpp|net|4242"});
        ASSERT_TRUE(eventually([&] { return !window.standardOutput().empty(); }, 30s));
        std::string id = window.standardOutput().substr(0, window.standardOutput().find('\n'));
        ASSERT_TRUE(XServer::waitUntilManaged(id));
        ASSERT_TRUE(XServer::activate(id));

        TempFolder home;
        std::vector<std::string> command = {KVILLO_BINARY, "--port", "0"};
        command.insert(command.end(), mode.arguments.begin(), mode.arguments.end());
        auto environment = testing::homeEnvironment(home);
        environment["DISPLAY"] = std::getenv("DISPLAY");
        environment["DBUS_SESSION_BUS_ADDRESS"] = "";
        ChildProcess kvillo(command, environment);
        std::string database = home.file("data/Kvillo/activities.db");
        ASSERT_TRUE(eventually([&] { return kvillo.holdsOpen(database); }, 10s))
            << kvillo.standardError();
        auto rows = [&] { return Database(database).fetchActivities(0, 4e9); };
        ASSERT_TRUE(eventually([&] { return rows().size() == 1; }, 10s));

        double lost = SystemClock().now();
        doomed.kill();
        ASSERT_TRUE(kvillo.wait(10s)) << "still running without its display";
        double gone = SystemClock().now();
        auto recorded = rows();
        ASSERT_EQ(recorded.size(), 1u);
        ASSERT_TRUE(recorded[0].endTime) << kvillo.standardError();
        EXPECT_GE(*recorded[0].endTime, lost - 1);
        EXPECT_LE(*recorded[0].endTime, gone);
    }
}

}  // namespace
}  // namespace kvillo
