// What a window switch costs the recording program: the open row ends and
// the next one begins, in a real file in WAL mode. The figure to watch is
// the CPU time per switch (target: under 1 ms).
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "core/capture/activity_monitor.h"
#include "tests/support/fake_clock.h"
#include "tests/support/fake_desktop.h"

namespace kvillo {
namespace {

void BM_WindowSwitch(benchmark::State& state) {
    std::string pattern = (std::filesystem::temp_directory_path() / "kvillo-bench-XXXXXX").string();
    std::string folder = ::mkdtemp(pattern.data());
    {
        Database database(folder + "/activities.db");
        Features features(folder + "/settings.json", [] { return std::string(); });
        testing::FakeDesktop desktop;
        testing::FakeClock clock(1.8e9);
        testing::FakeTimer timer(clock);
        ActivityMonitor monitor(database, features, desktop, clock, timer);
        const FrontApplication apps[] = {{"Code", "code", 1}, {"Firefox", "firefox", 2}};
        desktop.front = apps[0];
        monitor.start();
        int next = 1;
        for (auto _ : state) {
            clock.advance(7);
            desktop.activate(apps[next]);
            next = 1 - next;
        }
        monitor.stop();
    }
    std::filesystem::remove_all(folder);
}
BENCHMARK(BM_WindowSwitch)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace kvillo
