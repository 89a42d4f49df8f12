#include "core/model/project_switch_watcher.h"

#include "core/analysis/project_matcher.h"
#include "core/localisation/l10n.h"
#include "core/model/app_model.h"

namespace kvillo {
namespace {

// Only the work since the task began, and at most this far back.
constexpr Duration kLookBack = 1800;

}  // namespace

ProjectSwitchWatcher::ProjectSwitchWatcher(AppModel& model, NotificationCenter& notifications,
                                           UiThread& uiThread)
    : model_(model),
      notifications_(notifications),
      uiThread_(uiThread),
      self_(std::make_shared<ProjectSwitchWatcher*>(this)) {
    // The handler may run on any thread, even after the watcher is gone: it
    // reaches the watcher only on the UI thread, and only while it lives.
    notifications_.setAnswerHandler([&ui = uiThread_, self = std::weak_ptr(self_)](
                                        const std::string& requestID, const std::string& actionID) {
        if (requestID != kRequestID) {
            return;
        }
        ui.post([self, actionID] {
            if (auto watcher = self.lock()) {
                (*watcher)->handle(actionID);
            }
        });
    });
}

ProjectSwitchWatcher::~ProjectSwitchWatcher() {
    notifications_.setAnswerHandler(nullptr);
}

void ProjectSwitchWatcher::check() {
    using Key = Features::Key;
    if (!model_.isOn(Key::switchNotifications) || !model_.isOn(Key::projects) ||
        !model_.isOn(Key::workingOn) || model_.isPaused()) {
        return;
    }
    const auto& task = model_.currentAnnotation();
    if (!task || !task->id || !model_.currentProject()) {
        return;
    }
    const std::string current = *model_.currentProject();
    const TimePoint now = model_.clock().now();
    if (lastNotified_ && now - *lastNotified_ < kCooldown) {
        return;
    }
    // Declines belong to one task.
    if (ignored_ && ignored_->taskID != *task->id) {
        ignored_.reset();
    }
    auto found = recentOther(current, task->startedAt);
    if (!found || (ignored_ && ignored_->projects.contains(found->first))) {
        return;
    }
    pending_ = Pending{found->first, found->second};
    lastNotified_ = now;
    notify(found->first, current);
}

// The newest uninterrupted run on one project other than the current one,
// reaching back from the latest activity; activities of no project neither
// end it nor count.
std::optional<std::pair<std::string, TimePoint>> ProjectSwitchWatcher::recentOther(
    const std::string& current, TimePoint after) {
    const TimePoint now = model_.clock().now();
    const TimePoint from = std::max(now - kLookBack, after);
    std::vector<Activity> activities;
    try {
        activities = model_.database().fetchActivities(from, now);
    } catch (const DatabaseError&) {
        return std::nullopt;
    }
    const auto& projects = model_.projects();
    auto pairs = ProjectMatcher::assign(activities, projects, {}, 0, now);
    std::optional<std::string> other;
    Duration total = 0;
    TimePoint since = now;
    for (auto pair = pairs.rbegin(); pair != pairs.rend(); ++pair) {
        if (!pair->project) {
            continue;
        }
        const std::string& name = projects[*pair->project].name;
        if (name == current || (other && name != *other)) {
            break;
        }
        other = name;
        total += pair->activity->endTime.value_or(now) - pair->activity->startTime;
        since = pair->activity->startTime;
    }
    if (!other || total < kThreshold) {
        return std::nullopt;
    }
    return std::pair(*other, since);
}

void ProjectSwitchWatcher::notify(const std::string& other, const std::string& current) {
    const auto language = L10n::language(model_.features());
    notifications_.post(Question{
        .requestID = kRequestID,
        .title = L10n::string(language, "Jobber du med %@?", {other}),
        .body = L10n::string(language, "Du har en oppgave i gang på %@. Bytte til %@?",
                             {current, other}),
        .actions = {{kSwitchAction, L10n::string(language, "Bytt til %@", {other})},
                    {kKeepAction, L10n::string(language, "Fortsett med %@", {current})}},
    });
}

void ProjectSwitchWatcher::handle(const std::string& actionID) {
    if (!pending_) {
        return;
    }
    const Pending answered = *std::exchange(pending_, std::nullopt);
    if (actionID == kSwitchAction || actionID == NotificationCenter::kDefaultAction) {
        // Backdated: the store ends the previous task where the other work
        // began.
        model_.startTask(answered.project, "", answered.since);
    } else if (actionID == kKeepAction) {
        const auto& task = model_.currentAnnotation();
        if (!task || !task->id) {
            return;
        }
        if (!ignored_ || ignored_->taskID != *task->id) {
            ignored_ = Ignored{*task->id, {}};
        }
        ignored_->projects.insert(answered.project);
    }
}

}  // namespace kvillo
