#include "core/net/curl_http_client.h"

#include <curl/curl.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <memory>

namespace kvillo {
namespace {

constexpr long kMaxRedirects = 5;

struct HandleDeleter {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct HeaderListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// What the callbacks of one transfer share.
struct Transfer {
    const TransferProgress* progress = nullptr;
    HttpHeaders headers;
    std::string body;
    std::FILE* file = nullptr;  // a download's; else the body goes to `body`
    std::size_t maxBodyBytes = 0;
    bool bodyTooLarge = false;
    bool fileFailed = false;
};

size_t onBody(char* data, size_t size, size_t count, void* context) {
    auto* transfer = static_cast<Transfer*>(context);
    size_t bytes = size * count;
    if (transfer->file) {
        if (std::fwrite(data, 1, bytes, transfer->file) != bytes) {
            transfer->fileFailed = true;
            return 0;
        }
        return bytes;
    }
    if (transfer->body.size() + bytes > transfer->maxBodyBytes) {
        transfer->bodyTooLarge = true;
        return 0;
    }
    transfer->body.append(data, bytes);
    return bytes;
}

std::string trimmed(std::string_view text) {
    auto isSpace = [](unsigned char c) { return std::isspace(c) != 0; };
    while (!text.empty() && isSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isSpace(text.back())) {
        text.remove_suffix(1);
    }
    return std::string(text);
}

size_t onHeader(char* data, size_t size, size_t count, void* context) {
    auto* transfer = static_cast<Transfer*>(context);
    std::string_view line(data, size * count);
    // Every answer (a redirect, an interim 100) starts with its status line;
    // only the last answer's headers are kept.
    if (line.starts_with("HTTP/")) {
        transfer->headers.clear();
        return line.size();
    }
    size_t colon = line.find(':');
    if (colon != std::string_view::npos) {
        std::string name(line.substr(0, colon));
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        transfer->headers.emplace_back(std::move(name), trimmed(line.substr(colon + 1)));
    }
    return line.size();
}

int onProgress(void* context, curl_off_t expected, curl_off_t received, curl_off_t, curl_off_t) {
    auto* transfer = static_cast<Transfer*>(context);
    if (transfer->progress && *transfer->progress &&
        !(*transfer->progress)(static_cast<std::uint64_t>(std::max<curl_off_t>(received, 0)),
                               static_cast<std::uint64_t>(std::max<curl_off_t>(expected, 0)))) {
        return 1;
    }
    return 0;
}

TransferError failure(CURL* handle, CURLcode code, const Transfer& transfer, bool isDownload,
                      const char* message) {
    std::string detail = *message ? message : curl_easy_strerror(code);
    switch (code) {
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_RESOLVE_PROXY:
        case CURLE_COULDNT_CONNECT:
            return {TransferFailure::connect, detail};
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_SSL_CERTPROBLEM:
        case CURLE_SSL_CIPHER:
        case CURLE_SSL_CACERT_BADFILE:
        case CURLE_SSL_ISSUER_ERROR:
        case CURLE_SSL_INVALIDCERTSTATUS:
        case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
            return {TransferFailure::tls, detail};
        case CURLE_UNSUPPORTED_PROTOCOL:
            return {TransferFailure::refusedProtocol, detail};
        case CURLE_ABORTED_BY_CALLBACK:
            return {TransferFailure::cancelled, detail};
        case CURLE_WRITE_ERROR:
            if (transfer.bodyTooLarge) {
                return {TransferFailure::tooLarge, detail};
            }
            return {transfer.fileFailed ? TransferFailure::file : TransferFailure::other, detail};
        case CURLE_OPERATION_TIMEDOUT: {
            // A download has no overall limit: once an answer has begun, the
            // only clock left is the one for a line gone quiet.
            long status = 0;
            curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
            bool stalled = isDownload && status != 0;
            return {stalled ? TransferFailure::stalled : TransferFailure::timeout, detail};
        }
        default:
            return {TransferFailure::other, detail};
    }
}

}  // namespace

void initialiseHttp() {
    curl_global_init(CURL_GLOBAL_DEFAULT);
}

CurlHttpClient::CurlHttpClient(CurlHttpClientOptions options) : options_(std::move(options)) {}

namespace {

HttpOutcome perform(const CurlHttpClientOptions& options, const std::string& url,
                    const HttpHeaders& headers, std::FILE* file, const TransferProgress& progress) {
    std::unique_ptr<CURL, HandleDeleter> handle(curl_easy_init());
    if (!handle) {
        return TransferError{TransferFailure::other, "libcurl could not make a handle"};
    }
    CURL* h = handle.get();
    Transfer transfer;
    transfer.progress = &progress;
    transfer.file = file;
    transfer.maxBodyBytes = options.maxBodyBytes;
    char message[CURL_ERROR_SIZE] = "";

    const char* protocols = options.allowPlainHttpForTests ? "http,https" : "https";
    curl_easy_setopt(h, CURLOPT_URL, url.c_str());
    // A libcurl older than the one built against (the same soname before
    // 7.85) does not know these; without them it would follow any protocol.
    if (curl_easy_setopt(h, CURLOPT_PROTOCOLS_STR, protocols) != CURLE_OK ||
        curl_easy_setopt(h, CURLOPT_REDIR_PROTOCOLS_STR, protocols) != CURLE_OK) {
        return TransferError{TransferFailure::other,
                             "this libcurl cannot be limited to HTTPS, so nothing is fetched"};
    }
    curl_easy_setopt(h, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(h, CURLOPT_MAXREDIRS, kMaxRedirects);
    curl_easy_setopt(h, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(h, CURLOPT_SSL_VERIFYHOST, 2L);
    if (!options.caFile.empty()) {
        curl_easy_setopt(h, CURLOPT_CAINFO, options.caFile.c_str());
    }
    curl_easy_setopt(h, CURLOPT_USERAGENT, options.userAgent.c_str());
    curl_easy_setopt(h, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(h, CURLOPT_CONNECTTIMEOUT, options.connectTimeoutSeconds);
    if (file) {
        curl_easy_setopt(h, CURLOPT_LOW_SPEED_LIMIT, 1L);
        curl_easy_setopt(h, CURLOPT_LOW_SPEED_TIME, options.stallSeconds);
    } else {
        curl_easy_setopt(h, CURLOPT_TIMEOUT, options.requestTimeoutSeconds);
        // Only a body kept in memory is decoded; a file is stored as sent.
        curl_easy_setopt(h, CURLOPT_ACCEPT_ENCODING, "");
    }
    curl_easy_setopt(h, CURLOPT_WRITEFUNCTION, onBody);
    curl_easy_setopt(h, CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(h, CURLOPT_HEADERFUNCTION, onHeader);
    curl_easy_setopt(h, CURLOPT_HEADERDATA, &transfer);
    curl_easy_setopt(h, CURLOPT_XFERINFOFUNCTION, onProgress);
    curl_easy_setopt(h, CURLOPT_XFERINFODATA, &transfer);
    curl_easy_setopt(h, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(h, CURLOPT_ERRORBUFFER, message);

    std::unique_ptr<curl_slist, HeaderListDeleter> list;
    for (const auto& [name, value] : headers) {
        std::string line = name + ": " + value;
        curl_slist* grown = curl_slist_append(list.get(), line.c_str());
        if (!grown) {
            return TransferError{TransferFailure::other, "out of memory for headers"};
        }
        list.release();
        list.reset(grown);
    }
    curl_easy_setopt(h, CURLOPT_HTTPHEADER, list.get());

    CURLcode code = curl_easy_perform(h);
    if (code != CURLE_OK) {
        return failure(h, code, transfer, file != nullptr, message);
    }
    HttpReply reply;
    curl_easy_getinfo(h, CURLINFO_RESPONSE_CODE, &reply.status);
    reply.headers = std::move(transfer.headers);
    reply.body = std::move(transfer.body);
    return reply;
}

}  // namespace

HttpOutcome CurlHttpClient::get(const std::string& url, const HttpHeaders& headers,
                                const TransferProgress& progress) {
    return perform(options_, url, headers, nullptr, progress);
}

HttpOutcome CurlHttpClient::download(const std::string& url, const HttpHeaders& headers,
                                     const std::string& file, const TransferProgress& progress) {
    std::unique_ptr<std::FILE, FileCloser> out(std::fopen(file.c_str(), "wbe"));
    if (!out) {
        return TransferError{TransferFailure::file, "cannot create " + file};
    }
    HttpOutcome outcome = perform(options_, url, headers, out.get(), progress);
    // Buffered bytes reach the disk only now; a full disk shows here.
    if (std::fclose(out.release()) != 0 && std::holds_alternative<HttpReply>(outcome)) {
        return TransferError{TransferFailure::file, "cannot write " + file};
    }
    return outcome;
}

}  // namespace kvillo
