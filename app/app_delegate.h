#pragma once

#include <memory>
#include <optional>
#include <string>

#include "app/command_line.h"
#include "app/front_end.h"
#include "app/qt_ui_thread.h"
#include "core/capture/activity_monitor.h"
#include "core/integrations/update_checker.h"
#include "core/mcp/mcp_server.h"
#include "core/model/app_model.h"
#include "core/net/http_client.h"
#include "core/settings/features.h"
#include "core/store/database.h"
#include "core/time/system_clock.h"
#include "core/time/time_zone_follower.h"
#include "platform/linux/app_paths.h"
#include "platform/linux/instance_lock.h"
#include "platform/linux/linux_desktop.h"
#include "platform/linux/time_zone_watcher.h"

namespace kvillo {

// Builds the long-lived objects once, in a fixed order, and takes them down
// again at the end. It owns them all: the store and the settings, the
// services built on them, which hold them by reference, and the front end,
// which holds all of them and goes first. Main thread only.
class AppDelegate {
public:
    // `gui` makes the front end; null runs without one (--headless).
    // `instanceLock`, when there is one, is held until everything else has
    // gone; launch() publishes the server's port and takes show requests
    // through it.
    AppDelegate(RunProgram options, GuiModule* gui, std::unique_ptr<InstanceLock> instanceLock);
    ~AppDelegate();

    // The launch sequence: data folder, database, settings, activity
    // monitor, MCP server, and with a front end the app model and the front
    // end (the brand font is registered with the tray's application, before
    // this). Returns the one-line reason when
    // the program cannot run (the database cannot be opened); nothing has
    // been started then. A server that cannot listen is reported on stderr
    // and left off.
    std::optional<std::string> launch();

    // The shutdown sequence: the monitor ends the open activity now, the
    // front end comes down, then the server stops, giving a request in
    // progress a second at most. Runs once, just before the event loop
    // returns. False when that request was still running: the server's
    // thread still uses the store, so the caller must end the process
    // without destroying the delegate.
    bool shutdown();

    // Ends the open activity now, for an exit that no event loop will see
    // through (the display server gone, taking the toolkit with it).
    void endRecording();

private:
    void serveLaterStarts();
    void makeUpdateChecker();
    Database& anotherConnection(std::unique_ptr<Database>& slot,
                                std::chrono::milliseconds busyWait);

    RunProgram options_;
    GuiModule* gui_;
    std::unique_ptr<InstanceLock> instanceLock_;  // first, so let go after the database closes
    AppPaths paths_;
    SystemClock clock_;
    QtRepeatingTimer timer_;
    // Days are the system zone's days, even after it changed.
    std::unique_ptr<TimeZoneWatcher> zoneWatcher_;
    std::unique_ptr<TimeZoneFollower> zoneFollower_;
    std::unique_ptr<Database> database_;  // the server's
    std::unique_ptr<Database> monitorDatabase_;
    std::unique_ptr<Features> features_;
    std::unique_ptr<LinuxDesktop> desktop_;
    std::unique_ptr<ActivityMonitor> monitor_;
    Subscription writeStatusReport_;  // on stderr
    std::unique_ptr<McpServer> mcpServer_;
    QtRepeatingTimer modelTimer_;
    QtUiThread uiThread_;
    std::unique_ptr<NotificationCenter> notifications_;
    std::unique_ptr<HttpClient> http_;
    QtRepeatingTimer updateTimer_;
    std::unique_ptr<UpdateChecker> updateChecker_;
    std::unique_ptr<McpInstaller> installer_;
    std::unique_ptr<Database> modelDatabase_;
    std::unique_ptr<AppModel> model_;
    std::unique_ptr<FrontEnd> frontEnd_;  // last, so destroyed first
};

}  // namespace kvillo
