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

    std::vector<NamedTime> largestFirst() && {
        std::stable_sort(
            totals_.begin(), totals_.end(),
            [](const NamedTime& a, const NamedTime& b) { return a.seconds > b.seconds; });
        return std::move(totals_);
    }

private:
    std::vector<NamedTime> totals_;
    std::unordered_map<std::string, size_t> index_;
    size_t last_ = 0;
};

// Time per day and name; names are compared by address while counting and
// by text only for the few segments that result.
using DayTotals = std::map<std::pair<TimePoint, const std::string*>, Duration>;

std::vector<DaySegment> segmentsOf(const DayTotals& byDay) {
    std::vector<DaySegment> segments;
    segments.reserve(byDay.size());
    for (const auto& [key, seconds] : byDay) {
        segments.push_back({key.first, *key.second, seconds});
    }
    std::sort(segments.begin(), segments.end(), [](const DaySegment& a, const DaySegment& b) {
        return std::tie(a.day, a.name) < std::tie(b.day, b.name);
    });
    return segments;
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
        const std::string* project = search.find(annotation.text);
        tasks.push_back({*annotation.id, annotation.text,
                         project ? std::optional<std::string>(*project) : std::nullopt,
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

    DayTotals byDay;
    DayCursor days;
    const std::string unmatched(kUnmatched);
    const std::string active(kActiveTime);
    if (switches.projects) {
        Totals totals;
        for (const auto& [activity, project] : ProjectMatcher::assign(
                 activities, projects, annotations, ProjectMatcher::kDefaultCarryOver, now)) {
            const std::string* name = project ? project : &unmatched;
            Duration seconds = lengthOf(*activity, now);
            totals.add(*name, seconds);
            byDay[{days.startOfDay(activity->startTime), name}] += seconds;
        }
        report.projects = std::move(totals).largestFirst();
        auto unmatchedTotal = std::find_if(report.projects.begin(), report.projects.end(),
                                           [&](const NamedTime& t) { return t.name == unmatched; });
        if (unmatchedTotal != report.projects.end()) {
            report.unmatched = unmatchedTotal->seconds;
            report.projects.erase(unmatchedTotal);
        }
    } else {
        for (const auto& activity : activities) {
            byDay[{days.startOfDay(activity.startTime), &active}] += lengthOf(activity, now);
        }
    }
    report.segments = segmentsOf(byDay);

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
