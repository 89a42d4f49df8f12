#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>

namespace kvillo {

// Waits for a system tray to put the icon in, before one is made. Qt asks
// once per process whether the session bus has a StatusNotifierWatcher with
// a host, and a tray icon made before the panel is up (a login's usual race)
// would stay invisible for good; so this looks for the watcher itself, or,
// on X11, for the owner of the XEmbed tray selection, without asking Qt.
// UI thread; needs the application object.
class TrayHostWatch : public QObject {
    Q_OBJECT
public:
    explicit TrayHostWatch(QObject* parent = nullptr);

    // Starts looking, every 200 ms for at most `patience`. Emits found() or
    // absent() once, the first at once when a tray is already there.
    void start(std::chrono::milliseconds patience);

    // Whether a StatusNotifierWatcher with a registered host is on the
    // session bus, as Qt requires before it uses one.
    static bool statusNotifierHostPresent();
    // Whether this X display's screen has an XEmbed tray; false off X11.
    static bool xembedTrayPresent();

signals:
    void found();
    // `reason` says what was looked for, for the user.
    void absent(const QString& reason);

private:
    void look();

    QTimer poll_;
    std::chrono::steady_clock::time_point deadline_;
};

}  // namespace kvillo
