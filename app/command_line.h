#pragma once

#include <string>
#include <variant>
#include <vector>

namespace kvillo {

// What the command line asks for. Parsed before any Qt object exists, so
// `--help` and `--version` work without a display.
struct RunProgram {
    bool headless = false;  // no tray icon and no windows: capture and server only
};
struct ShowHelp {};
struct ShowVersion {};
struct UsageError {
    std::string message;  // names the offending argument
};
using CommandLineRequest = std::variant<RunProgram, ShowHelp, ShowVersion, UsageError>;

// `arguments` excludes the program name.
CommandLineRequest parseCommandLine(const std::vector<std::string>& arguments);

// The text `--help` prints and a usage error repeats.
std::string usageText();

// "kvillo 0.1.0".
std::string versionText();

}  // namespace kvillo
