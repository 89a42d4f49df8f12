#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/analysis/period_report.h"
#include "core/capture/activity_monitor.h"
#include "core/events/observer_list.h"
#include "core/integrations/mcp_installer.h"
#include "core/integrations/update_checker.h"
#include "core/model/notification_center.h"
#include "core/model/project_switch_watcher.h"
#include "core/model/ticker.h"
#include "core/model/ui_thread.h"
#include "core/records/annotation.h"
#include "core/records/project.h"
#include "core/settings/features.h"
#include "core/store/database.h"
#include "core/time/clock.h"
#include "core/time/repeating_timer.h"

namespace kvillo {

// What the model runs on besides the store, the monitor and the settings.
// All must outlive the model.
struct AppModelServices {
    const Clock& clock;
    RepeatingTimer& timer;  // the one-second tick, on the UI thread
    UiThread& uiThread;
    NotificationCenter& notifications;  // where the switch prompt asks
    // Checks for and fetches new releases; none: no update control.
    UpdateChecker* updateChecker = nullptr;
    // Connects AI assistants to the server; none: no such control.
    McpInstaller* installer = nullptr;
};

// The one state object behind the interface: a snapshot of the present
// moment (the switches, whether logging is paused, the projects, the
// running task, the current project, today's report, what keeps Kvillo from
// recording) and the task timer's operations. A task lives in the store as
// an open annotation; the model keeps none of its own but the text of the
// task that was running when logging was paused.
//
// The snapshot is read again every 30 seconds and after each change the
// model makes, so what other writers do (an assistant through the MCP
// server) shows within 30 seconds. Each second the ticker moves and nothing
// else happens, not even a read.
//
// Its own connection to the store (`database`) should wait only briefly
// for a lock: the UI thread must not stall. A read that fails reads as
// empty; a write that finds the file locked by another program is kept and
// tried again every few ticks, in order, until it goes through (the snapshot
// shows it from then on); any other failed write is dropped. What still
// waits when the model goes is tried once more, then dropped.
//
// Threads: the UI thread, for every member and every observer call.
class AppModel {
public:
    // The fields that announce their change. Only a value that differs is
    // announced.
    enum class Field {
        enabled,
        taskText,
        taskBase,
        taskRunningSince,
        currentAnnotation,
        currentProject,
        today,
        projects,
        isPaused,
        notice,
        updateState,
        latestRelease,
        clients,  // a connection changed, or failed (clientError)
    };

    static constexpr Duration kTickInterval = 1.0;
    static constexpr int kTicksPerRefresh = 30;
    // How often a change that found the file locked is tried again.
    static constexpr int kTicksPerRetry = 5;
    // How long ago the last matched work may have ended and still name the
    // current project.
    static constexpr Duration kRecentWork = 600;
    // What the timer shows with no task: each dash an en dash.
    static constexpr const char* kNoTaskClock = "\u2013:\u2013\u2013:\u2013\u2013";

    // Reads the first snapshot and starts the tick.
    AppModel(Database& database, ActivityMonitor& monitor, Features& features,
             AppModelServices services);
    ~AppModel();
    AppModel(const AppModel&) = delete;
    AppModel& operator=(const AppModel&) = delete;

    [[nodiscard]] Subscription onChange(std::function<void(Field)> observer);

    // The snapshot.
    const std::map<Features::Key, bool>& enabled() const { return enabled_; }
    TimePoint now() const { return now_; }  // when the last refresh began
    Ticker& ticker() { return ticker_; }
    const std::optional<std::string>& taskText() const { return taskText_; }
    // Today's finished time on the task's exact text.
    Duration taskBase() const { return taskBase_; }
    const std::optional<TimePoint>& taskRunningSince() const { return taskRunningSince_; }
    const std::optional<std::string>& pausedTask() const { return pausedTask_; }
    const std::optional<Annotation>& currentAnnotation() const { return currentAnnotation_; }
    const std::optional<std::string>& currentProject() const { return currentProject_; }
    const Report& today() const { return today_; }
    const std::vector<Project>& projects() const { return projects_; }
    bool isPaused() const { return isPaused_; }
    // The one line that says what keeps Kvillo from recording or serving
    // truthfully, in the chosen language; empty when nothing does.
    const std::string& notice() const { return notice_; }
    // What the update control shows, and the last release found newer.
    const UpdateState& updateState() const { return updateState_; }
    const std::optional<ReleaseInfo>& latestRelease() const { return latestRelease_; }
    bool canUpdate() const {
        return services_.updateChecker && services_.updateChecker->isConfigured();
    }

    Database& database() { return database_; }
    const Features& features() const { return features_; }
    // For the settings the interface changes directly (the language).
    Features& features() { return features_; }
    const Clock& clock() const { return services_.clock; }

    // Reads the snapshot again.
    void refresh();

    // A switch as the interface shows it: the snapshot's value, or the
    // settings' when the snapshot lacks it.
    bool isOn(Features::Key key) const;
    // Saves a switch; logging and title switches take effect in the monitor
    // at once.
    void set(Features::Key key, bool on);

    // Today's time on the task up to `at`: finished pieces plus the running
    // one.
    Duration taskElapsed(TimePoint at) const;
    // The timer's text at the ticker's time ("1:02:03"), or kNoTaskClock.
    std::string taskClock() const;

    // Starts a task from `at` (a backdated start ends the previous task
    // there), named "project – task" unless the task already names the
    // project. Resumes logging first if it was paused. A task and project
    // both blank start nothing.
    void startTask(const std::optional<std::string>& project, const std::string& task,
                   TimePoint at);
    // Pauses logging and the task, remembering its text, or resumes both.
    void togglePause();
    // Ends the task now; logging stays as it is.
    void endTask();
    // Creates a project, or edits the one named `replacing` (a rename that
    // changes more than letter case replaces it). A blank name does nothing.
    void saveProject(const std::string& name, const std::string& keywords,
                     const std::optional<std::string>& replacing);
    void deleteProject(const std::string& name);

    // The AI assistants as the settings page lists them, read from their
    // files now (empty without an installer).
    struct ClientRow {
        McpClient client;
        McpClientState state;
    };
    std::vector<ClientRow> clients() const;
    // Connects or disconnects an assistant off the UI thread (its own
    // command may take seconds); `clients` is announced when it is done,
    // with clientError() saying why it failed, in the chosen language.
    void connectClient(McpClient client, bool connect);
    const std::string& clientError() const { return clientError_; }

    // Each returns at once; what happens shows in updateState().
    void checkForUpdates();
    // Fetches latestRelease(), if any, and opens it.
    void downloadUpdate();
    // Opens the fetched package again.
    void installUpdate();

    // The report over [from, to) with the switches as they are.
    Report report(TimePoint from, TimePoint to);

    const ProjectSwitchWatcher& switchWatcher() const { return switchWatcher_; }

    // Changes still waiting for the store's lock.
    size_t pendingWrites() const { return pendingWrites_.size(); }

private:
    using Write = std::function<void(Database&)>;

    void tick();
    void write(Write change);
    // True once every waiting change went through (or was dropped).
    bool retryWrites();
    // `today`: the notes overlapping the day that begins at `dayStart`.
    void loadTaskTime(TimePoint dayStart, const std::vector<Annotation>& today);
    // The report over [from, to) on records already read.
    Report analyse(TimePoint from, TimePoint to, const std::vector<Activity>& activities,
                   const std::vector<Annotation>& annotations,
                   const std::vector<Project>& projects) const;
    std::optional<std::string> projectForNow();
    std::string noticeNow() const;
    bool loggingPaused() const;

    template <typename T>
    void assign(T& field, T value, Field name) {
        if (!(field == value)) {
            field = std::move(value);
            announce(name);
        }
    }
    void announce(Field field);

    // Holds announcements back until the outermost change is complete, so
    // that observers see a whole snapshot and may call the model back.
    class Batch {
    public:
        explicit Batch(AppModel& model) : model_(model) { ++model_.batchDepth_; }
        ~Batch();
        Batch(const Batch&) = delete;
        Batch& operator=(const Batch&) = delete;

    private:
        AppModel& model_;
    };

    Database& database_;
    ActivityMonitor& monitor_;
    Features& features_;
    AppModelServices services_;
    ObserverList<Field> observers_;
    int batchDepth_ = 0;
    std::vector<Field> held_;  // changed fields not yet announced, in order

    std::map<Features::Key, bool> enabled_;
    TimePoint now_;
    Ticker ticker_;
    std::optional<std::string> taskText_;
    Duration taskBase_ = 0;
    std::optional<TimePoint> taskRunningSince_;
    std::optional<std::string> pausedTask_;
    std::optional<Annotation> currentAnnotation_;
    std::optional<std::string> currentProject_;
    Report today_;
    std::vector<Project> projects_;
    bool isPaused_ = false;
    std::string notice_;
    UpdateState updateState_ = updates::Idle{};
    std::optional<ReleaseInfo> latestRelease_;
    std::string clientError_;
    // The last connection asked for; each waits for the one before, so
    // that no two edit a file at once. Waited for when the model goes.
    std::shared_future<void> clientWork_;
    // Answers posted to the UI thread find the model gone when this is.
    std::shared_ptr<AppModel*> self_ = std::make_shared<AppModel*>(this);

    std::deque<Write> pendingWrites_;
    int ticks_ = 0;
    Subscription writeStatus_;
    ProjectSwitchWatcher switchWatcher_;
};

}  // namespace kvillo
