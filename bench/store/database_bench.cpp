// A year of synthetic activities (about 150,000 rows) in a real file, and the
// store's busiest reads over it: a day and a month of activities, a month of
// usage totals.
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <string>

#include "core/store/database.h"
#include "core/time/calendar.h"
#include "core/time/system_clock.h"

namespace kvillo {
namespace {

constexpr int kDays = 365;
constexpr int kActivitiesPerDay = 410;

struct App {
    const char* name;
    const char* bundleID;
    const char* titleStem;
};
constexpr App kApps[] = {
    {"Firefox", "firefox", "Kvillo pull request #%d — Mozilla Firefox"},
    {"Code", "code", "database.cpp — kvillo — issue %d"},
    {"Terminal", "org.gnome.Terminal", "kari@laptop: ~/src/kvillo (%d)"},
    {"Thunderbird", "org.mozilla.Thunderbird", "Innboks (%d) — Thunderbird"},
    {"Slack", "com.slack.Slack", "Skarvelin | #general | %d new"},
    {"Files", "org.gnome.Nautilus", "Documents %d"},
    {"LibreOffice Calc", "libreoffice-calc", "Timeliste november %d.ods"},
    {"Zoom", nullptr, "Zoom Meeting %d"},
};

// Builds the file once per run; the benchmarks only read it.
class YearOfActivities {
public:
    YearOfActivities() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "kvillo-bench-XXXXXX").string();
        folder_ = ::mkdtemp(pattern.data());
        path_ = folder_ + "/activities.db";
        database_ = std::make_unique<Database>(path_);
        fill();
    }
    ~YearOfActivities() {
        database_.reset();
        std::filesystem::remove_all(folder_);
    }

    Database& database() { return *database_; }
    TimePoint firstDay() const { return firstDay_; }

private:
    void fill() {
        sqlite3* db = nullptr;
        sqlite3_open(path_.c_str(), &db);
        sqlite3_exec(db, "BEGIN;", nullptr, nullptr, nullptr);
        sqlite3_stmt* insert = nullptr;
        sqlite3_prepare_v2(db,
                           "INSERT INTO activities (app_name, bundle_id, title, start_time, "
                           "end_time) VALUES (?, ?, ?, ?, ?);",
                           -1, &insert, nullptr);
        std::mt19937 random(7384);
        std::uniform_int_distribution<int> app(0, std::size(kApps) - 1);
        std::uniform_int_distribution<int> length(5, 270);
        firstDay_ = calendar::startOfDay(SystemClock().now() - kDays * 86400.0);
        TimePoint day = firstDay_;
        char title[128];
        for (int d = 0; d < kDays; ++d, day = calendar::addDays(day, 1)) {
            TimePoint t = day + 7 * 3600;
            for (int i = 0; i < kActivitiesPerDay; ++i) {
                const App& chosen = kApps[app(random)];
                std::snprintf(title, sizeof title, chosen.titleStem, i % 17);
                TimePoint end = t + length(random);
                sqlite3_bind_text(insert, 1, chosen.name, -1, SQLITE_STATIC);
                if (chosen.bundleID) {
                    sqlite3_bind_text(insert, 2, chosen.bundleID, -1, SQLITE_STATIC);
                } else {
                    sqlite3_bind_null(insert, 2);
                }
                sqlite3_bind_text(insert, 3, title, -1, SQLITE_TRANSIENT);
                sqlite3_bind_double(insert, 4, t);
                sqlite3_bind_double(insert, 5, end);
                sqlite3_step(insert);
                sqlite3_reset(insert);
                t = end;
            }
        }
        sqlite3_finalize(insert);
        sqlite3_exec(db, "COMMIT;", nullptr, nullptr, nullptr);
        sqlite3_close(db);
    }

    std::string folder_;
    std::string path_;
    std::unique_ptr<Database> database_;
    TimePoint firstDay_ = 0;
};

YearOfActivities& year() {
    static YearOfActivities data;
    return data;
}

TimePoint dayInTheMiddle() {
    return calendar::addDays(year().firstDay(), kDays / 2);
}

void FetchActivitiesDay(benchmark::State& state) {
    TimePoint from = dayInTheMiddle();
    TimePoint to = calendar::addDays(from, 1);
    for (auto _ : state) {
        auto rows = year().database().fetchActivities(from, to);
        benchmark::DoNotOptimize(rows);
        state.counters["rows"] = static_cast<double>(rows.size());
    }
}
BENCHMARK(FetchActivitiesDay)->Unit(benchmark::kMillisecond);

void FetchActivitiesMonth(benchmark::State& state) {
    TimePoint from = dayInTheMiddle();
    TimePoint to = calendar::addDays(from, 30);
    for (auto _ : state) {
        auto rows = year().database().fetchActivities(from, to);
        benchmark::DoNotOptimize(rows);
        state.counters["rows"] = static_cast<double>(rows.size());
    }
}
BENCHMARK(FetchActivitiesMonth)->Unit(benchmark::kMillisecond);

void AppUsageMonth(benchmark::State& state) {
    TimePoint from = dayInTheMiddle();
    TimePoint to = calendar::addDays(from, 30);
    for (auto _ : state) {
        auto summaries = year().database().appUsage(from, to);
        benchmark::DoNotOptimize(summaries);
    }
}
BENCHMARK(AppUsageMonth)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kvillo
