#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/localisation/language.h"
#include "core/records/activity.h"
#include "core/records/annotation.h"
#include "core/records/project.h"
#include "core/store/database.h"
#include "core/time/time_point.h"

namespace kvillo {

// One day's work on one project, as a timesheet lists it.
struct TimesheetLine {
    TimePoint date = 0;  // start of the day
    std::string project;
    double hours = 0;  // a multiple of 0.25, above 0
    std::string description;
    bool operator==(const TimesheetLine&) const = default;
};

// Timesheets for project accounting. Pure functions but for `lines`, which
// reads the store.
namespace Timesheet {

// How a task text is shown everywhere: a Claude Code task shows the last
// folder of its path ("Claude Code: /src/skarvelin/" is shown as
// "Claude Code · skarvelin"); other texts are shown as they are.
std::string displayTask(std::string_view text);

// One line per day and project over [from, to), by day then project name,
// for one project (exact name) or all. Hours are rounded to quarter hours
// and lines of zero are left out; an activity counts wholly to the day it
// starts on. The description is the day's task notes for the project, or
// failing those its three longest window titles. Throws DatabaseError.
std::vector<TimesheetLine> lines(Database& database, TimePoint from, TimePoint to,
                                 const std::optional<std::string>& project, TimePoint now);

// The same over records already read: annotations by ascending start,
// projects in database order.
std::vector<TimesheetLine> lines(const std::vector<Activity>& activities,
                                 const std::vector<Annotation>& annotations,
                                 const std::vector<Project>& projects,
                                 const std::optional<std::string>& project, TimePoint now);

// The CSV text for [from, to) without the byte order mark: labels in
// `language`, "," and "." for English, ";" and "," otherwise, rows ending
// in a line feed. The name and every line field but the date are always
// quoted, the total too; any other field only when it holds the separator,
// a quote or a line break.
std::string csv(const std::vector<TimesheetLine>& lines, std::string_view name, TimePoint from,
                TimePoint to, Language language);

// The byte order mark that starts a timesheet written to a file.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// The suggested file name: "Timeliste Skarvelin 2025-03.csv", or with
// "alle prosjekter" when no project is given.
std::string fileName(const std::optional<std::string>& project, TimePoint from, Language language);

}  // namespace Timesheet
}  // namespace kvillo
