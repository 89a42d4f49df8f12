#pragma once

#include <QDBusConnection>
#include <QString>

#include <optional>
#include <string>

#include "platform/linux/wayland/desktop_sources.h"

namespace kvillo {

// The focused window as Kvillo's GNOME Shell extension reports it: the
// .desktop id the Shell resolved ("org.gnome.Nautilus.desktop"; empty, or
// the Shell's own "window:<n>", for a window it found no .desktop file for),
// the window class, the title and the process (0 when unknown). None when
// both ids are empty: no window has the focus, or the extension is going
// away.
std::optional<FocusedWindow> focusedWindowFromShell(const std::string& appID,
                                                    const std::string& wmClass,
                                                    const std::string& title, unsigned processID);

// The focused window on GNOME, from the Shell extension in
// resources/gnome-shell (GNOME has no interface of its own that tells a
// client which window has the focus). The extension answers GetFocus and
// sends FocusChanged on the Shell's own connection, so it is addressed as
// org.gnome.Shell, and only that name's owner is heard.
//
// Ready when GetFocus answered at construction (waiting at most about 2 s):
// not when the extension is not loaded, and not while the screen is locked,
// as the Shell disables extensions then. A source that was not ready still
// follows the signals, so it becomes useful once the extension appears.
// While the extension is away (locked screen, disabled, the Shell gone)
// focused() is none; the extension reports afresh when it comes back.
//
// Main thread only; `bus` is the session bus, kept for the object's life.
class GnomeExtensionFocus : public FocusSource {
    Q_OBJECT
public:
    explicit GnomeExtensionFocus(const QDBusConnection& bus);

    bool isReady() const override { return ready_; }
    std::optional<FocusedWindow> focused() const override { return focused_; }

private slots:
    void focusChanged(const QString& appID, const QString& wmClass, const QString& title,
                      uint processID);

private:
    void report(const std::optional<FocusedWindow>& window);

    QDBusConnection bus_;
    bool ready_ = false;
    std::optional<FocusedWindow> focused_;
};

}  // namespace kvillo
