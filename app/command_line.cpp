#include "app/command_line.h"

namespace kvillo {

CommandLineRequest parseCommandLine(const std::vector<std::string>& arguments) {
    RunProgram run;
    for (const auto& argument : arguments) {
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
        return UsageError{"unknown argument: " + argument};
    }
    return run;
}

std::string usageText() {
    return "Usage: kvillo [--headless]\n"
           "       kvillo --version | --help\n"
           "\n"
           "Kvillo records which application is in front and for how long, and serves\n"
           "the log to AI assistants on http://localhost:7384/mcp.\n"
           "\n"
           "Options:\n"
           "  --headless  run without tray icon or windows: capture and server only\n"
           "  --version   print the version and exit\n"
           "  --help      print this help and exit\n"
           "\n"
           "Stop it from the tray menu, or with Ctrl+C or SIGTERM.\n";
}

std::string versionText() { return std::string("kvillo ") + KVILLO_VERSION; }

}  // namespace kvillo
