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

// The eleven tools' work and their text reports. Each handler takes the
// call's arguments (an object; a value of the wrong kind counts as missing)
// and throws DatabaseError, which the dispatcher reports as "Error: " + its
// text. Dates are calendar days in the local zone; a range covers whole
// days and at most the last 92 of them. One thread at a time (the server's).
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

    // The range named by args.from and args.to (inclusive days), or the
    // `defaultDays` up to to (default today).
    TimeRange parseRange(const Json& args, int defaultDays) const;

private:
    std::optional<TimePoint> parseDate(const Json& args, const char* key) const;

    Database& database_;
    const Clock& clock_;
};

}  // namespace kvillo
