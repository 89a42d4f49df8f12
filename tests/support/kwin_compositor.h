#pragma once

#include <sys/types.h>

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "tests/support/process.h"
#include "tests/support/session_bus.h"
#include "tests/support/temp_folder.h"
#include "tests/support/test_window.h"

namespace kvillo::testing {

// A headless KWin 5.27 (Wayland, with XWayland) for tests, on a session bus
// of its own and a private "system bus" holding a mocked logind with the
// sessions "c1" and "auto" (KWin's screen locker sets LockedHint on
// .../session/auto). The bus variables and WAYLAND_DISPLAY (the socket's
// full path) point at them for the life of the object; so Qt code reaches
// them only if this is the first bus of the process (see SessionBus), and
// each test must run as its own process. Tests that use it carry the CTest
// label "kwin".
//
// KWin refuses no user, but CI runs as root and KWin is meant to run as the
// user of the session, so when this process is root it runs as nobody, in a
// runtime folder of nobody's; root clients may still connect to it. It runs
// from a copy of its binary: the installed one has file capabilities, which
// this container will not execute. XWayland serves only KWin's own user.
//
// Everything started here (buses, mock, KWin, windows) is killed by process
// id when the object goes. Waits poll every 50 ms and give up after 20 s.
class KWinCompositor {
public:
    KWinCompositor();
    ~KWinCompositor();
    KWinCompositor(const KWinCompositor&) = delete;
    KWinCompositor& operator=(const KWinCompositor&) = delete;

    // Empty when KWin is up on its buses; else what failed.
    const std::string& error() const { return error_; }

    // What a client of this KWin needs: WAYLAND_DISPLAY, XDG_RUNTIME_DIR and
    // the two bus addresses (for ChildProcess).
    std::map<std::string, std::string> environment() const;

    // Opens a GTK test window (native Wayland) with this app id and title
    // and waits until KWin manages it; KWin gives a new window the focus.
    // One window per app id. Empty on success; else what failed.
    std::string openWindow(const std::string& appID, const std::string& title);
    // The window sets this title; KWin learns it shortly after.
    bool retitle(const std::string& appID, const std::string& title);
    // The process showing the window; 0 for an app id not opened here.
    pid_t windowProcess(const std::string& appID) const;
    // Has KWin activate the window, and waits until it has.
    bool activate(const std::string& appID);

    // Ends idleness, as input would (org.freedesktop.ScreenSaver).
    bool simulateUserActivity();
    // Locks the screen and waits until KWin says it is locked. No greeter
    // runs here, so it stays locked until unlock().
    bool lock();
    // Unlocks through the mocked logind, as a greeter would after the
    // password, and waits until KWin says it is unlocked.
    bool unlock();

    // Loads and starts `script` (JavaScript for KWin's scripting API) under
    // `name`, and leaves it loaded; whether KWin took it.
    bool loadScript(const std::string& name, const std::string& script);
    bool isScriptLoaded(const std::string& name);

    // Ends KWin at once, as a crash does, and waits until it is gone.
    void kill();

private:
    std::string start();
    // Loads `script` with a function done() that unloads it, and waits until
    // it is gone (it called done(), or it failed and KWin dropped it);
    // unloads it after the time limit.
    bool runUntilDone(const std::string& name, const std::string& script);

    SessionBus sessionBus_;
    SessionBus systemBus_;
    TempFolder folder_;
    std::string runtimeFolder_;
    std::string socket_;
    // This fixture's own connection to the session bus, by QtDBus name.
    std::string connection_;
    std::unique_ptr<ChildProcess> kwin_;
    std::map<std::string, std::unique_ptr<TestWindow>> windows_;
    int scripts_ = 0;
    std::string error_;
    bool waylandDisplaySet_ = false;
    std::optional<std::string> previousWaylandDisplay_;
};

}  // namespace kvillo::testing
