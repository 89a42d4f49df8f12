#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <future>
#include <thread>
#include <vector>

#include "core/mcp/mcp_server.h"
#include "core/mcp/mcp_server_error.h"
#include "core/time/system_clock.h"
#include "tests/support/port_blocker.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;

// A plain TCP client, so tests see exactly the bytes on the wire.
class RawClient {
public:
    RawClient(std::uint16_t port, bool ipv6 = false) {
        fd_ = ::socket(ipv6 ? AF_INET6 : AF_INET, SOCK_STREAM, 0);
        int result;
        if (ipv6) {
            sockaddr_in6 address{};
            address.sin6_family = AF_INET6;
            address.sin6_port = htons(port);
            address.sin6_addr = in6addr_loopback;
            result = ::connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address);
        } else {
            sockaddr_in address{};
            address.sin_family = AF_INET;
            address.sin_port = htons(port);
            address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            result = ::connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address);
        }
        connected_ = result == 0;
    }
    ~RawClient() { ::close(fd_); }

    bool connected() const { return connected_; }
    void send(const std::string& bytes) { ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL); }
    void finishSending() { ::shutdown(fd_, SHUT_WR); }

    // Everything until the server closes, or what came within `timeout`.
    std::string receiveAll(std::chrono::milliseconds timeout = 5s) {
        std::string received;
        auto deadline = std::chrono::steady_clock::now() + timeout;
        while (true) {
            auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            pollfd poller{fd_, POLLIN, 0};
            if (left.count() <= 0 || ::poll(&poller, 1, static_cast<int>(left.count())) <= 0) {
                timedOut_ = true;
                return received;
            }
            char chunk[4096];
            ssize_t n = ::recv(fd_, chunk, sizeof chunk, 0);
            if (n <= 0) {
                return received;
            }
            received.append(chunk, static_cast<size_t>(n));
        }
    }
    bool timedOut() const { return timedOut_; }

private:
    int fd_;
    bool connected_ = false;
    bool timedOut_ = false;
};

std::string post(const std::string& body) {
    return "POST /mcp HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
           "Content-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
}

const std::string kPing = R"({"jsonrpc":"2.0","id":1,"method":"ping"})";
const std::string kPong =
    "HTTP/1.1 200 OK\r\nContent-Type: application/json; charset=utf-8\r\nContent-Length: 36\r\n"
    "Connection: close\r\n\r\n"
    R"({"jsonrpc":"2.0","id":1,"result":{}})";

class Server : public ::testing::Test {
protected:
    explicit Server(McpServerOptions options = {.port = 0, .requestTimeout = 500ms})
        : server_(db_, features_, clock_, options) {
        server_.start();
    }

    std::uint16_t port() const { return server_.boundPort(); }

    testing::TempFolder folder_;
    Database db_{folder_.file("activities.db")};
    Features features_{folder_.file("settings.json"), [] { return std::string(); }};
    SystemClock clock_;
    McpServer server_;
};

TEST_F(Server, AnswersOnBothLoopbackAddressesAndCloses) {
    for (bool ipv6 : {false, true}) {
        SCOPED_TRACE(ipv6 ? "::1" : "127.0.0.1");
        RawClient client(port(), ipv6);
        ASSERT_TRUE(client.connected());
        client.send(post(kPing));
        EXPECT_EQ(client.receiveAll(), kPong);
        EXPECT_FALSE(client.timedOut());
    }
    EXPECT_EQ(server_.endpointURL(), "http://localhost:0/mcp");
}

TEST_F(Server, WaitsForABodyThatComesInPieces) {
    RawClient client(port());
    std::string request = post(kPing);
    size_t headEnd = request.find("\r\n\r\n") + 4;
    client.send(request.substr(0, headEnd));
    std::this_thread::sleep_for(50ms);
    client.send(request.substr(headEnd, 10));
    std::this_thread::sleep_for(50ms);
    client.send(request.substr(headEnd + 10) + "GET / HTTP/1.1\r\n\r\n");
    EXPECT_EQ(client.receiveAll(), kPong);  // one answer; the pipelined request is ignored
}

TEST_F(Server, UnfinishedOrMalformedRequestsGetNoAnswer) {
    RawClient malformed(port());
    malformed.send("GET /\xff HTTP/1.1\r\n\r\n");
    malformed.finishSending();
    EXPECT_EQ(malformed.receiveAll(), "");
    EXPECT_FALSE(malformed.timedOut());

    RawClient slow(port());
    slow.send("POST /mcp HTTP/1.1\r\nContent-Length: 10\r\n\r\n{");
    auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(slow.receiveAll(3s), "");  // closed at the request deadline
    EXPECT_FALSE(slow.timedOut());
    EXPECT_LT(std::chrono::steady_clock::now() - started, 2s);
}

TEST_F(Server, OversizedRequestsAre413) {
    RawClient bigBody(port());
    bigBody.send("POST /mcp HTTP/1.1\r\nContent-Length: 1048577\r\n\r\n");
    std::string answer = bigBody.receiveAll();
    EXPECT_TRUE(answer.starts_with("HTTP/1.1 413 Content Too Large\r\n")) << answer;

    RawClient bigHead(port());
    bigHead.send("GET / HTTP/1.1\r\nX-Filler: " + std::string(17 * 1024, 'x'));
    EXPECT_TRUE(bigHead.receiveAll().starts_with("HTTP/1.1 413"));
}

TEST_F(Server, AnAnswerOutlastsTheRequestDeadline) {
    // A client that takes most of the deadline to send gets all of a large
    // answer, however slowly it reads it.
    RawClient client(port());
    std::this_thread::sleep_for(400ms);
    std::string batch = "[";
    for (int i = 0; i < 100; ++i) {
        batch += std::string(i ? "," : "") + R"({"jsonrpc":"2.0","id":1,"method":"tools/list"})";
    }
    client.send(post(batch + "]"));
    std::this_thread::sleep_for(300ms);  // past the 500 ms request deadline
    std::string answer = client.receiveAll();
    size_t headEnd = answer.find("\r\n\r\n");
    ASSERT_NE(headEnd, std::string::npos);
    size_t lengthAt = answer.find("Content-Length: ") + 16;
    EXPECT_EQ(answer.size() - headEnd - 4, std::stoul(answer.substr(lengthAt)));
}

TEST_F(Server, AMalformedHeadCannotGrowWithoutEnd) {
    RawClient client(port());
    client.send("X\r\n\r\n");
    std::string chunk(64 * 1024, 'z');
    for (int i = 0; i < 20; ++i) {  // more than head and body limits together
        client.send(chunk);
    }
    EXPECT_TRUE(client.receiveAll().starts_with("HTTP/1.1 413"));
}

TEST_F(Server, AFloodOfIdleConnectionsDoesNotStarveRealClients) {
    std::vector<std::unique_ptr<RawClient>> idle;
    for (int i = 0; i < 80; ++i) {
        idle.push_back(std::make_unique<RawClient>(port()));
    }
    // The 64 that were accepted hold their slots until the deadline; the
    // rest were closed at once. Once the deadline passes, service resumes.
    std::this_thread::sleep_for(700ms);
    RawClient client(port());
    client.send(post(kPing));
    EXPECT_EQ(client.receiveAll(), kPong);
}

TEST_F(Server, ABurstOfConcurrentClientsIsAllAnswered) {
    std::vector<std::future<std::string>> answers;
    for (int i = 0; i < 48; ++i) {
        answers.push_back(std::async(std::launch::async, [this, i] {
            RawClient client(port(), i % 2 == 1);
            std::string body =
                R"({"jsonrpc":"2.0","id":)" + std::to_string(i) +
                R"(,"method":"tools/call","params":{"name":"annotate","arguments":{"text":"Task )" +
                std::to_string(i) + R"("}}})";
            client.send(post(body));
            return client.receiveAll();
        }));
    }
    for (int i = 0; i < 48; ++i) {
        std::string answer = answers[i].get();
        EXPECT_TRUE(answer.starts_with("HTTP/1.1 200 OK")) << i;
        EXPECT_NE(answer.find(R"("id":)" + std::to_string(i) + ","), std::string::npos) << answer;
    }
    EXPECT_EQ(db_.fetchAnnotations(0, 4e9).size(), 48u);
}

TEST(ServerStart, AnAddressTakenByAnotherProgramIsReported) {
    testing::TempFolder folder;
    Database db(folder.file("activities.db"));
    Features features(folder.file("settings.json"), [] { return std::string(); });
    testing::PortBlocker blocker(/*alsoIpv6=*/false);
    std::uint16_t taken = blocker.port();

    SystemClock clock;
    McpServer server(db, features, clock, {.port = taken});
    bool listening = true;
    try {
        server.start();  // ::1 may still be had
    } catch (const McpServerError&) {
        listening = false;  // a machine without IPv6 loopback
    }
    if (listening) {
        ASSERT_EQ(server.unavailableAddresses().size(), 1u);
        EXPECT_EQ(server.unavailableAddresses()[0],
                  "127.0.0.1 port " + std::to_string(taken) + ": Address already in use");
    }
}

TEST(ServerStart, ATakenPortIsReportedAndNothingListens) {
    testing::TempFolder folder;
    Database db(folder.file("activities.db"));
    Features features(folder.file("settings.json"), [] { return std::string(); });
    SystemClock clock;
    McpServer first(db, features, clock, {.port = 0});
    first.start();
    McpServer second(db, features, clock, {.port = first.boundPort()});
    try {
        second.start();
        FAIL() << "two servers on one port";
    } catch (const McpServerError& error) {
        EXPECT_EQ(error.kind(), McpServerError::Kind::listenFailed);
        EXPECT_NE(std::string(error.what()).find("in use"), std::string::npos) << error.what();
    }
    second.stop();
    first.stop();
    first.stop();  // twice is harmless
}

}  // namespace
}  // namespace kvillo
