// What the app model costs the UI thread on a heavy day: 3,000 activities
// and 500 notes today among 50 projects of 5 keywords, in a real file that
// a monitor's connection holds open beside the model's, as in the program.
// The figures to watch: the median refresh (target: under 5 ms), and that
// the ticks between refreshes run no statement at all.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <string>

#include "bench/store/synthetic_log.h"
#include "core/capture/activity_monitor.h"
#include "core/model/app_model.h"
#include "core/time/calendar.h"
#include "tests/support/fake_clock.h"
#include "tests/support/fake_desktop.h"
#include "tests/support/fake_notification_center.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

// Five such days; the last one is today. Short focus spells and notes 90
// seconds apart fit them into 07:00 to 20:00 UTC (08:00 to 21:00 in Oslo).
constexpr bench::LogShape kHeavyDays{.days = 5,
                                     .activitiesPerDay = 3000,
                                     .annotationsPerDay = 500,
                                     .projects = 50,
                                     .keywordsPerProject = 5,
                                     .meanActivitySeconds = 14,
                                     .annotationEvery = 90};

// The running task names no project, so the model also matches the last
// hour's windows to find the current one: the longer of its two paths.
std::string preparedCopy(bench::ScratchFolder& folder) {
    std::string path = folder.copyOf(bench::cachedLog(kHeavyDays), "activities.db");
    sqlite3* db = nullptr;
    int result = sqlite3_open(path.c_str(), &db);
    if (result == SQLITE_OK) {
        result = sqlite3_exec(
            db, "UPDATE annotations SET text = 'Gjennomgang av innboksen' WHERE ended_at IS NULL;",
            nullptr, nullptr, nullptr);
    }
    sqlite3_close(db);
    if (result != SQLITE_OK) {
        throw std::runtime_error("cannot prepare the heavy day");
    }
    return path;
}

// The model as the program builds it, on a copy of the cached log, with
// the clock a few seconds into the day's last (open) activity. The monitor
// is not started: its start would close that row as after a crash.
class HeavyDay {
public:
    HeavyDay()
        : zone_("Europe/Oslo"),
          path_(preparedCopy(folder_)),
          monitorDb_(path_),
          modelDb_(path_, std::chrono::milliseconds(100)),
          features_(folder_.file("settings.json"), [] { return std::string(); }),
          clock_(endOfWork()),
          monitorTimer_(clock_),
          modelTimer_(clock_),
          monitor_(monitorDb_, features_, desktop_, clock_, monitorTimer_),
          model_(modelDb_, monitor_, features_,
                 AppModelServices{clock_, modelTimer_, uiThread_, notifications_}) {}

    AppModel& model() { return model_; }
    Database& modelDb() { return modelDb_; }
    testing::FakeClock& clock() { return clock_; }
    testing::FakeTimer& timer() { return modelTimer_; }
    TimePoint start() const { return start_; }

private:
    TimePoint endOfWork() {
        const TimePoint today = bench::lastDay(kHeavyDays);
        auto activities = monitorDb_.fetchActivities(today - 86400, today + 2 * 86400);
        if (activities.empty() || activities.back().endTime) {
            throw std::runtime_error("the heavy day has no open activity");
        }
        start_ = activities.back().startTime + 5;
        return start_;
    }

    testing::ScopedTimeZone zone_;
    bench::ScratchFolder folder_;
    std::string path_;
    Database monitorDb_;
    Database modelDb_;
    Features features_;
    TimePoint start_ = 0;
    testing::FakeClock clock_;
    testing::FakeTimer monitorTimer_;
    testing::FakeTimer modelTimer_;
    testing::FakeDesktop desktop_;
    testing::FakeUiThread uiThread_;
    testing::FakeNotificationCenter notifications_;
    ActivityMonitor monitor_;
    AppModel model_;
};

void BM_AppModelRefreshHeavyDay(benchmark::State& state) {
    HeavyDay day;
    AppModel& model = day.model();
    for (auto _ : state) {
        model.refresh();
    }
    const TimePoint today = calendar::startOfDay(day.start());
    const TimePoint tomorrow = calendar::addDays(today, 1);
    state.counters["activities_today"] =
        static_cast<double>(day.modelDb().fetchActivities(today, tomorrow).size());
    state.counters["annotations_today"] =
        static_cast<double>(day.modelDb().fetchAnnotations(today, tomorrow).size());
}
BENCHMARK(BM_AppModelRefreshHeavyDay)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(9)
    ->ReportAggregatesOnly(true);

// A minute of ticks from the day's end: the two refresh ticks read the
// store, the other 58 must not. The time reported is that of one tick
// that does not refresh.
void BM_AppModelSecondTicks(benchmark::State& state) {
    constexpr int kTicks = 2 * AppModel::kTicksPerRefresh;
    constexpr int kPlainTicks = kTicks - 2;
    HeavyDay day;
    int statements = 0;
    day.modelDb().watchStatements([&](std::string_view) { ++statements; });
    double plainStatements = 0;
    double refreshStatements = 0;
    std::chrono::duration<double> refreshTime{0};
    for (auto _ : state) {
        day.clock().set(day.start());  // the same minute each time
        std::chrono::duration<double> plainTime{0};
        for (int tick = 1; tick <= kTicks; ++tick) {
            statements = 0;
            const auto before = std::chrono::steady_clock::now();
            day.timer().run(AppModel::kTickInterval);
            const auto spent = std::chrono::steady_clock::now() - before;
            if (tick % AppModel::kTicksPerRefresh == 0) {
                refreshStatements += statements;
                refreshTime += spent;
            } else {
                plainStatements += statements;
                plainTime += spent;
            }
        }
        state.SetIterationTime(plainTime.count() / kPlainTicks);
    }
    day.modelDb().watchStatements({});
    const double minutes = static_cast<double>(state.iterations());
    state.counters["statements_plain_tick"] = plainStatements / minutes / kPlainTicks;
    state.counters["statements_refresh_tick"] = refreshStatements / minutes / 2;
    state.counters["ms_refresh_tick"] = refreshTime.count() * 1000 / minutes / 2;
}
// A fixed number of minutes: the time measured is only the plain ticks',
// so the framework would otherwise run refreshes for as long as it takes
// those to add up to its minimum time.
BENCHMARK(BM_AppModelSecondTicks)->UseManualTime()->Iterations(20)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace kvillo
