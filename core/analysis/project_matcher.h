#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/records/activity.h"
#include "core/records/annotation.h"
#include "core/records/project.h"
#include "core/time/time_point.h"

namespace kvillo {

// An activity and the project its time belongs to. No project is an
// absence, never a name: a project may be called anything, "No project"
// included.
struct ProjectAssignment {
    const Activity* activity = nullptr;  // into the activities given to `assign`
    std::optional<size_t> project{};     // the place in the projects given, or none
};

// The one rule by which logged time is attributed to projects. Pure; no
// state between calls.
namespace ProjectMatcher {

// How long after it began a Claude Code task still claims activities.
inline constexpr Duration kClaudeCodeLimit = 2700;
// The carry-over every caller but the switch prompt uses.
inline constexpr Duration kDefaultCarryOver = 600;

// Words that mark an application as a developer tool (lower case); only
// those take their project from a Claude Code task.
const std::array<std::string_view, 10>& developerApps();

// Returns the activities ordered by start (stable) with their projects.
// Each activity's project comes from the first rule that gives one:
//  1. its title names a project;
//  2. the latest-listed annotation covering its start (startedAt <= start <
//     end, open ones ending at `now`) names one; a Claude Code annotation
//     covers only developer tools within 45 minutes of its start, and other
//     annotations are tried when it does not;
//  3. it starts at most `carryOver` seconds after the end of the last
//     activity matched by rule 1 or by a non-Claude-Code annotation.
// `projects` in database order and `annotations` by ascending start: both
// orders decide ties. With no projects, the activities come back unsorted
// and unmatched.
std::vector<ProjectAssignment> assign(const std::vector<Activity>& activities,
                                      const std::vector<Project>& projects,
                                      const std::vector<Annotation>& annotations,
                                      Duration carryOver, TimePoint now);

// The result points into the activities; a temporary would leave it dangling.
std::vector<ProjectAssignment> assign(std::vector<Activity>&&, const std::vector<Project>&,
                                      const std::vector<Annotation>&, Duration, TimePoint) = delete;

}  // namespace ProjectMatcher
}  // namespace kvillo
