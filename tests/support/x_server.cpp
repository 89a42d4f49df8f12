#include "tests/support/x_server.h"

#include <csignal>
#include <cstdlib>

namespace kvillo::testing {
namespace {

using namespace std::chrono_literals;
// Generous, as a loaded CI machine can be slow to start programs; waiting
// ends as soon as they are up.
constexpr auto kStartTimeout = 30s;

bool rootHas(const char* property) {
    auto result = runProcess({"xprop", "-root", property});
    return result.status == 0 && result.output.find("not found") == std::string::npos;
}

}  // namespace

XServer::XServer() {
    if (const char* display = std::getenv("DISPLAY")) {
        previousDisplay_ = display;
    }
    // Xvfb picks a free display and writes its number to standard output.
    xvfb_ = std::make_unique<ChildProcess>(std::vector<std::string>{
        "Xvfb", "-displayfd", "1", "-noreset", "-screen", "0", "640x480x24", "-nolisten", "tcp"});
    if (!eventually([&] { return xvfb_->standardOutput().find('\n') != std::string::npos; },
                    kStartTimeout)) {
        error_ = "Xvfb did not start: " + xvfb_->standardError();
        return;
    }
    std::string display =
        ":" + xvfb_->standardOutput().substr(0, xvfb_->standardOutput().find('\n'));
    ::setenv("DISPLAY", display.c_str(), 1);
    if (!eventually([] { return runProcess({"xprop", "-root"}).status == 0; }, kStartTimeout)) {
        error_ = "Xvfb does not answer on " + display;
        return;
    }
    // openbox reads its theme from the system's data folders, whatever the
    // test has pointed XDG_DATA_DIRS at.
    windowManager_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"openbox"},
        std::map<std::string, std::string>{{"XDG_DATA_DIRS", "/usr/local/share:/usr/share"}});
    if (!eventually([] { return rootHas("_NET_SUPPORTING_WM_CHECK"); }, kStartTimeout)) {
        error_ = "openbox did not start: " + windowManager_->standardError();
    }
}

XServer::~XServer() {
    resumeWindowManager();
    windowManager_.reset();
    xvfb_.reset();
    if (previousDisplay_) {
        ::setenv("DISPLAY", previousDisplay_->c_str(), 1);
    } else {
        ::unsetenv("DISPLAY");
    }
}

void XServer::pauseWindowManager() {
    if (windowManager_) {
        windowManager_->signal(SIGSTOP);
    }
}

void XServer::resumeWindowManager() {
    if (windowManager_) {
        windowManager_->signal(SIGCONT);
    }
}

void XServer::kill() {
    if (xvfb_) {
        xvfb_->signal(SIGKILL);
        xvfb_->wait(kStartTimeout);
    }
}

bool XServer::activate(const std::string& windowID) {
    // `xdotool --sync` waits for ever when the window manager lets a request
    // pass (it does under load), so ask again until the root says so.
    auto isActive = [&] {
        auto active = runProcess({"xdotool", "getactivewindow"});
        return active.status == 0 && std::strtoul(active.output.c_str(), nullptr, 10) ==
                                         std::strtoul(windowID.c_str(), nullptr, 0);
    };
    for (int attempt = 0; attempt < 10; ++attempt) {
        runProcess({"xdotool", "windowactivate", windowID});
        if (eventually(isActive, std::chrono::seconds(1))) {
            return true;
        }
    }
    return false;
}

bool XServer::waitUntilManaged(const std::string& windowID) {
    auto managed = [&] {
        return runProcess({"xprop", "-id", windowID, "_NET_WM_DESKTOP"}).output.find("not found") ==
               std::string::npos;
    };
    // A window mapped while openbox is still starting can be missed by it
    // for good (seen under load); mapping it again asks anew.
    for (auto waited = 0s; waited < kStartTimeout; waited += 2s) {
        if (eventually(managed, 2s)) {
            return true;
        }
        runProcess({"xdotool", "windowunmap", windowID});
        runProcess({"xdotool", "windowmap", windowID});
    }
    return false;
}

}  // namespace kvillo::testing
