#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/mcp/json_rpc.h"
#include "core/store/database.h"
#include "core/time/calendar.h"
#include "core/time/clock.h"

namespace kvillo {

// What a tool answers: one text for the assistant, and whether it is an error.
struct ToolResult {
    std::string text;
    bool isError = false;
};

// The whole days a tool reports on; `cut` when the asked-for start was moved
// up to keep the range within its longest.
struct DayRange : TimeRange {
    bool cut = false;
};

// The eleven tools' work and their text reports. Each handler takes the
// call's arguments (an object; a value of the wrong kind counts as missing)
// and throws DatabaseError, which the dispatcher reports as "Error: " + its
// text. Dates are calendar days in the local zone; a range covers whole
// days and at most the last 92 of them, and an answer for a range cut to
// that first says which days it covers. Date-times are written as the local
// clock with its UTC offset. Texts with a NUL character never get here (the
// dispatcher refuses them). One thread at a time per instance.
class McpTools {
public:
    // The database and clock must outlive the tools.
    McpTools(Database& database, const Clock& clock);

    ToolResult getActivities(const Json& args);
    ToolResult searchActivities(const Json& args);
    ToolResult getAppUsage(const Json& args);
    ToolResult getDailySummary(const Json& args);
    ToolResult getFocusSessions(const Json& args);
    ToolResult listProjects(const Json& args);
    ToolResult saveProject(const Json& args);
    ToolResult deleteProject(const Json& args);
    ToolResult getProjectTime(const Json& args);
    ToolResult annotate(const Json& args);
    ToolResult getAnnotations(const Json& args);

    // The reports the resources share with the tools: up to `limit`
    // activities of the day with its notes, and its time per application.
    std::string activitiesOfDay(TimePoint day, int limit);
    std::string usageOfDay(TimePoint day);

    // "30m", "1h", "1h30m", "90" (minutes) as seconds; none when nothing
    // positive can be read.
    static std::optional<Duration> parseDuration(std::string_view text);

    // How `to` defaults when the arguments have none.
    enum class MissingTo { today, fromsDay };

    // The range named by args.from and args.to (inclusive days), or the
    // `defaultDays` up to to; at most the last 92 days of it.
    DayRange parseRange(const Json& args, int defaultDays,
                        MissingTo missingTo = MissingTo::today) const;

private:
    std::optional<TimePoint> parseDate(const Json& args, const char* key) const;
    // A cut range's answer starts by saying which days it covers instead.
    static std::string noted(const DayRange& range, std::string text);
    std::string projectTime(const TimeRange& range);

    Database& database_;
    const Clock& clock_;
};

}  // namespace kvillo
