#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/analysis/focus_session.h"
#include "core/records/activity.h"
#include "core/records/annotation.h"
#include "core/records/project.h"
#include "core/settings/features.h"
#include "core/store/database.h"
#include "core/time/calendar.h"

namespace kvillo {

// The overview's periods; the label is the Norwegian key text.
enum class Period { day, week, month };
std::string_view labelKey(Period period);
calendar::Unit unitOf(Period period);

struct NamedTime {
    std::string name;
    Duration seconds = 0;
    bool operator==(const NamedTime&) const = default;
};

// One piece of a bar in the per-day chart.
struct DaySegment {
    TimePoint day = 0;
    std::string name;
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
    std::vector<NamedTime> projects{};  // largest first, without the unmatched time
    Duration unmatched = 0;
    std::vector<NamedTime> apps{};       // largest first
    std::vector<DaySegment> segments{};  // per day and project, in no order
    std::vector<TaskEntry> tasks{};      // newest first
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

// What the report's owner knows that the store does not.
struct ReportInputs {
    TimePoint now = 0;
    std::vector<Project> projects{};  // in database order
    // A switch missing here is read from the settings.
    std::map<Features::Key, bool> featureStates{};
};

// The computation behind the overview and the menu's day summary. Reads
// through the store, never the wall clock: `now` comes with the inputs.
// Safe to use from one thread at a time per instance.
class PeriodReport {
public:
    // The name under which unmatched time is totalled (shown localised).
    static constexpr std::string_view kUnmatched = "Uten prosjekt";

    PeriodReport(Database& database, const Features& features);

    // The report for [from, to). A failed read counts as no records.
    Report report(TimePoint from, TimePoint to, const ReportInputs& inputs) const;

    // The analysis alone, over records already read.
    Report analyse(const std::vector<Activity>& activities,
                   const std::vector<Annotation>& annotations, TimePoint from, TimePoint to,
                   const ReportInputs& inputs) const;

    // Total focus time of [from, to).
    Duration focusTotal(TimePoint from, TimePoint to, TimePoint now) const;

    // The day, ISO week or month containing `around`.
    static TimeRange range(Period period, TimePoint around);

    // "42 % av aktiv tid · ↑ 1t 05m fra forrige uke", comparing with the
    // period before; none when nothing was active.
    std::optional<std::string> focusDetail(const Report& report, Period period,
                                           TimePoint now) const;

    // The overview's heading for [from, to) in the language in force.
    std::string subtitle(Period period, TimePoint from, TimePoint to) const;

    // The anchor moved by `delta` periods.
    static TimePoint step(Period period, TimePoint anchor, int delta);

private:
    bool isOn(Features::Key key, const ReportInputs& inputs) const;

    Database& database_;
    const Features& features_;
};

}  // namespace kvillo
