// The JSON-RPC layer alone, without sockets: what one request costs the
// server's thread for the two requests the load test sends.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>
#include <memory>

#include "core/mcp/mcp_dispatcher.h"
#include "core/time/calendar.h"
#include "tests/support/fake_clock.h"

namespace kvillo {
namespace {

class BusyDay {
public:
    BusyDay() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "kvillo-bench-XXXXXX").string();
        folder_ = ::mkdtemp(pattern.data());
        database_ = std::make_unique<Database>(folder_ + "/activities.db");
        features_ = std::make_unique<Features>(folder_ + "/settings.json",
                                               [] { return std::string("Kari"); });
        day_ = *calendar::startOfDate({2026, 11, 30});
        for (int i = 0; i < 600; ++i) {
            TimePoint start = day_ + 7 * 3600 + i * 60;
            database_->insert(Activity{.appName = i % 2 ? "Code" : "Firefox",
                                       .title = "Document " + std::to_string(i % 97) +
                                                " \u2014 project " + std::to_string(i % 13),
                                       .startTime = start,
                                       .endTime = start + 45});
        }
        clock_ = std::make_unique<testing::FakeClock>(day_ + 20 * 3600);
        dispatcher_ = std::make_unique<McpDispatcher>(*database_, *features_, *clock_);
    }
    ~BusyDay() {
        dispatcher_.reset();
        database_.reset();
        std::filesystem::remove_all(folder_);
    }
    McpDispatcher& dispatcher() { return *dispatcher_; }

private:
    std::string folder_;
    TimePoint day_ = 0;
    std::unique_ptr<Database> database_;
    std::unique_ptr<Features> features_;
    std::unique_ptr<testing::FakeClock> clock_;
    std::unique_ptr<McpDispatcher> dispatcher_;
};

BusyDay& busyDay() {
    static BusyDay data;
    return data;
}

void McpToolsList(benchmark::State& state) {
    auto& dispatcher = busyDay().dispatcher();
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            dispatcher.handleBody(R"({"jsonrpc":"2.0","id":1,"method":"tools/list"})"));
    }
}
BENCHMARK(McpToolsList)->Unit(benchmark::kMicrosecond);

void McpGetActivitiesBusyDay(benchmark::State& state) {
    auto& dispatcher = busyDay().dispatcher();
    for (auto _ : state) {
        benchmark::DoNotOptimize(dispatcher.handleBody(
            R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"get_activities","arguments":{"date":"2026-11-30"}}})"));
    }
}
BENCHMARK(McpGetActivitiesBusyDay)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace kvillo
