// kvillo-mcp: the MCP endpoint over standard input and output, for clients
// that start their servers as commands. One JSON-RPC message per line in,
// one answer per line out; it works whether or not the tray program runs,
// on the same log and settings.
#include <filesystem>
#include <iostream>
#include <string>

#include "core/files/private_folder.h"
#include "core/mcp/mcp_dispatcher.h"
#include "core/time/system_clock.h"
#include "platform/linux/app_paths.h"
#include "platform/linux/user_account.h"

int main() {
    std::ios::sync_with_stdio(false);
    auto paths = kvillo::AppPaths::fromEnvironment();
    // Any failure shows up as the database failing to open.
    kvillo::createPrivateFolder(paths.dataFolder);
    try {
        kvillo::Database database(paths.databaseFile);
        kvillo::Features features(paths.settingsFile, kvillo::fullUserName);
        kvillo::SystemClock clock;
        kvillo::McpDispatcher dispatcher(database, features, clock);
        std::string line;
        while (std::getline(std::cin, line)) {
            if (!line.empty() && line.back() == '\r') {
                line.pop_back();
            }
            if (line.find_first_not_of(" \t") == std::string::npos) {
                continue;
            }
            std::optional<std::string> answer;
            try {
                answer = dispatcher.handleBody(line);
            } catch (const std::exception& error) {
                // One bad message must not end the session, nor leave the
                // client waiting; its id could not be read.
                std::cerr << "kvillo-mcp: " << error.what() << "\n";
                answer = kvillo::writeJson(
                    kvillo::errorResponse(std::nullopt, kvillo::JsonRpcCode::internalError,
                                          std::string("Internal error: ") + error.what()));
            }
            if (answer) {
                std::cout << *answer << '\n' << std::flush;
            }
        }
    } catch (const kvillo::DatabaseError& error) {
        std::cerr << "kvillo-mcp: cannot open the database " << paths.databaseFile << ": "
                  << error.message() << "\n";
        return 1;
    }
    return 0;
}
