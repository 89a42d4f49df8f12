#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <future>
#include <thread>
#include <vector>

#include "core/mcp/mcp_server.h"
#include "core/mcp/mcp_server_error.h"
#include "core/time/calendar.h"
#include "core/time/system_clock.h"
#include "tests/support/port_blocker.h"
#include "tests/support/process.h"
#include "tests/support/records.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;
using Steady = std::chrono::steady_clock;

// A plain TCP client, so tests see exactly the bytes on the wire.
class RawClient {
public:
    explicit RawClient(std::uint16_t port, bool ipv6 = false)
        : fd_(::socket(ipv6 ? AF_INET6 : AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in v4{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
        sockaddr_in6 v6{AF_INET6, htons(port), 0, in6addr_loopback, 0};
        ::connect(fd_, ipv6 ? reinterpret_cast<sockaddr*>(&v6) : reinterpret_cast<sockaddr*>(&v4),
                  ipv6 ? sizeof v6 : sizeof v4);
    }
    ~RawClient() { ::close(fd_); }

    // False once the server has closed the connection.
    bool send(const std::string& bytes) {
        return ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL) >= 0;
    }
    void finishSending() { ::shutdown(fd_, SHUT_WR); }

    // Everything until the server closes; `timedOut` if it went quiet for
    // `timeout` before that.
    std::string receiveAll(std::chrono::milliseconds timeout = 5s) {
        timeval limit{timeout.count() / 1000, timeout.count() % 1000 * 1000};
        ::setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        std::string received;
        char chunk[65536];
        ssize_t n;
        while ((n = ::recv(fd_, chunk, sizeof chunk, 0)) > 0) {
            received.append(chunk, static_cast<size_t>(n));
        }
        timedOut = n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
        return received;
    }
    // The first `count` bytes, or fewer if the server closes or goes quiet.
    std::string receive(size_t count, std::chrono::milliseconds timeout = 5s) {
        timeval limit{timeout.count() / 1000, timeout.count() % 1000 * 1000};
        ::setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        std::string received(count, '\0');
        size_t have = 0;
        ssize_t n;
        while (have < count && (n = ::recv(fd_, received.data() + have, count - have, 0)) > 0) {
            have += static_cast<size_t>(n);
        }
        received.resize(have);
        return received;
    }
    bool timedOut = false;

private:
    int fd_;
};

std::string post(const std::string& body) {
    return "POST /mcp HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
           "Content-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
}

// One request on a connection of its own; what came back before the close.
std::string exchange(std::uint16_t port, const std::string& request, bool ipv6 = false) {
    RawClient client(port, ipv6);
    client.send(request);
    return client.receiveAll();
}

const std::string kPing = R"({"jsonrpc":"2.0","id":1,"method":"ping"})";
const std::string kPong =
    "HTTP/1.1 200 OK\r\nContent-Type: application/json; charset=utf-8\r\nContent-Length: 36\r\n"
    "Connection: close\r\n\r\n"
    R"({"jsonrpc":"2.0","id":1,"result":{}})";

class Server : public ::testing::Test {
protected:
    Server() { server_.start(); }

    std::uint16_t port() const { return server_.boundPort(); }

    testing::TempFolder folder_;
    Database db_{folder_.file("activities.db")};
    Features features_{folder_.file("settings.json"), [] { return std::string(); }};
    SystemClock clock_;
    McpServer server_{
        db_, features_, clock_, {.port = 0, .headTimeout = 500ms, .bodyTimeout = 500ms}};
};

TEST_F(Server, AnswersOnBothLoopbackAddressesAndCloses) {
    for (bool ipv6 : {false, true}) {
        SCOPED_TRACE(ipv6 ? "::1" : "127.0.0.1");
        RawClient client(port(), ipv6);
        client.send(post(kPing));
        EXPECT_EQ(client.receiveAll(), kPong);
        EXPECT_FALSE(client.timedOut);
    }
}

TEST_F(Server, AnotherLocalUserIsTurnedAwayUnread) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "a client of another user needs root to start";
    }
    db_.insert(testing::act("Secret", 1000, 1001));
    for (bool ipv6 : {false, true}) {
        SCOPED_TRACE(ipv6 ? "::1" : "127.0.0.1");
        auto seen = testing::runAsAnotherUser([&] { return exchange(port(), post(kPing), ipv6); });
        ASSERT_TRUE(seen);
        EXPECT_EQ(seen->substr(0, seen->find("\r\n")), "HTTP/1.1 403 Forbidden");
        EXPECT_NE(seen->find("Forbidden origin"), std::string::npos);
        EXPECT_EQ(exchange(port(), post(kPing), ipv6), kPong);  // the user's own client
    }
}

TEST_F(Server, WaitsForABodyThatComesInPieces) {
    RawClient client(port());
    std::string request = post(kPing);
    size_t headEnd = request.find("\r\n\r\n") + 4;
    // The pauses are the point: each piece must reach the server as a read
    // of its own, or the server never sees a partial request.
    client.send(request.substr(0, headEnd));
    std::this_thread::sleep_for(20ms);
    client.send(request.substr(headEnd, 10));
    std::this_thread::sleep_for(20ms);
    client.send(request.substr(headEnd + 10) + "GET / HTTP/1.1\r\n\r\n");
    EXPECT_EQ(client.receiveAll(), kPong);  // one answer; the pipelined request is ignored
}

TEST_F(Server, TheEndpointNamesThePortActuallyListenedOn) {
    ASSERT_NE(port(), 0);
    EXPECT_EQ(server_.endpointURL(), "http://localhost:" + std::to_string(port()) + "/mcp");
    EXPECT_EQ(McpServer(db_, features_, clock_).endpointURL(), "http://localhost:7384/mcp");
}

TEST_F(Server, AClientThatExpectsContinueGetsItBeforeItSendsTheBody) {
    RawClient client(port());
    std::string request = post(kPing);
    size_t headEnd = request.find("\r\n\r\n");
    client.send(request.substr(0, headEnd) + "\r\nExpect: 100-continue\r\n\r\n");
    const std::string proceed = "HTTP/1.1 100 Continue\r\n\r\n";
    ASSERT_EQ(client.receive(proceed.size()), proceed);
    client.send(request.substr(headEnd + 4));
    EXPECT_EQ(client.receiveAll(), kPong);
}

TEST_F(Server, UnfinishedOrMalformedRequestsGetNoAnswer) {
    RawClient malformed(port());
    malformed.send("GET /\xff HTTP/1.1\r\n\r\n");
    malformed.finishSending();
    EXPECT_EQ(malformed.receiveAll(), "");
    EXPECT_FALSE(malformed.timedOut);

    RawClient slow(port());
    slow.send("POST /mcp HTTP/1.1\r\nContent-Length: 10\r\n\r\n{");
    auto started = Steady::now();
    EXPECT_EQ(slow.receiveAll(3s), "");  // closed at the request deadline
    EXPECT_FALSE(slow.timedOut);
    EXPECT_LT(Steady::now() - started, 2s);
}

TEST_F(Server, OversizedRequestsAre413) {
    struct Row {
        const char* name;
        std::string request;
    };
    const Row rows[] = {
        {"body one byte over the limit", "POST /mcp HTTP/1.1\r\nContent-Length: 1048577\r\n\r\n"},
        {"head without end", "GET / HTTP/1.1\r\nX-Filler: " + std::string(17 * 1024, 'x')},
        // More than head and body limits together: a malformed head cannot grow without end.
        {"malformed head", "X\r\n\r\n" + std::string(20 * 64 * 1024, 'z')},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::string answer = exchange(port(), row.request);
        EXPECT_TRUE(answer.starts_with("HTTP/1.1 413 Content Too Large\r\n")) << answer;
    }
}

// Some 20 MB of answer, far more than the socket buffers hold.
void insertBulkyDay(Database& db) {
    for (int i = 0; i < 100; ++i) {
        db.insert(testing::act("App", 1000 + i, 1001 + i, std::string(2000, 'x')));
    }
}
std::string bulkyBatch() {
    std::string batch = "[";
    for (int i = 0; i < 100; ++i) {
        batch +=
            std::string(i ? "," : "") +
            R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"search_activities","arguments":{"query":"App","limit":100}}})";
    }
    return batch + "]";
}

TEST_F(Server, AnAnswerStillBeingWrittenOutlastsTheRequestDeadline) {
    insertBulkyDay(db_);
    RawClient client(port());
    client.send(post(bulkyBatch()));
    // Reading nothing until the 500 ms request deadline has passed is the
    // point: the answer must still be being written then.
    std::this_thread::sleep_for(600ms);
    std::string answer = client.receiveAll();
    size_t headEnd = answer.find("\r\n\r\n");
    ASSERT_NE(headEnd, std::string::npos);
    size_t lengthAt = answer.find("Content-Length: ") + 16;
    EXPECT_EQ(answer.size() - headEnd - 4, std::stoul(answer.substr(lengthAt)));
}

TEST_F(Server, AFloodOfIdleConnectionsMakesWayForNewcomers) {
    std::vector<std::unique_ptr<RawClient>> idle;
    for (int i = 0; i < 80; ++i) {
        idle.push_back(std::make_unique<RawClient>(port()));
    }
    // The oldest of them are closed to make room, well before their deadline,
    RawClient client(port());
    client.send(post(kPing));
    EXPECT_EQ(client.receiveAll(400ms), kPong);  // and a real client is served at once.
    EXPECT_EQ(idle.front()->receiveAll(400ms), "");
    EXPECT_FALSE(idle.front()->timedOut);
}

TEST_F(Server, ABurstOfConcurrentClientsIsAllAnswered) {
    std::vector<std::future<std::string>> answers;
    for (int i = 0; i < 48; ++i) {
        std::string body =
            R"({"jsonrpc":"2.0","id":)" + std::to_string(i) +
            R"(,"method":"tools/call","params":{"name":"annotate","arguments":{"text":"Task )" +
            std::to_string(i) + R"("}}})";
        answers.push_back(std::async(std::launch::async, exchange, port(), post(body), i % 2));
    }
    for (int i = 0; i < 48; ++i) {
        std::string answer = answers[i].get();
        EXPECT_TRUE(answer.starts_with("HTTP/1.1 200 OK")) << i;
        EXPECT_NE(answer.find(R"("id":)" + std::to_string(i) + ","), std::string::npos) << answer;
    }
    EXPECT_EQ(db_.fetchAnnotations(0, 4e9).size(), 48u);
}

TEST_F(Server, AnAddressTakenByAnotherProgramIsReported) {
    testing::PortBlocker blocker(/*alsoIpv6=*/false);
    McpServer other(db_, features_, clock_, {.port = blocker.port()});
    try {
        other.start();  // ::1 may still be had
    } catch (const McpServerError&) {
        GTEST_SKIP() << "no IPv6 loopback here";
    }
    EXPECT_EQ(other.unavailableAddresses(),
              std::vector<std::string>{"127.0.0.1 port " + std::to_string(blocker.port()) +
                                       ": Address already in use"});
}

TEST_F(Server, APortTakenOnBothAddressesFailsTheStartAndStoppingIsAlwaysSafe) {
    McpServer second(db_, features_, clock_, {.port = port()});
    try {
        second.start();
        FAIL() << "two servers on one port";
    } catch (const McpServerError& error) {
        EXPECT_EQ(error.kind(), McpServerError::Kind::listenFailed);
        EXPECT_NE(std::string(error.what()).find("in use"), std::string::npos) << error.what();
    }
    second.stop();  // safe without a start
    server_.stop();
    server_.stop();  // and twice
}

TEST_F(Server, StoppingGivesUpOnARequestThatHangsYetItIsAnsweredWhole) {
    // A tool call held on its worker until the test lets it go; its answer
    // (600 long titles) takes several writes.
    const TimePoint today = calendar::startOfDay(clock_.now());
    for (int i = 0; i < 600; ++i) {
        db_.insert(testing::act("Code", today + i, today + i + 1, std::string(1000, 'x')));
    }
    std::promise<void> entered;
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    McpServer server(db_, features_, clock_,
                     {.port = 0, .beforeWorkerRequest = [&entered, released] {
                          entered.set_value();
                          released.wait();
                      }});
    server.start();
    RawClient client(server.boundPort());
    client.send(post(R"({"jsonrpc":"2.0","id":1,"method":"tools/call",)"
                     R"("params":{"name":"get_activities","arguments":{"limit":600}}})"));
    entered.get_future().wait();
    EXPECT_FALSE(server.stopWithin(300ms));
    release.set_value();
    std::string answer = client.receiveAll(2s);
    EXPECT_FALSE(client.timedOut) << "the connection was left open";
    ASSERT_EQ(answer.substr(0, 15), "HTTP/1.1 200 OK");
    auto head = answer.find("\r\n\r\n") + 4;
    auto length = std::stoul(answer.substr(answer.find("Content-Length: ") + 16));
    EXPECT_GT(length, 512u * 1024);
    EXPECT_EQ(answer.size() - head, length) << "the answer was cut short";
    server.stop();
}

// Clients that connect and dribble their request a byte at a time, or never
// read their answers, hold connections for as long as the server lets them;
// a well-behaved client must still be answered every time.
TEST(ServerUnderLoad, SlowAndNonReadingClientsCannotShutOthersOut) {
    testing::TempFolder folder;
    Database db{folder.file("activities.db")};
    Features features{folder.file("settings.json"), [] { return std::string(); }};
    SystemClock clock;
    insertBulkyDay(db);
    McpServer server{db,
                     features,
                     clock,
                     {.port = 0,
                      .headTimeout = 300ms,
                      .bodyTimeout = 300ms,
                      .writeTimeout = 1s,
                      .minAnswerBytesPerSecond = 100 * 1024 * 1024,
                      .maxPendingAnswerBytes = 8 * 1024 * 1024,
                      .maxConnections = 16}};
    server.start();
    std::atomic<bool> done = false;
    std::vector<std::thread> attackers;
    for (int i = 0; i < 16; ++i) {
        attackers.emplace_back([&] {
            const std::string request = post(kPing);
            while (!done) {
                RawClient slow(server.boundPort());
                for (size_t sent = 0; !done && slow.send(request.substr(sent % 40, 1)); ++sent) {
                    std::this_thread::sleep_for(50ms);
                }
            }
        });
    }
    for (int i = 0; i < 4; ++i) {
        attackers.emplace_back([&] {
            while (!done) {
                RawClient deaf(server.boundPort());
                deaf.send(post(bulkyBatch()));
                for (int wait = 0; !done && wait < 20; ++wait) {
                    std::this_thread::sleep_for(50ms);
                }
            }
        });
    }
    std::this_thread::sleep_for(500ms);  // every slot taken
    for (int i = 0; i < 20; ++i) {
        RawClient client(server.boundPort());
        client.send(post(kPing));
        EXPECT_EQ(client.receiveAll(2s), kPong) << i;
        std::this_thread::sleep_for(100ms);
    }
    done = true;
    for (auto& attacker : attackers) {
        attacker.join();
    }
}

TEST(ServerUnderLoad, CheapRequestsAreAnsweredWhileAToolCallRuns) {
    testing::TempFolder folder;
    Database db{folder.file("activities.db")};
    Features features{folder.file("settings.json"), [] { return std::string(); }};
    SystemClock clock;
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    std::atomic<int> running = 0;
    McpServer server{
        db, features, clock, {.port = 0, .workerThreads = 2, .beforeWorkerRequest = [&] {
                                  ++running;
                                  released.wait();
                              }}};
    server.start();
    // Every worker busy: a ping must not need one.
    std::vector<std::future<std::string>> calls;
    for (int i = 0; i < 2; ++i) {
        calls.push_back(std::async(std::launch::async, [&] {
            return exchange(server.boundPort(),
                            post(R"({"jsonrpc":"2.0","id":1,"method":"tools/call",)"
                                 R"("params":{"name":"get_activities","arguments":{}}})"));
        }));
    }
    ASSERT_TRUE(testing::eventually([&] { return running == 2; }, 5s));
    RawClient client(server.boundPort());
    client.send(post(kPing));
    EXPECT_EQ(client.receiveAll(2s), kPong);
    release.set_value();
    for (auto& call : calls) {
        EXPECT_TRUE(call.get().starts_with("HTTP/1.1 200 OK"));
    }
}

}  // namespace
}  // namespace kvillo
