#pragma once

#include <QObject>
#include <QTimer>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "core/capture/desktop.h"
#include "platform/linux/desktop_file_index.h"

class QSocketNotifier;
struct xcb_connection_t;
struct xcb_get_property_reply_t;

namespace kvillo {

// The X server as the activity monitor sees it: the active window (from the
// window manager's _NET_ACTIVE_WINDOW, followed by events, never polled),
// its application and title, input idle time and display sleep.
//
// A window that has been destroyed is never in front, whatever
// _NET_ACTIVE_WINDOW still says: window managers can take a while to clear it
// after a program exits.
//
// Failure: X errors come back as values; nothing here can abort the process.
// When the connection breaks (the server ends, the session logs out),
// connectionLost() is emitted once and from then on every query answers
// "nothing" (no application, no title, no idle time, not asleep) without
// touching the connection again; a new session is needed to reconnect.
//
// Main thread only: the object reads its connection from the Qt event loop.
// Signals are always emitted from the event loop, never from inside a query,
// so slots may call the queries.
class X11Session : public QObject {
    Q_OBJECT
public:
    // Connects to $DISPLAY; check isConnected().
    X11Session();
    ~X11Session() override;

    // False if connecting failed or the connection has since been lost.
    bool isConnected() const;

    // None when no window is active, the active window is gone, or the
    // connection is lost. The application is cached for as long as its window
    // stays active and alive.
    std::optional<FrontApplication> frontApplication();
    std::optional<std::string> activeWindowTitle();
    Duration secondsSinceLastInput();
    // Whether the server reports input times at all (MIT-SCREEN-SAVER).
    bool canTellIdleTime() const { return hasScreenSaver_; }
    // DPMS in a mode other than On, or the X screensaver on. Polled: DPMS has
    // no events.
    bool isDisplayAsleep();

signals:
    // The active window changed and stayed so for the debounce interval
    // (window managers pass through "no window" between two windows). This
    // includes the active window being destroyed, even while
    // _NET_ACTIVE_WINDOW still names it.
    void activeWindowChanged();

    // The X screensaver turned on or off and that changed whether the display
    // sleeps; `asleep` is isDisplayAsleep() as of that moment (DPMS read
    // then). Emitted only on a change from the last value emitted (or the
    // state at construction). A display that sleeps through DPMS alone gives
    // no signal: DPMS has no events, so poll isDisplayAsleep() for it.
    // Never emitted on servers without the MIT-SCREEN-SAVER extension.
    void displaySleepChanged(bool asleep);

    // The connection to the X server broke. Emitted exactly once; see the
    // class comment for what the queries answer afterwards.
    void connectionLost();

private:
    struct Atoms;
    struct FreeReply {
        void operator()(void* reply) const;
    };
    using PropertyReply = std::unique_ptr<xcb_get_property_reply_t, FreeReply>;

    bool usable();
    void lose();
    std::uint32_t activeWindow();
    void watch(std::uint32_t window);
    void windowGone();
    PropertyReply property(std::uint32_t window, std::uint32_t atom, std::uint32_t type,
                           std::uint32_t words);
    std::optional<std::string> textProperty(std::uint32_t window, std::uint32_t atom);
    bool screenSaverOn();
    bool dpmsAsleep();
    void takeEvents();
    void settle();

    xcb_connection_t* connection_ = nullptr;
    // True from a complete set-up until the connection is found broken.
    bool connected_ = false;
    std::uint32_t root_ = 0;
    bool hasScreenSaver_ = false;
    std::uint8_t screenSaverNotify_ = 0;  // the extension's notify event code
    bool hasDpms_ = false;                // the extension, and the screen capable of it
    bool displayAsleep_ = false;          // as last emitted (or found at construction)
    std::unique_ptr<Atoms> atoms_;
    QSocketNotifier* notifier_ = nullptr;
    QTimer debounce_;
    std::uint32_t reportedWindow_ = 0;
    DesktopFileIndex applications_;
    // The window _NET_ACTIVE_WINDOW named when last read, whose destruction
    // this session listens for; and whether it still exists. Its application
    // is cached so ticks do not ask the server again; the cache goes with it.
    std::uint32_t watchedWindow_ = 0;
    bool watchedAlive_ = false;
    std::optional<FrontApplication> cachedApplication_;
};

}  // namespace kvillo
