#include "core/analysis/period_report.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <unordered_map>

#include "core/analysis/project_matcher.h"
#include "core/analysis/project_search.h"
#include "core/time/day_cursor.h"

namespace kvillo {
namespace {

Duration lengthOf(const Activity& activity, TimePoint now) {
    return activity.endTime.value_or(now) - activity.startTime;
}

std::vector<NamedTime> sortedLargestFirst(std::vector<NamedTime> totals) {
    std::stable_sort(totals.begin(), totals.end(),
                     [](const NamedTime& a, const NamedTime& b) { return a.seconds > b.seconds; });
    return totals;
}

// Totals by name, kept in the order names first appear so that equal
// totals sort the same way every time. Runs of the same name (an app in
// front several times in a row) skip the lookup.
class Totals {
public:
    void add(const std::string& name, Duration seconds) {
        if (last_ == totals_.size() || totals_[last_].name != name) {
            auto [found, inserted] = index_.try_emplace(name, totals_.size());
            if (inserted) {
                totals_.push_back({name, 0});
            }
            last_ = found->second;
        }
        totals_[last_].seconds += seconds;
    }

    std::vector<NamedTime> largestFirst() && { return sortedLargestFirst(std::move(totals_)); }

private:
    std::vector<NamedTime> totals_;
    std::unordered_map<std::string, size_t> index_;
    size_t last_ = 0;
};

// Time per project, the unmatched time and the per-day segments. Counted by
// the project's place in the list, never by name: a project may be called
// what the unmatched time is shown as.
void addProjectTime(Report& report, const std::vector<Activity>& activities,
                    const std::vector<Annotation>& annotations,
                    const std::vector<Project>& projects, TimePoint now) {
    std::vector<std::optional<Duration>> byProject(projects.size());
    // None, the unmatched time, orders before every project.
    std::map<std::pair<TimePoint, std::optional<size_t>>, Duration> byDay;
    DayCursor days;
    for (const auto& [activity, project] : ProjectMatcher::assign(
             activities, projects, annotations, ProjectMatcher::kDefaultCarryOver, now)) {
        Duration seconds = lengthOf(*activity, now);
        if (project) {
            byProject[*project] = byProject[*project].value_or(0) + seconds;
        } else {
            report.unmatched += seconds;
        }
        byDay[{days.startOfDay(activity->startTime), project}] += seconds;
    }

    std::vector<NamedTime> totals;
    for (size_t i = 0; i < projects.size(); ++i) {
        if (byProject[i]) {
            totals.push_back({projects[i].name, *byProject[i]});
        }
    }
    report.projects = sortedLargestFirst(std::move(totals));

    for (const auto& [key, seconds] : byDay) {
        const auto& [day, project] = key;
        report.segments.push_back(
            project ? DaySegment{day, DaySegment::Kind::project, projects[*project].name, seconds}
                    : DaySegment{day, DaySegment::Kind::unmatched, {}, seconds});
    }
    // Each day's unmatched time goes after its projects.
    std::stable_sort(report.segments.begin(), report.segments.end(),
                     [](const DaySegment& a, const DaySegment& b) {
                         return std::tie(a.day, a.kind) < std::tie(b.day, b.kind);
                     });
}

// With projects off the chart shows each day's whole time.
void addActiveTimeByDay(Report& report, const std::vector<Activity>& activities, TimePoint now) {
    std::map<TimePoint, Duration> byDay;
    DayCursor days;
    for (const auto& activity : activities) {
        byDay[days.startOfDay(activity.startTime)] += lengthOf(activity, now);
    }
    for (const auto& [day, seconds] : byDay) {
        report.segments.push_back({day, DaySegment::Kind::active, {}, seconds});
    }
}

std::vector<TaskEntry> tasksOf(const std::vector<Annotation>& annotations,
                               const std::vector<Project>& projects, TimePoint now) {
    ProjectSearch search(projects);
    std::vector<TaskEntry> tasks;
    for (const auto& annotation : annotations) {
        if (!annotation.id) {
            continue;
        }
        Duration seconds = std::max(0.0, annotation.endedAt.value_or(now) - annotation.startedAt);
        if (!tasks.empty() && tasks.back().text == annotation.text &&
            calendar::startOfDay(tasks.back().start) ==
                calendar::startOfDay(annotation.startedAt)) {
            tasks.back().seconds += seconds;
            tasks.back().end = annotation.endedAt;
            continue;
        }
        auto project = search.find(annotation.text);
        tasks.push_back({*annotation.id, annotation.text,
                         project ? std::optional(projects[*project].name) : std::nullopt,
                         annotation.startedAt, annotation.endedAt, seconds});
    }
    std::reverse(tasks.begin(), tasks.end());
    return tasks;
}

}  // namespace

calendar::Unit unitOf(Period period) {
    switch (period) {
        case Period::day:
            return calendar::Unit::day;
        case Period::week:
            return calendar::Unit::week;
        case Period::month:
            return calendar::Unit::month;
    }
    return calendar::Unit::day;
}

Duration TaskDay::total() const {
    Duration sum = 0;
    for (const auto& row : rows) {
        sum += row.seconds;
    }
    return sum;
}

std::vector<TaskDay> TaskDay::group(const std::vector<TaskEntry>& entries) {
    std::map<TimePoint, TaskDay, std::greater<>> days;
    for (const auto& entry : entries) {
        TimePoint day = calendar::startOfDay(entry.start);
        TaskDay& taskDay = days.try_emplace(day, TaskDay{day}).first->second;
        auto row = std::find_if(taskDay.rows.begin(), taskDay.rows.end(),
                                [&](const Row& r) { return r.text == entry.text; });
        if (row == taskDay.rows.end()) {
            taskDay.rows.push_back(
                {entry.text, entry.project, entry.start, entry.end, entry.seconds, 1});
            continue;
        }
        row->seconds += entry.seconds;
        row->sessions += 1;
        row->first = std::min(row->first, entry.start);
        row->last =
            row->last && entry.end ? std::optional(std::max(*row->last, *entry.end)) : std::nullopt;
    }
    std::vector<TaskDay> result;
    result.reserve(days.size());
    for (auto& [day, taskDay] : days) {
        std::stable_sort(taskDay.rows.begin(), taskDay.rows.end(),
                         [](const Row& a, const Row& b) { return a.seconds > b.seconds; });
        result.push_back(std::move(taskDay));
    }
    return result;
}

namespace PeriodReport {

Report analyse(const std::vector<Activity>& activities, const std::vector<Annotation>& annotations,
               const std::vector<Project>& projects, TimeRange range, ReportSwitches switches,
               TimePoint now) {
    Report report{.from = range.start, .to = range.end};

    Totals apps;
    for (const auto& activity : activities) {
        Duration seconds = lengthOf(activity, now);
        report.active += seconds;
        apps.add(activity.appName, seconds);
    }
    report.apps = std::move(apps).largestFirst();

    if (switches.focusSessions) {
        report.focusSessions = FocusSession::detect(activities, FocusSession::kDefaultMinDuration,
                                                    FocusSession::kDefaultMaxGap, now);
        for (const auto& session : report.focusSessions) {
            report.focus += session.duration();
        }
    }

    if (switches.projects) {
        addProjectTime(report, activities, annotations, projects, now);
    } else {
        addActiveTimeByDay(report, activities, now);
    }

    if (switches.workingOn) {
        report.tasks = tasksOf(annotations, projects, now);
    }
    return report;
}

Duration focusTotal(const std::vector<Activity>& activities, TimePoint now) {
    Duration total = 0;
    for (const auto& session : FocusSession::detect(activities, FocusSession::kDefaultMinDuration,
                                                    FocusSession::kDefaultMaxGap, now)) {
        total += session.duration();
    }
    return total;
}

TimeRange range(Period period, TimePoint around) {
    return calendar::rangeOf(unitOf(period), around);
}

TimeRange previousRange(Period period, TimePoint from) {
    return {calendar::add(unitOf(period), from, -1), from};
}

TimePoint step(Period period, TimePoint anchor, int delta) {
    return calendar::add(unitOf(period), anchor, delta);
}

}  // namespace PeriodReport
}  // namespace kvillo
