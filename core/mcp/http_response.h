#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kvillo {

// One HTTP response; the connection always closes after it.
struct HttpResponse {
    int status = 200;
    std::optional<std::string> body{};
    std::string contentType = "application/json";
    // Sent after Content-Length, before "Connection: close".
    std::vector<std::pair<std::string, std::string>> headers{};
};

// The exact bytes: status line, Content-Type with "; charset=utf-8",
// Content-Length, the extra headers, "Connection: close", a blank line, then
// the body.
std::string serialize(const HttpResponse& response);

}  // namespace kvillo
