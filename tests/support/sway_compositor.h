#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "tests/support/process.h"
#include "tests/support/temp_folder.h"
#include "tests/support/test_window.h"

namespace kvillo::testing {

// A private headless sway for tests, with XWayland, run as the user nobody
// when the tests run as root (sway refuses root). WAYLAND_DISPLAY points at
// it (as a full path, so no runtime folder is needed) for the life of the
// object. Tests that need it carry the CTest label "wayland".
class SwayCompositor {
public:
    SwayCompositor();
    ~SwayCompositor();
    SwayCompositor(const SwayCompositor&) = delete;
    SwayCompositor& operator=(const SwayCompositor&) = delete;

    // Empty when sway runs; else what failed.
    const std::string& error() const { return error_; }
    // What a client of this compositor needs in its environment, XWayland's
    // DISPLAY included.
    std::map<std::string, std::string> clientEnvironment() const;

    // Opens a test window of `appID` titled `title`, native or through
    // XWayland, and waits until sway has given it the focus (a new window
    // takes it); null when it did not come.
    std::unique_ptr<TestWindow> open(const std::string& appID, const std::string& title,
                                     bool x11 = false) const;

    // Gives the window of `appID` (for an XWayland window: its X11 class)
    // the focus and waits until it has it.
    bool focus(const std::string& appID, bool x11 = false) const;
    // The app id (or X11 class) of the focused window; empty for none.
    std::string focusedAppID() const;
    // One key press, as from a user at the keyboard.
    void type() const;
    // swaylock, until the returned process goes.
    std::unique_ptr<ChildProcess> lock() const;
    // Ends sway at once, as a crash does.
    void kill();

private:
    ProcessResult swaymsg(const std::vector<std::string>& arguments) const;

    TempFolder runtime_;
    std::unique_ptr<ChildProcess> sway_;
    std::string socket_;
    std::string ipcSocket_;
    std::string x11Display_;
    std::string error_;
    std::optional<ScopedEnv> waylandDisplay_;
};

}  // namespace kvillo::testing
