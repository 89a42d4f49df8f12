#pragma once

#include <QDBusConnection>

#include "platform/linux/wayland/desktop_sources.h"

namespace kvillo {

// Time since the last input on GNOME, from Mutter's IdleMonitor
// (org.gnome.Mutter.IdleMonitor, /org/gnome/Mutter/IdleMonitor/Core). Mutter
// keeps a true counter, so the threshold is not needed. Each
// secondsSinceLastInput() is one call on the bus, waiting at most a second;
// a call that fails (no Mutter, a Shell that hangs) answers 0, "not idle".
//
// Main thread only; `bus` is the session bus, kept for the object's life.
class MutterIdle : public IdleSource {
public:
    explicit MutterIdle(const QDBusConnection& bus);

    void setThreshold(Duration) override {}
    Duration secondsSinceLastInput() override;

private:
    QDBusConnection bus_;
};

}  // namespace kvillo
