#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "core/capture/alive_marker.h"
#include "core/capture/desktop.h"
#include "core/events/observer_list.h"
#include "core/settings/features.h"
#include "core/store/database.h"
#include "core/time/clock.h"
#include "core/time/repeating_timer.h"

namespace kvillo {

// Turns what happens on the desktop into activity rows: at most one row is
// open, a new one starts whenever another application comes to the front
// (another window of the same one only retitles the row), and the open one
// ends when the user goes away (no input for a while, a locked screen, a
// sleeping display or machine), when logging is paused, when the session
// ends and when the monitor stops. A row never ends before it began. Every
// five seconds it also reads the front window's title, checks for idleness
// and display sleep, ends a pause whose time has come, ends the open task
// after a long absence, and notes that it is alive (see AliveMarker), so
// the repair after a crash ends the row left open near the crash. Settings
// are read afresh at every event and tick. A failed write is not retried
// (a row left open is closed by the repair at the next start); whether
// writing works is reported through onWriteStatusChanged().
//
// Threads: every member, every event and every tick runs on one thread (the
// UI thread). The desktop, clock and timer must outlive the monitor.
class ActivityMonitor {
public:
    static constexpr Duration kMaxLeftoverDuration = 1800;
    static constexpr Duration kTickInterval = 5.0;
    static constexpr const char* kLoginWindowBundleID = "loginwindow";
    static constexpr const char* kUnknownAppName = "Unknown";

    ActivityMonitor(Database& database, const Features& features, Desktop& desktop,
                    const Clock& clock, RepeatingTimer& timer);
    ~ActivityMonitor();
    ActivityMonitor(const ActivityMonitor&) = delete;
    ActivityMonitor& operator=(const ActivityMonitor&) = delete;

    // Calls `observer` with the error when writing to the log starts
    // failing, and with none when it works again; never twice in a row with
    // the same state.
    using WriteStatusObserver = std::function<void(const std::optional<DatabaseError>&)>;
    [[nodiscard]] Subscription onWriteStatusChanged(WriteStatusObserver observer);
    // The last write's failure; none while writing works.
    const std::optional<DatabaseError>& writeFailure() const { return writeFailure_; }
    // What the desktop lets it see.
    DesktopSight sight() const { return desktop_.sight(); }

    // Closes rows left open by an earlier run, subscribes to the desktop,
    // starts the tick and records the front application.
    void start();
    // Unsubscribes, stops the tick and ends the open row now. Idempotent.
    void stop();

    // Records the front application afresh (after a switch changed).
    void refresh();
    // Ends the open row and records nothing until `until` (or resume()).
    void pause(TimePoint until);
    void resume();
    bool isPaused();
    std::optional<TimePoint> pausedUntil() const { return pausedUntil_; }

private:
    void handleActivation(const std::optional<FrontApplication>& application);
    void handleDesktopActivation(const std::optional<FrontApplication>& application);
    void enterIdle(TimePoint since);
    void wake();
    void tick();
    void followDisplaySleep();
    void checkIdle();
    void updateCurrentTitle();
    void endAnnotationIfAwayLong();
    void endOpenActivity(TimePoint at);
    std::optional<FrontApplication> front();
    // Runs a store write, reporting a change of whether writes work.
    template <typename Write>
    bool write(Write&& write);

    Database& database_;
    const Features& features_;
    Desktop& desktop_;
    const Clock& clock_;
    RepeatingTimer& timer_;
    AliveMarker aliveMarker_;
    ObserverList<std::optional<DatabaseError>> writeStatusObservers_;
    std::optional<DatabaseError> writeFailure_;
    bool running_ = false;
    bool screenLocked_ = false;
    bool displayAsleep_ = false;
    bool machineAsleep_ = false;  // from willSleep until woke (or an unlock)
    bool sessionEnded_ = false;

    std::optional<std::int64_t> currentActivityID_;
    TimePoint currentStart_ = 0;
    std::optional<FrontApplication> currentApplication_;
    std::optional<std::string> lastTitle_;
    bool isIdle_ = false;
    std::optional<TimePoint> idleSince_;
    std::optional<TimePoint> pausedUntil_;
};

}  // namespace kvillo
