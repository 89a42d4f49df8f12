#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/process.h"
#include "tests/support/temp_folder.h"
#include "tests/support/test_window.h"

namespace kvillo::testing {

// A headless GNOME Shell 43 for tests, with Kvillo's Shell extension
// installed and switched on before it starts. It gets its own session bus
// and a private "system bus" carrying a mocked logind (session "c1", which
// the Shell takes as its own) and GDM (without which the Shell builds no
// lock screen), its own runtime, data and settings folders, and its
// overview closed once start-up has settled, so new windows take the focus.
// This process's bus variables point at its buses for the life of the
// object (Qt connects to a bus once per process: one Shell per test
// process). Tests that need it carry the CTest label "gnome". Everything
// started is ended by its process id.
class GnomeShell {
public:
    // `applications` get a .desktop file, so the Shell knows them by id.
    explicit GnomeShell(const std::vector<std::string>& applications = {});
    ~GnomeShell();
    GnomeShell(const GnomeShell&) = delete;
    GnomeShell& operator=(const GnomeShell&) = delete;

    // Empty when the Shell runs with its overview closed; else what failed.
    const std::string& error() const { return error_; }
    // From launching the Shell until it answered on the bus.
    std::chrono::milliseconds startTime() const { return startTime_; }

    // The environment of a program on this desktop: buses, Wayland
    // display, runtime and XDG folders.
    std::map<std::string, std::string> clientEnvironment() const;

    // Calls a method with `gdbus call` on the session bus (arguments in
    // GVariant text form); gives its output, or the error.
    ProcessResult call(const std::string& service, const std::string& path,
                       const std::string& interfaceAndMethod,
                       const std::vector<std::string>& arguments = {}) const;

    // A GTK test window (tests/support/test_window.py) with this app id and
    // title, as a Wayland client; it takes the focus once mapped. Gives its
    // number for the calls below.
    int openWindow(const std::string& appID, const std::string& title);
    bool retitleWindow(int window, const std::string& title);
    pid_t windowProcess(int window) const;
    // Closes it and waits until it ended; the focus goes back to the
    // window that had it before.
    bool closeWindow(int window);

    // As if the user touched a key (Mutter honours it for tests only).
    bool resetIdleTime() const;
    // Locks the screen and waits until the Shell says it is locked; unlocks
    // as logind does for a login manager (Session.Unlock) and waits until it
    // is unlocked.
    bool lock() const;
    bool unlock() const;

private:
    std::string startBuses();
    std::string startMocks();
    std::string installExtension(const std::vector<std::string>& applications) const;
    std::string startShell();
    std::string closeOverview() const;
    ProcessResult call(const std::string& service, const std::string& path,
                       const std::string& interfaceAndMethod,
                       const std::vector<std::string>& arguments,
                       std::chrono::seconds timeout) const;
    std::map<std::string, std::string> environment() const;
    bool screenLocked() const;
    std::vector<pid_t> shellChildren() const;
    void endStuckForks() const;

    TempFolder root_;
    std::string runtimeFolder_;
    std::string home_;
    std::string sessionBus_;
    std::string systemBus_;
    std::unique_ptr<ChildProcess> sessionDaemon_;
    std::unique_ptr<ChildProcess> systemDaemon_;
    std::vector<std::unique_ptr<ChildProcess>> mocks_;
    std::unique_ptr<ChildProcess> shell_;
    std::vector<std::unique_ptr<TestWindow>> windows_;
    // Children of the Shell first seen as unexecuted copies of it, and when.
    mutable std::map<pid_t, std::chrono::steady_clock::time_point> forks_;
    std::chrono::milliseconds startTime_{0};
    std::string error_;
};

}  // namespace kvillo::testing
