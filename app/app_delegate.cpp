#include "app/app_delegate.h"

#include <filesystem>
#include <iostream>

#include "core/mcp/mcp_server_error.h"
#include "platform/linux/user_account.h"

namespace kvillo {

AppDelegate::AppDelegate(RunProgram options, GuiModule* gui)
    : options_(options), gui_(gui), paths_(AppPaths::fromEnvironment()) {}

AppDelegate::~AppDelegate() = default;

std::optional<std::string> AppDelegate::launch() {
    // An existing folder is fine, and any other failure shows up as the
    // database failing to open, which is reported with its path.
    std::error_code ignored;
    std::filesystem::create_directories(paths_.dataFolder, ignored);

    try {
        database_ = std::make_unique<Database>(paths_.databaseFile);
    } catch (const DatabaseError& error) {
        return "kvillo: cannot open the database " + paths_.databaseFile + ": " + error.message();
    }

    features_ = std::make_unique<Features>(paths_.settingsFile, fullUserName);

    desktop_ = std::make_unique<LinuxDesktop>();
    monitor_ = std::make_unique<ActivityMonitor>(*database_, *features_, *desktop_, clock_, timer_);
    monitor_->start();

    mcpServer_ = std::make_unique<McpServer>(*database_, *features_, clock_,
                                             McpServerOptions{.port = options_.mcpPort});
    try {
        mcpServer_->start();
        for (const auto& address : mcpServer_->unavailableAddresses()) {
            std::cerr << "kvillo: the MCP server is not reachable on " << address << "\n";
        }
    } catch (const McpServerError& error) {
        std::cerr << "kvillo: the MCP server is off: " << error.what() << "\n";
    }

    if (gui_) {
        frontEnd_ = gui_->makeFrontEnd(
            LiveObjects{*database_, *features_, *monitor_, *mcpServer_, clock_, paths_});
        frontEnd_->show();
    }
    return std::nullopt;
}

void AppDelegate::shutdown() {
    if (frontEnd_) {
        frontEnd_->shutdown();
    }
    if (mcpServer_) {
        mcpServer_->stop();
    }
    if (monitor_) {
        monitor_->stop();
    }
}

}  // namespace kvillo
