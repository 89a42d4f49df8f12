#include "core/analysis/project_matcher.h"

#include <algorithm>
#include <limits>

#include "core/analysis/project_search.h"
#include "core/records/activity_order.h"

namespace kvillo::ProjectMatcher {
namespace {

bool isDeveloperApp(std::string_view appName) {
    // The words are ASCII, so ASCII lower-casing of the name is enough.
    auto sameLetter = [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a + 32 : a) == b; };
    return std::any_of(developerApps().begin(), developerApps().end(), [&](std::string_view word) {
        return std::search(appName.begin(), appName.end(), word.begin(), word.end(), sameLetter) !=
               appName.end();
    });
}

// The annotations as the rules need them: each text searched at most once,
// and the latest end among the annotations up to each index, so that the
// backward scan can stop where no earlier annotation reaches the activity.
class CoveringAnnotations {
public:
    CoveringAnnotations(const std::vector<Annotation>& annotations, ProjectSearch& search,
                        TimePoint now)
        : annotations_(annotations), search_(search), now_(now) {
        latestEndUpTo_.reserve(annotations.size());
        TimePoint latest = -std::numeric_limits<double>::infinity();
        for (const auto& annotation : annotations) {
            latest = std::max(latest, annotation.endedAt.value_or(now));
            latestEndUpTo_.push_back(latest);
            claudeCode_.push_back(annotation.text.starts_with(kClaudeCodePrefix));
        }
        projects_.resize(annotations.size());
        searched_.resize(annotations.size(), false);
        sortedByStart_ = std::is_sorted(
            annotations.begin(), annotations.end(),
            [](const Annotation& a, const Annotation& b) { return a.startedAt < b.startedAt; });
    }

    struct Accepted {
        std::optional<size_t> project;  // none when the text names none
        bool claudeCode;
    };

    // The accepted covering annotation of an activity, if any.
    std::optional<Accepted> accepted(const Activity& activity) {
        size_t index = annotations_.size();
        if (sortedByStart_) {
            // Annotations starting after the activity are skipped anyway.
            auto after =
                std::upper_bound(annotations_.begin(), annotations_.end(), activity.startTime,
                                 [](TimePoint t, const Annotation& a) { return t < a.startedAt; });
            index = static_cast<size_t>(after - annotations_.begin());
        }
        while (index > 0) {
            --index;
            if (latestEndUpTo_[index] <= activity.startTime) {
                break;
            }
            const Annotation& annotation = annotations_[index];
            if (annotation.startedAt > activity.startTime ||
                annotation.endedAt.value_or(now_) <= activity.startTime) {
                continue;
            }
            if (claudeCode_[index] &&
                (activity.startTime - annotation.startedAt > kClaudeCodeLimit ||
                 !isDeveloperApp(activity.appName))) {
                continue;
            }
            return Accepted{projectOf(index), static_cast<bool>(claudeCode_[index])};
        }
        return std::nullopt;
    }

private:
    std::optional<size_t> projectOf(size_t index) {
        if (!searched_[index]) {
            projects_[index] = search_.find(annotations_[index].text);
            searched_[index] = true;
        }
        return projects_[index];
    }

    const std::vector<Annotation>& annotations_;
    ProjectSearch& search_;
    TimePoint now_;
    std::vector<TimePoint> latestEndUpTo_;
    std::vector<bool> claudeCode_;
    std::vector<std::optional<size_t>> projects_;
    std::vector<bool> searched_;
    bool sortedByStart_ = true;
};

}  // namespace

const std::array<std::string_view, 10>& developerApps() {
    static constexpr std::array<std::string_view, 10> kWords{
        "claude", "terminal", "iterm", "warp", "ghostty",
        "cursor", "code",     "xcode", "zed",  "windsurf"};
    return kWords;
}

std::vector<ProjectAssignment> assign(const std::vector<Activity>& activities,
                                      const std::vector<Project>& projects,
                                      const std::vector<Annotation>& annotations,
                                      Duration carryOver, TimePoint now) {
    std::vector<ProjectAssignment> result;
    result.reserve(activities.size());
    if (projects.empty()) {
        for (const auto& activity : activities) {
            result.push_back({&activity, std::nullopt});
        }
        return result;
    }

    std::vector<const Activity*> ordered = byStartTime(activities);

    ProjectSearch search(projects);
    CoveringAnnotations covering(annotations, search, now);
    std::optional<size_t> carriedProject;
    TimePoint carriedEnd = 0;

    for (const Activity* activity : ordered) {
        std::optional<size_t> project;
        if (activity->title) {
            project = search.find(*activity->title);
            if (project) {
                carriedProject = project;
                carriedEnd = activity->endTime.value_or(now);
            }
        }
        if (!project) {
            if (auto accepted = covering.accepted(*activity); accepted && accepted->project) {
                project = accepted->project;
                if (!accepted->claudeCode) {
                    carriedProject = project;
                    carriedEnd = activity->endTime.value_or(now);
                }
            }
        }
        if (!project && carriedProject && activity->startTime - carriedEnd <= carryOver) {
            project = carriedProject;
        }
        result.push_back({activity, project});
    }
    return result;
}

}  // namespace kvillo::ProjectMatcher
