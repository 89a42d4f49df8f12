// Feeds arbitrary bytes to the HTTP request parser, whole and in every
// prefix a slow client could have sent so far.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "core/mcp/http_request.h"
#include "core/mcp/http_response.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    kvillo::HttpLimits limits{.maxHeadBytes = 256, .maxBodyBytes = 512};
    for (std::size_t length = 0; length <= bytes.size(); length += 1 + length / 4) {
        auto parsed = kvillo::parseHttpRequest(bytes.substr(0, length), limits);
        if (parsed.status == kvillo::ParseStatus::complete &&
            parsed.request.body.size() > limits.maxBodyBytes) {
            __builtin_trap();
        }
    }
    auto parsed = kvillo::parseHttpRequest(bytes);
    kvillo::serialize({.status = 200, .body = parsed.request.body});
    return 0;
}
