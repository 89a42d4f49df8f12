// The real program on a private X display: its tray icon under a
// StatusNotifierWatcher on a private bus, and the main window when there
// is no tray.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <sstream>

#include "tests/support/process.h"
#include "tests/support/session_bus.h"
#include "tests/support/temp_folder.h"
#include "tests/support/x_server.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;
using testing::ChildProcess;
using testing::eventually;
using testing::runProcess;

constexpr const char* kWatcher = "org.kde.StatusNotifierWatcher";
constexpr const char* kItem = "org.kde.StatusNotifierItem";

// The widths of the program's windows on screen ("Kvillo" names the popup,
// 320 pixels wide, and the main window).
std::vector<int> visibleWindowWidths() {
    std::vector<int> widths;
    auto found = runProcess({"xdotool", "search", "--onlyvisible", "--name", "^Kvillo$"});
    std::istringstream ids(found.output);
    for (std::string id; ids >> id;) {
        auto geometry = runProcess({"xdotool", "getwindowgeometry", id}).output;
        std::smatch size;
        if (std::regex_search(geometry, size, std::regex(R"(Geometry: (\d+)x)"))) {
            widths.push_back(std::stoi(size[1]));
        }
    }
    return widths;
}

std::string firstVisibleWindow() {
    std::istringstream ids(
        runProcess({"xdotool", "search", "--onlyvisible", "--name", "^Kvillo$"}).output);
    std::string id;
    ids >> id;
    return id;
}

// Asks the window to close as a window manager's close button does.
void closeWindow(const std::string& id) {
    runProcess({"/usr/bin/python3", "-c",
                "import sys\n"
                "from Xlib import display, X, protocol\n"
                "d = display.Display()\n"
                "w = d.create_resource_object('window', int(sys.argv[1]))\n"
                "p = d.intern_atom('WM_PROTOCOLS')\n"
                "event = protocol.event.ClientMessage(window=w, client_type=p,\n"
                "    data=(32, [d.intern_atom('WM_DELETE_WINDOW'), X.CurrentTime, 0, 0, 0]))\n"
                "w.send_event(event, event_mask=X.NoEventMask)\n"
                "d.flush()\n",
                id});
}

// Whether a window of kvillo's is docked inside a trayer panel.
bool dockedInTrayer() {
    return runProcess({"/usr/bin/python3", "-c",
                       "from Xlib import display\n"
                       "d = display.Display()\n"
                       "def classes(w):\n"
                       "    try:\n"
                       "        return w.get_wm_class() or ()\n"
                       "    except Exception:\n"
                       "        return ()\n"
                       "def holds_kvillo(w):\n"
                       "    return any('kvillo' in classes(c) or holds_kvillo(c)\n"
                       "               for c in w.query_tree().children)\n"
                       "def find(w):\n"
                       "    if 'trayer' in classes(w) and holds_kvillo(w):\n"
                       "        return True\n"
                       "    return any(find(c) for c in w.query_tree().children)\n"
                       "print('docked' if find(d.screen().root) else 'not docked')\n"})
               .output == "docked\n";
}

class Tray : public ::testing::Test {
protected:
    std::map<std::string, std::string> environment() {
        auto environment = testing::homeEnvironment(home_);
        environment["DISPLAY"] = std::getenv("DISPLAY");
        environment["XDG_CURRENT_DESKTOP"] = "";  // which form of the mark it picks
        return environment;
    }

    testing::XServer x_;
    testing::TempFolder home_;
};

TEST_F(Tray, TheItemRegistersWithTheMarkAndItsActivationTogglesThePopup) {
    ASSERT_EQ(x_.error(), "");
    testing::SessionBus bus;
    ASSERT_EQ(bus.error(), "");
    ASSERT_EQ(bus.startMock(kWatcher, {kWatcher, "/StatusNotifierWatcher", kWatcher}), "");
    auto mock = [&](const std::string& method, const std::string& arguments) {
        return bus.call(kWatcher, "/StatusNotifierWatcher", "org.freedesktop.DBus.Mock." + method,
                        arguments);
    };
    mock("AddProperty", "'org.kde.StatusNotifierWatcher', 'IsStatusNotifierHostRegistered', True");
    mock("AddProperty", "'org.kde.StatusNotifierWatcher', 'ProtocolVersion', 0");
    mock("AddProperty",
         "'org.kde.StatusNotifierWatcher', 'RegisteredStatusNotifierItems', "
         "dbus.Array([], signature='s')");
    mock("AddMethod", "'org.kde.StatusNotifierWatcher', 'RegisterStatusNotifierItem', 's', '', ''");

    std::filesystem::create_directories(home_.file("config/kvillo"));
    testing::writeFile(home_.file("config/kvillo/app.kvillo.shared.json"), R"({"language": "nb"})");
    ChildProcess kvillo({KVILLO_BINARY, "--port", "0"}, environment());
    std::smatch item;
    std::string calls;
    ASSERT_TRUE(eventually(
        [&] {
            calls = mock("GetMethodCalls", "'RegisterStatusNotifierItem'").output;
            return std::regex_search(calls, item, std::regex(R"(:1\.\d+)"));
        },
        20s))
        << calls << kvillo.standardError();
    const std::string name = item[0];
    auto property = [&](const std::string& which) {
        return bus
            .call(name, "/StatusNotifierItem", "org.freedesktop.DBus.Properties.Get",
                  "'org.kde.StatusNotifierItem', '" + which + "'")
            .output;
    };
    EXPECT_EQ(property("IconName"), "io.kvillo.Kvillo\n");
    EXPECT_NE(property("ToolTip").find("'Kvillo'"), std::string::npos) << property("ToolTip");

    auto activate = [&] {
        return bus.call(name, "/StatusNotifierItem", std::string(kItem) + ".Activate", "100, 5");
    };
    activate();
    EXPECT_TRUE(eventually([] { return visibleWindowWidths() == std::vector<int>{320}; }, 10s))
        << kvillo.standardError();
    activate();
    EXPECT_TRUE(eventually([] { return visibleWindowWidths().empty(); }, 10s));

    // Another start, with no main window made yet, brings the popup.
    ChildProcess second({KVILLO_BINARY, "--port", "0"}, environment());
    EXPECT_EQ(second.wait(10s), 0) << second.standardError();
    EXPECT_TRUE(eventually([] { return visibleWindowWidths() == std::vector<int>{320}; }, 10s));

    // The context menu, for hosts that open it on a single click: its
    // "Oversikt" closes the popup and opens the main window.
    auto layout = bus.call(name, "/MenuBar", "com.canonical.dbusmenu.GetLayout",
                           "0, -1, dbus.Array([], signature='s')")
                      .output;
    for (const char* label :
         {"Åpne menyen", "Oversikt", "Innstillinger", "Sett logging på pause", "Avslutt Kvillo"}) {
        EXPECT_NE(layout.find(std::string("'") + label + "'"), std::string::npos) << label;
    }
    std::smatch overview;
    ASSERT_TRUE(std::regex_search(
        layout, overview, std::regex(R"(Int32\((\d+)\), dbus\.Dictionary\(\{[^{}]*'Oversikt')")))
        << layout;
    bus.call(name, "/MenuBar", "com.canonical.dbusmenu.Event",
             std::string(overview[1]) + ", 'clicked', 0, 0");
    EXPECT_TRUE(eventually(
        [] {
            auto widths = visibleWindowWidths();
            return widths.size() == 1 && widths[0] > 320;
        },
        10s))
        << kvillo.standardError();

    kvillo.signal(SIGTERM);
    EXPECT_EQ(kvillo.wait(10s), 0) << kvillo.standardError();
}

TEST_F(Tray, WithoutATrayTheMainWindowShowsAndAnotherStartBringsItBack) {
    ASSERT_EQ(x_.error(), "");
    auto noBus = environment();
    noBus["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + home_.file("no-bus");
    ChildProcess kvillo({KVILLO_BINARY, "--port", "0"}, noBus);
    ASSERT_TRUE(eventually([] { return !visibleWindowWidths().empty(); }, 30s))
        << kvillo.standardError();
    const auto widths = visibleWindowWidths();
    ASSERT_EQ(widths.size(), 1u);
    EXPECT_GT(widths[0], 320);
    EXPECT_NE(kvillo.standardError().find("kvillo: no system tray: neither a "
                                          "StatusNotifierWatcher with a host on the session bus "
                                          "nor an XEmbed tray; showing the main window instead\n"),
              std::string::npos)
        << kvillo.standardError();

    // Closing hides it and keeps its frame.
    closeWindow(firstVisibleWindow());
    ASSERT_TRUE(eventually([] { return visibleWindowWidths().empty(); }, 10s));
    auto settings = testing::readFile(home_.file("config/kvillo/app.kvillo.shared.json"));
    EXPECT_NE(settings.find("\"mainWindowFrame\""), std::string::npos) << settings;

    ChildProcess second({KVILLO_BINARY, "--port", "0"}, noBus);
    EXPECT_EQ(second.wait(10s), 0) << second.standardError();
    EXPECT_TRUE(eventually([&] { return visibleWindowWidths() == widths; }, 10s));

    kvillo.signal(SIGTERM);
    EXPECT_EQ(kvillo.wait(10s), 0) << kvillo.standardError();
}

// An XEmbed tray alone (no session bus at all): the icon docks there and no
// window is shown instead.
TEST_F(Tray, WithOnlyAnXEmbedTrayTheIconDocks) {
    ASSERT_EQ(x_.error(), "");
    ChildProcess trayer({"trayer", "--edge", "top", "--align", "right", "--widthtype", "request",
                         "--height", "24"});
    auto noBus = environment();
    noBus["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + home_.file("no-bus");
    ChildProcess kvillo({KVILLO_BINARY, "--port", "0"}, noBus);
    EXPECT_TRUE(eventually(dockedInTrayer, 20s)) << kvillo.standardError();
    EXPECT_TRUE(visibleWindowWidths().empty());
    EXPECT_EQ(kvillo.standardError().find("no system tray"), std::string::npos);
    kvillo.signal(SIGTERM);
    EXPECT_EQ(kvillo.wait(10s), 0) << kvillo.standardError();
}

}  // namespace
}  // namespace kvillo
