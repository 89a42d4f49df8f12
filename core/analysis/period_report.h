#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/analysis/focus_session.h"
#include "core/records/activity.h"
#include "core/records/annotation.h"
#include "core/records/project.h"
#include "core/time/calendar.h"

namespace kvillo {

// The overview's periods.
enum class Period { day, week, month };
calendar::Unit unitOf(Period period);

struct NamedTime {
    std::string name;
    Duration seconds = 0;
    bool operator==(const NamedTime&) const = default;
};

// One piece of a bar in the per-day chart: a project's time, the time no
// project claimed, or, with projects switched off, all of the day's time.
struct DaySegment {
    enum class Kind { project, unmatched, active };
    TimePoint day = 0;
    Kind kind = Kind::project;
    std::string project{};  // the project's name; empty for the other kinds
    Duration seconds = 0;
    bool operator==(const DaySegment&) const = default;
};

// One noted task; consecutive notes with the same text on one day are one
// entry.
struct TaskEntry {
    std::int64_t id = 0;  // the first annotation's id
    std::string text;
    std::optional<std::string> project{};
    TimePoint start = 0;
    std::optional<TimePoint> end{};  // absent while running
    Duration seconds = 0;
    bool operator==(const TaskEntry&) const = default;
};

struct Report {
    TimePoint from = 0;
    TimePoint to = 0;
    Duration active = 0;  // all activities, open ones up to now
    Duration focus = 0;   // the focus sessions' total
    std::vector<FocusSession> focusSessions{};
    std::vector<NamedTime> projects{};   // largest first, without the unmatched time
    Duration unmatched = 0;              // the time no project claimed
    std::vector<NamedTime> apps{};       // largest first
    std::vector<DaySegment> segments{};  // by day, projects before the unmatched time
    std::vector<TaskEntry> tasks{};      // newest first
    bool operator==(const Report&) const = default;
};

// The tasks of one day as the overview lists them: one row per text.
struct TaskDay {
    struct Row {
        std::string text;
        std::optional<std::string> project{};
        TimePoint first = 0;
        std::optional<TimePoint> last{};  // absent while one of its entries runs
        Duration seconds = 0;
        int sessions = 0;  // entries merged into the row
        bool operator==(const Row&) const = default;
    };

    TimePoint day = 0;
    std::vector<Row> rows{};  // largest first

    Duration total() const;

    // Groups entries by the day they start on, newest day first.
    static std::vector<TaskDay> group(const std::vector<TaskEntry>& entries);
};

// Which of the report's optional figures to compute: the owner's switches,
// resolved by the owner.
struct ReportSwitches {
    bool focusSessions = true;
    bool projects = true;
    bool workingOn = true;
};

// The computation behind the overview and the menu's day summary: records
// and `now` in, figures out. Reads neither the store, the settings nor the
// clock, and writes no text. Pure; safe from any thread.
namespace PeriodReport {

// The report for `range` over its records: activities and annotations as
// the store gives them (annotations by ascending start), projects in
// database order. Open records are measured up to `now`.
Report analyse(const std::vector<Activity>& activities, const std::vector<Annotation>& annotations,
               const std::vector<Project>& projects, TimeRange range, ReportSwitches switches,
               TimePoint now);

// Total focus time of the activities.
Duration focusTotal(const std::vector<Activity>& activities, TimePoint now);

// The day, ISO week or month containing `around`.
TimeRange range(Period period, TimePoint around);

// The period before the one starting at `from`, which the focus detail
// compares with.
TimeRange previousRange(Period period, TimePoint from);

// The anchor moved by `delta` periods.
TimePoint step(Period period, TimePoint anchor, int delta);

}  // namespace PeriodReport
}  // namespace kvillo
