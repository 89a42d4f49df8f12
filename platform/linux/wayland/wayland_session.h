#pragma once

#include <QObject>

#include <memory>
#include <optional>
#include <string>

#include "core/capture/desktop.h"
#include "core/time/clock.h"
#include "platform/linux/desktop_file_index.h"
#include "platform/linux/wayland/desktop_sources.h"
#include "platform/linux/wayland/source_choice.h"

namespace kvillo {

class SettledFocus;
class WaylandConnection;

// A Wayland session as the activity monitor sees it: the focused window,
// idle time and display power, each from the first source that works here
// (a GNOME Shell extension of ours, a KWin script, the wlroots protocols,
// the idle and power protocols or Mutter's D-Bus interfaces; see
// planSources()). Lock, sleep and logout are not its business: the session
// watcher follows them on every desktop.
//
// Where no source can tell the front application or idle time, it says so
// (canTellFront(), canTellIdleTime()): X11 programs may still be seen
// through XWayland, and idle time then reads 0.
//
// Failure: a lost connection is reported once by connectionLost(); the
// queries then answer "nothing". Main thread only; the clock must outlive it.
class WaylandSession : public QObject {
    Q_OBJECT
public:
    // Connects to $WAYLAND_DISPLAY and the session bus and picks the
    // sources; check isConnected().
    explicit WaylandSession(const Clock& clock);
    ~WaylandSession() override;

    bool isConnected() const;
    // Why connecting to the compositor failed; empty when it did not.
    const std::string& connectError() const;
    // Whether a source tells the focused window: it answered at start, or
    // has reported since.
    bool canTellFront() const { return focus_ != nullptr && focusHeard_; }
    bool canTellIdleTime() const { return idle_ != nullptr; }
    // What cannot be seen now comes with the user's next login (GNOME loads
    // the extension that was just enabled only then).
    bool completeAfterLogin() const { return completeAfterLogin_; }

    // The focused window once it has settled; none while none has the focus.
    std::optional<FrontApplication> frontApplication();
    std::optional<std::string> activeWindowTitle() const;
    void setIdleThreshold(Duration threshold);
    Duration secondsSinceLastInput();
    bool isDisplayAsleep() const;

signals:
    // Another window (or none) has the focus, settled.
    void activeWindowChanged();
    // The displays went to sleep or woke; `asleep` is isDisplayAsleep().
    void displaySleepChanged(bool asleep);
    // The connection to the compositor ended: it is gone
    // (`compositorGone`), or it refused a request of ours. Emitted once;
    // nothing is followed afterwards.
    void connectionLost(bool compositorGone);

private:
    std::unique_ptr<FocusSource> makeFocus(FocusKind kind);

    const Clock& clock_;
    std::unique_ptr<WaylandConnection> connection_;
    std::unique_ptr<FocusSource> focus_;
    std::unique_ptr<SettledFocus> settled_;
    std::unique_ptr<IdleSource> idle_;
    std::unique_ptr<DisplayPowerSource> power_;
    bool focusHeard_ = false;
    bool completeAfterLogin_ = false;
    DesktopFileIndex applications_;
    std::optional<FocusedWindow> cachedWindow_;
    std::optional<FrontApplication> cachedApplication_;
};

}  // namespace kvillo
