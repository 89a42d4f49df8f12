#include "core/mcp/http_response.h"

namespace kvillo {
namespace {

const char* reasonPhrase(int status) {
    switch (status) {
        case 202:
            return "Accepted";
        case 204:
            return "No Content";
        case 400:
            return "Bad Request";
        case 403:
            return "Forbidden";
        case 404:
            return "Not Found";
        case 405:
            return "Method Not Allowed";
        case 411:
            return "Length Required";
        case 413:
            return "Content Too Large";
        case 415:
            return "Unsupported Media Type";
        case 421:
            return "Misdirected Request";
        case 500:
            return "Internal Server Error";
        default:
            return "OK";
    }
}

}  // namespace

std::string serialize(const HttpResponse& response) {
    std::string bytes = "HTTP/1.1 " + std::to_string(response.status) + " " +
                        reasonPhrase(response.status) + "\r\n";
    bytes += "Content-Type: " + response.contentType + "; charset=utf-8\r\n";
    bytes +=
        "Content-Length: " + std::to_string(response.body ? response.body->size() : 0) + "\r\n";
    for (const auto& [name, value] : response.headers) {
        bytes += name + ": " + value + "\r\n";
    }
    bytes += "Connection: close\r\n\r\n";
    if (response.body) {
        bytes += *response.body;
    }
    return bytes;
}

}  // namespace kvillo
