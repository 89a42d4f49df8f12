#include "core/mcp/mcp_reports.h"

#include <cstdint>

#include "core/text/join.h"
#include "core/time/calendar.h"
#include "core/time/iso8601.h"

namespace kvillo::McpReports {
namespace {

constexpr const char* kBullet = "\u2022 ";
constexpr const char* kDash = " \u2013 ";
constexpr const char* kArrow = " \u2192 ";

}  // namespace

std::string formatSeconds(Duration seconds) {
    auto whole = static_cast<std::int64_t>(seconds);
    std::int64_t minutes = whole / 60;
    if (whole < 3600) {
        return std::to_string(minutes) + "m";
    }
    return std::to_string(minutes / 60) + "h " + std::to_string(minutes % 60) + "m";
}

std::string formatActivities(const std::vector<Activity>& activities) {
    if (activities.empty()) {
        return "No activities found.";
    }
    std::vector<std::string> lines{"Activities (" + std::to_string(activities.size()) +
                                   " sessions):"};
    for (const auto& activity : activities) {
        std::string line = kBullet + activity.appName;
        if (activity.title) {
            line += kDash + *activity.title;
        }
        line += "  [" + iso8601::formatLocal(activity.startTime) + kArrow +
                (activity.endTime ? iso8601::formatLocal(*activity.endTime) : "ongoing") + "]  (" +
                activity.formattedDuration() + ")";
        lines.push_back(std::move(line));
    }
    return join(lines, "\n");
}

std::string formatAnnotations(const std::vector<Annotation>& annotations, TimePoint now) {
    if (annotations.empty()) {
        return "No annotations found.";
    }
    std::vector<std::string> lines{"Annotations (" + std::to_string(annotations.size()) + "):"};
    for (const auto& annotation : annotations) {
        lines.push_back(
            kBullet + annotation.text + "  [" + iso8601::formatLocal(annotation.startedAt) +
            kArrow + (annotation.endedAt ? iso8601::formatLocal(*annotation.endedAt) : "ongoing") +
            "]  (" + annotation.formattedDuration(now) + ")");
    }
    return join(lines, "\n");
}

std::string formatUsage(const std::vector<AppUsageSummary>& summaries) {
    if (summaries.empty()) {
        return "No usage data found.";
    }
    std::vector<std::string> lines{"App usage summary (" + std::to_string(summaries.size()) +
                                   " apps):"};
    for (const auto& summary : summaries) {
        lines.push_back(kBullet + summary.appName + ": " + summary.formattedDuration() +
                        " across " + std::to_string(summary.sessionCount) + " session(s)");
    }
    return join(lines, "\n");
}

std::string formatFocusSessions(const std::vector<FocusSession>& sessions, long long minMinutes) {
    if (sessions.empty()) {
        return "No focus sessions of " + std::to_string(minMinutes) + "+ minutes found.";
    }
    Duration total = 0;
    for (const auto& session : sessions) {
        total += session.duration();
    }
    std::vector<std::string> lines{"Focus sessions (" + std::to_string(sessions.size()) +
                                   ", total " + formatSeconds(total) + "):"};
    for (const auto& session : sessions) {
        std::string apps;
        for (size_t i = 0; i < session.apps.size() && i < 3; ++i) {
            if (i > 0) {
                apps += ", ";
            }
            apps += session.apps[i].first + " (" + formatSeconds(session.apps[i].second) + ")";
        }
        lines.push_back(kBullet + calendar::format(session.start, "EEE yyyy-MM-dd HH:mm") +
                        "\u2013" + calendar::format(session.end, "HH:mm") + " (" +
                        formatSeconds(session.duration()) + ", " +
                        std::to_string(session.switches) + " switches): " + apps);
    }
    return join(lines, "\n");
}

}  // namespace kvillo::McpReports
