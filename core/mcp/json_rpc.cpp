#include "core/mcp/json_rpc.h"

namespace kvillo {
namespace {

Json idToJson(const JsonRpcId& id) {
    if (const auto* number = std::get_if<std::int64_t>(&id)) {
        return *number;
    }
    return std::get<std::string>(id);
}

Json response(const std::optional<JsonRpcId>& id) {
    Json object = Json::object();
    object["jsonrpc"] = "2.0";
    // Only a parse error has no id to echo; JSON-RPC 2.0 has it answer null.
    object["id"] = id ? idToJson(*id) : Json(nullptr);
    return object;
}

}  // namespace

std::variant<JsonRpcRequest, std::string> readRequest(const Json& value) {
    if (!value.is_object()) {
        return std::string("expected a JSON-RPC request object");
    }
    JsonRpcRequest request;
    auto jsonrpc = value.find("jsonrpc");
    if (jsonrpc == value.end() || !jsonrpc->is_string()) {
        return std::string("'jsonrpc' must be a string");
    }
    request.jsonrpc = jsonrpc->get<std::string>();
    auto method = value.find("method");
    if (method == value.end() || !method->is_string()) {
        return std::string("'method' must be a string");
    }
    request.method = method->get<std::string>();
    auto id = value.find("id");
    if (id != value.end() && !id->is_null()) {
        if (id->is_number_integer() &&
            !(id->is_number_unsigned() &&
              id->get<std::uint64_t>() > static_cast<std::uint64_t>(INT64_MAX))) {
            request.id = id->get<std::int64_t>();
        } else if (id->is_string()) {
            request.id = id->get<std::string>();
        } else {
            return std::string("id must be int or string");
        }
    }
    auto params = value.find("params");
    if (params != value.end() && !params->is_null()) {
        request.params = *params;
    }
    return request;
}

Json resultResponse(const std::optional<JsonRpcId>& id, Json result) {
    Json object = response(id);
    object["result"] = std::move(result);
    return object;
}

Json errorResponse(const std::optional<JsonRpcId>& id, int code, std::string message) {
    Json object = response(id);
    Json error = Json::object();
    error["code"] = code;
    error["message"] = std::move(message);
    object["error"] = std::move(error);
    return object;
}

std::string writeJson(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace kvillo
