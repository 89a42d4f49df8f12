#pragma once

#include <QDBusConnection>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "platform/linux/wayland/desktop_sources.h"

namespace kvillo {

// Whether Mutter has powered the displays down, from the PowerSaveMode
// property of org.gnome.Mutter.DisplayConfig (-1 unknown, 0 on, 1 standby,
// 2 suspend, 3 off): read at construction (waiting at most about 2 s), then
// followed through PropertiesChanged. Asleep in standby, suspend and off;
// awake when on, unknown, or when Mutter cannot be asked.
//
// Main thread only; `bus` is the session bus, kept for the object's life.
class MutterPowerSave : public DisplayPowerSource {
    Q_OBJECT
public:
    explicit MutterPowerSave(const QDBusConnection& bus);

    bool isAsleep() const override { return asleep_; }

    // Whether displays in this PowerSaveMode are powered down.
    static bool isAsleepMode(int mode) { return mode >= 1 && mode <= 3; }

private slots:
    void propertiesChanged(const QString& interface, const QVariantMap& changed,
                           const QStringList& invalidated);

private:
    void readMode();
    void setMode(int mode);

    QDBusConnection bus_;
    bool asleep_ = false;
};

}  // namespace kvillo
