#include <gtest/gtest.h>

#include "core/mcp/mcp_http_handler.h"
#include "tests/core/mcp/mcp_fixture.h"

namespace kvillo {
namespace {

class HttpHandler : public testing::McpFixture {
protected:
    std::string answer(const std::string& request) {
        auto parsed = parseHttpRequest(request);
        EXPECT_EQ(parsed.status, ParseStatus::complete) << request;
        return serialize(handler_.respond(parsed.request));
    }

    McpHttpHandler handler_{dispatcher_};
};

std::string post(const std::string& body, const std::string& extraHeaders = "",
                 const std::string& type = "application/json") {
    return "POST /mcp HTTP/1.1\r\nHost: localhost:7384\r\nContent-Type: " + type + "\r\n" +
           extraHeaders + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

const std::string kPing = R"({"jsonrpc":"2.0","id":1,"method":"ping"})";

TEST_F(HttpHandler, FixedAnswersByteForByte) {
    EXPECT_EQ(answer("GET / HTTP/1.1\r\nHost: localhost:7384\r\n\r\n"),
              "HTTP/1.1 200 OK\r\nContent-Type: text/plain; charset=utf-8\r\nContent-Length: 60\r\n"
              "Connection: close\r\n\r\nKvillo MCP Server \u2013 POST /mcp with a JSON-RPC 2.0 "
              "request.");
    EXPECT_EQ(answer("OPTIONS /anything HTTP/1.1\r\n\r\n"),
              "HTTP/1.1 204 No Content\r\nContent-Type: application/json; charset=utf-8\r\n"
              "Content-Length: 0\r\nConnection: close\r\n\r\n");
    EXPECT_EQ(answer("GET /mcp HTTP/1.1\r\n\r\n"),
              "HTTP/1.1 405 Method Not Allowed\r\nContent-Type: text/plain; charset=utf-8\r\n"
              "Content-Length: 18\r\nAllow: POST, OPTIONS\r\nConnection: close\r\n\r\n"
              "Method not allowed");
    EXPECT_EQ(answer("POST / HTTP/1.1\r\n\r\n"),
              "HTTP/1.1 404 Not Found\r\nContent-Type: text/plain; charset=utf-8\r\n"
              "Content-Length: 9\r\nConnection: close\r\n\r\nNot found");
}

TEST_F(HttpHandler, TheStatusFollowsRouteHostOriginAndMediaType) {
    // Refused requests would start a task if they reached the dispatcher.
    const std::string annotate =
        R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"annotate","arguments":{"text":"Refused"}}})";
    struct Row {
        const char* name;
        std::string request;
        const char* statusLine;
    };
    const Row rows[] = {
        {"lower-case method", "post /mcp HTTP/1.1\r\n\r\n", "HTTP/1.1 404 Not Found"},
        {"query string", "POST /mcp?x=1 HTTP/1.1\r\n\r\n", "HTTP/1.1 404 Not Found"},
        {"other method", "DELETE /mcp HTTP/1.1\r\n\r\n", "HTTP/1.1 404 Not Found"},
        {"notification", post(R"({"jsonrpc":"2.0","method":"notifications/initialized"})"),
         "HTTP/1.1 202 Accepted"},
        {"notifications only",
         post(R"([{"jsonrpc":"2.0","method":"a"},{"jsonrpc":"2.0","method":"b"}])"),
         "HTTP/1.1 202 Accepted"},
        {"media type with parameters", post(kPing, "", "Application/JSON; charset=utf-8"),
         "HTTP/1.1 200 OK"},
        {"known protocol version", post(kPing, "MCP-Protocol-Version: 2025-06-18\r\n"),
         "HTTP/1.1 200 OK"},
        {"ipv6 host", "GET / HTTP/1.1\r\nHost: [::1]:7384\r\n\r\n", "HTTP/1.1 200 OK"},
        {"plain 127.0.0.1", "GET / HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n", "HTTP/1.1 200 OK"},
        // The later Host line wins.
        {"rebound host", post(annotate, "Host: attacker.example:7384\r\n"),
         "HTTP/1.1 421 Misdirected Request"},
        {"host that only starts like localhost", "GET / HTTP/1.1\r\nHost: localhost.evil\r\n\r\n",
         "HTTP/1.1 421 Misdirected Request"},
        {"foreign origin", post(annotate, "Origin: https://example.com\r\n"),
         "HTTP/1.1 403 Forbidden"},
        {"https loopback origin", post(annotate, "Origin: https://localhost\r\n"),
         "HTTP/1.1 403 Forbidden"},
        {"null origin", post(annotate, "Origin: null\r\n"), "HTTP/1.1 403 Forbidden"},
        {"text body", post(annotate, "", "text/plain"), "HTTP/1.1 415 Unsupported Media Type"},
        {"no content type", "POST /mcp HTTP/1.1\r\nContent-Length: 2\r\n\r\n{}",
         "HTTP/1.1 415 Unsupported Media Type"},
        {"unknown protocol version", post(annotate, "MCP-Protocol-Version: 1999-01-01\r\n"),
         "HTTP/1.1 400 Bad Request"},
        {"chunked body",
         "POST /mcp HTTP/1.1\r\nContent-Type: application/json\r\nTransfer-Encoding: "
         "chunked\r\n\r\n2\r\n{}\r\n0\r\n\r\n",
         "HTTP/1.1 411 Length Required"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::string response = answer(row.request);
        EXPECT_EQ(response.substr(0, response.find("\r\n")), row.statusLine);
    }
    EXPECT_FALSE(db_.currentAnnotation());
}

TEST_F(HttpHandler, LocalPagesGetTheirOwnOriginBack) {
    std::string response = answer(post(kPing, "Origin: http://localhost:5173\r\n"));
    EXPECT_NE(response.find("\r\nAccess-Control-Allow-Origin: http://localhost:5173\r\n"),
              std::string::npos)
        << response;
    EXPECT_NE(response.find("\r\nVary: Origin\r\n"), std::string::npos);
    EXPECT_EQ(answer(post(kPing)).find("Access-Control"), std::string::npos);
    std::string preflight =
        answer("OPTIONS /mcp HTTP/1.1\r\nOrigin: http://127.0.0.1:8080\r\n\r\n");
    EXPECT_TRUE(preflight.starts_with("HTTP/1.1 204 No Content"));
    EXPECT_NE(preflight.find("Access-Control-Allow-Headers: Content-Type"), std::string::npos);
}

}  // namespace
}  // namespace kvillo
