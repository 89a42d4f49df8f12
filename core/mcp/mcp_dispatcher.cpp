#include "core/mcp/mcp_dispatcher.h"

#include <algorithm>

#include "core/mcp/answer_caps.h"
#include "core/mcp/mcp_catalogue.h"
#include "core/mcp/mcp_server_error.h"
#include "core/records/annotation.h"
#include "core/text/trim.h"

namespace kvillo {
namespace {

constexpr const char* kInstructions =
    "Kvillo logs which apps the user has open. Annotations add what they were actually doing. "
    "When the user starts on a clear task or switches to a new one during the conversation, "
    "call `annotate` with a short description (use `duration` if it started earlier). Call "
    "`annotate` with empty text when the task is clearly finished.";

// Every tool's text passes here, so none can answer past the cap.
Json toolResult(std::string text, bool isError) {
    Json content = Json::object();
    content["type"] = "text";
    content["text"] = AnswerCaps::capAnswer(std::move(text));
    Json result = Json::object();
    result["content"] = Json::array({content});
    result["isError"] = isError;
    return result;
}

constexpr const char* kAiAccessOff = "AI access is turned off in Kvillo's settings.";

Json parseError(const std::string& reason) {
    return errorResponse(std::nullopt, JsonRpcCode::parseError, "Parse error: " + reason);
}

// Deeper nesting than any request needs would only cost stack in the
// recursive copies and destruction of the parsed value.
constexpr int kMaxNesting = 64;
// One batch runs on one of the server's two workers; a long one would hold
// up half the server.
constexpr size_t kMaxBatch = 100;
constexpr std::string_view kBatchTooLarge =
    "The batch's answers passed 4 MB: send this request again on its own.";
constexpr int kResourceActivityLimit = 200;

// The store takes a text only up to its first zero byte, while the answer
// would echo it whole: "A\u0000 (draft)" would act on "A" and say otherwise.
bool holdsNul(const Json& value) {
    if (value.is_string()) {
        return value.get_ref<const std::string&>().find('\0') != std::string::npos;
    }
    if (value.is_structured()) {
        return std::any_of(value.begin(), value.end(), holdsNul);
    }
    return false;
}

// The texts a tool stores or matches, each held to the length cap: a long
// one costs every later answer that repeats it, or every row a search scans.
// A string list (keywords) has each element judged.
struct CappedArgument {
    std::string_view tool;
    const char* key;
};
constexpr std::array<CappedArgument, 5> kCappedArguments{{
    {"annotate", "text"},
    {"save_project", "name"},
    {"save_project", "keywords"},
    {"delete_project", "name"},
    {"search_activities", "query"},
}};

bool holdsTooLongText(std::string_view tool, const Json& args) {
    auto tooLong = [](const Json& value) {
        return value.is_string() && AnswerCaps::tooLong(value.get_ref<const std::string&>());
    };
    for (const auto& capped : kCappedArguments) {
        auto value = args.find(capped.key);
        if (capped.tool != tool || value == args.end()) {
            continue;
        }
        if (tooLong(*value) ||
            (value->is_array() && std::any_of(value->begin(), value->end(), tooLong))) {
            return true;
        }
    }
    return false;
}

bool nestsTooDeep(std::string_view body) {
    int depth = 0;
    bool inString = false;
    bool escaped = false;
    for (char c : body) {
        if (inString) {
            if (escaped) {
                escaped = false;
            } else if (c == '\\') {
                escaped = true;
            } else if (c == '"') {
                inString = false;
            }
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > kMaxNesting) {
                return true;
            }
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return false;
}

}  // namespace

McpDispatcher::McpDispatcher(Database& database, const Features& features, const Clock& clock)
    : database_(database), features_(features), clock_(clock), tools_(database, clock) {}

std::optional<std::string> McpDispatcher::handleBody(std::string_view body) {
    if (nestsTooDeep(body)) {
        return writeJson(
            parseError("nested deeper than " + std::to_string(kMaxNesting) + " levels"));
    }
    Json message;
    try {
        message = Json::parse(body);
    } catch (const Json::exception& error) {
        // Syntax errors, and numbers beyond any double, alike.
        return writeJson(parseError(error.what()));
    }
    if (!message.is_array()) {
        auto response = answer(message);
        return response ? std::optional(writeJson(*response)) : std::nullopt;
    }
    if (message.empty()) {
        return writeJson(parseError("empty batch"));
    }
    if (message.size() > kMaxBatch) {
        return writeJson(
            parseError("a batch holds at most " + std::to_string(kMaxBatch) + " requests"));
    }
    // Each answer is capped, but a hundred capped answers are not: once the
    // batch's answers pass the cap, the rest are refused unrun.
    Json responses = Json::array();
    size_t answeredBytes = 0;
    for (const auto& element : message) {
        if (answeredBytes > AnswerCaps::kMaxAnswerBytes) {
            auto read = readRequest(element);
            if (auto* request = std::get_if<JsonRpcRequest>(&read); request && request->id) {
                responses.push_back(errorResponse(request->id, JsonRpcCode::internalError,
                                                  std::string(kBatchTooLarge)));
            }
            continue;
        }
        if (auto response = answer(element)) {
            answeredBytes += response->dump().size();
            responses.push_back(std::move(*response));
        }
    }
    if (responses.empty()) {
        return std::nullopt;
    }
    return writeJson(responses);
}

std::optional<Json> McpDispatcher::answer(const Json& message) {
    auto read = readRequest(message);
    if (auto* reason = std::get_if<std::string>(&read)) {
        return parseError(*reason);
    }
    const auto& request = std::get<JsonRpcRequest>(read);
    if (!request.id) {
        return std::nullopt;
    }
    try {
        return handle(request);
    } catch (const std::exception& error) {
        // Expected failures are answered where they happen; anything else
        // still gets an answer, so that the client is not left waiting.
        return errorResponse(request.id, JsonRpcCode::internalError,
                             std::string("Internal error: ") + error.what());
    }
}

Json McpDispatcher::handle(const JsonRpcRequest& request) {
    const std::string& method = request.method;
    if (method == "initialize") {
        return handleInitialize(request);
    }
    if (method == "ping") {
        return resultResponse(request.id, Json::object());
    }
    if (method == "tools/list") {
        return handleToolsList(request);
    }
    if (method == "tools/call") {
        return handleToolsCall(request);
    }
    if (method == "resources/list") {
        return resultResponse(request.id, Json{{"resources", McpCatalogue::resources()}});
    }
    if (method == "resources/read") {
        return handleResourcesRead(request);
    }
    return errorResponse(request.id, JsonRpcCode::methodNotFound, "Method not found: " + method);
}

Json McpDispatcher::handleInitialize(const JsonRpcRequest& request) {
    std::string version(kLatestProtocolVersion);
    if (request.params && request.params->is_object()) {
        auto asked = request.params->find("protocolVersion");
        if (asked != request.params->end() && asked->is_string() &&
            std::find(kProtocolVersions.begin(), kProtocolVersions.end(),
                      asked->get<std::string>()) != kProtocolVersions.end()) {
            version = asked->get<std::string>();
        }
    }
    Json capabilities = Json::object();
    capabilities["tools"] = Json::object();
    capabilities["resources"] = Json::object();
    Json serverInfo = Json::object();
    serverInfo["name"] = "kvillo";
    serverInfo["version"] = "1.0.0";
    Json result = Json::object();
    result["protocolVersion"] = version;
    result["capabilities"] = std::move(capabilities);
    result["serverInfo"] = std::move(serverInfo);
    result["instructions"] = kInstructions;
    return resultResponse(request.id, std::move(result));
}

Json McpDispatcher::handleToolsList(const JsonRpcRequest& request) {
    return resultResponse(request.id, Json{{"tools", McpCatalogue::toolList(features_)}});
}

Json McpDispatcher::handleToolsCall(const JsonRpcRequest& request) {
    const Json* params = request.params ? &*request.params : nullptr;
    if (!params || !params->is_object() || !params->contains("name") ||
        !(*params)["name"].is_string()) {
        return errorResponse(request.id, JsonRpcCode::invalidParams,
                             "Invalid params: missing 'name'");
    }
    std::string name = (*params)["name"].get<std::string>();
    Json args = Json::object();
    if (auto arguments = params->find("arguments");
        arguments != params->end() && arguments->is_object()) {
        args = *arguments;
    }
    auto refuse = [&](std::string_view text) {
        return resultResponse(request.id, toolResult(std::string(text), true));
    };
    if (!features_.isEnabled(Features::Key::aiAccess)) {
        return refuse(kAiAccessOff);
    }
    const McpTool* tool = McpCatalogue::findTool(name);
    if (tool && McpCatalogue::isWithdrawn(*tool, features_)) {
        return refuse("This feature is turned off in Kvillo's settings.");
    }
    if (name == "annotate" && !features_.isEnabled(Features::Key::claudeCodeHook)) {
        // The tool stores the text trimmed, so that is what is judged.
        auto text = args.find("text");
        if (text != args.end() && text->is_string() &&
            trim(text->get_ref<const std::string&>()).starts_with(kClaudeCodePrefix)) {
            return refuse("The Claude Code hook is turned off in Kvillo's settings.");
        }
    }
    if (!tool) {
        return resultResponse(request.id, toolResult("Unknown tool: " + name, true));
    }
    if (holdsNul(args)) {
        return refuse("Error: the text contains a NUL character");
    }
    if (holdsTooLongText(name, args)) {
        return refuse(AnswerCaps::kTextTooLong);
    }
    try {
        ToolResult result = (tools_.*tool->run)(args);
        return resultResponse(request.id, toolResult(std::move(result.text), result.isError));
    } catch (const DatabaseError& error) {
        return resultResponse(request.id, toolResult(std::string("Error: ") + error.what(), true));
    }
}

Json McpDispatcher::handleResourcesRead(const JsonRpcRequest& request) {
    const Json* params = request.params ? &*request.params : nullptr;
    if (!params || !params->is_object() || !params->contains("uri") ||
        !(*params)["uri"].is_string()) {
        return errorResponse(request.id, JsonRpcCode::invalidParams,
                             "Invalid params: missing 'uri'");
    }
    // Listing stays, as tools/list does; reading is what the switch guards.
    if (!features_.isEnabled(Features::Key::aiAccess)) {
        return errorResponse(request.id, JsonRpcCode::internalError, kAiAccessOff);
    }
    std::string uri = (*params)["uri"].get<std::string>();
    try {
        Json content = Json::object();
        content["uri"] = uri;
        content["mimeType"] = "text/plain";
        content["text"] = AnswerCaps::capAnswer(readResource(uri));
        return resultResponse(request.id, Json{{"contents", Json::array({content})}});
    } catch (const McpServerError& error) {
        return errorResponse(request.id, JsonRpcCode::internalError, error.what());
    } catch (const DatabaseError& error) {
        return errorResponse(request.id, JsonRpcCode::internalError, error.what());
    }
}

std::string McpDispatcher::readResource(const std::string& uri) {
    const TimePoint now = clock_.now();
    if (uri == "kvillo://activities/today") {
        return tools_.activitiesOfDay(now, kResourceActivityLimit);
    }
    if (uri == "kvillo://activities/yesterday") {
        return tools_.activitiesOfDay(calendar::addDays(now, -1), kResourceActivityLimit);
    }
    if (uri == "kvillo://usage/today") {
        return tools_.usageOfDay(now);
    }
    throw McpServerError::unknownResource(uri);
}

}  // namespace kvillo
