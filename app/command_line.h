#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "core/analysis/export_period.h"
#include "core/integrations/mcp_client.h"
#include "core/time/calendar.h"

namespace kvillo {

// What the command line asks for. Parsed before any Qt object exists, so
// `--help`, `--version`, the timesheet export, the bridge and the AI
// assistant commands work without a display.
struct RunProgram {
    bool headless = false;         // no tray icon and no windows: capture and server only
    std::uint16_t mcpPort = 7384;  // 0 lets the system pick a free port
};
struct ShowHelp {};
struct ShowVersion {};
// `kvillo timesheet ...`: the CSV of a period, for scripts.
struct ExportTimesheet {
    // Either a named period or an explicit span of days; this month when
    // neither is given.
    std::optional<ExportPeriod> period;
    std::optional<calendar::Date> firstDay;
    std::optional<calendar::Date> lastDay;  // included
    std::optional<std::string> project;     // all projects when absent
    std::optional<std::string> output;      // standard output when absent
};
// `kvillo mcp`: the stdio bridge, as kvillo-mcp; with --hook, its Claude
// Code hook. What an AppImage's entry in an assistant's file runs.
struct RunMcpBridge {
    bool hook = false;
};
// `kvillo clients`: each AI assistant and whether Kvillo is connected to it.
struct ListClients {};
// `kvillo connect NAME` and `kvillo disconnect NAME`.
struct ConnectClients {
    bool connect = true;
    std::optional<McpClient> client;  // none: all of them
};
struct UsageError {
    std::string message;  // names the offending argument
};
using CommandLineRequest = std::variant<RunProgram, ShowHelp, ShowVersion, ExportTimesheet,
                                        RunMcpBridge, ListClients, ConnectClients, UsageError>;

// `arguments` excludes the program name.
CommandLineRequest parseCommandLine(const std::vector<std::string>& arguments);

// The text `--help` prints and a usage error repeats.
std::string usageText();

// "kvillo 0.1.0".
std::string versionText();

}  // namespace kvillo
