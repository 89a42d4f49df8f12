#pragma once

#include "core/mcp/http_request.h"
#include "core/mcp/http_response.h"
#include "core/mcp/mcp_dispatcher.h"

namespace kvillo {

// Routes one parsed HTTP request to its response: the MCP endpoint, the
// banner, CORS preflight, and the checks that keep web pages out of a
// server on the user's own machine (DNS rebinding, cross-site requests).
// Pure apart from what the dispatcher does; one thread at a time.
class McpHttpHandler {
public:
    static constexpr const char* kBanner =
        "Kvillo MCP Server \u2013 POST /mcp with a JSON-RPC 2.0 request.";

    explicit McpHttpHandler(McpDispatcher& dispatcher);

    HttpResponse respond(const HttpRequest& request);

    // Host header values the server answers to: localhost, 127.0.0.1 or
    // [::1], with any port.
    static bool isAllowedHost(std::string_view host);
    // Origins allowed to call: http://localhost, http://127.0.0.1 or
    // http://[::1], with any port.
    static bool isAllowedOrigin(std::string_view origin);

    // The answer to a caller that may not come in: a foreign origin, or
    // another local user.
    static HttpResponse forbidden();

private:
    McpDispatcher& dispatcher_;
};

}  // namespace kvillo
