#pragma once

#include <functional>
#include <optional>
#include <string>

#include "core/time/time_point.h"

namespace kvillo {

// The application in front, as the desktop names it.
struct FrontApplication {
    std::optional<std::string> name;      // display name; none when it has none
    std::optional<std::string> bundleID;  // stable identifier (a .desktop file id)
    int processID = 0;                    // 0 when unknown
    bool operator==(const FrontApplication&) const = default;
};

// What the activity monitor hears from the desktop. Each is called on the
// monitor's thread; an adapter with nothing to say simply never calls it.
struct DesktopEvents {
    // Another window (or none) came to the front, of this application.
    std::function<void(std::optional<FrontApplication>)> activated;
    // The machine is about to sleep or shut down; the row must be ended
    // before the handler returns.
    std::function<void()> willSleep;
    // The displays went dark (screensaver, DPMS).
    std::function<void()> displaySlept;
    // The machine or the displays woke again.
    std::function<void()> woke;
    // The screen locked (the login window is in front) and unlocked again.
    std::function<void()> locked;
    std::function<void()> unlocked;
    // The session is gone (a logout, the display server lost): nothing
    // more will be seen.
    std::function<void()> ended;
};

// What an adapter can see in this session. Where it is blind, nothing it
// cannot see is recorded, and the user is told.
struct DesktopSight {
    bool frontApplication = true;  // which application is in front (and its title)
    bool idleTime = true;          // how long since the last input
    // What it lacks comes with the user's next login (a desktop that loads
    // a helper of ours only when a session starts).
    bool completeAfterLogin = false;
    bool operator==(const DesktopSight&) const = default;
};

// The platform services the activity monitor needs. Adapters implement it
// for a desktop (X11, later Wayland compositors and macOS); tests fake it.
class Desktop {
public:
    virtual ~Desktop() = default;

    virtual std::optional<FrontApplication> frontApplication() = 0;
    // The focused window's title; none when unreadable or empty.
    virtual std::optional<std::string> windowTitle(const FrontApplication& application) = 0;
    virtual Duration secondsSinceLastInput() = 0;
    // How long without input counts as away. Desktops that only say "idle
    // for this long" and "back" need it before secondsSinceLastInput() can
    // answer; it may change at any time and is set again at every check.
    virtual void setIdleThreshold(Duration threshold) = 0;
    // Asked at every tick too, for displays whose sleep sends no event.
    virtual bool isDisplayAsleep() = 0;
    // May improve while running (a desktop helper that starts reporting
    // only later), so it is read afresh.
    virtual DesktopSight sight() const = 0;

    // Starts delivering events to `events` until unsubscribe().
    virtual void subscribe(DesktopEvents events) = 0;
    virtual void unsubscribe() = 0;
};

}  // namespace kvillo
