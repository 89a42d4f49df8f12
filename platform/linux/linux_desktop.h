#pragma once

#include <QObject>
#include <QTimer>

#include <memory>

#include "core/capture/desktop.h"
#include "core/time/clock.h"
#include "core/time/repeating_timer.h"
#include "platform/linux/session_watcher.h"
#include "platform/linux/wayland/wayland_session.h"
#include "platform/linux/x11_session.h"

namespace kvillo {

// The desktop services for a Linux session. On X11: windows, idle time and
// display sleep from the X server. On Wayland: the same from the sources
// the compositor and its desktop shell offer (see WaylandSession), while
// X11 programs in front are still named through XWayland, where X11 knows
// them better (instance, GTK id, process). Everywhere: sleep, shutdown,
// locking and the session's end from the session and system buses.
//
// What cannot be seen is said once on stderr and through sight(). On
// Wayland, losing XWayland costs only the X11 windows; losing the
// compositor, like losing the X server of an X11 session, ends the session.
// Main thread only; the clock must outlive it.
class LinuxDesktop : public QObject, public Desktop {
    Q_OBJECT
public:
    explicit LinuxDesktop(const Clock& clock);
    ~LinuxDesktop() override;

    std::optional<FrontApplication> frontApplication() override;
    std::optional<std::string> windowTitle(const FrontApplication& application) override;
    Duration secondsSinceLastInput() override;
    void setIdleThreshold(Duration threshold) override;
    bool isDisplayAsleep() override;
    DesktopSight sight() const override;
    void subscribe(DesktopEvents events) override;
    void unsubscribe() override;

signals:
    // The session is over (logout, the display server gone): nothing more
    // will be seen, and the program should quit. Comes once, after the
    // monitor's `ended` event.
    void sessionEnded();

private:
    void tellWhatCannotBeSeen() const;
    void sourceChanged();
    void frontChanged();
    bool x11InFront();
    void send(const std::function<void()>& event);
    void endSession();

    std::unique_ptr<WaylandSession> wayland_;  // null outside a Wayland session
    std::unique_ptr<X11Session> x11_;          // null without an X display
    SessionWatcher session_;
    QTimer settle_;  // with both: one wait after either has changed
    DesktopEvents events_;
    bool ended_ = false;
};

// The tick on the Qt event loop.
class QtRepeatingTimer : public RepeatingTimer {
public:
    void start(Duration interval, std::function<void()> tick) override;
    void stop() override;

private:
    QTimer timer_;
    QMetaObject::Connection connection_;
};

}  // namespace kvillo
