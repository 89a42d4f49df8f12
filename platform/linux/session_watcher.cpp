#include "platform/linux/session_watcher.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusObjectPath>
#include <QDBusReply>

#include <unistd.h>

namespace kvillo {
namespace {

const QString kLogin = QStringLiteral("org.freedesktop.login1");
const QString kLoginPath = QStringLiteral("/org/freedesktop/login1");
const QString kManager = QStringLiteral("org.freedesktop.login1.Manager");
const QString kSession = QStringLiteral("org.freedesktop.login1.Session");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");

}  // namespace

SessionWatcher::SessionWatcher(QObject* parent) : QObject(parent) {
    QDBusConnection system = QDBusConnection::systemBus();
    if (system.isConnected()) {
        system.connect(kLogin, kLoginPath, kManager, QStringLiteral("PrepareForSleep"), this,
                       SLOT(prepareForSleep(bool)));
        QDBusInterface manager(kLogin, kLoginPath, kManager, system);
        QByteArray sessionID = qgetenv("XDG_SESSION_ID");
        QDBusReply<QDBusObjectPath> session =
            sessionID.isEmpty()
                ? manager.call(QStringLiteral("GetSessionByPID"), static_cast<uint>(::getpid()))
                : manager.call(QStringLiteral("GetSession"), QString::fromUtf8(sessionID));
        if (session.isValid()) {
            sessionPath_ = session.value().path();
            system.connect(kLogin, sessionPath_, kProperties, QStringLiteral("PropertiesChanged"),
                           this, SLOT(sessionPropertiesChanged(QString, QVariantMap, QStringList)));
        }
    }
    QDBusConnection sessionBus = QDBusConnection::sessionBus();
    if (sessionBus.isConnected()) {
        for (const char* interface : {"org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver"}) {
            sessionBus.connect(QString(), QString(), QString::fromLatin1(interface),
                               QStringLiteral("ActiveChanged"), this,
                               SLOT(screensaverActiveChanged(bool)));
        }
    }
}

void SessionWatcher::prepareForSleep(bool sleeping) {
    if (sleeping) {
        emit willSleep();
    }
}

void SessionWatcher::sessionPropertiesChanged(const QString& interface, const QVariantMap& changed,
                                              const QStringList& invalidated) {
    if (interface != kSession) {
        return;
    }
    if (changed.contains(QStringLiteral("LockedHint"))) {
        setLocked(changed.value(QStringLiteral("LockedHint")).toBool());
    } else if (invalidated.contains(QStringLiteral("LockedHint"))) {
        QDBusInterface session(kLogin, sessionPath_, kSession, QDBusConnection::systemBus());
        setLocked(session.property("LockedHint").toBool());
    }
}

void SessionWatcher::screensaverActiveChanged(bool active) {
    setLocked(active);
}

void SessionWatcher::setLocked(bool isLocked) {
    if (isLocked == locked_) {
        return;
    }
    locked_ = isLocked;
    if (isLocked) {
        emit locked();
    } else {
        emit unlocked();
    }
}

}  // namespace kvillo
