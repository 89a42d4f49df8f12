#include "core/mcp/mcp_server.h"

#include <unistd.h>
#include <asio.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
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
using Steady = std::chrono::steady_clock;
constexpr std::size_t kReadChunk = 65536;
// An answer is written in pieces this large, so that each piece the client
// takes counts as progress.
constexpr std::size_t kWriteChunk = 256 * 1024;
// After answering, unread bytes from the client are drained for this long so
// that closing does not reset the connection under the answer.
constexpr std::chrono::seconds kLinger{2};
// After a failed accept (out of file descriptors, say), before trying again.
constexpr std::chrono::milliseconds kAcceptBackoff{100};
// What a client that sent "Expect: 100-continue" waits for before its body
// (curl would otherwise wait a second).
constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";
// Cheap requests are small; a larger body goes to a worker unread.
constexpr std::size_t kCheapBodyBytes = 4096;

std::chrono::milliseconds timeFor(std::size_t bytes, std::size_t bytesPerSecond) {
    return std::chrono::milliseconds(bytes * 1000 / std::max<std::size_t>(bytesPerSecond, 1));
}

// Whether a request can be answered on the network thread: everything but a
// tool call, a resource read or a batch (which may hold either), since those
// reach the store and may take long.
bool isCheap(const HttpRequest& request) {
    if (request.method != "POST" || request.path != "/mcp" || request.transferEncoding) {
        return true;
    }
    if (request.body.size() > kCheapBodyBytes) {
        return false;
    }
    Json message = Json::parse(request.body, nullptr, /*allow_exceptions=*/false);
    if (message.is_discarded() || !message.is_object()) {
        return message.is_discarded();  // a parse error is answered at once
    }
    auto method = message.find("method");
    if (method == message.end() || !method->is_string() || !message.contains("id")) {
        return true;  // malformed or a notification: nothing runs
    }
    const auto& name = method->get_ref<const std::string&>();
    return name != "tools/call" && name != "resources/read";
}

HttpResponse internalError() {
    return HttpResponse{
        .status = 500, .body = std::string("Internal error"), .contentType = "text/plain"};
}

}  // namespace

class McpServer::Impl {
public:
    Impl(Database& database, const Features& features, const Clock& clock,
         const McpServerOptions& options);
    ~Impl();

    void start();
    bool stop(std::optional<std::chrono::milliseconds> grace);
    std::uint16_t boundPort() const { return boundPort_; }
    const std::vector<std::string>& unavailable() const { return unavailable_; }

private:
    class Connection;
    // A dispatcher for one thread: the network thread's, or a worker's.
    struct Responder {
        Responder(Database& database, const Features& features, const Clock& clock)
            : dispatcher(database, features, clock), handler(dispatcher) {}
        McpDispatcher dispatcher;
        McpHttpHandler handler;
    };

    void accept(tcp::acceptor& acceptor);
    // Closes the connection that has waited longest without progress, other
    // than `keep`; false when none may be closed.
    bool closeMostIdle(const Connection* keep, bool writersOnly);
    void enqueue(std::shared_ptr<Connection> connection);
    void work(Responder& responder);
    void finishedWork();
    void stopIfDone();
    void beginStopping();

    McpServerOptions options_;
    Responder responder_;  // the network thread's
    // Server thread only; they outlive io_'s handlers.
    std::vector<Connection*> open_;  // holding a slot
    std::size_t pendingAnswerBytes_ = 0;
    std::size_t working_ = 0;  // connections handed to the workers, not yet back
    bool stopping_ = false;
    asio::io_context io_;
    // Keeps the network thread waiting for answers from the workers while
    // nothing else is pending; stopping ends it with io_.stop().
    asio::executor_work_guard<asio::io_context::executor_type> keepRunning_{
        asio::make_work_guard(io_)};
    std::vector<std::unique_ptr<tcp::acceptor>> acceptors_;

    // The workers and their queue.
    std::vector<std::unique_ptr<Responder>> workerResponders_;
    std::vector<std::thread> workers_;
    std::mutex queueMutex_;
    std::condition_variable queueChanged_;
    std::deque<std::shared_ptr<Connection>> queue_;  // guarded by queueMutex_
    bool closingQueue_ = false;                      // guarded by queueMutex_

    std::thread thread_;
    std::future<void> finished_;  // ready once every thread has ended
    bool stopRequested_ = false;  // owner's thread
    std::uint16_t boundPort_ = 0;
    std::vector<std::string> unavailable_;
};

// One client: read until a whole request (or a limit, or the deadline),
// answer once, close. Owns itself through the handlers it has pending, or
// through the worker queue.
class McpServer::Impl::Connection : public std::enable_shared_from_this<Connection> {
public:
    enum class State { reading, working, writing, lingering, closed };

    Connection(Impl& server, tcp::socket socket)
        : server_(server), socket_(std::move(socket)), deadline_(server.io_) {
        server_.open_.push_back(this);
    }
    ~Connection() { release(); }

    State state() const { return state_; }
    // Since when nothing has come from the client or been taken by it.
    Steady::time_point idleSince() const { return idleSince_; }

    void start() {
        expireAfter(server_.options_.headTimeout);
        // Loopback is open to every account on the machine; the log is
        // this user's. Nothing another user sends is read.
        if (loopbackPeerUser(socket_.native_handle()) != ::geteuid()) {
            answer(McpHttpHandler::forbidden());
            return;
        }
        read();
    }

    // On a worker: the answer to the request read, which nothing else
    // touches while the connection is working.
    HttpResponse respond(Responder& responder) {
        try {
            if (server_.options_.beforeWorkerRequest) {
                server_.options_.beforeWorkerRequest();
            }
            return responder.handler.respond(request_);
        } catch (const std::exception&) {
            return internalError();
        }
    }

    // Back on the network thread with the worker's answer.
    void worked(const HttpResponse& response) {
        if (state_ == State::working) {
            answer(response);
        }
    }

    void close() {
        std::error_code ignored;
        deadline_.cancel();
        socket_.close(ignored);
        release();
    }

private:
    void expireAfter(std::chrono::milliseconds timeout) {
        deadline_.expires_after(timeout);
        deadline_.async_wait([self = shared_from_this()](std::error_code error) {
            // A wait already queued when the deadline moved still comes as
            // a success: only a deadline that has really passed counts, and
            // never while the request is being worked on.
            if (!error && self->deadline_.expiry() <= Steady::now() &&
                self->state_ != State::working) {
                self->close();
            }
        });
    }

    // Gives up the slot and the unsent answer's share of the cap.
    void release() {
        if (state_ == State::closed) {
            return;
        }
        state_ = State::closed;
        std::erase(server_.open_, this);
        server_.pendingAnswerBytes_ -= unsent();
        written_ = answer_ ? answer_->size() : 0;
        server_.stopIfDone();
    }

    std::size_t unsent() const { return answer_ ? answer_->size() - written_ : 0; }

    void read() {
        socket_.async_read_some(
            asio::buffer(chunk_),
            [self = shared_from_this()](std::error_code error, std::size_t length) {
                self->received(error, length);
            });
    }

    void received(std::error_code error, std::size_t length) {
        if (state_ != State::reading) {
            return;
        }
        buffer_.append(chunk_.data(), length);
        ParseResult parsed = parseHttpRequest(buffer_, server_.options_.limits);
        switch (parsed.status) {
            case ParseStatus::complete:
                request_ = std::move(parsed.request);
                buffer_ = {};
                if (isCheap(request_)) {
                    try {
                        answer(server_.responder_.handler.respond(request_));
                    } catch (const std::exception&) {
                        // Whatever one request does, the server goes on.
                        answer(internalError());
                    }
                } else {
                    state_ = State::working;
                    deadline_.cancel();  // a running request is not cut short
                    server_.enqueue(shared_from_this());
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
        if (parsed.headComplete && !headReceived_) {
            // The head is in; the body gets time by its announced size.
            headReceived_ = true;
            const auto& options = server_.options_;
            expireAfter(options.bodyTimeout +
                        timeFor(parsed.contentLength, options.minBodyBytesPerSecond));
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
        if (state_ == State::closed) {
            return;
        }
        state_ = State::writing;
        idleSince_ = Steady::now();
        answer_ = std::make_shared<std::string>(serialize(response));
        const auto& options = server_.options_;
        // The request deadline is over; the answer gets its own.
        expireAfter(options.writeTimeout +
                    timeFor(answer_->size(), options.minAnswerBytesPerSecond));
        server_.pendingAnswerBytes_ += answer_->size();
        while (server_.pendingAnswerBytes_ > options.maxPendingAnswerBytes &&
               server_.closeMostIdle(this, /*writersOnly=*/true)) {
        }
        write();
    }

    void write() {
        std::size_t piece = std::min(unsent(), kWriteChunk);
        socket_.async_write_some(
            asio::buffer(answer_->data() + written_, piece),
            [self = shared_from_this(), bytes = answer_](std::error_code error, std::size_t n) {
                if (self->state_ != State::writing) {
                    return;
                }
                self->written_ += n;
                self->server_.pendingAnswerBytes_ -= n;
                self->idleSince_ = Steady::now();
                if (error) {
                    self->close();
                } else if (self->unsent() > 0) {
                    self->write();
                } else {
                    self->linger();
                }
            });
    }

    void linger() {
        state_ = State::lingering;
        std::error_code ignored;
        socket_.shutdown(tcp::socket::shutdown_send, ignored);
        expireAfter(kLinger);
        drain();
        server_.stopIfDone();
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

    Impl& server_;
    tcp::socket socket_;
    asio::steady_timer deadline_;
    State state_ = State::reading;
    Steady::time_point idleSince_ = Steady::now();
    std::array<char, kReadChunk> chunk_{};
    std::string buffer_;
    HttpRequest request_;
    std::shared_ptr<std::string> answer_;
    std::size_t written_ = 0;
    bool headReceived_ = false;
    bool continued_ = false;  // "100 Continue" has been sent
};

McpServer::Impl::Impl(Database& database, const Features& features, const Clock& clock,
                      const McpServerOptions& options)
    : options_(options), responder_(database, features, clock) {
    for (std::size_t i = 0; i < std::max<std::size_t>(options_.workerThreads, 1); ++i) {
        workerResponders_.push_back(std::make_unique<Responder>(database, features, clock));
    }
}

McpServer::Impl::~Impl() {
    stop(std::nullopt);
}

bool McpServer::Impl::closeMostIdle(const Connection* keep, bool writersOnly) {
    Connection* chosen = nullptr;
    // Finished connections go first, then the one quiet longest; one being
    // worked on is never cut off.
    auto rank = [](const Connection* c) { return c->state() != Connection::State::lingering; };
    for (Connection* candidate : open_) {
        auto state = candidate->state();
        if (candidate == keep || state == Connection::State::working ||
            (writersOnly && state != Connection::State::writing)) {
            continue;
        }
        if (!chosen || std::pair(rank(candidate), candidate->idleSince()) <
                           std::pair(rank(chosen), chosen->idleSince())) {
            chosen = candidate;
        }
    }
    if (!chosen) {
        return false;
    }
    chosen->close();
    return true;
}

void McpServer::Impl::enqueue(std::shared_ptr<Connection> connection) {
    ++working_;
    {
        std::lock_guard lock(queueMutex_);
        queue_.push_back(std::move(connection));
    }
    queueChanged_.notify_one();
}

void McpServer::Impl::work(Responder& responder) {
    while (true) {
        std::shared_ptr<Connection> connection;
        {
            std::unique_lock lock(queueMutex_);
            queueChanged_.wait(lock, [this] { return closingQueue_ || !queue_.empty(); });
            if (queue_.empty()) {
                return;
            }
            connection = std::move(queue_.front());
            queue_.pop_front();
        }
        HttpResponse response = connection->respond(responder);
        // The connection travels back whole, so that it is only ever
        // destroyed on the network thread.
        asio::post(io_, [this, connection = std::move(connection),
                         response = std::move(response)]() mutable {
            connection->worked(response);
            connection.reset();
            finishedWork();
        });
    }
}

void McpServer::Impl::finishedWork() {
    --working_;
    stopIfDone();
}

// Once stopping, the network thread ends when no request runs and every
// answer already begun has been written (its write deadline bounds that).
void McpServer::Impl::stopIfDone() {
    if (stopping_ && working_ == 0 &&
        std::none_of(open_.begin(), open_.end(), [](const Connection* connection) {
            return connection->state() == Connection::State::writing;
        })) {
        io_.stop();
    }
}

void McpServer::Impl::beginStopping() {
    stopping_ = true;
    for (auto& acceptor : acceptors_) {
        std::error_code ignored;
        acceptor->close(ignored);
    }
    std::deque<std::shared_ptr<Connection>> unstarted;
    {
        std::lock_guard lock(queueMutex_);
        unstarted.swap(queue_);
    }
    working_ -= unstarted.size();
    for (auto& connection : unstarted) {
        connection->close();
    }
    unstarted.clear();
    // Open connections are dropped, but those whose request is running
    // stay to take its answer.
    for (Connection* connection : std::vector(open_)) {
        if (connection->state() != Connection::State::working) {
            connection->close();
        }
    }
    stopIfDone();
}

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
    for (auto& responder : workerResponders_) {
        workers_.emplace_back([this, &responder] { work(*responder); });
    }
    std::promise<void> finished;
    finished_ = finished.get_future();
    thread_ = std::thread([this, finished = std::move(finished)]() mutable {
        io_.run();
        // Stopping left nothing running on the workers; they only wait.
        {
            std::lock_guard lock(queueMutex_);
            closingQueue_ = true;
        }
        queueChanged_.notify_all();
        for (auto& worker : workers_) {
            worker.join();
        }
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
        if (open_.size() >= options_.maxConnections &&
            !closeMostIdle(nullptr, /*writersOnly=*/false)) {
            std::error_code ignored;
            socket.close(ignored);  // every slot has a request being worked on
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
    if (!stopRequested_) {
        stopRequested_ = true;
        asio::post(io_, [this] { beginStopping(); });
    }
    // The network thread ends once the requests on the workers are answered.
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
    return endpointURL(bound != 0 ? bound : options_.port);
}

std::string McpServer::endpointURL(std::uint16_t port) {
    return "http://localhost:" + std::to_string(port) + "/mcp";
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
