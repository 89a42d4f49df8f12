// Every tool through the dispatcher at its largest range on five years of
// work (547,800 activities, 20 task notes a day, 25 projects of 3 keywords):
// 92 days for the ranged tools, the whole log for a search. The server
// answers nobody else meanwhile, so each should stay well under 250 ms.
#include <benchmark/benchmark.h>

#include <functional>
#include <memory>
#include <string>

#include "bench/store/synthetic_log.h"
#include "core/mcp/mcp_dispatcher.h"
#include "core/time/calendar.h"
#include "tests/support/fake_clock.h"

namespace kvillo {
namespace {

constexpr bench::LogShape kFiveYears{.days = 1826,
                                     .activitiesPerDay = 300,
                                     .annotationsPerDay = 20,
                                     .projects = 25,
                                     .keywordsPerProject = 3};

// A copy of the cached log (some tools write), with the clock at the end of
// its last working day.
class FiveYears {
public:
    FiveYears()
        : database_(std::make_unique<Database>(
              folder_.copyOf(bench::cachedLog(kFiveYears), "activities.db"))),
          features_(folder_.file("settings.json"), [] { return std::string("Kari"); }),
          clock_(bench::lastDay(kFiveYears) + 18 * 3600),
          dispatcher_(*database_, features_, clock_) {}

    McpDispatcher& dispatcher() { return dispatcher_; }
    // The last day and the first of the 92 up to it, as the tools read dates.
    std::string lastDate() const { return calendar::format(clock_.now(), "yyyy-MM-dd"); }
    std::string firstDate() const {
        return calendar::format(calendar::addDays(clock_.now(), -91), "yyyy-MM-dd");
    }

private:
    bench::ScratchFolder folder_;
    std::unique_ptr<Database> database_;
    Features features_;
    testing::FakeClock clock_;
    McpDispatcher dispatcher_;
};

FiveYears& fiveYears() {
    static FiveYears data;
    return data;
}

void callTool(benchmark::State& state, const std::string& tool, const Json& arguments) {
    std::string body = Json{{"jsonrpc", "2.0"},
                            {"id", 1},
                            {"method", "tools/call"},
                            {"params", {{"name", tool}, {"arguments", arguments}}}}
                           .dump();
    McpDispatcher& dispatcher = fiveYears().dispatcher();  // built before timing
    for (auto _ : state) {
        auto answer = dispatcher.handleBody(body);
        benchmark::DoNotOptimize(answer);
        auto result = Json::parse(answer.value_or("{}"))["result"];
        if (!result.is_object() || result.value("isError", true)) {
            state.SkipWithError(answer.value_or("no answer").c_str());
            break;
        }
    }
}

const bool registered = [] {
    auto range = [] {
        return Json{{"from", fiveYears().firstDate()}, {"to", fiveYears().lastDate()}};
    };
    auto day = [] { return Json{{"date", fiveYears().lastDate()}}; };
    const struct {
        const char* name;
        const char* tool;
        std::function<Json()> arguments;
    } calls[] = {
        {"Tool/get_activities/day", "get_activities",
         [&] {
             return Json{{"date", fiveYears().lastDate()}, {"limit", 1000}};
         }},
        {"Tool/search_activities/no_match", "search_activities",
         [] {
             return Json{{"query", "no such window"}};
         }},
        {"Tool/search_activities/keyword", "search_activities",
         [] {
             return Json{{"query", "rune-"}};
         }},
        {"Tool/get_app_usage/92d", "get_app_usage", range},
        {"Tool/get_daily_summary/92d", "get_daily_summary", range},
        {"Tool/get_focus_sessions/92d", "get_focus_sessions", range},
        {"Tool/get_project_time/92d", "get_project_time", range},
        {"Tool/get_annotations/day", "get_annotations", day},
        {"Tool/list_projects", "list_projects", [] { return Json::object(); }},
        {"Tool/save_project", "save_project",
         [] {
             return Json{{"name", "Project atlas"},
                         {"keywords", {"atlas-boreal", "atlas-cobalt", "atlas-delta"}}};
         }},
        {"Tool/delete_project/absent", "delete_project",
         [] {
             return Json{{"name", "No such project"}};
         }},
        {"Tool/annotate", "annotate",
         [] {
             return Json{{"text", "Benchmarking the store"}, {"duration", "30m"}};
         }},
    };
    for (const auto& call : calls) {
        benchmark::RegisterBenchmark(call.name, [tool = std::string(call.tool),
                                                 arguments =
                                                     call.arguments](benchmark::State& state) {
            callTool(state, tool, arguments());
        })->Unit(benchmark::kMillisecond);
    }
    return true;
}();

}  // namespace
}  // namespace kvillo
