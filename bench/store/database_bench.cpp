// A year of synthetic activities (about 150,000 rows) in a real file, and the
// store's busiest reads over it: a day and a month of activities, a month of
// usage totals.
#include <benchmark/benchmark.h>

#include <memory>

#include "bench/store/synthetic_log.h"
#include "core/store/database.h"
#include "core/time/calendar.h"

namespace kvillo {
namespace {

constexpr bench::LogShape kYear{.days = 365,
                                .activitiesPerDay = 410,
                                .annotationsPerDay = 20,
                                .projects = 25,
                                .keywordsPerProject = 3};

// A copy of the cached log, opened once per run; the benchmarks only read.
class YearOfActivities {
public:
    YearOfActivities()
        : database_(std::make_unique<Database>(
              folder_.copyOf(bench::cachedLog(kYear), "activities.db"))) {}

    Database& database() { return *database_; }

private:
    bench::ScratchFolder folder_;
    std::unique_ptr<Database> database_;
};

YearOfActivities& year() {
    static YearOfActivities data;
    return data;
}

TimePoint dayInTheMiddle() {
    return calendar::startOfDay(bench::kFirstDay + kYear.days / 2 * 86400.0 + 43200);
}

void FetchActivitiesDay(benchmark::State& state) {
    TimePoint from = dayInTheMiddle();
    TimePoint to = calendar::addDays(from, 1);
    Database& database = year().database();
    for (auto _ : state) {
        auto rows = database.fetchActivities(from, to);
        benchmark::DoNotOptimize(rows);
        state.counters["rows"] = static_cast<double>(rows.size());
    }
}
BENCHMARK(FetchActivitiesDay)->Unit(benchmark::kMillisecond);

void FetchActivitiesMonth(benchmark::State& state) {
    TimePoint from = dayInTheMiddle();
    TimePoint to = calendar::addDays(from, 30);
    Database& database = year().database();
    for (auto _ : state) {
        auto rows = database.fetchActivities(from, to);
        benchmark::DoNotOptimize(rows);
        state.counters["rows"] = static_cast<double>(rows.size());
    }
}
BENCHMARK(FetchActivitiesMonth)->Unit(benchmark::kMillisecond);

void AppUsageMonth(benchmark::State& state) {
    TimePoint from = dayInTheMiddle();
    TimePoint to = calendar::addDays(from, 30);
    Database& database = year().database();
    for (auto _ : state) {
        auto summaries = database.appUsage(from, to);
        benchmark::DoNotOptimize(summaries);
    }
}
BENCHMARK(AppUsageMonth)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kvillo
