#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/mcp/http_request.h"
#include "core/settings/features.h"
#include "core/store/database.h"
#include "core/time/clock.h"

namespace kvillo {

struct McpServerOptions {
    std::uint16_t port = 7384;  // 0 picks a free port (tests)
    HttpLimits limits{};
    // A connection that has not delivered a whole request by then is closed.
    std::chrono::milliseconds requestTimeout{10'000};
    // Connections beyond this are closed at once, so a flood cannot starve
    // the clients already being served.
    std::size_t maxConnections = 64;
};

// The loopback HTTP server through which AI assistants reach the log:
// 127.0.0.1 and ::1, one request per connection, answered and closed. Only
// connections from the user running the server are read; another local
// user's get 403 at once.
//
// Threads: start() and stop() are called from the owner's thread. All
// network work and every request runs on the server's own thread, one at a
// time in the order requests complete; the database and features must
// accept calls from it.
class McpServer {
public:
    // The database, features and clock must outlive the server.
    McpServer(Database& database, const Features& features, const Clock& clock,
              McpServerOptions options = {});
    ~McpServer();
    McpServer(const McpServer&) = delete;
    McpServer& operator=(const McpServer&) = delete;

    // The configured port, and the one actually listened on.
    std::uint16_t port() const { return options_.port; }
    std::uint16_t boundPort() const;

    // After start(): the loopback addresses that could not be had because
    // another program holds the port ("127.0.0.1 port 7384: Address already
    // in use"). Clients reaching localhost there would talk to that program.
    const std::vector<std::string>& unavailableAddresses() const;

    // "http://localhost:7384/mcp": the port listened on once started (the
    // one picked for port 0), the configured one before.
    std::string endpointURL() const;

    // Listens on whichever loopback addresses can be bound and starts the
    // server's thread. Throws McpServerError when neither can be bound (the
    // port is taken, say); the rest of the program runs on without it.
    void start();

    // Stops listening and serving; connections still open are dropped. A
    // request already running is answered first. Safe to call twice, or
    // without start().
    void stop();
    // As stop(), but gives up waiting for a running request after `grace`
    // and returns false; the server's thread then still uses the database
    // and features until that request ends, and destroying the server waits
    // for it.
    bool stopWithin(std::chrono::milliseconds grace);

private:
    class Impl;
    McpServerOptions options_;
    std::unique_ptr<Impl> impl_;
};

}  // namespace kvillo
