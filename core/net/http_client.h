#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace kvillo {

// "Kvillo/1.4.0 (Linux)".
inline std::string kvilloUserAgent(const std::string& version) {
    return "Kvillo/" + version + " (Linux)";
}

// Header lines as (name, value) pairs, in the order they were sent.
using HttpHeaders = std::vector<std::pair<std::string, std::string>>;

// The answer to a request, whatever its status: a 404 is an answer, not a
// failed transfer. After redirects, the last answer's.
struct HttpReply {
    long status = 0;
    HttpHeaders headers;  // names in lower case
    std::string body;     // empty for a download, whose body is in the file

    // The first value of the header `lowerCaseName`, if sent.
    std::optional<std::string> header(std::string_view lowerCaseName) const {
        for (const auto& [name, value] : headers) {
            if (name == lowerCaseName) {
                return value;
            }
        }
        return std::nullopt;
    }
};

// Why no answer came.
enum class TransferFailure {
    connect,          // the host could not be found or reached
    tls,              // the certificate or the handshake was refused
    timeout,          // no answer in the time a request is given
    stalled,          // a download received nothing for too long
    refusedProtocol,  // an address (or a redirect to one) that is not allowed, such as http
    tooLarge,         // an answer larger than a request may take in memory
    file,             // the body could not be written to the file
    cancelled,        // the progress callback asked to stop
    other,
};

struct TransferError {
    TransferFailure kind = TransferFailure::other;
    std::string detail;  // the transport's own words, for a developer
};

using HttpOutcome = std::variant<HttpReply, TransferError>;

// Called during a transfer with the bytes of the body received so far and
// the expected total (0 while unknown, and throughout when the server sends
// no length); also called from time to time when nothing arrives. Returning
// false abandons the transfer, which then fails as `cancelled`.
using TransferProgress = std::function<bool(std::uint64_t received, std::uint64_t expected)>;

// The network as the update checker needs it. Calls block until the
// transfer ends; make them off the UI thread. Implementations may be called
// from several threads at once.
class HttpClient {
public:
    virtual ~HttpClient() = default;

    // A GET whose whole body comes back in the reply. `progress` may be
    // empty.
    virtual HttpOutcome get(const std::string& url, const HttpHeaders& headers,
                            const TransferProgress& progress) = 0;

    // A GET whose body is written to `file` (created, or emptied first) as it
    // arrives. Whatever was written stays when the transfer fails or the
    // status is an error: the caller decides what to keep.
    virtual HttpOutcome download(const std::string& url, const HttpHeaders& headers,
                                 const std::string& file, const TransferProgress& progress) = 0;
};

}  // namespace kvillo
