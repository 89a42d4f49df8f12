#pragma once

#include <optional>

#include "core/time/clock.h"
#include "platform/linux/wayland/desktop_sources.h"

struct ext_idle_notification_v1;
struct ext_idle_notifier_v1;
struct org_kde_kwin_idle;
struct org_kde_kwin_idle_timeout;
struct wl_seat;

namespace kvillo {

class WaylandConnection;

// Idle time from a compositor that only says "no input for T" and "input
// again": ext-idle-notify (KWin, newer wlroots), else KDE's older protocol
// (sway 1.7). When the compositor says idle at time t, the last input was at
// t − T, and the time since it grows from there; after "input again" it is 0.
//
// The compositor counts T from when the notification is made, so a new
// threshold (a notification made afresh) finds an absence already under way
// only T after the change. ext-idle-notify also stays quiet while a program
// inhibits idling (a playing video), which counts as the user being there.
//
// The connection and clock must outlive it. Main thread only.
class ThresholdIdle : public IdleSource {
public:
    ThresholdIdle(WaylandConnection& connection, const Clock& clock);
    ~ThresholdIdle() override;

    // Whether the compositor offers either protocol and a seat.
    bool isAvailable() const { return seat_ != nullptr && (extNotifier_ || kdeIdle_); }
    void setThreshold(Duration threshold) override;
    Duration secondsSinceLastInput() override;

private:
    void idled();
    void resumed();
    void release();

    WaylandConnection& connection_;
    const Clock& clock_;
    wl_seat* seat_ = nullptr;
    ext_idle_notifier_v1* extNotifier_ = nullptr;
    org_kde_kwin_idle* kdeIdle_ = nullptr;
    ext_idle_notification_v1* extNotification_ = nullptr;
    org_kde_kwin_idle_timeout* kdeTimeout_ = nullptr;
    std::optional<Duration> threshold_;
    std::optional<TimePoint> lastInput_;  // while idle
};

}  // namespace kvillo
