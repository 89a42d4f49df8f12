#pragma once

#include <cstddef>
#include <string>

#include "core/net/http_client.h"

namespace kvillo {

// Sets libcurl up for the process; before the first client. Debian's
// libcurl is built thread-safe, so other threads may already run.
void initialiseHttp();

struct CurlHttpClientOptions {
    std::string userAgent;
    long connectTimeoutSeconds = 15;
    // The whole of a get(): the release document and its checksum are small.
    long requestTimeoutSeconds = 30;
    // A download has no time limit as a whole, but is abandoned after this
    // long without a byte (a slow line still finishes).
    long stallSeconds = 60;
    // The most a get() keeps in memory.
    std::size_t maxBodyBytes = 4 * 1024 * 1024;

    // For tests against a server of their own; a release build leaves them
    // alone. A CA bundle trusted instead of the system's.
    std::string caFile;
    // Allows plain http:// addresses and redirects to them.
    bool allowPlainHttpForTests = false;
};

// HttpClient on libcurl: HTTPS only, certificates checked against the
// system's CAs (ca-certificates), redirects followed (at most 5) only to
// HTTPS. Each call uses a handle of its own, so calls may come from any
// thread and run at once. Signals are not used for timeouts, so the calling
// thread may be any worker.
class CurlHttpClient : public HttpClient {
public:
    explicit CurlHttpClient(CurlHttpClientOptions options);

    HttpOutcome get(const std::string& url, const HttpHeaders& headers,
                    const TransferProgress& progress) override;
    HttpOutcome download(const std::string& url, const HttpHeaders& headers,
                         const std::string& file, const TransferProgress& progress) override;

private:
    CurlHttpClientOptions options_;
};

}  // namespace kvillo
