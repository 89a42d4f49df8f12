#include <gtest/gtest.h>

#include "core/mcp/http_request.h"

namespace kvillo {
namespace {

TEST(HttpRequestParser, HeadAndBodyAcrossReadsWithTheHeadersTheChecksNeed) {
    std::string head =
        "POST /mcp HTTP/1.1\r\nhost: 127.0.0.1\r\nORIGIN: http://localhost:3000\r\n"
        "Content-Type: application/json; charset=utf-8\r\nMcp-Protocol-Version: 2025-06-18\r\n"
        "X-Other: ignored\r\nContent-Length: 12\r\n\r\n";
    std::string body = R"({"a":[1,2]} )";
    EXPECT_EQ(parseHttpRequest(head.substr(0, 10)).status, ParseStatus::incomplete);
    EXPECT_EQ(parseHttpRequest(head).status, ParseStatus::incomplete);
    EXPECT_EQ(parseHttpRequest(head + body.substr(0, 11)).status, ParseStatus::incomplete);
    auto parsed = parseHttpRequest(head + body + "GET / HTTP/1.1\r\n\r\n");
    ASSERT_EQ(parsed.status, ParseStatus::complete);
    EXPECT_EQ(parsed.request.method, "POST");
    EXPECT_EQ(parsed.request.path, "/mcp");
    EXPECT_EQ(parsed.request.body, body);  // the pipelined request is ignored
    EXPECT_EQ(parsed.request.host, "127.0.0.1");
    EXPECT_EQ(parsed.request.origin, "http://localhost:3000");
    EXPECT_EQ(parsed.request.contentType, "application/json; charset=utf-8");
    EXPECT_EQ(parsed.request.protocolVersion, "2025-06-18");
}

TEST(HttpRequestParser, ContentLengthForms) {
    struct Row {
        const char* header;
        size_t bodyLength;
    };
    const Row rows[] = {
        {"CONTENT-LENGTH: 3", 3},  {"content-length:3", 3},    {"Content-Length: \t3\t", 3},
        {"Content-Length: +3", 3}, {"Content-Length: abc", 0}, {"Content-Length: -5", 0},
        {"Content-Length:", 0},    {"Content-Length: 3x", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.header);
        auto parsed =
            parseHttpRequest(std::string("POST /mcp\r\n") + row.header + "\r\n\r\nabcdef");
        ASSERT_EQ(parsed.status, ParseStatus::complete);
        EXPECT_EQ(parsed.request.body.size(), row.bodyLength);
    }
    auto later = parseHttpRequest("POST /mcp\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\nab");
    EXPECT_EQ(later.request.body, "ab");
}

TEST(HttpRequestParser, ATransferCodedBodyEndsTheRequestAtItsHead) {
    // Content-Length yields to Transfer-Encoding; waiting for it would hang.
    auto chunked = parseHttpRequest(
        "POST /mcp HTTP/1.1\r\nTransfer-Encoding: chunked\r\nContent-Length: 50\r\n\r\n5\r\n");
    ASSERT_EQ(chunked.status, ParseStatus::complete);
    EXPECT_EQ(chunked.request.transferEncoding, "chunked");
    EXPECT_EQ(chunked.request.body, "");
}

TEST(HttpRequestParser, AHeadThatExpectsContinueAwaitsItUntilTheBodyComes) {
    struct Row {
        const char* expect;
        const char* received;  // after the head
        bool awaitsContinue;
    };
    const Row rows[] = {
        {"Expect: 100-continue", "", true},    {"EXPECT:100-Continue ", "{", true},
        {"Expect: 100-continue", "{}", false},  // complete: nothing to wait for
        {"Expect: 200-ok", "", false},         {"X-Expect: 100-continue", "", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.expect);
        auto parsed = parseHttpRequest(std::string("POST /mcp\r\nContent-Length: 2\r\n") +
                                       row.expect + "\r\n\r\n" + row.received);
        EXPECT_EQ(parsed.awaitsContinue, row.awaitsContinue);
    }
    EXPECT_FALSE(parseHttpRequest("POST /mcp\r\nExpect: 100-continue\r\n").awaitsContinue);
}

TEST(HttpRequestParser, MalformedHeadsWaitForMore) {
    // A request line without a protocol version is fine; one word is not.
    EXPECT_EQ(parseHttpRequest("POST /mcp\r\n\r\n").status, ParseStatus::complete);
    EXPECT_EQ(parseHttpRequest("POST\r\n\r\n").status, ParseStatus::incomplete);
    EXPECT_EQ(parseHttpRequest("GET /\xff\xfe HTTP/1.1\r\n\r\n").status, ParseStatus::incomplete);
    EXPECT_EQ(parseHttpRequest("\r\n\r\n").status, ParseStatus::incomplete);
    auto lowerCase = parseHttpRequest("post /mcp HTTP/1.1\r\n\r\n");
    EXPECT_EQ(lowerCase.request.method, "post");  // kept as received
}

TEST(HttpRequestParser, LimitsStopHugeHeadsAndBodies) {
    HttpLimits limits{.maxHeadBytes = 64, .maxBodyBytes = 10};
    EXPECT_EQ(parseHttpRequest(std::string(65, 'x'), limits).status, ParseStatus::headTooLarge);
    EXPECT_EQ(parseHttpRequest(std::string(64, 'x'), limits).status, ParseStatus::incomplete);
    EXPECT_EQ(
        parseHttpRequest("POST /mcp\r\nX: " + std::string(60, 'y') + "\r\n\r\n", limits).status,
        ParseStatus::headTooLarge);
    EXPECT_EQ(parseHttpRequest("POST /mcp\r\nContent-Length: 11\r\n\r\n", limits).status,
              ParseStatus::bodyTooLarge);
    // A malformed head does not let the client send without end either.
    // (64 + 10 + 4 bytes may wait for the client; one more may not.)
    EXPECT_EQ(parseHttpRequest("X\r\n\r\n" + std::string(73, 'z'), limits).status,
              ParseStatus::incomplete);
    EXPECT_EQ(parseHttpRequest("X\r\n\r\n" + std::string(74, 'z'), limits).status,
              ParseStatus::bodyTooLarge);
    EXPECT_EQ(
        parseHttpRequest("POST /mcp\r\nContent-Length: 99999999999999999999999\r\n\r\n", limits)
            .status,
        ParseStatus::bodyTooLarge);
}

}  // namespace
}  // namespace kvillo
