#include <QCoreApplication>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>

#include "app/app_delegate.h"
#include "app/claude_code_hook_command.h"
#include "app/clients_command.h"
#include "app/command_line.h"
#include "app/gui_module_loader.h"
#include "app/mcp_bridge.h"
#include "app/timesheet_command.h"
#include "app/unix_signal_watcher.h"
#include "core/localisation/l10n.h"
#include "core/settings/features.h"
#include "core/time/system_clock.h"
#include "platform/linux/instance_lock.h"
#include "platform/linux/user_account.h"

namespace {

// The delegate while it records, for the exit hook below; null otherwise.
kvillo::AppDelegate* recordingDelegate = nullptr;

// Qt's X11 layer calls exit() when the X server goes away (a logout), from
// inside the event loop: no quit, no shutdown sequence. The open activity
// still ends at that moment.
void endRecordingAtExit() {
    if (recordingDelegate) {
        recordingDelegate->endRecording();
    }
}

bool hasGraphicalSession() {
    return std::getenv("DISPLAY") || std::getenv("WAYLAND_DISPLAY") ||
           std::getenv("QT_QPA_PLATFORM");
}

// Takes the lock that keeps one recording copy per data folder. Gives the
// exit status when another copy holds it (a tray start asks that one to
// show itself); a lock that cannot be taken is reported and recording goes
// on without it.
std::optional<int> takeInstanceLock(const kvillo::RunProgram& options,
                                    std::unique_ptr<kvillo::InstanceLock>& lock) {
    auto outcome = kvillo::InstanceLock::acquire(kvillo::AppPaths::fromEnvironment().dataFolder);
    if (auto* running = std::get_if<kvillo::RunningInstance>(&outcome)) {
        if (!options.headless) {
            running->requestShow();
        }
        std::cerr << "kvillo: " << running->describe() << "\n";
        return 0;
    }
    if (auto* error = std::get_if<kvillo::InstanceLockError>(&outcome)) {
        std::cerr << "kvillo: " << error->message << "; running without the single-copy lock\n";
        return std::nullopt;
    }
    lock = std::move(std::get<std::unique_ptr<kvillo::InstanceLock>>(outcome));
    return std::nullopt;
}

int runProgram(int& argc, char** argv, kvillo::RunProgram options) {
    // Before anything else is built, so that a second copy leaves the
    // database, the settings and the GUI module alone.
    std::unique_ptr<kvillo::InstanceLock> instanceLock;
    if (auto status = takeInstanceLock(options, instanceLock)) {
        return *status;
    }

    std::unique_ptr<QCoreApplication> application;
    kvillo::GuiModule* gui = nullptr;
    if (options.headless) {
        application = std::make_unique<QCoreApplication>(argc, argv);
    } else {
        if (!hasGraphicalSession()) {
            std::cerr << "kvillo: no graphical session (DISPLAY and WAYLAND_DISPLAY are unset); "
                         "use --headless to run without a tray icon\n";
            return 1;
        }
        auto loaded = kvillo::loadGuiModule();
        if (auto* reason = std::get_if<std::string>(&loaded)) {
            std::cerr << "kvillo: " << *reason << "; use --headless to run without a tray icon\n";
            return 1;
        }
        gui = std::get<kvillo::GuiModule*>(loaded);
        application = gui->makeApplication(argc, argv);
    }
    QCoreApplication::setApplicationName(QStringLiteral("kvillo"));

    // Watch the signals first, so one that arrives while starting still ends
    // in the orderly shutdown once the event loop runs. SIGHUP is the
    // terminal closing.
    kvillo::UnixSignalWatcher signalWatcher({SIGTERM, SIGINT, SIGHUP});
    QObject::connect(&signalWatcher, &kvillo::UnixSignalWatcher::received, application.get(),
                     &QCoreApplication::quit);

    kvillo::AppDelegate delegate(options, gui, std::move(instanceLock));
    if (auto failure = delegate.launch()) {
        std::cerr << *failure << "\n";
        return 1;
    }
    bool stoppedInTime = true;
    QObject::connect(application.get(), &QCoreApplication::aboutToQuit,
                     [&] { stoppedInTime = delegate.shutdown(); });
    recordingDelegate = &delegate;
    std::atexit(endRecordingAtExit);
    int status = application->exec();
    recordingDelegate = nullptr;
    if (!stoppedInTime) {
        // The row is written; an assistant's request still holds the store,
        // which must not be taken down under it.
        std::cerr << "kvillo: quit with an MCP request still running\n";
        std::cerr.flush();
        std::_Exit(status);
    }
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    auto request = kvillo::parseCommandLine(arguments);
    if (auto* error = std::get_if<kvillo::UsageError>(&request)) {
        std::cerr << "kvillo: " << error->message << "\n\n" << kvillo::usageText();
        return 2;
    }
    if (std::holds_alternative<kvillo::ShowHelp>(request)) {
        std::cout << kvillo::usageText();
        return 0;
    }
    if (std::holds_alternative<kvillo::ShowVersion>(request)) {
        std::cout << kvillo::versionText() << "\n";
        return 0;
    }
    if (auto* timesheet = std::get_if<kvillo::ExportTimesheet>(&request)) {
        kvillo::SystemClock clock;
        return kvillo::runTimesheetCommand(*timesheet, kvillo::AppPaths::fromEnvironment(), clock,
                                           std::cout, std::cerr);
    }
    if (auto* bridge = std::get_if<kvillo::RunMcpBridge>(&request)) {
        auto paths = kvillo::AppPaths::fromEnvironment();
        return bridge->hook ? kvillo::runClaudeCodeHook(paths) : kvillo::runMcpBridge(paths);
    }
    if (std::holds_alternative<kvillo::ListClients>(request) ||
        std::holds_alternative<kvillo::ConnectClients>(request)) {
        auto paths = kvillo::AppPaths::fromEnvironment();
        kvillo::Features features(paths.settingsFile, kvillo::fullUserName);
        auto language = kvillo::L10n::language(features);
        auto installer = kvillo::commandLineInstaller(paths);
        if (auto* change = std::get_if<kvillo::ConnectClients>(&request)) {
            return kvillo::runConnectClients(*change, installer, language, std::cout, std::cerr);
        }
        return kvillo::runListClients(installer, language, std::cout);
    }
    return runProgram(argc, argv, std::get<kvillo::RunProgram>(request));
}
