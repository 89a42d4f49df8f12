#include "core/mcp/mcp_http_handler.h"

#include <algorithm>

namespace kvillo {
namespace {

std::string lowered(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return out;
}

// "localhost", "127.0.0.1" or "[::1]", then nothing or ":" and digits.
bool isLoopbackAuthority(std::string_view authority) {
    std::string host = lowered(authority);
    for (std::string_view name : {"localhost", "127.0.0.1", "[::1]"}) {
        if (!std::string_view(host).starts_with(name)) {
            continue;
        }
        std::string_view rest = std::string_view(host).substr(name.size());
        if (rest.empty()) {
            return true;
        }
        if (rest.front() == ':' && rest.size() > 1 &&
            std::all_of(rest.begin() + 1, rest.end(),
                        [](char c) { return c >= '0' && c <= '9'; })) {
            return true;
        }
    }
    return false;
}

bool isJson(const std::optional<std::string>& contentType) {
    if (!contentType) {
        return false;
    }
    std::string type = lowered(contentType->substr(0, contentType->find(';')));
    type.erase(type.find_last_not_of(" \t") + 1);
    return type == "application/json";
}

HttpResponse text(int status, std::string body) {
    return HttpResponse{.status = status, .body = std::move(body), .contentType = "text/plain"};
}

}  // namespace

McpHttpHandler::McpHttpHandler(McpDispatcher& dispatcher) : dispatcher_(dispatcher) {}

bool McpHttpHandler::isAllowedHost(std::string_view host) {
    return isLoopbackAuthority(host);
}

bool McpHttpHandler::isAllowedOrigin(std::string_view origin) {
    constexpr std::string_view kScheme = "http://";
    std::string lower = lowered(origin);
    return std::string_view(lower).starts_with(kScheme) &&
           isLoopbackAuthority(std::string_view(lower).substr(kScheme.size()));
}

HttpResponse McpHttpHandler::forbidden() {
    return text(403, "Forbidden origin");
}

HttpResponse McpHttpHandler::respond(const HttpRequest& request) {
    // A page that rebinds its own domain to 127.0.0.1 still sends its own
    // name as Host; a cross-site page sends its Origin.
    if (request.host && !isAllowedHost(*request.host)) {
        return text(421, "Misdirected request");
    }
    if (request.origin && !isAllowedOrigin(*request.origin)) {
        return forbidden();
    }

    HttpResponse response;
    if (request.transferEncoding) {
        // A chunked body cannot be read here; clients resend with a length.
        response = text(411, "Content-Length required");
    } else if (request.method == "OPTIONS") {
        response = HttpResponse{.status = 204};
    } else if (request.method == "POST" && request.path == "/mcp") {
        if (!isJson(request.contentType)) {
            response = text(415, "Content-Type must be application/json");
        } else if (request.protocolVersion &&
                   std::find(McpDispatcher::kProtocolVersions.begin(),
                             McpDispatcher::kProtocolVersions.end(),
                             *request.protocolVersion) == McpDispatcher::kProtocolVersions.end()) {
            response = text(400, "Unsupported MCP-Protocol-Version: " + *request.protocolVersion);
        } else if (auto body = dispatcher_.handleBody(request.body)) {
            response = HttpResponse{.status = 200, .body = std::move(*body)};
        } else {
            response = HttpResponse{.status = 202};
        }
    } else if (request.method == "GET" && request.path == "/") {
        response = text(200, kBanner);
    } else if (request.method == "GET" && request.path == "/mcp") {
        // No server-to-client stream is offered; clients fall back to POST.
        response = text(405, "Method not allowed");
        response.headers.emplace_back("Allow", "POST, OPTIONS");
    } else {
        response = text(404, "Not found");
    }

    // Browsers on this machine get exactly their own origin back; desktop
    // clients send none and need no CORS headers.
    if (request.origin) {
        response.headers.emplace_back("Access-Control-Allow-Origin", *request.origin);
        response.headers.emplace_back("Vary", "Origin");
        response.headers.emplace_back("Access-Control-Allow-Methods", "POST, GET, OPTIONS");
        response.headers.emplace_back("Access-Control-Allow-Headers",
                                      "Content-Type, Accept, MCP-Protocol-Version, Mcp-Session-Id");
    }
    return response;
}

}  // namespace kvillo
