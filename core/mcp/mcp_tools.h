#pragma once

#include <optional>
#include <string>

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

// The eleven tools' work and their text reports. Dates are calendar days in
// the local zone; a range covers whole days and at most the last 92 of them.
// One thread at a time (the server's).
class McpTools {
public:
    // The database and clock must outlive the tools.
    McpTools(Database& database, const Clock& clock);

    // Runs the named tool with `args` (an object). Throws DatabaseError,
    // which the caller reports as "Error: " + its text.
    ToolResult callTool(const std::string& name, const Json& args);

    // The reports the resources share with the tools.
    std::string activitiesOfDay(TimePoint day);
    std::string usageOfDay(TimePoint day);

    // "30m", "1h", "1h30m", "90" (minutes) as seconds; none when nothing
    // positive can be read.
    static std::optional<Duration> parseDuration(std::string_view text);

    // The range named by args.from and args.to (inclusive days), or the
    // `defaultDays` up to to (default today).
    TimeRange parseRange(const Json& args, int defaultDays) const;

private:
    std::optional<TimePoint> parseDate(const Json& args, const char* key) const;
    std::string dailySummary(TimeRange range);
    std::string projectTime(TimeRange range);
    ToolResult saveProject(const Json& args);
    ToolResult annotate(const Json& args);

    Database& database_;
    const Clock& clock_;
};

}  // namespace kvillo
