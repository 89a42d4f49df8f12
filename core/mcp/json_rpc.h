#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace kvillo {

// JSON-RPC 2.0 messages. Objects keep their keys in insertion order, so the
// server writes keys in the order its records list them; values keep their
// JSON kind (3 stays an integer, 1.5 a fraction).
using Json = nlohmann::ordered_json;

// A request id: an integer or a string, echoed back in the same form.
using JsonRpcId = std::variant<std::int64_t, std::string>;

struct JsonRpcRequest {
    std::string jsonrpc;          // read, not checked
    std::optional<JsonRpcId> id;  // none (missing or null): a notification
    std::string method;
    std::optional<Json> params;  // none when missing or null
};

namespace JsonRpcCode {
inline constexpr int parseError = -32700;
inline constexpr int invalidRequest = -32600;
inline constexpr int methodNotFound = -32601;
inline constexpr int invalidParams = -32602;
inline constexpr int internalError = -32603;
}  // namespace JsonRpcCode

// Reads one request object. On failure gives the reason, which follows
// "Parse error: " in the answer.
std::variant<JsonRpcRequest, std::string> readRequest(const Json& value);

// {"jsonrpc":"2.0","id":…,"result":…}; the id is null when absent (a
// request that could not be read).
Json resultResponse(const std::optional<JsonRpcId>& id, Json result);
// {"jsonrpc":"2.0","id":…,"error":{"code":…,"message":…}}.
Json errorResponse(const std::optional<JsonRpcId>& id, int code, std::string message);

// Compact JSON. Bytes that are not UTF-8 (a window title from a broken
// application) become U+FFFD rather than failing the whole answer.
std::string writeJson(const Json& value);

}  // namespace kvillo
