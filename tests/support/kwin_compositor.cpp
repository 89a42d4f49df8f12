#include "tests/support/kwin_compositor.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QVariantList>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "tests/support/qt_events.h"

namespace kvillo::testing {
namespace {

using namespace std::chrono_literals;
constexpr auto kTimeout = 20s;
constexpr auto kStep = 50ms;
constexpr int kCallTimeoutMs = 5000;

constexpr const char* kKWin = "org.kde.KWin";
constexpr const char* kSocketName = "wayland-kvillo";
constexpr uid_t kNobody = 65534;

// Finds the window of `APP` among KWin 5.27's windows, by the app id of a
// Wayland window or the class of an X11 one.
constexpr const char* kFindWindow = R"JS(
function find() {
    const list = workspace.clientList();
    for (let i = 0; i < list.length; ++i) {
        const c = list[i];
        if (String(c.desktopFileName) === APP || String(c.resourceClass) === APP) {
            return c;
        }
    }
    return null;
}
)JS";

// A JavaScript string literal of `text` (app ids and names only: no quotes
// or backslashes to escape).
std::string jsString(const std::string& text) {
    return "\"" + text + "\"";
}

uid_t kwinUser() {
    return ::geteuid() == 0 ? kNobody : ::getuid();
}

std::string userName(uid_t uid) {
    const passwd* entry = ::getpwuid(uid);
    return entry ? entry->pw_name : std::to_string(uid);
}

}  // namespace

KWinCompositor::KWinCompositor()
    : sessionBus_(SessionBus::Serves::session, SessionBus::Users::any),
      systemBus_(SessionBus::Serves::system, SessionBus::Users::any) {
    error_ = start();
    if (!error_.empty()) {
        return;
    }
    if (const char* display = std::getenv("WAYLAND_DISPLAY")) {
        previousWaylandDisplay_ = display;
    }
    // A full path, so that no XDG_RUNTIME_DIR is needed with it.
    ::setenv("WAYLAND_DISPLAY", socket_.c_str(), 1);
    waylandDisplaySet_ = true;
}

std::string KWinCompositor::start() {
    for (const SessionBus* bus : {&sessionBus_, &systemBus_}) {
        if (!bus->error().empty()) {
            return bus->error();
        }
    }
    // KWin's screen locker reports to logind's session "auto" (which real
    // logind resolves to the caller's session); "c1" is the session that
    // programs looking up XDG_SESSION_ID find.
    if (std::string failed =
            systemBus_.startMock("org.freedesktop.login1", {"--system", "--template", "logind"});
        !failed.empty()) {
        return "the logind mock did not start: " + failed;
    }
    uid_t user = kwinUser();
    for (const char* session : {"c1", "auto"}) {
        auto added = systemBus_.call("org.freedesktop.login1", "/org/freedesktop/login1",
                                     "org.freedesktop.DBus.Mock.AddSession",
                                     "'" + std::string(session) + "', 'seat0', " +
                                         std::to_string(user) + ", '" + userName(user) + "', True");
        if (added.status != 0) {
            return "the logind mock refused session " + std::string(session) + ": " + added.error;
        }
    }

    // KWin's user must reach its runtime and home folders and its binary.
    namespace fs = std::filesystem;
    runtimeFolder_ = folder_.file("run");
    std::string home = folder_.file("home");
    std::string binary = folder_.file("kwin_wayland");
    std::error_code failed;
    fs::permissions(folder_.path(),
                    fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                        fs::perms::others_read | fs::perms::others_exec,
                    failed);
    if (failed || !fs::create_directory(runtimeFolder_, failed) ||
        !fs::create_directory(home, failed) ||
        !fs::copy_file("/usr/bin/kwin_wayland", binary, failed)) {
        return "could not prepare KWin's folders: " + failed.message();
    }
    bool ownedByKWin = ::geteuid() != 0 || (::chown(runtimeFolder_.c_str(), user, user) == 0 &&
                                            ::chown(home.c_str(), user, user) == 0);
    if (!ownedByKWin || ::chmod(runtimeFolder_.c_str(), 0700) != 0) {
        return "could not give KWin's folders to its user";
    }
    socket_ = runtimeFolder_ + "/" + kSocketName;

    std::vector<std::string> command;
    if (::geteuid() == 0) {
        command = {"setpriv", "--reuid=" + std::to_string(user), "--regid=" + std::to_string(user),
                   "--clear-groups"};
    }
    const std::map<std::string, std::string> environment = this->environment();
    command.insert(command.end(),
                   {"env",
                    "-i",
                    "PATH=/usr/bin:/bin",
                    "HOME=" + home,
                    "XDG_RUNTIME_DIR=" + runtimeFolder_,
                    "DBUS_SESSION_BUS_ADDRESS=" + environment.at("DBUS_SESSION_BUS_ADDRESS"),
                    "DBUS_SYSTEM_BUS_ADDRESS=" + environment.at("DBUS_SYSTEM_BUS_ADDRESS"),
                    "XDG_SESSION_ID=c1",
                    "KWIN_COMPOSE=Q",
                    binary,
                    "--virtual",
                    "--no-global-shortcuts",
                    "--no-kactivities",
                    "--socket",
                    kSocketName,
                    "--width",
                    "1280",
                    "--height",
                    "720",
                    "--xwayland"});
    kwin_ = std::make_unique<ChildProcess>(command);

    ensureCoreApplication();
    static int connections = 0;
    connection_ = "kvillo-kwin-compositor-" + std::to_string(++connections);
    QDBusConnection bus = QDBusConnection::connectToBus(
        QString::fromStdString(sessionBus_.address()), QString::fromStdString(connection_));
    if (!bus.isConnected()) {
        return "could not connect to KWin's session bus";
    }
    // KWin takes its bus name before its scripting object is there, and
    // refuses scripts until it is.
    auto scriptingAnswers = [&] {
        auto message = QDBusMessage::createMethodCall(kKWin, "/Scripting", "org.kde.kwin.Scripting",
                                                      "isScriptLoaded");
        message << QString();
        return bus.call(message, QDBus::Block, kCallTimeoutMs).type() == QDBusMessage::ReplyMessage;
    };
    bool up = eventually(
        [&] {
            if (kwin_->wait(0ms)) {
                return true;
            }
            return fs::exists(socket_) && scriptingAnswers();
        },
        kTimeout, kStep);
    if (!up || kwin_->wait(0ms)) {
        return "KWin did not start: " + kwin_->standardError();
    }
    return {};
}

KWinCompositor::~KWinCompositor() {
    windows_.clear();
    if (kwin_) {
        // Asked to quit, KWin ends its XWayland too; it usually takes 50 ms,
        // but now and then it hangs half-way (after ending XWayland), and
        // then only SIGKILL, from the ChildProcess, ends it.
        kwin_->signal(SIGTERM);
        kwin_->wait(1s);
        kwin_.reset();
    }
    if (!connection_.empty()) {
        QDBusConnection::disconnectFromBus(QString::fromStdString(connection_));
    }
    if (previousWaylandDisplay_) {
        ::setenv("WAYLAND_DISPLAY", previousWaylandDisplay_->c_str(), 1);
    } else if (waylandDisplaySet_) {
        ::unsetenv("WAYLAND_DISPLAY");
    }
}

std::map<std::string, std::string> KWinCompositor::environment() const {
    return {{"WAYLAND_DISPLAY", socket_},
            {"XDG_RUNTIME_DIR", runtimeFolder_},
            {"DBUS_SESSION_BUS_ADDRESS", sessionBus_.address()},
            {"DBUS_SYSTEM_BUS_ADDRESS", systemBus_.address()}};
}

std::string KWinCompositor::openWindow(const std::string& appID, const std::string& title) {
    if (windows_.count(appID) != 0) {
        return "a window of " + appID + " is open already";
    }
    std::map<std::string, std::string> environment = this->environment();
    environment["GDK_BACKEND"] = "wayland";
    environment["NO_AT_BRIDGE"] = "1";  // no accessibility bus here
    auto& window = windows_[appID] =
        std::make_unique<TestWindow>(folder_.path(), appID, title, environment);
    bool managed = runUntilDone("kvillo-test-open-" + appID,
                                "const APP = " + jsString(appID) + ";\n" + kFindWindow +
                                    "function check() { if (find()) { done(); } }\n"
                                    "workspace.clientAdded.connect(check);\n"
                                    "check();\n");
    return managed ? std::string()
                   : "KWin did not show the window of " + appID + ": " + window->standardError();
}

bool KWinCompositor::retitle(const std::string& appID, const std::string& title) {
    auto window = windows_.find(appID);
    return window != windows_.end() && window->second->retitle(title);
}

pid_t KWinCompositor::windowProcess(const std::string& appID) const {
    auto window = windows_.find(appID);
    return window == windows_.end() ? 0 : window->second->pid();
}

bool KWinCompositor::activate(const std::string& appID) {
    return runUntilDone("kvillo-test-activate-" + appID,
                        "const APP = " + jsString(appID) + ";\n" + kFindWindow +
                            "function go() {\n"
                            "    const c = find();\n"
                            "    if (c && workspace.activeClient !== c) {\n"
                            "        workspace.activeClient = c;\n"
                            "    }\n"
                            "    if (c && workspace.activeClient === c) {\n"
                            "        done();\n"
                            "    }\n"
                            "}\n"
                            "workspace.clientAdded.connect(go);\n"
                            "workspace.clientActivated.connect(go);\n"
                            "go();\n");
}

bool KWinCompositor::simulateUserActivity() {
    QDBusMessage reply = QDBusConnection(QString::fromStdString(connection_))
                             .call(QDBusMessage::createMethodCall(
                                       "org.freedesktop.ScreenSaver", "/ScreenSaver",
                                       "org.freedesktop.ScreenSaver", "SimulateUserActivity"),
                                   QDBus::Block, kCallTimeoutMs);
    return reply.type() == QDBusMessage::ReplyMessage;
}

namespace {

// KWin's answer to org.freedesktop.ScreenSaver.GetActive; none on error.
std::optional<bool> screenLocked(const QDBusConnection& bus) {
    QDBusReply<bool> active =
        bus.call(QDBusMessage::createMethodCall("org.freedesktop.ScreenSaver", "/ScreenSaver",
                                                "org.freedesktop.ScreenSaver", "GetActive"),
                 QDBus::Block, kCallTimeoutMs);
    return active.isValid() ? std::optional<bool>(active.value()) : std::nullopt;
}

}  // namespace

bool KWinCompositor::lock() {
    QDBusConnection bus(QString::fromStdString(connection_));
    QDBusMessage reply =
        bus.call(QDBusMessage::createMethodCall("org.freedesktop.ScreenSaver", "/ScreenSaver",
                                                "org.freedesktop.ScreenSaver", "Lock"),
                 QDBus::Block, kCallTimeoutMs);
    return reply.type() == QDBusMessage::ReplyMessage &&
           eventually([&] { return screenLocked(bus) == true; }, kTimeout, kStep);
}

bool KWinCompositor::unlock() {
    auto unlocked =
        systemBus_.call("org.freedesktop.login1", "/org/freedesktop/login1/session/auto",
                        "org.freedesktop.login1.Session.Unlock", "");
    QDBusConnection bus(QString::fromStdString(connection_));
    return unlocked.status == 0 &&
           eventually([&] { return screenLocked(bus) == false; }, kTimeout, kStep);
}

bool KWinCompositor::loadScript(const std::string& name, const std::string& script) {
    // KWin reads the file itself, possibly as another user.
    std::string path = folder_.file("script-" + std::to_string(++scripts_) + ".js");
    writeFile(path, script);
    ::chmod(path.c_str(), 0644);
    QDBusConnection bus(QString::fromStdString(connection_));
    auto call = [&](const char* method, const QVariantList& arguments) {
        auto message =
            QDBusMessage::createMethodCall(kKWin, "/Scripting", "org.kde.kwin.Scripting", method);
        message.setArguments(arguments);
        return bus.call(message, QDBus::Block, kCallTimeoutMs);
    };
    // Two arguments choose the overload (path, name).
    QDBusReply<int> id =
        call("loadScript", {QString::fromStdString(path), QString::fromStdString(name)});
    return id.isValid() && id.value() >= 0 &&
           call("start", {}).type() == QDBusMessage::ReplyMessage;
}

bool KWinCompositor::isScriptLoaded(const std::string& name) {
    auto message = QDBusMessage::createMethodCall(kKWin, "/Scripting", "org.kde.kwin.Scripting",
                                                  "isScriptLoaded");
    message << QString::fromStdString(name);
    QDBusReply<bool> loaded = QDBusConnection(QString::fromStdString(connection_))
                                  .call(message, QDBus::Block, kCallTimeoutMs);
    return loaded.isValid() && loaded.value();
}

void KWinCompositor::kill() {
    if (kwin_) {
        kwin_->signal(SIGKILL);
        kwin_->wait(kTimeout);
    }
}

bool KWinCompositor::runUntilDone(const std::string& name, const std::string& script) {
    // The script unloads itself; KWin deletes it after the call returns.
    std::string done =
        "function done() {\n"
        "    callDBus(\"org.kde.KWin\", \"/Scripting\", \"org.kde.kwin.Scripting\",\n"
        "             \"unloadScript\", " +
        jsString(name) +
        ");\n"
        "}\n";
    if (!loadScript(name, done + script)) {
        return false;
    }
    bool finished = eventually([&] { return !isScriptLoaded(name); }, kTimeout, kStep);
    if (!finished) {
        auto message = QDBusMessage::createMethodCall(kKWin, "/Scripting", "org.kde.kwin.Scripting",
                                                      "unloadScript");
        message << QString::fromStdString(name);
        QDBusConnection(QString::fromStdString(connection_))
            .call(message, QDBus::Block, kCallTimeoutMs);
    }
    return finished;
}

}  // namespace kvillo::testing
