#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "core/mcp/json_rpc.h"
#include "core/mcp/mcp_tools.h"
#include "core/settings/features.h"
#include "core/store/database.h"
#include "core/time/clock.h"

namespace kvillo {

// The JSON-RPC layer of the MCP endpoint: a request body in, the answer
// body out. Knows nothing of sockets, so the HTTP server and the stdio
// bridge share it. Feature switches are read afresh for every request: with
// AI access off no tool runs and no resource is read, though both are still
// listed. Tool arguments holding a NUL character, or a text the tool stores or
// matches longer than AnswerCaps::kMaxTextCodePoints, are refused before the
// tool runs. Every tool answer and resource text is held to
// AnswerCaps::kMaxAnswerBytes. One thread at a time per instance; the server
// keeps one per thread, all on the same database, features and clock, so
// nothing here is shared but those.
class McpDispatcher {
public:
    // The protocol versions answered as asked; any other gets the newest.
    static constexpr std::array<std::string_view, 4> kProtocolVersions{"2024-11-05", "2025-03-26",
                                                                       "2025-06-18", "2025-11-25"};
    static constexpr std::string_view kLatestProtocolVersion = "2025-11-25";

    // The database, features and clock must outlive the dispatcher.
    McpDispatcher(Database& database, const Features& features, const Clock& clock);

    // The answer to one request object, or to a batch (an array) an array of
    // answers; none when nothing is to be answered (notifications only). A
    // request whose handling throws is answered -32603 "Internal error: "
    // and the exception's text, with its id; only running out of memory
    // while reading or writing the body escapes.
    std::optional<std::string> handleBody(std::string_view body);

    // One request (with an id) to its response object.
    Json handle(const JsonRpcRequest& request);

private:
    Json handleInitialize(const JsonRpcRequest& request);
    Json handleToolsList(const JsonRpcRequest& request);
    Json handleToolsCall(const JsonRpcRequest& request);
    Json handleResourcesRead(const JsonRpcRequest& request);
    std::string readResource(const std::string& uri);
    std::optional<Json> answer(const Json& message);

    Database& database_;
    const Features& features_;
    const Clock& clock_;
    McpTools tools_;
};

}  // namespace kvillo
