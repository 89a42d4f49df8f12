#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QVariantMap>

#include <functional>
#include <string>

#include "core/time/time_zone_source.h"

namespace kvillo {

// The system's time zone, by the first of these that names one:
// - TZ (":Europe/Oslo", or a file under a zoneinfo folder, or a symlink to
//   one, such as ":/etc/localtime"); an empty TZ counts as unset;
// - systemd-timedated's Timezone property on the system bus, as last
//   answered or announced with PropertiesChanged;
// - the target of the `localtime` symlink below a zoneinfo folder.
// timedated runs only on demand and TZ or the symlink can change without it,
// so while subscribed the watcher also re-reads them once a minute (check());
// timedated is asked again only when the symlink has moved. Without a system
// bus the other two still work. Main thread only.
class TimeZoneWatcher : public QObject, public TimeZoneSource {
    Q_OBJECT
public:
    // `localtime` is the symlink naming the system zone; tests pass their own.
    explicit TimeZoneWatcher(QString localtime = QStringLiteral("/etc/localtime"),
                             QObject* parent = nullptr);

    std::string currentZone() override;
    // `changed` is called only when currentZone() differs from what it was
    // at the last call or at subscribe().
    void subscribe(std::function<void()> changed) override;
    void unsubscribe() override;

public slots:
    // What the timer does once a minute.
    void check();

private slots:
    void timedatedPropertiesChanged(const QString& interface, const QVariantMap& changed,
                                    const QStringList& invalidated);

private:
    void askTimedated();
    void notifyIfChanged();

    QString localtime_;
    QString localtimeTarget_;  // as last read by check()
    QString timedatedZone_;    // empty until timedated answers
    std::string reported_;
    std::function<void()> changed_;
    QTimer timer_;
};

}  // namespace kvillo
