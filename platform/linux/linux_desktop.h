#pragma once

#include <QObject>
#include <QTimer>

#include <memory>

#include "core/capture/desktop.h"
#include "core/time/repeating_timer.h"
#include "platform/linux/session_watcher.h"
#include "platform/linux/x11_session.h"

namespace kvillo {

// The desktop services for a Linux session: windows, idle time and display
// sleep from X11, sleep, shutdown, locking and the session's end from the
// session and system buses. Without an X display there is no front
// application and nothing is recorded (it says so on stderr once).
// Main thread only.
class LinuxDesktop : public QObject, public Desktop {
    Q_OBJECT
public:
    LinuxDesktop();
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
    // The session is over (logout, the X server gone): nothing more will be
    // seen, and the program should quit. Comes once, after the monitor's
    // `ended` event.
    void sessionEnded();

private:
    void send(const std::function<void()>& event);
    void endSession();

    std::unique_ptr<X11Session> x11_;  // null without a display
    SessionWatcher session_;
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
