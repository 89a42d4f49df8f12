#include "app/app_delegate.h"

#include <QCoreApplication>
#include <QProcess>

#include <chrono>
#include <filesystem>
#include <iostream>

#include "core/files/private_folder.h"
#include "core/localisation/l10n.h"
#include "core/mcp/mcp_server_error.h"
#include "platform/linux/user_account.h"

namespace kvillo {
namespace {

// How long quitting waits for an assistant's request in progress.
constexpr std::chrono::seconds kServerGrace{1};
// How long the interface waits for another program's lock on the log
// before it tries again at a later tick.
constexpr std::chrono::milliseconds kInterfaceBusyWait{100};

}  // namespace

AppDelegate::AppDelegate(RunProgram options, GuiModule* gui,
                         std::unique_ptr<InstanceLock> instanceLock)
    : options_(options),
      gui_(gui),
      instanceLock_(std::move(instanceLock)),
      paths_(AppPaths::fromEnvironment()) {}

AppDelegate::~AppDelegate() = default;

std::optional<std::string> AppDelegate::launch() {
    zoneWatcher_ = std::make_unique<TimeZoneWatcher>();
    zoneFollower_ = std::make_unique<TimeZoneFollower>(*zoneWatcher_);

    // An existing folder is fine, and any other failure shows up as the
    // database failing to open, which is reported with its path.
    createPrivateFolder(paths_.dataFolder);

    try {
        database_ = std::make_unique<Database>(paths_.databaseFile);
    } catch (const DatabaseError& error) {
        return "kvillo: cannot open the database " + paths_.databaseFile + ": " + error.message();
    }

    features_ = std::make_unique<Features>(paths_.settingsFile, fullUserName);

    desktop_ = std::make_unique<LinuxDesktop>(clock_);
    // The monitor has ended the row by the time this comes; queued, so the
    // quit runs after the desktop's own handling.
    QObject::connect(desktop_.get(), &LinuxDesktop::sessionEnded, QCoreApplication::instance(),
                     &QCoreApplication::quit, Qt::QueuedConnection);
    monitor_ = std::make_unique<ActivityMonitor>(
        anotherConnection(monitorDatabase_, Database::kDefaultBusyWait), *features_, *desktop_,
        clock_, timer_);
    writeStatusReport_ =
        monitor_->onWriteStatusChanged([path = paths_.databaseFile](const auto& failure) {
            if (failure) {
                std::cerr << "kvillo: the activity log " << path
                          << " cannot be written, so nothing is recorded: " << failure->message()
                          << "\n";
            } else {
                std::cerr << "kvillo: the activity log can be written again\n";
            }
        });
    monitor_->start();

    mcpServer_ = std::make_unique<McpServer>(*database_, *features_, clock_,
                                             McpServerOptions{.port = options_.mcpPort});
    try {
        mcpServer_->start();
        // Where assistants reach it, which with --port 0 nothing else says.
        std::cerr << "MCP server on " << mcpServer_->endpointURL() << "\n";
        for (const auto& address : mcpServer_->unavailableAddresses()) {
            std::cerr << "kvillo: the MCP server is not reachable on " << address << "\n";
        }
    } catch (const McpServerError& error) {
        std::cerr << "kvillo: the MCP server is off: " << error.what() << "\n";
    }

    if (gui_) {
        notifications_ = gui_->makeNotificationCenter();
        makeUpdateChecker();
        installer_ = std::make_unique<McpInstaller>(mcpServer_->endpointURL());
        model_ = std::make_unique<AppModel>(
            anotherConnection(modelDatabase_, kInterfaceBusyWait), *monitor_, *features_,
            AppModelServices{clock_, modelTimer_, uiThread_, *notifications_, updateChecker_.get(),
                             installer_.get()});
        frontEnd_ = gui_->makeFrontEnd(
            LiveObjects{*database_, *features_, *monitor_, *mcpServer_, *model_, clock_, paths_});
        frontEnd_->show();
    }
    serveLaterStarts();
    return std::nullopt;
}

void AppDelegate::makeUpdateChecker() {
    http_ = gui_->makeHttpClient(kvilloUserAgent(KVILLO_VERSION));
    updateChecker_ = std::make_unique<UpdateChecker>(
        UpdateCheckerServices{
            .http = *http_,
            .uiThread = uiThread_,
            .timer = updateTimer_,
            .open =
                [](const std::string& file) {
                    QProcess::startDetached(QStringLiteral("xdg-open"),
                                            {QString::fromStdString(file)});
                },
            .language = [this] { return L10n::language(*features_); },
        },
        UpdateSource::fromEnvironment({KVILLO_UPDATE_PRIMARY_URL, KVILLO_UPDATE_FALLBACK_URL},
                                      KVILLO_VERSION));
}

// The recording and the interface each have a connection of their own, so
// that the UI thread never waits behind an assistant's request on the
// server's; when one cannot be had they share the server's.
Database& AppDelegate::anotherConnection(std::unique_ptr<Database>& slot,
                                         std::chrono::milliseconds busyWait) {
    try {
        slot = std::make_unique<Database>(paths_.databaseFile, busyWait);
        return *slot;
    } catch (const DatabaseError& error) {
        std::cerr << "kvillo: another connection to the database failed: " << error.what() << "\n";
        return *database_;
    }
}

// Tells a later start of Kvillo where the server listens, and lets it ask
// for the front end.
void AppDelegate::serveLaterStarts() {
    if (!instanceLock_) {
        return;
    }
    if (mcpServer_->boundPort() != 0) {
        if (auto problem = instanceLock_->publishMcpPort(mcpServer_->boundPort())) {
            std::cerr << "kvillo: " << *problem << "\n";
        }
    }
    if (frontEnd_) {
        QObject::connect(instanceLock_.get(), &InstanceLock::showRequested, instanceLock_.get(),
                         [this] { frontEnd_->show(); });
    }
    if (auto problem = instanceLock_->listenForShowRequests()) {
        std::cerr << "kvillo: " << *problem << "\n";
    }
}

bool AppDelegate::shutdown() {
    if (instanceLock_) {
        QObject::disconnect(instanceLock_.get(), &InstanceLock::showRequested, nullptr, nullptr);
    }
    endRecording();
    if (frontEnd_) {
        frontEnd_->shutdown();
    }
    return !mcpServer_ || mcpServer_->stopWithin(kServerGrace);
}

void AppDelegate::endRecording() {
    if (monitor_) {
        monitor_->stop();
    }
}

}  // namespace kvillo
