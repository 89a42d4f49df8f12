// A synthetic month of work in a real file (30 days of about 600 activities
// with realistic titles, 300 annotations, 25 projects of 6 keywords) and the
// analyses over it: the month's report with and without reading, and a
// year's timesheet.
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <string>

#include "core/analysis/period_report.h"
#include "core/analysis/timesheet.h"
#include "core/store/database.h"
#include "core/time/calendar.h"
#include "core/time/system_clock.h"

namespace kvillo {
namespace {

constexpr int kProjects = 25;
constexpr int kKeywordsPerProject = 6;
constexpr int kActivitiesPerDay = 600;
constexpr int kAnnotationsPerMonth = 300;

const char* const kWords[] = {"atlas",  "boreal", "cobalt",  "delta", "ember", "fjord",   "glacier",
                              "harbor", "indigo", "juniper", "krill", "lumen", "mistral", "nordic",
                              "orbit",  "polar",  "quartz",  "rune",  "saga",  "tundra",  "umbra",
                              "vega",   "willow", "xenon",   "yarrow"};

struct App {
    const char* name;
    const char* bundleID;
};
constexpr App kApps[] = {{"Firefox", "firefox"},
                         {"Code", "code"},
                         {"Terminal", "org.gnome.Terminal"},
                         {"Thunderbird", "thunderbird"},
                         {"Slack", "com.slack.Slack"},
                         {"Files", "org.gnome.Nautilus"},
                         {"LibreOffice Calc", "libreoffice-calc"},
                         {"Zoom", nullptr}};

std::string keyword(int project, int k) {
    return std::string(kWords[project]) + "-" + kWords[(project * 7 + k * 3 + 1) % kProjects];
}

// Titles as people see them: file names, tickets, mail subjects, some with
// a project's keyword, most with none, many with non-ASCII punctuation.
std::string titleFor(std::mt19937& random, const App& app) {
    std::uniform_int_distribution<int> pick(0, 99);
    int n = pick(random);
    std::string subject = n < 35 ? keyword(n % kProjects, n % kKeywordsPerProject)
                                 : std::string("notes ") + std::to_string(n);
    std::string name = app.name;
    if (name == "Code") {
        return subject + ".cpp — kvillo — Visual Studio Code";
    }
    if (name == "Firefox") {
        return "Pull request #" + std::to_string(n) + " · " + subject + " — Mozilla Firefox";
    }
    if (name == "Terminal") {
        return "kari@laptop: ~/src/" + subject;
    }
    if (name == "Thunderbird") {
        return "Re: Møte om " + subject + " – Innboks";
    }
    return subject + " | " + name;
}

class MonthOfWork {
public:
    explicit MonthOfWork(int days) {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "kvillo-bench-XXXXXX").string();
        folder_ = ::mkdtemp(pattern.data());
        database_ = std::make_unique<Database>(folder_ + "/activities.db");
        for (int p = 0; p < kProjects; ++p) {
            std::vector<std::string> keywords;
            for (int k = 0; k < kKeywordsPerProject; ++k) {
                keywords.push_back(keyword(p, k));
            }
            database_->saveProject(std::string("Project ") + kWords[p], keywords);
        }
        end_ = calendar::startOfDay(SystemClock().now());
        start_ = calendar::addDays(end_, -days);
        fill(days);
    }
    ~MonthOfWork() {
        database_.reset();
        std::filesystem::remove_all(folder_);
    }

    Database& database() { return *database_; }
    TimePoint start() const { return start_; }
    TimePoint end() const { return end_; }

private:
    void fill(int days) {
        sqlite3* db = nullptr;
        sqlite3_open((folder_ + "/activities.db").c_str(), &db);
        sqlite3_exec(db, "BEGIN;", nullptr, nullptr, nullptr);
        sqlite3_stmt* activity = nullptr;
        sqlite3_prepare_v2(db,
                           "INSERT INTO activities (app_name, bundle_id, title, start_time, "
                           "end_time) VALUES (?, ?, ?, ?, ?);",
                           -1, &activity, nullptr);
        sqlite3_stmt* annotation = nullptr;
        sqlite3_prepare_v2(db,
                           "INSERT INTO annotations (text, started_at, ended_at) VALUES (?, ?, ?);",
                           -1, &annotation, nullptr);
        std::mt19937 random(7384);
        std::uniform_int_distribution<int> app(0, std::size(kApps) - 1);
        std::uniform_int_distribution<int> length(5, 90);
        std::uniform_int_distribution<int> gap(0, 100);
        int annotationsPerDay = kAnnotationsPerMonth / 30;
        TimePoint day = start_;
        for (int d = 0; d < days; ++d, day = calendar::addDays(day, 1)) {
            TimePoint t = day + 8 * 3600;
            for (int a = 0; a < annotationsPerDay; ++a) {
                std::string text = a % 3 == 0 ? "Claude Code: /home/kari/src/" + keyword(a, d % 6)
                                              : "Jobber med " + keyword((d + a) % kProjects, a % 6);
                sqlite3_bind_text(annotation, 1, text.c_str(), -1, SQLITE_TRANSIENT);
                sqlite3_bind_double(annotation, 2, t + a * 3600);
                sqlite3_bind_double(annotation, 3, t + a * 3600 + 2400);
                sqlite3_step(annotation);
                sqlite3_reset(annotation);
            }
            for (int i = 0; i < kActivitiesPerDay; ++i) {
                const App& chosen = kApps[app(random)];
                std::string title = titleFor(random, chosen);
                TimePoint end = t + length(random);
                sqlite3_bind_text(activity, 1, chosen.name, -1, SQLITE_STATIC);
                if (chosen.bundleID) {
                    sqlite3_bind_text(activity, 2, chosen.bundleID, -1, SQLITE_STATIC);
                } else {
                    sqlite3_bind_null(activity, 2);
                }
                sqlite3_bind_text(activity, 3, title.c_str(), -1, SQLITE_TRANSIENT);
                sqlite3_bind_double(activity, 4, t);
                sqlite3_bind_double(activity, 5, end);
                sqlite3_step(activity);
                sqlite3_reset(activity);
                t = end + (gap(random) < 95 ? 0 : 300);
            }
        }
        sqlite3_finalize(activity);
        sqlite3_finalize(annotation);
        sqlite3_exec(db, "COMMIT;", nullptr, nullptr, nullptr);
        sqlite3_close(db);
    }

    std::string folder_;
    std::unique_ptr<Database> database_;
    TimePoint start_ = 0;
    TimePoint end_ = 0;
};

MonthOfWork& month() {
    static MonthOfWork data(30);
    return data;
}

MonthOfWork& year() {
    static MonthOfWork data(365);
    return data;
}

Report monthReport(const std::vector<Activity>& activities,
                   const std::vector<Annotation>& annotations,
                   const std::vector<Project>& projects) {
    return PeriodReport::analyse(activities, annotations, projects,
                                 {month().start(), month().end()}, {}, month().end());
}

void MonthReportWithReading(benchmark::State& state) {
    auto projects = month().database().fetchProjects();
    for (auto _ : state) {
        auto& database = month().database();
        auto report =
            monthReport(database.fetchActivities(month().start(), month().end()),
                        database.fetchAnnotations(month().start(), month().end()), projects);
        benchmark::DoNotOptimize(report);
    }
}
BENCHMARK(MonthReportWithReading)->Unit(benchmark::kMillisecond);

void MonthReportAnalysisOnly(benchmark::State& state) {
    auto projects = month().database().fetchProjects();
    auto activities = month().database().fetchActivities(month().start(), month().end());
    auto annotations = month().database().fetchAnnotations(month().start(), month().end());
    state.counters["activities"] = static_cast<double>(activities.size());
    for (auto _ : state) {
        auto report = monthReport(activities, annotations, projects);
        benchmark::DoNotOptimize(report);
    }
}
BENCHMARK(MonthReportAnalysisOnly)->Unit(benchmark::kMillisecond);

void YearTimesheetLines(benchmark::State& state) {
    year();  // built before timing starts
    for (auto _ : state) {
        auto lines = Timesheet::lines(year().database(), year().start(), year().end(), std::nullopt,
                                      year().end());
        benchmark::DoNotOptimize(lines);
        state.counters["lines"] = static_cast<double>(lines.size());
    }
}
BENCHMARK(YearTimesheetLines)->Unit(benchmark::kMillisecond);

void YearTimesheetAnalysisOnly(benchmark::State& state) {
    Database& db = year().database();
    auto annotations = db.fetchAnnotations(year().start(), year().end());
    auto projects = db.fetchProjects();
    auto activities = db.fetchActivities(year().start(), year().end());
    state.counters["activities"] = static_cast<double>(activities.size());
    for (auto _ : state) {
        auto lines =
            Timesheet::lines(activities, annotations, projects, std::nullopt, year().end());
        benchmark::DoNotOptimize(lines);
    }
}
BENCHMARK(YearTimesheetAnalysisOnly)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kvillo
