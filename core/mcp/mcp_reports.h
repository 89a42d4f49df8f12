#pragma once

#include <string>
#include <vector>

#include "core/analysis/focus_session.h"
#include "core/records/activity.h"
#include "core/records/annotation.h"
#include "core/records/app_usage_summary.h"

namespace kvillo {

// The plain-text reports AI assistants read: short headed lists, one line
// per item, fixed English wording. Date-times are the user's local time with
// its UTC offset ("2024-11-05T10:30:00+01:00"); clock times within one day
// are local "HH:mm". Pure functions of their arguments and the current zone.
namespace McpReports {

// "59m" below an hour, else "1h 5m" (truncated to whole minutes).
std::string formatSeconds(Duration seconds);

std::string formatActivities(const std::vector<Activity>& activities);
// Open annotations are measured up to `now`.
std::string formatAnnotations(const std::vector<Annotation>& annotations, TimePoint now);
std::string formatUsage(const std::vector<AppUsageSummary>& summaries);
// Session times in the local zone.
std::string formatFocusSessions(const std::vector<FocusSession>& sessions, long long minMinutes);

}  // namespace McpReports
}  // namespace kvillo
