#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "core/model/notification_center.h"
#include "core/model/ui_thread.h"
#include "core/time/clock.h"
#include "core/time/time_point.h"

namespace kvillo {

class AppModel;

// Asks "Working on Beta?" when a task runs on one project while the
// windows of the last while belong to another: at least five minutes of
// one uninterrupted run on the other project, since the task began and
// within the last half hour. Switching starts a task on that project from
// where its work began; keeping it silences the question for that project
// as long as the same task runs. At most one question per half hour.
// Nothing is kept across restarts.
//
// Threads: the UI thread. Answers are handled there, after the call that
// delivered them has returned.
class ProjectSwitchWatcher {
public:
    static constexpr Duration kThreshold = 300;
    static constexpr Duration kCooldown = 1800;
    static constexpr const char* kRequestID = "project-switch";
    static constexpr const char* kSwitchAction = "SWITCH";
    static constexpr const char* kKeepAction = "KEEP";

    // `model` owns the watcher; the others must outlive it.
    ProjectSwitchWatcher(AppModel& model, NotificationCenter& notifications, UiThread& uiThread);
    ~ProjectSwitchWatcher();
    ProjectSwitchWatcher(const ProjectSwitchWatcher&) = delete;
    ProjectSwitchWatcher& operator=(const ProjectSwitchWatcher&) = delete;

    // Looks at the model's fresh snapshot and asks, at most once.
    void check();

    // The question on screen, if any: the project proposed and the start
    // of the work on it.
    struct Pending {
        std::string project;
        TimePoint since = 0;
    };
    const std::optional<Pending>& pending() const { return pending_; }

private:
    std::optional<std::pair<std::string, TimePoint>> recentOther(const std::string& current,
                                                                 TimePoint after);
    void notify(const std::string& other, const std::string& current);
    void handle(const std::string& actionID);

    AppModel& model_;
    NotificationCenter& notifications_;
    UiThread& uiThread_;
    std::optional<TimePoint> lastNotified_;
    // The projects declined for the task with this annotation id.
    struct Ignored {
        std::int64_t taskID = 0;
        std::set<std::string> projects;
    };
    std::optional<Ignored> ignored_;
    std::optional<Pending> pending_;
    // Answers posted to the UI thread find the watcher gone when this is.
    std::shared_ptr<ProjectSwitchWatcher*> self_;
};

}  // namespace kvillo
