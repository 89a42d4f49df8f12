#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tests/support/process.h"

namespace kvillo::testing {

// A private X server for tests: Xvfb on a free display with openbox managing
// its windows, DISPLAY pointing at it for the life of the object (and back to
// what it was afterwards, so a test can start a second one). Tests that need
// it carry the CTest label "x11".
class XServer {
public:
    XServer();
    ~XServer();
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    // Empty when the server and its window manager run; else what failed.
    const std::string& error() const { return error_; }

    // Gives `windowID` (as xdotool and xprop write it) the focus and waits
    // until the window manager has made it the active window.
    static bool activate(const std::string& windowID);

    // Waits until the window manager has adopted the window.
    static bool waitUntilManaged(const std::string& windowID);

    // Stops and continues the window manager, to stand for one that is slow
    // to follow what happens to windows. The destructor continues it too.
    void pauseWindowManager();
    void resumeWindowManager();

    // Ends the server at once, as a crash or a logout does.
    void kill();

private:
    std::unique_ptr<ChildProcess> xvfb_;
    std::unique_ptr<ChildProcess> windowManager_;
    std::string error_;
    std::optional<std::string> previousDisplay_;
};

}  // namespace kvillo::testing
