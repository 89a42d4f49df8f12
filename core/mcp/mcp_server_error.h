#pragma once

#include <stdexcept>
#include <string>

namespace kvillo {

// The server's own failures; `what()` is the text shown to clients and users.
class McpServerError : public std::runtime_error {
public:
    enum class Kind {
        unknownResource,  // "Unknown resource URI: kvillo://…"
        listenFailed,     // neither loopback address could be bound
    };

    static McpServerError unknownResource(const std::string& uri) {
        return {Kind::unknownResource, "Unknown resource URI: " + uri};
    }
    static McpServerError listenFailed(const std::string& reason) {
        return {Kind::listenFailed, reason};
    }

    Kind kind() const { return kind_; }

private:
    McpServerError(Kind kind, const std::string& text) : std::runtime_error(text), kind_(kind) {}

    Kind kind_;
};

}  // namespace kvillo
