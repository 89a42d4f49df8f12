#include "tests/support/gnome_shell.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace kvillo::testing {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// Generous, as a loaded CI machine can be slow to start programs; waiting
// ends as soon as they are up.
constexpr auto kStartTimeout = 30s;
constexpr auto kStepTimeout = 10s;
constexpr const char* kPython = "/usr/bin/python3";
constexpr const char* kDisplay = "wayland-kvillo";
constexpr const char* kExtension = "focus-bridge@kvillo.io";
constexpr const char* kSessionPath = "/org/freedesktop/login1/session/c1";

// Asks `condition` every 50 ms until it holds or `timeout` passes: each ask
// is a program started, which a Shell starting up on two cores feels.
template <typename Condition>
bool poll(Condition condition, std::chrono::milliseconds timeout) {
    return eventually(condition, timeout, std::chrono::milliseconds(50));
}

// The bus address a dbus-daemon printed, once it did.
std::string busAddress(ChildProcess& daemon) {
    std::string address;
    poll(
        [&] {
            std::string out = daemon.standardOutput();
            size_t end = out.find('\n');
            address = end == std::string::npos ? "" : out.substr(0, end);
            return !address.empty();
        },
        kStartTimeout);
    return address;
}

std::string userName() {
    const passwd* account = ::getpwuid(::getuid());
    return account ? account->pw_name : "root";
}

}  // namespace

GnomeShell::GnomeShell(const std::vector<std::string>& applications) {
    runtimeFolder_ = root_.file("run");
    home_ = root_.file("home");
    fs::create_directories(runtimeFolder_);
    ::chmod(runtimeFolder_.c_str(), 0700);
    fs::create_directories(home_);
    for (auto step : {&GnomeShell::startBuses, &GnomeShell::startMocks}) {
        if (error_ = (this->*step)(); !error_.empty()) {
            return;
        }
    }
    if (error_ = installExtension(applications); !error_.empty()) {
        return;
    }
    if (error_ = startShell(); !error_.empty()) {
        return;
    }
    error_ = closeOverview();
}

GnomeShell::~GnomeShell() {
    windows_.clear();
    // What the Shell started itself, then the Shell.
    for (pid_t child : shellChildren()) {
        ::kill(child, SIGKILL);
    }
    shell_.reset();
    mocks_.clear();
    // Services the buses started (dconf, the accessibility bus) end with
    // their bus.
    sessionDaemon_.reset();
    systemDaemon_.reset();
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
    ::unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
}

std::map<std::string, std::string> GnomeShell::environment() const {
    return {
        {"HOME", home_},
        {"XDG_DATA_HOME", home_ + "/data"},
        {"XDG_CONFIG_HOME", home_ + "/config"},
        {"XDG_CACHE_HOME", home_ + "/cache"},
        {"XDG_RUNTIME_DIR", runtimeFolder_},
        {"DBUS_SESSION_BUS_ADDRESS", sessionBus_},
        {"DBUS_SYSTEM_BUS_ADDRESS", systemBus_},
        {"XDG_SESSION_ID", "c1"},
        {"XDG_SESSION_TYPE", "wayland"},
        {"XDG_CURRENT_DESKTOP", "GNOME"},
        // Settings in dconf, as in a session.
        {"GSETTINGS_BACKEND", ""},
        {"DISPLAY", ""},
        {"WAYLAND_DISPLAY", ""},
    };
}

std::map<std::string, std::string> GnomeShell::clientEnvironment() const {
    auto variables = environment();
    variables["WAYLAND_DISPLAY"] = kDisplay;
    variables["GDK_BACKEND"] = "wayland";
    // The test windows need no accessibility bus.
    variables["NO_AT_BRIDGE"] = "1";
    return variables;
}

ProcessResult GnomeShell::call(const std::string& service, const std::string& path,
                               const std::string& interfaceAndMethod,
                               const std::vector<std::string>& arguments) const {
    return call(service, path, interfaceAndMethod, arguments, kStepTimeout);
}

ProcessResult GnomeShell::call(const std::string& service, const std::string& path,
                               const std::string& interfaceAndMethod,
                               const std::vector<std::string>& arguments,
                               std::chrono::seconds timeout) const {
    std::vector<std::string> command{"gdbus", "call", "--session", "--timeout",
                                     std::to_string(timeout.count())};
    command.insert(command.end(), {"-d", service, "-o", path, "-m", interfaceAndMethod});
    command.insert(command.end(), arguments.begin(), arguments.end());
    return runProcess(command, environment());
}

std::string GnomeShell::startBuses() {
    // Two session-type daemons: the second stands in for the system bus,
    // which this machine may not have and which the Shell must not share
    // with the host.
    for (auto* daemon : {&sessionDaemon_, &systemDaemon_}) {
        *daemon = std::make_unique<ChildProcess>(
            std::vector<std::string>{"dbus-daemon", "--session", "--nofork", "--print-address=1"},
            environment());
    }
    sessionBus_ = busAddress(*sessionDaemon_);
    systemBus_ = busAddress(*systemDaemon_);
    if (sessionBus_.empty() || systemBus_.empty()) {
        return "dbus-daemon did not start: " + sessionDaemon_->standardError() +
               systemDaemon_->standardError();
    }
    ::setenv("DBUS_SESSION_BUS_ADDRESS", sessionBus_.c_str(), 1);
    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", systemBus_.c_str(), 1);
    return "";
}

std::string GnomeShell::startMocks() {
    auto systemCall = [&](const std::string& service, const std::string& path,
                          const std::string& method, const std::vector<std::string>& arguments) {
        std::vector<std::string> command{"gdbus", "call", "--system", "-d",  service,
                                         "-o",    path,   "-m",       method};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return runProcess(command, environment());
    };
    auto startMock = [&](const std::string& service, const std::string& path,
                         const std::vector<std::string>& arguments) -> std::string {
        std::vector<std::string> command{kPython, "-m", "dbusmock", "--system"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        auto& mock = mocks_.emplace_back(std::make_unique<ChildProcess>(command, environment()));
        bool up = poll(
            [&] {
                return systemCall(service, path, "org.freedesktop.DBus.Peer.Ping", {}).status == 0;
            },
            kStartTimeout);
        return up ? "" : service + " mock did not start: " + mock->standardError();
    };
    // Without logind the Shell gives up at once; it takes session c1 as its
    // own through XDG_SESSION_ID.
    const std::string logind = "org.freedesktop.login1";
    if (auto failed = startMock(logind, "/org/freedesktop/login1", {"--template", "logind"});
        !failed.empty()) {
        return failed;
    }
    auto added =
        systemCall(logind, "/org/freedesktop/login1", "org.freedesktop.DBus.Mock.AddSession",
                   {"c1", "seat0", std::to_string(::getuid()), userName(), "true"});
    if (added.status != 0) {
        return "logind mock: AddSession failed: " + added.error;
    }
    // The Shell builds its lock screen only when GDM answers with a version.
    const std::string gdm = "org.gnome.DisplayManager";
    const std::string manager = "/org/gnome/DisplayManager/Manager";
    const std::string managerInterface = "org.gnome.DisplayManager.Manager";
    if (auto failed = startMock(gdm, manager, {gdm, manager, managerInterface}); !failed.empty()) {
        return failed;
    }
    for (const auto& [method, arguments] :
         std::vector<std::pair<std::string, std::vector<std::string>>>{
             {"AddProperty", {managerInterface, "Version", "<'43.0'>"}},
             {"AddMethod", {managerInterface, "RegisterSession", "a{sv}", "", ""}}}) {
        auto result = systemCall(gdm, manager, "org.freedesktop.DBus.Mock." + method, arguments);
        if (result.status != 0) {
            return "GDM mock: " + method + " failed: " + result.error;
        }
    }
    return "";
}

// GNOME loads extensions only when it starts: the extension is copied in and
// switched on before.
std::string GnomeShell::installExtension(const std::vector<std::string>& applications) const {
    std::string data = home_ + "/data";
    std::error_code error;
    fs::create_directories(data + "/gnome-shell/extensions", error);
    fs::copy(KVILLO_GNOME_EXTENSION_DIR, data + "/gnome-shell/extensions/" + kExtension,
             fs::copy_options::recursive, error);
    if (error) {
        return "cannot copy the extension: " + error.message();
    }
    fs::create_directories(data + "/applications", error);
    for (const std::string& id : applications) {
        writeFile(data + "/applications/" + id + ".desktop",
                  "[Desktop Entry]\nType=Application\nName=" + id + "\nExec=true\n");
    }
    auto enabled = runProcess({"gnome-extensions", "enable", kExtension}, environment());
    return enabled.status == 0 ? "" : "gnome-extensions enable failed: " + enabled.error;
}

std::string GnomeShell::startShell() {
    auto variables = environment();
    // Lets tests stand for user input through ResetIdletime.
    variables["MUTTER_DEBUG_RESET_IDLETIME"] = "1";
    auto started = std::chrono::steady_clock::now();
    shell_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"gnome-shell", "--headless", "--wayland", "--no-x11",
                                 std::string("--wayland-display=") + kDisplay, "--virtual-monitor",
                                 "1280x720"},
        variables);
    bool up = poll(
        [&] {
            endStuckForks();
            return fs::exists(runtimeFolder_ + "/" + kDisplay) &&
                   // Briefly: a Shell that is stuck must not hold up the
                   // look for what holds it.
                   call("org.gnome.Shell", "/org/gnome/Shell",
                        "org.freedesktop.DBus.Properties.Get", {"org.gnome.Shell", "ShellVersion"},
                        1s)
                           .status == 0;
        },
        kStartTimeout);
    startTime_ = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - started);
    if (!up) {
        std::string log = shell_->standardError();
        return "gnome-shell did not start: " +
               log.substr(log.size() > 4000 ? log.size() - 4000 : 0);
    }
    return "";
}

std::vector<pid_t> GnomeShell::shellChildren() const {
    std::vector<pid_t> children;
    if (!shell_) {
        return children;
    }
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/proc", error)) {
        std::string name = entry.path().filename().string();
        if (name.find_first_not_of("0123456789") != std::string::npos) {
            continue;
        }
        // "pid (comm) state ppid ...": comm may hold spaces and parentheses.
        std::string stat = readFile(entry.path().string() + "/stat");
        size_t close = stat.rfind(')');
        int parent = 0;
        if (close != std::string::npos &&
            std::sscanf(stat.c_str() + close + 1, " %*c %d", &parent) == 1 &&
            parent == shell_->pid()) {
            children.push_back(std::stoi(name));
        }
    }
    return children;
}

// GNOME Shell 43 starts ibus-daemon (when no systemd unit does) through
// GLib.spawn_async with a JavaScript child-setup function. That runs in the
// forked child of a threaded process and can deadlock there on a GType lock
// some other thread held at the fork (seen in 2 of 7 starts here, under
// load); the Shell then waits for its child for ever and never answers on
// the bus. A child that is still an unexecuted copy of the Shell after a
// second is such a one: ending it lets the Shell go on as if ibus-daemon
// had started and quit at once.
void GnomeShell::endStuckForks() const {
    std::error_code error;
    fs::path shellProgram =
        fs::read_symlink("/proc/" + std::to_string(shell_->pid()) + "/exe", error);
    auto now = std::chrono::steady_clock::now();
    for (pid_t child : shellChildren()) {
        fs::path program = fs::read_symlink("/proc/" + std::to_string(child) + "/exe", error);
        if (error || program != shellProgram) {
            continue;
        }
        auto [seen, added] = forks_.emplace(child, now);
        if (!added && now - seen->second > 1s && ::kill(child, SIGKILL) == 0) {
            std::fprintf(stderr, "GnomeShell: ended the Shell's child %d, stuck before exec\n",
                         static_cast<int>(child));
        }
    }
}

// The Shell opens in the overview, where a new window gets no focus. It
// shows the overview a moment after it answers on the bus; closed before
// that, the start-up shows it again. So wait for it to be shown, then close
// it until it stays closed.
std::string GnomeShell::closeOverview() const {
    auto overview = [&] {
        return call("org.gnome.Shell", "/org/gnome/Shell", "org.freedesktop.DBus.Properties.Get",
                    {"org.gnome.Shell", "OverviewActive"}, 1s)
            .output;
    };
    const std::string shown = "(<true>,)\n";
    const std::string hidden = "(<false>,)\n";
    // A Shell that never shows it (no start-up animation) is settled too.
    poll(
        [&] {
            endStuckForks();
            return overview() == shown;
        },
        kStepTimeout);
    bool closed = poll(
        [&] {
            endStuckForks();
            std::string now = overview();
            if (now == shown) {
                call("org.gnome.Shell", "/org/gnome/Shell", "org.freedesktop.DBus.Properties.Set",
                     {"org.gnome.Shell", "OverviewActive", "<false>"});
            }
            return now == hidden;
        },
        kStepTimeout);
    return closed ? "" : "the overview does not close: " + overview();
}

int GnomeShell::openWindow(const std::string& appID, const std::string& title) {
    windows_.push_back(
        std::make_unique<TestWindow>(root_.path(), appID, title, clientEnvironment()));
    return static_cast<int>(windows_.size()) - 1;
}

bool GnomeShell::retitleWindow(int window, const std::string& title) {
    return window >= 0 && window < static_cast<int>(windows_.size()) &&
           windows_[window]->retitle(title);
}

pid_t GnomeShell::windowProcess(int window) const {
    return window >= 0 && window < static_cast<int>(windows_.size()) ? windows_[window]->pid() : -1;
}

bool GnomeShell::closeWindow(int window) {
    return window >= 0 && window < static_cast<int>(windows_.size()) && windows_[window]->close();
}

bool GnomeShell::resetIdleTime() const {
    return call("org.gnome.Mutter.IdleMonitor", "/org/gnome/Mutter/IdleMonitor/Core",
                "org.gnome.Mutter.IdleMonitor.ResetIdletime")
               .status == 0;
}

// The Shell's own name for its screen shield: org.gnome.ScreenSaver proper
// is a separate gjs program proxying it, which a bare gnome-shell install
// cannot start (no gjs).
bool GnomeShell::screenLocked() const {
    return call("org.gnome.Shell.ScreenShield", "/org/gnome/ScreenSaver",
                "org.gnome.ScreenSaver.GetActive")
               .output == "(true,)\n";
}

bool GnomeShell::lock() const {
    return call("org.gnome.Shell.ScreenShield", "/org/gnome/ScreenSaver",
                "org.gnome.ScreenSaver.Lock")
                   .status == 0 &&
           poll([&] { return screenLocked(); }, kStepTimeout);
}

bool GnomeShell::unlock() const {
    auto unlocked = runProcess({"gdbus", "call", "--system", "-d", "org.freedesktop.login1", "-o",
                                kSessionPath, "-m", "org.freedesktop.login1.Session.Unlock"},
                               environment());
    return unlocked.status == 0 && poll([&] { return !screenLocked(); }, kStepTimeout);
}

}  // namespace kvillo::testing
