#include "core/mcp/mcp_server.h"

#include <unistd.h>
#include <asio.hpp>

#include <array>
#include <chrono>
#include <future>
#include <optional>
#include <thread>
#include <vector>

#include "core/mcp/http_response.h"
#include "core/mcp/loopback_peer.h"
#include "core/mcp/mcp_dispatcher.h"
#include "core/mcp/mcp_http_handler.h"
#include "core/mcp/mcp_server_error.h"

namespace kvillo {
namespace {

using asio::ip::tcp;
constexpr std::size_t kReadChunk = 65536;
// After answering, unread bytes from the client are drained for this long so
// that closing does not reset the connection under the answer.
constexpr std::chrono::seconds kLinger{2};
// A client that does not read its answer is dropped after this long.
constexpr std::chrono::seconds kWriteTimeout{30};
// After a failed accept (out of file descriptors, say), before trying again.
constexpr std::chrono::milliseconds kAcceptBackoff{100};
// What a client that sent "Expect: 100-continue" waits for before its body
// (curl would otherwise wait a second).
constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";

}  // namespace

class McpServer::Impl {
public:
    Impl(Database& database, const Features& features, const Clock& clock,
         const McpServerOptions& options)
        : options_(options), dispatcher_(database, features, clock), handler_(dispatcher_) {}

    void start();
    bool stop(std::optional<std::chrono::milliseconds> grace);
    std::uint16_t boundPort() const { return boundPort_; }
    const std::vector<std::string>& unavailable() const { return unavailable_; }

private:
    class Connection;

    void accept(tcp::acceptor& acceptor);

    McpServerOptions options_;
    McpDispatcher dispatcher_;
    McpHttpHandler handler_;
    std::size_t openConnections_ = 0;  // server thread only; outlives io_'s handlers
    asio::io_context io_;
    std::vector<std::unique_ptr<tcp::acceptor>> acceptors_;
    std::thread thread_;
    std::future<void> finished_;  // ready once the thread has nothing left to run
    std::uint16_t boundPort_ = 0;
    std::vector<std::string> unavailable_;
};

// One client: read until a whole request (or a limit, or the deadline),
// answer once, close. Owns itself through the handlers it has pending.
class McpServer::Impl::Connection : public std::enable_shared_from_this<Connection> {
public:
    Connection(Impl& server, tcp::socket socket)
        : server_(server), socket_(std::move(socket)), deadline_(server.io_) {
        ++server_.openConnections_;
    }
    ~Connection() { --server_.openConnections_; }

    void start() {
        deadline_.expires_after(server_.options_.requestTimeout);
        deadline_.async_wait([self = shared_from_this()](std::error_code error) {
            if (!error) {
                self->close();
            }
        });
        // Loopback is open to every account on the machine; the log is
        // this user's. Nothing another user sends is read.
        if (loopbackPeerUser(socket_.native_handle()) != ::geteuid()) {
            answer(McpHttpHandler::forbidden());
            return;
        }
        read();
    }

private:
    void read() {
        socket_.async_read_some(
            asio::buffer(chunk_),
            [self = shared_from_this()](std::error_code error, std::size_t length) {
                self->received(error, length);
            });
    }

    void received(std::error_code error, std::size_t length) {
        if (answered_) {
            return;
        }
        buffer_.append(chunk_.data(), length);
        ParseResult parsed = parseHttpRequest(buffer_, server_.options_.limits);
        switch (parsed.status) {
            case ParseStatus::complete:
                try {
                    answer(server_.handler_.respond(parsed.request));
                } catch (const std::exception&) {
                    // Whatever one request does, the server goes on.
                    answer(HttpResponse{.status = 500,
                                        .body = std::string("Internal error"),
                                        .contentType = "text/plain"});
                }
                return;
            case ParseStatus::headTooLarge:
            case ParseStatus::bodyTooLarge:
                answer(HttpResponse{.status = 413,
                                    .body = std::string("Request too large"),
                                    .contentType = "text/plain"});
                return;
            case ParseStatus::incomplete:
                break;
        }
        if (error) {
            close();  // the client finished or failed before a whole request
            return;
        }
        if (parsed.awaitsContinue && !continued_) {
            continued_ = true;
            // Reading waits until it is written, so it can never overlap the
            // answer's own write.
            asio::async_write(
                socket_, asio::buffer(kContinue),
                [self = shared_from_this()](std::error_code, std::size_t) { self->read(); });
            return;
        }
        read();
    }

    void answer(const HttpResponse& response) {
        answered_ = true;
        // The request deadline is over; the answer gets its own.
        deadline_.expires_after(kWriteTimeout);
        deadline_.async_wait([self = shared_from_this()](std::error_code error) {
            if (!error) {
                self->close();
            }
        });
        auto bytes = std::make_shared<std::string>(serialize(response));
        asio::async_write(
            socket_, asio::buffer(*bytes),
            [self = shared_from_this(), bytes](std::error_code, std::size_t) { self->linger(); });
    }

    void linger() {
        std::error_code ignored;
        socket_.shutdown(tcp::socket::shutdown_send, ignored);
        deadline_.expires_after(kLinger);
        deadline_.async_wait([self = shared_from_this()](std::error_code error) {
            if (!error) {
                self->close();
            }
        });
        drain();
    }

    void drain() {
        socket_.async_read_some(asio::buffer(chunk_),
                                [self = shared_from_this()](std::error_code error, std::size_t) {
                                    if (error) {
                                        self->close();
                                    } else {
                                        self->drain();
                                    }
                                });
    }

    void close() {
        std::error_code ignored;
        deadline_.cancel();
        socket_.close(ignored);
    }

    Impl& server_;
    tcp::socket socket_;
    asio::steady_timer deadline_;
    std::array<char, kReadChunk> chunk_{};
    std::string buffer_;
    bool answered_ = false;
    bool continued_ = false;  // "100 Continue" has been sent
};

void McpServer::Impl::start() {
    std::string lastError;
    std::uint16_t port = options_.port;
    for (auto address : {asio::ip::address(asio::ip::address_v4::loopback()),
                         asio::ip::address(asio::ip::address_v6::loopback())}) {
        auto acceptor = std::make_unique<tcp::acceptor>(io_);
        std::error_code error;
        tcp::endpoint endpoint(address, port);
        acceptor->open(endpoint.protocol(), error);
        if (!error) {
            acceptor->set_option(asio::socket_base::reuse_address(true), error);
        }
        if (!error && address.is_v6()) {
            acceptor->set_option(asio::ip::v6_only(true), error);
        }
        if (!error) {
            acceptor->bind(endpoint, error);
        }
        if (!error) {
            acceptor->listen(asio::socket_base::max_listen_connections, error);
        }
        if (error) {
            lastError = error.message();
            if (error == asio::error::address_in_use) {
                unavailable_.push_back(address.to_string() + " port " + std::to_string(port) +
                                       ": " + error.message());
            }
            continue;
        }
        // With port 0 the first address picks the port and the second follows it.
        port = acceptor->local_endpoint().port();
        boundPort_ = port;
        acceptors_.push_back(std::move(acceptor));
    }
    if (acceptors_.empty()) {
        throw McpServerError::listenFailed("cannot listen on localhost port " +
                                           std::to_string(options_.port) + ": " + lastError);
    }
    for (auto& acceptor : acceptors_) {
        accept(*acceptor);
    }
    std::promise<void> finished;
    finished_ = finished.get_future();
    thread_ = std::thread([this, finished = std::move(finished)]() mutable {
        io_.run();
        finished.set_value();
    });
}

void McpServer::Impl::accept(tcp::acceptor& acceptor) {
    acceptor.async_accept([this, &acceptor](std::error_code error, tcp::socket socket) {
        if (error == asio::error::operation_aborted) {
            return;  // stopping
        }
        if (error) {
            auto pause = std::make_shared<asio::steady_timer>(io_, kAcceptBackoff);
            pause->async_wait([this, &acceptor, pause](std::error_code waited) {
                if (!waited) {
                    accept(acceptor);
                }
            });
            return;
        }
        if (openConnections_ >= options_.maxConnections) {
            std::error_code ignored;
            socket.close(ignored);
        } else {
            std::make_shared<Connection>(*this, std::move(socket))->start();
        }
        accept(acceptor);
    });
}

bool McpServer::Impl::stop(std::optional<std::chrono::milliseconds> grace) {
    if (!thread_.joinable()) {
        return true;
    }
    asio::post(io_, [this] {
        for (auto& acceptor : acceptors_) {
            std::error_code ignored;
            acceptor->close(ignored);
        }
        io_.stop();
    });
    // The stop runs only once the request in progress has been answered.
    if (grace && finished_.wait_for(*grace) != std::future_status::ready) {
        return false;
    }
    thread_.join();
    return true;
}

McpServer::McpServer(Database& database, const Features& features, const Clock& clock,
                     McpServerOptions options)
    : options_(options), impl_(std::make_unique<Impl>(database, features, clock, options)) {}

McpServer::~McpServer() {
    stop();
}

std::uint16_t McpServer::boundPort() const {
    return impl_->boundPort();
}

const std::vector<std::string>& McpServer::unavailableAddresses() const {
    return impl_->unavailable();
}

std::string McpServer::endpointURL() const {
    std::uint16_t bound = boundPort();
    return "http://localhost:" + std::to_string(bound != 0 ? bound : options_.port) + "/mcp";
}

void McpServer::start() {
    impl_->start();
}

void McpServer::stop() {
    impl_->stop(std::nullopt);
}

bool McpServer::stopWithin(std::chrono::milliseconds grace) {
    return impl_->stop(grace);
}

}  // namespace kvillo
