#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace kvillo {

// One HTTP request as the MCP endpoint needs it. The framing is deliberately
// small: one request per connection, bodies framed by Content-Length only
// (a transfer-coded one is refused), and only the headers below are kept.
struct HttpRequest {
    std::string method;  // as received, case kept
    std::string path;    // as received, query included, nothing decoded
    std::string body;    // exactly Content-Length bytes
    // The headers the endpoint's checks read (names matched without regard
    // to case; a later line wins). Absent when not sent.
    std::optional<std::string> host;
    std::optional<std::string> origin;
    std::optional<std::string> contentType;
    std::optional<std::string> protocolVersion;  // MCP-Protocol-Version
    // Transfer-Encoding as sent. Its body cannot be framed here, so the
    // request is complete at the end of its head, with an empty body.
    std::optional<std::string> transferEncoding;
    bool expectsContinue = false;  // "Expect: 100-continue"
};

// How far a buffer of received bytes goes towards a request.
enum class ParseStatus {
    incomplete,    // keep reading; also a head that is malformed
    complete,      // `request` is filled; bytes after its body are ignored
    headTooLarge,  // no end of head within the limit
    bodyTooLarge,  // Content-Length over the limit
};

struct ParseResult {
    ParseStatus status = ParseStatus::incomplete;
    HttpRequest request;
    // Incomplete, but the whole head is here and asks for "100 Continue"
    // before the client sends its body.
    bool awaitsContinue = false;
    // Incomplete, but the whole head is here and announces this many body
    // bytes, so that a server can give the body time by its size.
    bool headComplete = false;
    size_t contentLength = 0;
};

// Limits the parser enforces, so that a client cannot make the server hold
// unbounded data.
struct HttpLimits {
    size_t maxHeadBytes = 16 * 1024;
    size_t maxBodyBytes = 1024 * 1024;
};

// Parses the whole of `buffer` (everything received so far). Pure.
// A head that is not UTF-8 or whose request line has fewer than two words is
// treated as incomplete; an unreadable or negative Content-Length counts as 0.
ParseResult parseHttpRequest(std::string_view buffer, const HttpLimits& limits = {});

}  // namespace kvillo
