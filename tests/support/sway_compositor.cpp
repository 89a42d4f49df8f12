#include "tests/support/sway_compositor.h"

#include <nlohmann/json.hpp>

#include <unistd.h>

#include <csignal>
#include <filesystem>

namespace kvillo::testing {
namespace {

using namespace std::chrono_literals;
constexpr auto kStartTimeout = 20s;

// The focused node's app id, or its X11 class for an XWayland window.
std::string focusedIn(const nlohmann::json& node) {
    if (node.value("focused", false) && node.value("type", "") == "con") {
        if (node.contains("app_id") && node["app_id"].is_string()) {
            return node["app_id"];
        }
        if (node.contains("window_properties")) {
            return node["window_properties"].value("class", "");
        }
    }
    for (const char* children : {"nodes", "floating_nodes"}) {
        if (node.contains(children)) {
            for (const auto& child : node[children]) {
                if (auto found = focusedIn(child); !found.empty()) {
                    return found;
                }
            }
        }
    }
    return "";
}

}  // namespace

SwayCompositor::SwayCompositor() {
    const std::string folder = runtime_.path();
    writeFile(folder + "/sway.conf", "output HEADLESS-1 resolution 1280x720\nxwayland enable\n");
    std::vector<std::string> command;
    if (::geteuid() == 0) {
        // sway drops no privileges of its own and refuses to run as root.
        ::chown(folder.c_str(), 65534, 65534);
        command = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
    }
    command.insert(command.end(),
                   {"env", "-i", "PATH=/usr/bin:/bin", "HOME=" + folder,
                    "XDG_RUNTIME_DIR=" + folder, "WLR_BACKENDS=headless", "WLR_RENDERER=pixman",
                    "WLR_LIBINPUT_NO_DEVICES=1", "sway", "-c", folder + "/sway.conf"});
    sway_ = std::make_unique<ChildProcess>(command);
    auto findSockets = [&] {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            const std::string name = entry.path().filename();
            if (name.rfind("sway-ipc.", 0) == 0) {
                ipcSocket_ = entry.path();
            } else if (name.rfind("wayland-", 0) == 0 && name.find('.') == std::string::npos) {
                socket_ = entry.path();
            }
        }
        return !ipcSocket_.empty() && !socket_.empty();
    };
    if (!eventually(findSockets, kStartTimeout)) {
        error_ = "sway did not start: " + sway_->standardError();
        return;
    }
    waylandDisplay_.emplace("WAYLAND_DISPLAY", socket_);
    // XWayland starts when its first client connects; the name it will
    // answer on is in the environment sway gives its children.
    const std::string displayFile = folder + "/display";
    swaymsg({"exec", "printf %s \"$DISPLAY\" > " + displayFile});
    if (!eventually([&] { return std::filesystem::exists(displayFile); }, kStartTimeout)) {
        error_ = "sway runs no commands";
        return;
    }
    eventually([&] { return !readFile(displayFile).empty(); }, 2s);
    x11Display_ = readFile(displayFile);
    if (::geteuid() == 0) {
        // XWayland lets in only its own user; the tests' X11 clients are root.
        auto allowed = runProcess({"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups",
                                   "env", "DISPLAY=" + x11Display_, "/usr/bin/python3", "-c",
                                   "from Xlib import display, X\n"
                                   "d = display.Display()\n"
                                   "d.change_hosts(X.HostInsert, 5, b'localuser\\x00root')\n"
                                   "d.sync()\n"});
        if (allowed.status != 0) {
            error_ = "XWayland does not let root in: " + allowed.error;
        }
    }
}

SwayCompositor::~SwayCompositor() {
    kill();
}

std::map<std::string, std::string> SwayCompositor::clientEnvironment() const {
    return {{"WAYLAND_DISPLAY", socket_}, {"DISPLAY", x11Display_}, {"SWAYSOCK", ipcSocket_}};
}

ProcessResult SwayCompositor::swaymsg(const std::vector<std::string>& arguments) const {
    std::vector<std::string> command{"swaymsg", "-s", ipcSocket_};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return runProcess(command);
}

std::unique_ptr<TestWindow> SwayCompositor::open(const std::string& appID, const std::string& title,
                                                 bool x11) const {
    auto environment = clientEnvironment();
    environment["GDK_BACKEND"] = x11 ? "x11" : "wayland";
    environment["XDG_RUNTIME_DIR"] = runtime_.path();  // GTK wants one
    auto window = std::make_unique<TestWindow>(runtime_.path(), appID, title, environment);
    // An XWayland window shows its class, which GTK derives from the
    // program's file name; any change of focus to a new window will do.
    const std::string before = focusedAppID();
    bool focused = eventually(
        [&] {
            const std::string now = focusedAppID();
            return x11 ? !now.empty() && now != before : now == appID;
        },
        kStartTimeout);
    return focused ? std::move(window) : nullptr;
}

std::string SwayCompositor::focusedAppID() const {
    auto tree = swaymsg({"-t", "get_tree"});
    if (tree.status != 0) {
        return "";
    }
    return focusedIn(nlohmann::json::parse(tree.output, nullptr, false));
}

bool SwayCompositor::focus(const std::string& appID, bool x11) const {
    swaymsg({"[" + std::string(x11 ? "class" : "app_id") + "=\"" + appID + "\"] focus"});
    return eventually([&] { return focusedAppID() == appID; }, kStartTimeout);
}

void SwayCompositor::type() const {
    runProcess({"wtype", "x"}, clientEnvironment());
}

std::unique_ptr<ChildProcess> SwayCompositor::lock() const {
    auto environment = clientEnvironment();
    environment["XDG_RUNTIME_DIR"] = runtime_.path();
    return std::make_unique<ChildProcess>(std::vector<std::string>{"swaylock", "-c", "000000"},
                                          environment);
}

void SwayCompositor::kill() {
    if (sway_) {
        sway_->signal(SIGKILL);
        sway_->wait(kStartTimeout);
        sway_.reset();
    }
}

}  // namespace kvillo::testing
