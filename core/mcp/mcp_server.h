#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
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
    // A connection must deliver its whole head this soon after connecting,
    // and then its body within bodyTimeout plus its length at
    // minBodyBytesPerSecond; otherwise it is closed. Assistants on this
    // machine send a request in well under a millisecond.
    std::chrono::milliseconds headTimeout{2'000};
    std::chrono::milliseconds bodyTimeout{2'000};
    std::size_t minBodyBytesPerSecond = 64 * 1024;
    // An answer must be read within writeTimeout plus its length at
    // minAnswerBytesPerSecond, or the connection is closed.
    std::chrono::milliseconds writeTimeout{5'000};
    std::size_t minAnswerBytesPerSecond = 1024 * 1024;
    // Bytes of answers not yet taken by their clients, over all connections.
    // Past it, the connection whose reader has been quiet longest is closed
    // (an answer larger than the cap alone is still sent).
    std::size_t maxPendingAnswerBytes = 64 * 1024 * 1024;
    // Open connections. When all are taken, a newcomer closes the one that
    // has waited longest without progress (sending its request, or reading
    // its answer); only when every slot has a request being worked on is the
    // newcomer turned away.
    std::size_t maxConnections = 64;
    // Threads that run tool calls and resource reads, so that a long one
    // never holds up the cheap requests (tool calls still take turns on the
    // one database connection).
    std::size_t workerThreads = 2;
    // Tests only: run on a worker before each request it handles.
    std::function<void()> beforeWorkerRequest{};
};

// The loopback HTTP server through which AI assistants reach the log:
// 127.0.0.1 and ::1, one request per connection, answered and closed. Only
// connections from the user running the server are read; another local
// user's get 403 at once.
//
// Threads: start() and stop() are called from the owner's thread. All
// network work, and the cheap requests (initialize, ping, listings, anything
// refused before it reaches the dispatcher), run on the server's own thread;
// tool calls, resource reads and batches run on its worker threads, each
// with a dispatcher of its own. The database and features must therefore
// accept calls from several threads at once.
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
    // The same for a server on `port`.
    static std::string endpointURL(std::uint16_t port);

    // Listens on whichever loopback addresses can be bound and starts the
    // server's thread. Throws McpServerError when neither can be bound (the
    // port is taken, say); the rest of the program runs on without it.
    void start();

    // Stops listening and serving; connections still open are dropped,
    // requests not yet started are dropped, and those already running are
    // answered first. Safe to call twice, or without start().
    void stop();
    // As stop(), but gives up waiting for running requests after `grace`
    // and returns false; the server's threads then still use the database
    // and features until those requests end, and destroying the server (or
    // stop()) waits for them.
    bool stopWithin(std::chrono::milliseconds grace);

private:
    class Impl;
    McpServerOptions options_;
    std::unique_ptr<Impl> impl_;
};

}  // namespace kvillo
