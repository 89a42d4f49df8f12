#include "core/mcp/mcp_tools.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <unordered_map>

#include "core/analysis/focus_session.h"
#include "core/analysis/project_matcher.h"
#include "core/mcp/answer_caps.h"
#include "core/mcp/mcp_reports.h"
#include "core/records/duration_text.h"
#include "core/text/join.h"
#include "core/text/trim.h"
#include "core/time/day_cursor.h"
#include "core/time/iso8601.h"

namespace kvillo {
namespace {

constexpr int kMaxRangeDays = 92;
constexpr double kMaxBackdating = 10 * 366 * 86400.0;
constexpr int kAnnotationLimit = 100;
constexpr const char* kNoProjects = "No projects yet. Use save_project to add one.";
constexpr const char* kNoProject = "No project";

std::optional<std::string> stringArgument(const Json& args, const char* key) {
    auto found = args.find(key);
    if (found == args.end() || !found->is_string()) {
        return std::nullopt;
    }
    return found->get<std::string>();
}

// Integers only; a value beyond 32 bits is clamped, as it could only be a
// mistake and must not wrap.
std::optional<long long> integerArgument(const Json& args, const char* key) {
    auto found = args.find(key);
    if (found == args.end() || !found->is_number_integer()) {
        return std::nullopt;
    }
    if (found->is_number_unsigned()) {
        return static_cast<long long>(
            std::min<std::uint64_t>(found->get<std::uint64_t>(), INT32_MAX));
    }
    return std::clamp<long long>(found->get<std::int64_t>(), INT32_MIN, INT32_MAX);
}

}  // namespace

McpTools::McpTools(Database& database, const Clock& clock) : database_(database), clock_(clock) {}

std::optional<TimePoint> McpTools::parseDate(const Json& args, const char* key) const {
    auto text = stringArgument(args, key);
    if (!text) {
        return std::nullopt;
    }
    auto date = calendar::parseDate(*text);
    return date ? calendar::startOfDate(*date) : std::nullopt;
}

DayRange McpTools::parseRange(const Json& args, int defaultDays, MissingTo missingTo) const {
    auto first = parseDate(args, "from");
    std::optional<TimePoint> last = parseDate(args, "to");
    // Decided before any cut, so that a range of one day is never moved.
    if (missingTo == MissingTo::fromsDay && !args.contains("to")) {
        last = first;
    }
    TimePoint lastDay = calendar::startOfDay(last.value_or(clock_.now()));
    TimePoint to = calendar::addDays(lastDay, 1);
    TimePoint from = first ? *first : calendar::addDays(to, -defaultDays);
    if (!(from < to)) {
        from = lastDay;
    }
    TimePoint earliest = calendar::addDays(to, -kMaxRangeDays);
    DayRange range;
    range.start = std::max(from, earliest);
    range.end = to;
    range.cut = from < earliest;
    return range;
}

std::string McpTools::noted(const DayRange& range, std::string text) {
    if (!range.cut) {
        return text;
    }
    return "Showing " + calendar::format(range.start, "yyyy-MM-dd") + " to " +
           calendar::format(calendar::addDays(range.end, -1), "yyyy-MM-dd") + " (at most " +
           std::to_string(kMaxRangeDays) + " days).\n" + std::move(text);
}

std::optional<Duration> McpTools::parseDuration(std::string_view input) {
    // Blanks and anything else unknown are skipped, so no trimming is needed.
    double total = 0;
    std::string number;
    auto read = [&number]() -> std::optional<double> {
        if (number.empty() || number.size() > 15) {
            return std::nullopt;
        }
        return static_cast<double>(std::stoll(number));
    };
    for (char c : input) {
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
        if (c >= '0' && c <= '9') {
            number += c;
        } else if (c == 'h' || c == 'm' || c == 's') {
            if (auto value = read()) {
                total += *value * (c == 'h' ? 3600 : c == 'm' ? 60 : 1);
                number.clear();
            }
        }
    }
    if (auto value = read(); value && total == 0) {
        total = *value * 60;
    }
    if (total > 0) {
        // Backdating by more than a few years is a mistake, and a larger
        // number would overflow every date computed from it.
        return std::min(total, kMaxBackdating);
    }
    return std::nullopt;
}

std::string McpTools::activitiesOfDay(TimePoint day, int limit) {
    std::string text = McpReports::formatActivities(database_.fetchActivitiesOn(day, limit));
    auto annotations = database_.fetchAnnotationsOn(day, kAnnotationLimit);
    if (!annotations.empty()) {
        text += "\n\n" + McpReports::formatAnnotations(annotations, clock_.now());
    }
    return text;
}

std::string McpTools::usageOfDay(TimePoint day) {
    return McpReports::formatUsage(database_.appUsageOn(day));
}

ToolResult McpTools::getActivities(const Json& args) {
    TimePoint day = parseDate(args, "date").value_or(clock_.now());
    return {activitiesOfDay(day, static_cast<int>(integerArgument(args, "limit").value_or(100)))};
}

ToolResult McpTools::searchActivities(const Json& args) {
    auto query = stringArgument(args, "query");
    if (!query) {
        return {"Error: 'query' is required", true};
    }
    int limit = static_cast<int>(integerArgument(args, "limit").value_or(50));
    return {McpReports::formatActivities(database_.searchActivities(*query, limit))};
}

ToolResult McpTools::getAppUsage(const Json& args) {
    // Any "from", even one that cannot be read, asks for a range.
    if (args.contains("from")) {
        auto range = parseRange(args, 1);
        return {noted(range, McpReports::formatUsage(database_.appUsage(range.start, range.end)))};
    }
    return {usageOfDay(parseDate(args, "date").value_or(clock_.now()))};
}

ToolResult McpTools::getFocusSessions(const Json& args) {
    auto range = parseRange(args, 1, MissingTo::fromsDay);
    long long minMinutes = integerArgument(args, "min_minutes").value_or(25);
    long long maxGapMinutes = integerArgument(args, "max_gap_minutes").value_or(2);
    auto sessions = FocusSession::detect(database_.fetchActivities(range.start, range.end),
                                         static_cast<double>(minMinutes) * 60,
                                         static_cast<double>(maxGapMinutes) * 60, clock_.now());
    return {noted(range, McpReports::formatFocusSessions(sessions, minMinutes))};
}

ToolResult McpTools::listProjects(const Json&) {
    auto projects = database_.fetchProjects();
    if (projects.empty()) {
        return {kNoProjects};
    }
    std::vector<std::string> lines{"Projects (" + std::to_string(projects.size()) + "):"};
    for (const auto& project : projects) {
        std::string line = "\u2022 " + project.name;
        if (!project.keywords.empty()) {
            line += " \u2013 keywords: " + join(project.keywords, ", ");
        }
        lines.push_back(line);
    }
    return {join(lines, "\n")};
}

ToolResult McpTools::deleteProject(const Json& args) {
    std::string project = stringArgument(args, "name").value_or("");
    if (database_.deleteProject(project)) {
        return {"Deleted project " + project + "."};
    }
    return {"No project named " + project + "."};
}

ToolResult McpTools::getAnnotations(const Json& args) {
    const TimePoint now = clock_.now();
    TimePoint day = parseDate(args, "date").value_or(now);
    return {
        McpReports::formatAnnotations(database_.fetchAnnotationsOn(day, kAnnotationLimit), now)};
}

ToolResult McpTools::saveProject(const Json& args) {
    std::string name(trim(stringArgument(args, "name").value_or("")));
    if (name.empty()) {
        return {"Error: 'name' is required", true};
    }
    std::vector<std::string> keywords;
    if (auto list = args.find("keywords"); list != args.end() && list->is_array()) {
        for (const auto& element : *list) {
            if (!element.is_string()) {
                continue;
            }
            std::string keyword(trim(element.get_ref<const std::string&>()));
            if (!keyword.empty() && keyword.find(',') == std::string::npos) {
                keywords.push_back(std::move(keyword));
            }
        }
    }
    database_.saveProject(name, keywords);
    if (keywords.empty()) {
        return {"Saved project " + name + "."};
    }
    return {"Saved project " + name + " with keywords: " + join(keywords, ", ") + "."};
}

ToolResult McpTools::annotate(const Json& args) {
    const TimePoint now = clock_.now();
    std::string text(trim(stringArgument(args, "text").value_or("")));
    if (text.empty()) {
        database_.endCurrentAnnotation(now);
        return {"Ended current annotation."};
    }
    TimePoint start = now;
    if (auto duration = stringArgument(args, "duration")) {
        if (auto seconds = parseDuration(*duration)) {
            start = now - *seconds;
        }
    }
    database_.insertAnnotation(Annotation{.text = text, .startedAt = start});
    return {"Annotation started: " + text + " (since " + iso8601::formatLocal(start) + ")"};
}

ToolResult McpTools::getDailySummary(const Json& args) {
    const DayRange range = parseRange(args, 7);
    std::vector<std::string> lines{"Daily summary:"};
    Duration grandTotal = 0;
    // Read once for the whole range (oldest first): each day's own query
    // would walk every older note again.
    const auto annotations = database_.fetchAnnotations(range.start, range.end);
    // Each note is repeated for every day it overlaps, so old long notes could
    // make a report of gigabytes: building stops once past the answer cap,
    // which the dispatcher then cuts at a line.
    size_t length = 0;
    for (TimePoint day = range.start; day < range.end && length <= AnswerCaps::kMaxAnswerBytes;
         day = calendar::addDays(day, 1)) {
        const TimePoint nextDay = calendar::addDays(day, 1);
        const size_t firstLine = lines.size();
        auto usage = database_.appUsage(day, nextDay);
        Duration dayTotal = 0;
        for (const auto& summary : usage) {
            dayTotal += summary.totalDuration;
        }
        lines.emplace_back();
        lines.push_back(calendar::format(day, "EEE yyyy-MM-dd") + " \u2013 active " +
                        McpReports::formatSeconds(dayTotal));
        if (usage.empty()) {
            lines.emplace_back("  (no activity)");
        } else {
            std::vector<std::string> top;
            for (size_t i = 0; i < usage.size() && i < 3; ++i) {
                top.push_back(usage[i].appName + " " +
                              durationText(usage[i].totalDuration, MinuteForm::withoutSeconds));
            }
            lines.push_back("  Top apps: " + join(top, ", "));
        }
        std::vector<const Annotation*> notes;  // the day's latest notes, oldest first
        for (const auto& note : annotations) {
            if (note.startedAt < nextDay && (!note.endedAt || *note.endedAt > day)) {
                notes.push_back(&note);
            }
        }
        if (notes.size() > static_cast<size_t>(kAnnotationLimit)) {
            notes.erase(notes.begin(), notes.end() - kAnnotationLimit);
        }
        if (!notes.empty()) {
            std::string workedOn = "  Worked on: ";
            for (size_t i = 0;
                 i < notes.size() && length + workedOn.size() <= AnswerCaps::kMaxAnswerBytes; ++i) {
                workedOn += i > 0 ? "; " : "";
                workedOn += notes[i]->text;
            }
            lines.push_back(std::move(workedOn));
        }
        for (size_t i = firstLine; i < lines.size(); ++i) {
            length += lines[i].size() + 1;
        }
        grandTotal += dayTotal;
    }
    lines.emplace_back();
    lines.push_back("Total active time: " + McpReports::formatSeconds(grandTotal));
    return {noted(range, join(lines, "\n"))};
}

ToolResult McpTools::getProjectTime(const Json& args) {
    const DayRange range = parseRange(args, 7);
    return {noted(range, projectTime(range))};
}

std::string McpTools::projectTime(const TimeRange& range) {
    auto projects = database_.fetchProjects();
    if (projects.empty()) {
        return kNoProjects;
    }
    const TimePoint now = clock_.now();
    auto activities = database_.fetchActivities(range.start, range.end);
    if (activities.empty()) {
        return "No activity in this period.";
    }
    auto annotations = database_.fetchAnnotations(range.start, range.end);

    struct Totals {
        std::optional<size_t> project;  // the place in `projects`; none: no project
        Duration total = 0;
        std::map<TimePoint, Duration> days{};
        std::vector<std::pair<std::string, Duration>> titles{};
        std::unordered_map<std::string, size_t> titleIndex{};
    };
    std::vector<Totals> totals;  // in order of first appearance
    std::map<std::optional<size_t>, size_t> index;
    DayCursor days;
    for (const auto& [activity, project] : ProjectMatcher::assign(
             activities, projects, annotations, ProjectMatcher::kDefaultCarryOver, now)) {
        auto [found, inserted] = index.try_emplace(project, totals.size());
        if (inserted) {
            totals.push_back({project});
        }
        Totals& entry = totals[found->second];
        Duration seconds = activity->endTime.value_or(now) - activity->startTime;
        entry.total += seconds;
        entry.days[days.startOfDay(activity->startTime)] += seconds;
        const std::string& title = activity->title ? *activity->title : activity->appName;
        auto [titleAt, newTitle] = entry.titleIndex.try_emplace(title, entry.titles.size());
        if (newTitle) {
            entry.titles.emplace_back(title, 0);
        }
        entry.titles[titleAt->second].second += seconds;
    }
    // The time no project claimed comes last, whatever its size.
    std::stable_sort(totals.begin(), totals.end(), [](const Totals& a, const Totals& b) {
        if (a.project.has_value() != b.project.has_value()) {
            return a.project.has_value();
        }
        return a.total > b.total;
    });

    std::vector<std::string> lines{"Time per project:"};
    for (auto& entry : totals) {
        lines.emplace_back();
        lines.push_back((entry.project ? projects[*entry.project].name : kNoProject) + ": " +
                        McpReports::formatSeconds(entry.total));
        std::vector<std::string> dayTexts;
        for (const auto& [day, seconds] : entry.days) {
            dayTexts.push_back(calendar::format(day, "EEE MM-dd") + " " +
                               McpReports::formatSeconds(seconds));
        }
        lines.push_back("  Days: " + join(dayTexts, ", "));
        std::stable_sort(entry.titles.begin(), entry.titles.end(),
                         [](const auto& a, const auto& b) { return a.second > b.second; });
        std::vector<std::string> titleTexts;
        for (size_t i = 0; i < entry.titles.size() && i < 5; ++i) {
            titleTexts.push_back(entry.titles[i].first + " " +
                                 McpReports::formatSeconds(entry.titles[i].second));
        }
        lines.push_back("  Top titles: " + join(titleTexts, "; "));
    }
    return join(lines, "\n");
}

}  // namespace kvillo
