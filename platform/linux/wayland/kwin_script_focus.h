#pragma once

#include <QString>

#include <memory>
#include <optional>

#include "platform/linux/wayland/desktop_sources.h"

// Incomplete here, so that users of this header need not see QtDBus.
class QDBusConnection;
class QTemporaryFile;

namespace kvillo {

class KWinBridge;

// The focused window on KWin (Plasma). KWin shows no other client which
// window is active, so a small script is loaded into it over D-Bus, under
// the fixed name "kvillo-capture" (replacing one a crashed run left), and
// the script calls back this process's unique name on `bus` at
// /io/kvillo/KWinBridge on every activation and every retitling of the
// active window. Calls from anyone but the current owner of org.kde.KWin
// are refused. Works with KWin 5.27 and 6.
//
// Construction asks KWin synchronously, each call waiting at most 2 s: with
// no KWin on the bus it returns at once, not ready, and prints nothing.
// focused() is none until the script's first report, which follows shortly
// after construction. If KWin goes away, focused() becomes none and stays
// so (a new KWin does not get the script). The destructor unloads the
// script, waiting at most 2 s for KWin. Main thread only; `bus` must stay
// connected for the object's life.
class KWinScriptFocus : public FocusSource {
    Q_OBJECT
public:
    explicit KWinScriptFocus(const QDBusConnection& bus);
    ~KWinScriptFocus() override;

    // KWin loaded and started the script.
    bool isReady() const override { return ready_; }
    std::optional<FocusedWindow> focused() const override { return focused_; }

private:
    bool load();
    bool accept(const QString& sender, const std::optional<FocusedWindow>& window);
    void show(const std::optional<FocusedWindow>& window);

    QDBusConnection bus() const;

    // The bus, by the name QtDBus knows it by.
    QString busName_;
    // Who may report: the unique name owning org.kde.KWin, followed as it
    // changes; empty while nobody owns it.
    QString kwinOwner_;
    std::unique_ptr<KWinBridge> bridge_;
    bool registered_ = false;
    // The script text, kept until KWin has evidently read it.
    std::unique_ptr<QTemporaryFile> script_;
    bool ready_ = false;
    std::optional<FocusedWindow> focused_;
};

// A report of the script (all its arguments are strings) as a focused
// window: none when the class is empty (KWin has no active window); the app
// id is the desktop file name, or else the class; a process id that is not
// a positive number is 0.
std::optional<FocusedWindow> kwinFocusedWindow(const QString& desktopFileName,
                                               const QString& resourceClass, const QString& caption,
                                               const QString& processID);

}  // namespace kvillo
