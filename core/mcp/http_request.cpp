#include "core/mcp/http_request.h"

#include <unicode/utf8.h>

#include <vector>

namespace kvillo {
namespace {

constexpr std::string_view kHeadEnd = "\r\n\r\n";

bool isValidUtf8(std::string_view text) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    int32_t length = static_cast<int32_t>(text.size());
    for (int32_t i = 0; i < length;) {
        UChar32 c;
        U8_NEXT(bytes, i, length, c);
        if (c < 0) {
            return false;
        }
    }
    return true;
}

std::string_view trimmedBlanks(std::string_view text) {
    size_t start = text.find_first_not_of(" \t");
    if (start == std::string_view::npos) {
        return {};
    }
    size_t end = text.find_last_not_of(" \t");
    return text.substr(start, end - start + 1);
}

bool startsWithIgnoringCase(std::string_view text, std::string_view lowerPrefix) {
    if (text.size() < lowerPrefix.size()) {
        return false;
    }
    for (size_t i = 0; i < lowerPrefix.size(); ++i) {
        char c = text[i];
        if ((c >= 'A' && c <= 'Z' ? c + 32 : c) != lowerPrefix[i]) {
            return false;
        }
    }
    return true;
}

// An optional sign, then digits only; anything else (or a value that does
// not fit) counts as 0, and so does a negative length.
size_t contentLengthOf(std::string_view text) {
    text = trimmedBlanks(text);
    bool negative = false;
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    if (text.empty()) {
        return 0;
    }
    size_t value = 0;
    for (char c : text) {
        if (c < '0' || c > '9') {
            return 0;
        }
        if (value > (SIZE_MAX - 9) / 10) {
            return SIZE_MAX;  // far over any limit
        }
        value = value * 10 + static_cast<size_t>(c - '0');
    }
    return negative ? 0 : value;
}

std::vector<std::string_view> split(std::string_view text, std::string_view separator) {
    std::vector<std::string_view> parts;
    size_t start = 0;
    while (true) {
        size_t next = text.find(separator, start);
        if (next == std::string_view::npos) {
            parts.push_back(text.substr(start));
            return parts;
        }
        parts.push_back(text.substr(start, next - start));
        start = next + separator.size();
    }
}

}  // namespace

ParseResult parseHttpRequest(std::string_view buffer, const HttpLimits& limits) {
    ParseResult result;
    size_t headEnd = buffer.find(kHeadEnd);
    if (headEnd == std::string_view::npos) {
        if (buffer.size() > limits.maxHeadBytes) {
            result.status = ParseStatus::headTooLarge;
        }
        return result;
    }
    if (headEnd > limits.maxHeadBytes) {
        result.status = ParseStatus::headTooLarge;
        return result;
    }
    std::string_view head = buffer.substr(0, headEnd);
    // A malformed head waits for the client to finish, like an incomplete
    // one, but not for ever more bytes.
    auto malformed = [&] {
        if (buffer.size() > limits.maxHeadBytes + limits.maxBodyBytes + kHeadEnd.size()) {
            result.status = ParseStatus::bodyTooLarge;
        }
        return result;
    };
    if (!isValidUtf8(head)) {
        return malformed();
    }
    auto lines = split(head, "\r\n");
    auto requestLine = split(lines.front(), " ");
    if (requestLine.size() < 2) {
        return malformed();
    }
    HttpRequest& request = result.request;
    request.method = requestLine[0];
    request.path = requestLine[1];

    size_t contentLength = 0;
    for (size_t i = 1; i < lines.size(); ++i) {
        std::string_view line = lines[i];
        if (startsWithIgnoringCase(line, "content-length:")) {
            contentLength = contentLengthOf(line.substr(15));
            continue;
        }
        if (startsWithIgnoringCase(line, "expect:")) {
            std::string_view value = trimmedBlanks(line.substr(7));
            request.expectsContinue =
                value.size() == 12 && startsWithIgnoringCase(value, "100-continue");
            continue;
        }
        struct Kept {
            std::string_view name;
            std::optional<std::string>* value;
        };
        for (const Kept& kept : {Kept{"host:", &request.host}, Kept{"origin:", &request.origin},
                                 Kept{"content-type:", &request.contentType},
                                 Kept{"mcp-protocol-version:", &request.protocolVersion},
                                 Kept{"transfer-encoding:", &request.transferEncoding}}) {
            if (startsWithIgnoringCase(line, kept.name)) {
                *kept.value = std::string(trimmedBlanks(line.substr(kept.name.size())));
            }
        }
    }
    if (request.transferEncoding) {
        contentLength = 0;  // it overrides Content-Length, and is refused whole
    }
    if (contentLength > limits.maxBodyBytes) {
        result.status = ParseStatus::bodyTooLarge;
        return result;
    }
    std::string_view available = buffer.substr(headEnd + kHeadEnd.size());
    if (available.size() < contentLength) {
        result.awaitsContinue = request.expectsContinue;
        result.headComplete = true;
        result.contentLength = contentLength;
        return result;
    }
    request.body = available.substr(0, contentLength);
    result.status = ParseStatus::complete;
    return result;
}

}  // namespace kvillo
