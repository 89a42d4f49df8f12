#pragma once

#include <QObject>

#include <optional>
#include <string>

#include "core/time/time_point.h"

namespace kvillo {

// The focused window as a Wayland desktop describes it. Which fields are
// filled depends on the desktop: wlroots compositors give no process, GNOME
// gives the .desktop id it resolved itself.
struct FocusedWindow {
    std::string appID;    // Wayland app id, KWin's desktop file name, GNOME's .desktop id
    std::string wmClass;  // X11 class (or KWin's resource class); may equal appID
    std::string title;
    int processID = 0;  // 0 when unknown
    bool operator==(const FocusedWindow&) const = default;
};

// The same window as far as the log goes (its title may differ); two nones
// are the same too.
inline bool sameWindow(const std::optional<FocusedWindow>& a,
                       const std::optional<FocusedWindow>& b) {
    if (!a || !b) {
        return !a && !b;
    }
    return a->appID == b->appID && a->wmClass == b->wmClass && a->processID == b->processID;
}

// Where the focused window comes from on one kind of desktop. Reports what
// the desktop says as it says it: desktops pass through "no window" between
// two windows, and the caller settles that. Main thread only.
class FocusSource : public QObject {
    Q_OBJECT
public:
    // Whether the desktop answered when the source was made; a source that
    // is not ready is dropped for the next candidate.
    virtual bool isReady() const = 0;
    // None while no window has the focus (an empty workspace, a locker in
    // front) or while the desktop tells nothing.
    virtual std::optional<FocusedWindow> focused() const = 0;

signals:
    // focused() changed: another window, none, or a new title.
    void changed();
};

// How long the user has been away from keyboard and mouse. Main thread only.
class IdleSource {
public:
    virtual ~IdleSource() = default;
    // Desktops that only say "idle for this long" and "back" count from the
    // threshold; others ignore it. Setting the same value again is free.
    virtual void setThreshold(Duration threshold) = 0;
    virtual Duration secondsSinceLastInput() = 0;
};

// Whether the displays are powered down. Main thread only.
class DisplayPowerSource : public QObject {
    Q_OBJECT
public:
    virtual bool isAsleep() const = 0;

signals:
    // isAsleep() changed to `asleep`.
    void changed(bool asleep);
};

}  // namespace kvillo
