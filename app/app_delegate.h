#pragma once

#include <memory>
#include <optional>
#include <string>

#include "app/command_line.h"
#include "app/front_end.h"
#include "core/capture/activity_monitor.h"
#include "core/mcp/mcp_server.h"
#include "core/settings/features.h"
#include "core/store/database.h"
#include "core/time/system_clock.h"
#include "platform/linux/app_paths.h"
#include "platform/linux/linux_desktop.h"

namespace kvillo {

// Builds the long-lived objects once, in a fixed order, and takes them down
// again at the end. It owns them all: the store and the settings, the
// services built on them, which hold them by reference, and the front end,
// which holds all of them and goes first. Main thread only.
class AppDelegate {
public:
    // `gui` makes the front end; null runs without one (--headless).
    AppDelegate(RunProgram options, GuiModule* gui);
    ~AppDelegate();

    // The launch sequence: data folder, database, settings, activity
    // monitor, MCP server, front end (the brand font is registered with the
    // tray's application, before this). Returns the one-line reason when
    // the program cannot run (the database cannot be opened); nothing has
    // been started then. A server that cannot listen is reported on stderr
    // and left off.
    std::optional<std::string> launch();

    // The shutdown sequence: the front end comes down, the server stops,
    // then the monitor, which ends the open activity now. Runs once, just
    // before the event loop returns.
    void shutdown();

private:
    RunProgram options_;
    GuiModule* gui_;
    AppPaths paths_;
    SystemClock clock_;
    QtRepeatingTimer timer_;
    std::unique_ptr<Database> database_;
    std::unique_ptr<Features> features_;
    std::unique_ptr<LinuxDesktop> desktop_;
    std::unique_ptr<ActivityMonitor> monitor_;
    std::unique_ptr<McpServer> mcpServer_;
    std::unique_ptr<FrontEnd> frontEnd_;  // last, so destroyed first
};

}  // namespace kvillo
