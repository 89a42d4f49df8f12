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

namespace kvillo {

// The X server as the activity monitor sees it: the active window (from the
// window manager's _NET_ACTIVE_WINDOW, followed by events, never polled),
// its application and title, input idle time and display sleep. X errors
// come back as values; nothing here can abort the process.
// Main thread only.
class X11Session : public QObject {
    Q_OBJECT
public:
    // Connects to $DISPLAY; check isConnected().
    X11Session();
    ~X11Session() override;

    bool isConnected() const;

    std::optional<FrontApplication> frontApplication();
    std::optional<std::string> activeWindowTitle();
    Duration secondsSinceLastInput();
    // DPMS in a mode other than On, or the X screensaver on.
    bool isDisplayAsleep();

signals:
    // The active window changed and stayed so for the debounce interval
    // (window managers pass through "no window" between two windows).
    void activeWindowChanged();

private:
    struct Atoms;
    std::uint32_t activeWindow();
    std::optional<std::string> textProperty(std::uint32_t window, std::uint32_t atom);
    void readEvents();
    void settle();

    xcb_connection_t* connection_ = nullptr;
    std::uint32_t root_ = 0;
    bool hasScreenSaver_ = false;
    bool hasDpms_ = false;
    std::unique_ptr<Atoms> atoms_;
    QSocketNotifier* notifier_ = nullptr;
    QTimer debounce_;
    std::uint32_t reportedWindow_ = 0;
    DesktopFileIndex applications_;
    // The last window's application, so ticks do not ask the server again.
    std::uint32_t cachedWindow_ = 0;
    std::optional<FrontApplication> cachedApplication_;
};

}  // namespace kvillo
