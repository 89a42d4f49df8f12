#include "platform/linux/time_zone_watcher.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

#include <chrono>
#include <filesystem>
#include <system_error>
#include <utility>

namespace kvillo {
namespace {

using namespace std::chrono_literals;

constexpr auto kCheckInterval = 1min;

const QString kTimedate = QStringLiteral("org.freedesktop.timedate1");
const QString kTimedatePath = QStringLiteral("/org/freedesktop/timedate1");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");
const QString kTimezone = QStringLiteral("Timezone");

QString symlinkTarget(const QString& path) {
    std::error_code error;
    auto target = std::filesystem::read_symlink(path.toStdString(), error);
    return error ? QString() : QString::fromStdString(target.string());
}

// "/usr/share/zoneinfo/Europe/Oslo" and "../usr/share/zoneinfo/Europe/Oslo"
// name Europe/Oslo.
QString idBelowZoneinfo(const QString& path) {
    static const QString kZoneinfo = QStringLiteral("zoneinfo/");
    qsizetype at = path.lastIndexOf(kZoneinfo);
    return at < 0 ? QString() : path.mid(at + kZoneinfo.size());
}

// A zone file's id by its path, else by where it links to.
QString idOfZoneFile(const QString& path) {
    QString id = idBelowZoneinfo(path);
    return id.isEmpty() ? idBelowZoneinfo(symlinkTarget(path)) : id;
}

// An id, a zone file or a POSIX rule ("CET-1CEST"); the rule is passed on
// as it is, for the calendar to refuse.
QString idOfTZ(QString tz) {
    if (tz.startsWith(u':')) {
        tz.remove(0, 1);
    }
    return tz.startsWith(u'/') ? idOfZoneFile(tz) : tz;
}

}  // namespace

TimeZoneWatcher::TimeZoneWatcher(QString localtime, QObject* parent)
    : QObject(parent), localtime_(std::move(localtime)), timer_(this) {
    localtimeTarget_ = symlinkTarget(localtime_);
    timer_.setInterval(kCheckInterval);
    connect(&timer_, &QTimer::timeout, this, &TimeZoneWatcher::check);
    QDBusConnection system = QDBusConnection::systemBus();
    if (system.isConnected()) {
        // Qt follows the name to whichever process owns it, so announcements
        // from a timedated started later arrive too.
        system.connect(kTimedate, kTimedatePath, kProperties, QStringLiteral("PropertiesChanged"),
                       this, SLOT(timedatedPropertiesChanged(QString, QVariantMap, QStringList)));
        askTimedated();
    }
}

std::string TimeZoneWatcher::currentZone() {
    QString zone = idOfTZ(qEnvironmentVariable("TZ"));
    if (zone.isEmpty()) {
        zone = timedatedZone_;
    }
    if (zone.isEmpty()) {
        zone = idBelowZoneinfo(symlinkTarget(localtime_));
    }
    return zone.toStdString();
}

void TimeZoneWatcher::subscribe(std::function<void()> changed) {
    changed_ = std::move(changed);
    reported_ = currentZone();
    timer_.start();
}

void TimeZoneWatcher::unsubscribe() {
    changed_ = {};
    timer_.stop();
}

void TimeZoneWatcher::check() {
    QString target = symlinkTarget(localtime_);
    if (target != localtimeTarget_) {
        localtimeTarget_ = target;
        // timedated reads the same link; whatever it said before is stale.
        askTimedated();
    }
    notifyIfChanged();
}

void TimeZoneWatcher::timedatedPropertiesChanged(const QString& interface,
                                                 const QVariantMap& changed,
                                                 const QStringList& invalidated) {
    if (interface != kTimedate) {
        return;
    }
    if (changed.contains(kTimezone)) {
        timedatedZone_ = changed.value(kTimezone).toString();
        notifyIfChanged();
    } else if (invalidated.contains(kTimezone)) {
        askTimedated();
    }
}

void TimeZoneWatcher::askTimedated() {
    QDBusConnection system = QDBusConnection::systemBus();
    if (!system.isConnected()) {
        return;
    }
    QDBusMessage get = QDBusMessage::createMethodCall(kTimedate, kTimedatePath, kProperties,
                                                      QStringLiteral("Get"));
    get << kTimedate << kTimezone;
    // Asynchronously: asking may start timedated, which takes a while.
    auto* pending = new QDBusPendingCallWatcher(system.asyncCall(get), this);
    connect(pending, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* call) {
                QDBusPendingReply<QDBusVariant> reply = *call;
                // No answer means no timedated: the other sources decide.
                timedatedZone_ = reply.isError() ? QString() : reply.value().variant().toString();
                call->deleteLater();
                notifyIfChanged();
            });
}

void TimeZoneWatcher::notifyIfChanged() {
    std::string zone = currentZone();
    if (zone == reported_) {
        return;
    }
    reported_ = zone;
    if (changed_) {
        changed_();
    }
}

}  // namespace kvillo
