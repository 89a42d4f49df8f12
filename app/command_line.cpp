#include "app/command_line.h"

#include <regex>
#include <tuple>

namespace kvillo {
namespace {

// Exactly YYYY-MM-DD, and a day that exists.
std::optional<calendar::Date> parseDate(const std::string& text) {
    auto date = calendar::parseDate(text);
    if (text.size() != 10 || !date || !calendar::startOfDate(*date)) {
        return std::nullopt;
    }
    return date;
}

CommandLineRequest parseTimesheet(const std::vector<std::string>& arguments) {
    ExportTimesheet request;
    for (size_t i = 1; i < arguments.size(); ++i) {
        const std::string& option = arguments[i];
        if (option == "--help" || option == "-h") {
            return ShowHelp{};
        }
        bool takesValue = option == "--period" || option == "--from" || option == "--to" ||
                          option == "--project" || option == "--output";
        if (!takesValue) {
            return UsageError{"unknown timesheet argument: " + option};
        }
        if (i + 1 == arguments.size() || arguments[i + 1].starts_with("--")) {
            return UsageError{option + " needs a value"};
        }
        const std::string& value = arguments[++i];
        if (option == "--period") {
            request.period = exportPeriodFromCommandLine(value);
            if (!request.period) {
                return UsageError{"unknown period: " + value +
                                  " (use this-month, last-month, this-quarter, last-quarter or "
                                  "this-year)"};
            }
        } else if (option == "--from" || option == "--to") {
            auto date = parseDate(value);
            if (!date) {
                return UsageError{"not a date (YYYY-MM-DD): " + value};
            }
            (option == "--from" ? request.firstDay : request.lastDay) = date;
        } else if (option == "--project") {
            request.project = value;
        } else {
            request.output = value;
        }
    }
    if (request.period && (request.firstDay || request.lastDay)) {
        return UsageError{"--period cannot be combined with --from and --to"};
    }
    if (request.firstDay.has_value() != request.lastDay.has_value()) {
        return UsageError{"--from and --to go together"};
    }
    if (request.firstDay) {
        auto order = [](const calendar::Date& d) { return std::tie(d.year, d.month, d.day); };
        if (order(*request.firstDay) > order(*request.lastDay)) {
            return UsageError{"--from is after --to"};
        }
    }
    return request;
}

std::string clientNames() {
    std::string names;
    for (McpClient client : McpClients::allCases()) {
        names += std::string(McpClients::commandLineName(client)) + ", ";
    }
    return names + "or all";
}

CommandLineRequest parseClients(const std::vector<std::string>& arguments) {
    const std::string& command = arguments.front();
    if (arguments.size() > 1 && (arguments[1] == "--help" || arguments[1] == "-h")) {
        return ShowHelp{};
    }
    if (command == "clients") {
        if (arguments.size() > 1) {
            return UsageError{"unknown clients argument: " + arguments[1]};
        }
        return ListClients{};
    }
    if (arguments.size() != 2) {
        return UsageError{command + " needs one AI tool: " + clientNames()};
    }
    ConnectClients request{command == "connect", std::nullopt};
    if (arguments[1] != "all") {
        request.client = McpClients::fromCommandLineName(arguments[1]);
        if (!request.client) {
            return UsageError{"unknown AI tool: " + arguments[1] + " (use " + clientNames() + ")"};
        }
    }
    return request;
}

CommandLineRequest parseMcp(const std::vector<std::string>& arguments) {
    if (arguments.size() == 1) {
        return RunMcpBridge{};
    }
    if (arguments.size() == 2 && arguments[1] == "--hook") {
        return RunMcpBridge{true};
    }
    return UsageError{"unknown mcp argument: " + arguments[1]};
}

}  // namespace

CommandLineRequest parseCommandLine(const std::vector<std::string>& arguments) {
    if (!arguments.empty() && arguments.front() == "timesheet") {
        return parseTimesheet(arguments);
    }
    if (!arguments.empty() && (arguments.front() == "clients" || arguments.front() == "connect" ||
                               arguments.front() == "disconnect")) {
        return parseClients(arguments);
    }
    if (!arguments.empty() && arguments.front() == "mcp") {
        return parseMcp(arguments);
    }
    RunProgram run;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--help" || argument == "-h") {
            return ShowHelp{};
        }
        if (argument == "--version") {
            return ShowVersion{};
        }
        if (argument == "--headless") {
            run.headless = true;
            continue;
        }
        if (argument == "--port") {
            static const std::regex kPort("[0-9]{1,5}");
            if (i + 1 == arguments.size() || !std::regex_match(arguments[i + 1], kPort) ||
                std::stoi(arguments[i + 1]) > 65535) {
                return UsageError{"--port needs a port number (0 to 65535)"};
            }
            run.mcpPort = static_cast<std::uint16_t>(std::stoi(arguments[++i]));
            continue;
        }
        return UsageError{"unknown argument: " + argument};
    }
    return run;
}

std::string usageText() {
    return "Usage: kvillo [--headless] [--port PORT]\n"
           "       kvillo timesheet [--period PERIOD | --from YYYY-MM-DD --to YYYY-MM-DD]\n"
           "                        [--project NAME] [--output FILE]\n"
           "       kvillo clients | connect NAME | disconnect NAME\n"
           "       kvillo mcp [--hook]\n"
           "       kvillo --version | --help\n"
           "\n"
           "Kvillo records which application is in front and for how long, and serves\n"
           "the log to AI assistants on http://localhost:7384/mcp.\n"
           "\n"
           "Options:\n"
           "  --headless  run without tray icon or windows: capture and server only\n"
           "  --port      the MCP server's port on localhost (default 7384; 0 picks a free one)\n"
           "  --version   print the version and exit\n"
           "  --help      print this help and exit\n"
           "\n"
           "Timesheet export (CSV in the interface language):\n"
           "  --period    this-month (the default), last-month, this-quarter,\n"
           "              last-quarter or this-year\n"
           "  --from, --to\n"
           "              the first and the last day to include\n"
           "  --project   only this project (default: all projects)\n"
           "  --output    write to FILE, with a byte order mark, instead of standard output\n"
           "\n"
           "AI assistants:\n"
           "  clients     each AI tool Kvillo can connect to, and whether it is connected\n"
           "  connect, disconnect\n"
           "              write Kvillo into an AI tool's settings, or take it out again:\n"
           "              claude-desktop, claude-code, cursor, windsurf, continue, vscode,\n"
           "              zed, or all (connect all skips tools that are not installed)\n"
           "  mcp         serve MCP on standard input and output, as kvillo-mcp does;\n"
           "              with --hook, run the Claude Code prompt hook\n"
           "\n"
           "Stop Kvillo from the tray menu, or with Ctrl+C or SIGTERM.\n";
}

std::string versionText() {
    return std::string("kvillo ") + KVILLO_VERSION;
}

}  // namespace kvillo
