// A well-behaved client's ping while 64 slow clients hold the server's
// connections: each connects and sends its request a byte every 100 ms, and
// connects again when the server closes it. Reports the 99th-percentile
// latency of the ping (connect to close), which must stay far below the
// seconds a slow client is allowed.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <thread>
#include <vector>

#include "core/mcp/mcp_server.h"
#include "core/time/system_clock.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;

int connectTo(std::uint16_t port) {
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
    ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    return fd;
}

std::string post(const std::string& body) {
    return "POST /mcp HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
           "Content-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
}

const std::string kPing = post(R"({"jsonrpc":"2.0","id":1,"method":"ping"})");

class SlowClients {
public:
    explicit SlowClients(std::uint16_t port) {
        for (int i = 0; i < 64; ++i) {
            threads_.emplace_back([this, port] {
                while (!done_) {
                    int fd = connectTo(port);
                    for (size_t sent = 0; !done_; ++sent) {
                        if (::send(fd, &kPing[sent % 40], 1, MSG_NOSIGNAL) < 0) {
                            break;
                        }
                        std::this_thread::sleep_for(100ms);
                    }
                    ::close(fd);
                }
            });
        }
    }
    ~SlowClients() {
        done_ = true;
        for (auto& thread : threads_) {
            thread.join();
        }
    }

private:
    std::atomic<bool> done_ = false;
    std::vector<std::thread> threads_;
};

void McpPingWith64SlowClients(benchmark::State& state) {
    std::string folder = (std::filesystem::temp_directory_path() / "kvillo-bench-XXXXXX").string();
    folder = ::mkdtemp(folder.data());
    {
        Database database(folder + "/activities.db");
        Features features(folder + "/settings.json", [] { return std::string(); });
        SystemClock clock;
        McpServer server(database, features, clock, {.port = 0});
        server.start();
        SlowClients slow(server.boundPort());
        std::this_thread::sleep_for(500ms);  // every slot taken
        std::vector<double> latencies;
        size_t unanswered = 0;
        for (auto _ : state) {
            auto started = std::chrono::steady_clock::now();
            int fd = connectTo(server.boundPort());
            timeval limit{2, 0};
            ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
            ::send(fd, kPing.data(), kPing.size(), MSG_NOSIGNAL);
            std::string answer;
            char chunk[4096];
            ssize_t n;
            while ((n = ::recv(fd, chunk, sizeof chunk, 0)) > 0) {
                answer.append(chunk, static_cast<size_t>(n));
            }
            ::close(fd);
            latencies.push_back(std::chrono::duration<double, std::milli>(
                                    std::chrono::steady_clock::now() - started)
                                    .count());
            unanswered += answer.starts_with("HTTP/1.1 200 OK") ? 0 : 1;
        }
        std::sort(latencies.begin(), latencies.end());
        state.counters["p50_ms"] = latencies[latencies.size() / 2];
        state.counters["p99_ms"] = latencies[latencies.size() * 99 / 100];
        state.counters["max_ms"] = latencies.back();
        state.counters["unanswered"] = static_cast<double>(unanswered);
    }
    std::filesystem::remove_all(folder);
}
BENCHMARK(McpPingWith64SlowClients)->Iterations(2000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace kvillo
