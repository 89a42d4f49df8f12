#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <thread>

#include "core/store/database.h"
#include "platform/linux/x11_session.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;
using testing::ChildProcess;
using testing::eventually;
using testing::TempFolder;

// A private X server with a window manager, applications described by
// .desktop files in a temporary XDG data folder, and three windows:
// an editor with a UTF-8 title, a notes program with a Latin-1 WM_NAME, a
// program no .desktop file knows, and an old one titled in COMPOUND_TEXT.
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

        // Xvfb picks a free display and writes its number to standard output.
        xvfb_ = new ChildProcess({"Xvfb", "-displayfd", "1", "-noreset", "-screen", "0",
                                  "640x480x24", "-nolisten", "tcp"});
        ASSERT_TRUE(
            eventually([] { return xvfb_->standardOutput().find('\n') != std::string::npos; }, 10s))
            << xvfb_->standardError();
        std::string display =
            ":" + xvfb_->standardOutput().substr(0, xvfb_->standardOutput().find('\n'));
        ::setenv("DISPLAY", display.c_str(), 1);
        auto rootHas = [](const char* property) {
            return testing::runProcess({"xprop", "-root", property}).output.find("not found") ==
                   std::string::npos;
        };
        ASSERT_TRUE(eventually(
            [] {
                return testing::runProcess({"xprop", "-root"}).status == 0;
            },
            10s));
        openbox_ =
            new ChildProcess({"openbox"}, {{"XDG_DATA_DIRS", "/usr/local/share:/usr/share"}});
        ASSERT_TRUE(eventually([&] { return rootHas("_NET_SUPPORTING_WM_CHECK"); }, 10s))
            << openbox_->standardError();
        windows_ = new ChildProcess(
            {"/usr/bin/python3", std::string(SOURCE_DIR) + "/make_windows.py",
             "exampleeditor|ExampleEditor|main.cpp \u2014 Editor|net|4242",
             "example-notes|Notes|Caf\u00e9 notes|latin1|4343",
             "mystery|Mystery Tool|Secret|net|4444", "legacy|Legacy|Gammel caf\u00e9|ctext|4545"});
        ASSERT_TRUE(eventually(
            [] {
                std::string output = windows_->standardOutput();
                return std::count(output.begin(), output.end(), '\n') == 4;
            },
            10s))
            << windows_->standardError();
        std::istringstream ids(windows_->standardOutput());
        for (auto& id : ids_) {
            ids >> id;
            // The window manager takes a moment to adopt a new window.
            ASSERT_TRUE(eventually(
                [&] {
                    return testing::runProcess({"xprop", "-id", id, "_NET_WM_DESKTOP"})
                               .output.find("not found") == std::string::npos;
                },
                10s));
        }
        static int argc = 1;
        static char name[] = "x11_session_test";
        static char* argv[] = {name, nullptr};
        application_ = new QCoreApplication(argc, argv);
    }

    static void TearDownTestSuite() {
        delete application_;
        delete windows_;
        delete openbox_;
        delete xvfb_;
        delete home_;
    }

    static void activate(int window) {
        auto result = testing::runProcess({"xdotool", "windowactivate", "--sync", ids_[window]});
        ASSERT_EQ(result.status, 0) << result.error;
    }

    static void processEvents(std::chrono::milliseconds time) {
        QEventLoop loop;
        QTimer::singleShot(static_cast<int>(time.count()), &loop, &QEventLoop::quit);
        loop.exec();
    }

    static TempFolder* home_;
    static ChildProcess* xvfb_;
    static ChildProcess* openbox_;
    static ChildProcess* windows_;
    static std::string ids_[4];
    static QCoreApplication* application_;
};

TempFolder* X11::home_ = nullptr;
ChildProcess* X11::xvfb_ = nullptr;
ChildProcess* X11::openbox_ = nullptr;
ChildProcess* X11::windows_ = nullptr;
std::string X11::ids_[4];
QCoreApplication* X11::application_ = nullptr;

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
        EXPECT_EQ(front->name, row.name);
        EXPECT_EQ(front->bundleID, row.id);
        EXPECT_EQ(front->processID, row.pid);
        EXPECT_EQ(session.activeWindowTitle(), row.title);
    }
    activate(2);
    auto retitle = testing::runProcess({"xprop", "-id", ids_[2], "-f", "_NET_WM_NAME", "8u", "-set",
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
    processEvents(400ms);
    changes = 0;
    activate(1);
    processEvents(400ms);
    EXPECT_EQ(changes, 1);
    activate(1);  // already active: no change
    processEvents(400ms);
    EXPECT_EQ(changes, 1);
}

TEST_F(X11, IdleTimeGrowsAndInputResetsIt) {
    X11Session session;
    testing::runProcess({"xdotool", "mousemove", "10", "10"});
    std::this_thread::sleep_for(1200ms);
    double idle = session.secondsSinceLastInput();
    EXPECT_GE(idle, 1.0);
    testing::runProcess({"xdotool", "mousemove", "50", "60"});
    EXPECT_LT(session.secondsSinceLastInput(), idle);
}

TEST_F(X11, HeadlessKvilloRecordsTheWindowsForReal) {
    TempFolder home;
    std::map<std::string, std::string> environment{
        {"HOME", home.path()},
        {"XDG_CONFIG_HOME", home.file("config")},
        {"DBUS_SESSION_BUS_ADDRESS", ""},
    };
    std::string data = std::getenv("XDG_DATA_HOME");
    std::string database = data + "/Kvillo/activities.db";
    std::filesystem::remove(database);
    activate(0);
    ChildProcess kvillo({KVILLO_BINARY, "--headless", "--port", "0"}, environment);
    ASSERT_TRUE(eventually([&] { return kvillo.holdsOpen(database); }, 10s));
    std::this_thread::sleep_for(5500ms);  // one tick reads the title
    activate(1);
    std::this_thread::sleep_for(600ms);
    activate(2);
    std::this_thread::sleep_for(600ms);
    kvillo.signal(SIGTERM);
    ASSERT_EQ(kvillo.wait(10s), 0) << kvillo.standardError();

    Database db(database);
    auto rows = db.fetchActivities(0, 4e9);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0].appName, "Redigerer");
    EXPECT_EQ(rows[0].bundleID, "org.example.Editor");
    EXPECT_EQ(rows[0].title, "main.cpp \u2014 Editor");
    EXPECT_EQ(rows[1].appName, "Notes, daily");
    EXPECT_EQ(rows[0].endTime, rows[1].startTime);
    EXPECT_EQ(rows[2].appName, "Mystery Tool");
    EXPECT_FALSE(rows[2].bundleID);
    EXPECT_TRUE(rows[2].endTime);  // closed at SIGTERM
}

}  // namespace
}  // namespace kvillo
