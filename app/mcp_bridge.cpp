#include "app/mcp_bridge.h"

#include <unistd.h>

#include <cerrno>
#include <iostream>
#include <string>
#include <string_view>

#include "core/files/private_folder.h"
#include "core/mcp/http_request.h"
#include "core/mcp/mcp_dispatcher.h"
#include "core/time/system_clock.h"
#include "platform/linux/user_account.h"

namespace kvillo {
namespace {

constexpr size_t kReadBytes = 64 * 1024;

// `overLong`: the line passed `limit` and `line` holds none of it.
void answerLine(McpDispatcher& dispatcher, std::string& line, bool overLong, size_t limit) {
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
        answer = writeJson(errorResponse(
            std::nullopt, JsonRpcCode::invalidRequest,
            "Invalid Request: the line is longer than " + std::to_string(limit) + " bytes"));
    } else {
        try {
            answer = dispatcher.handleBody(line);
        } catch (const std::exception& error) {
            // One bad message must not end the session, nor leave the
            // client waiting; its id could not be read.
            std::cerr << "kvillo-mcp: " << error.what() << "\n";
            answer = writeJson(errorResponse(std::nullopt, JsonRpcCode::internalError,
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
void serve(McpDispatcher& dispatcher) {
    const size_t limit = HttpLimits{}.maxBodyBytes;
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

int runMcpBridge(const AppPaths& paths) {
    std::ios::sync_with_stdio(false);
    // Any failure shows up as the database failing to open.
    createPrivateFolder(paths.dataFolder);
    try {
        Database database(paths.databaseFile);
        Features features(paths.settingsFile, fullUserName);
        SystemClock clock;
        McpDispatcher dispatcher(database, features, clock);
        serve(dispatcher);
    } catch (const DatabaseError& error) {
        std::cerr << "kvillo-mcp: cannot open the database " << paths.databaseFile << ": "
                  << error.message() << "\n";
        return 1;
    }
    return 0;
}

}  // namespace kvillo
