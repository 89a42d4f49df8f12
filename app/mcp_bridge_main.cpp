// kvillo-mcp: the MCP endpoint over standard input and output, for clients
// that start their servers as commands. One JSON-RPC message per line in,
// one answer per line out; it works whether or not the tray program runs,
// on the same log and settings. A line is held to the HTTP endpoint's body
// limit: a longer one is skipped unread and answered -32600, and the session
// goes on with the next line.
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <iostream>
#include <string>
#include <string_view>

#include "core/files/private_folder.h"
#include "core/mcp/http_request.h"
#include "core/mcp/mcp_dispatcher.h"
#include "core/time/system_clock.h"
#include "platform/linux/app_paths.h"
#include "platform/linux/user_account.h"

namespace {

constexpr size_t kReadBytes = 64 * 1024;

// `overLong`: the line passed `limit` and `line` holds none of it.
void answerLine(kvillo::McpDispatcher& dispatcher, std::string& line, bool overLong, size_t limit) {
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    if (!overLong && line.find_first_not_of(" \t") == std::string::npos) {
        return;
    }
    std::optional<std::string> answer;
    if (overLong || line.size() > limit) {
        // Never parsed, so no parse error to report and no id to echo: the
        // message as a whole is refused for its size.
        answer = kvillo::writeJson(kvillo::errorResponse(
            std::nullopt, kvillo::JsonRpcCode::invalidRequest,
            "Invalid Request: the line is longer than " + std::to_string(limit) + " bytes"));
    } else {
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
    }
    if (answer) {
        std::cout << *answer << '\n' << std::flush;
    }
}

// Reads standard input in pieces and answers each line, holding at most
// `limit` + 1 bytes of it (room for a "\r"): past that the rest of the line
// is dropped as it arrives.
void serve(kvillo::McpDispatcher& dispatcher) {
    const size_t limit = kvillo::HttpLimits{}.maxBodyBytes;
    std::string line;
    bool overLong = false;
    auto endLine = [&] {
        answerLine(dispatcher, line, overLong, limit);
        line.clear();
        overLong = false;
    };
    std::string buffer(kReadBytes, '\0');
    for (;;) {
        ssize_t count = ::read(STDIN_FILENO, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            break;
        }
        std::string_view piece(buffer.data(), static_cast<size_t>(count));
        for (;;) {
            size_t newline = piece.find('\n');
            std::string_view part = piece.substr(0, newline);
            if (!overLong && line.size() + part.size() > limit + 1) {
                overLong = true;
                line.clear();
            } else if (!overLong) {
                line.append(part);
            }
            if (newline == std::string_view::npos) {
                break;
            }
            piece.remove_prefix(newline + 1);
            endLine();
        }
    }
    if (overLong || !line.empty()) {
        endLine();
    }
}

}  // namespace

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
        serve(dispatcher);
    } catch (const kvillo::DatabaseError& error) {
        std::cerr << "kvillo-mcp: cannot open the database " << paths.databaseFile << ": "
                  << error.message() << "\n";
        return 1;
    }
    return 0;
}
