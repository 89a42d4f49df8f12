#pragma once

#include <string>
#include <vector>

namespace kvillo {

// How an MCP client starts Kvillo's stdio bridge.
struct StdioCommand {
    std::string command;  // an absolute path
    std::vector<std::string> args;

    // The bridge for the program running now: `kvillo-mcp` in the folder of
    // /proc/self/exe when it is there, else in the folder packages install
    // to; inside an AppImage ($APPIMAGE set), whose mount point changes at
    // every run, the AppImage itself with the argument "mcp".
    static StdioCommand forThisProgram();

    // The same rule with its inputs given: `appImage` empty when not in one.
    static StdioCommand locate(const std::string& executableFolder, const std::string& appImage,
                               const std::string& installedFolder);

    // The command line a shell runs, words quoted where the shell would
    // otherwise read them differently, and `extra` words appended.
    std::string shellLine(const std::vector<std::string>& extra = {}) const;

    bool operator==(const StdioCommand&) const = default;
};

}  // namespace kvillo
