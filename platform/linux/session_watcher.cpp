#include "platform/linux/session_watcher.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>
#include <QDBusVariant>

#include <fcntl.h>
#include <unistd.h>

namespace kvillo {
namespace {

const QString kLogin = QStringLiteral("org.freedesktop.login1");
const QString kLoginPath = QStringLiteral("/org/freedesktop/login1");
const QString kManager = QStringLiteral("org.freedesktop.login1.Manager");
const QString kSession = QStringLiteral("org.freedesktop.login1.Session");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");

// The session logind calls the user's display, for a process that belongs
// to no session (some desktops start their autostart programs in a user
// scope of their own). Empty when there is none.
QString userDisplaySession(const QDBusConnection& system) {
    QDBusInterface manager(kLogin, kLoginPath, kManager, system);
    QDBusReply<QDBusObjectPath> user =
        manager.call(QStringLiteral("GetUser"), static_cast<uint>(::getuid()));
    if (!user.isValid()) {
        return {};
    }
    QDBusMessage get = QDBusMessage::createMethodCall(kLogin, user.value().path(), kProperties,
                                                      QStringLiteral("Get"));
    get << QStringLiteral("org.freedesktop.login1.User") << QStringLiteral("Display");
    QDBusMessage reply = system.call(get);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        return {};
    }
    // (so): the session's id and its object path; "/" when there is none.
    const auto display =
        reply.arguments().first().value<QDBusVariant>().variant().value<QDBusArgument>();
    QString id;
    QDBusObjectPath path;
    display.beginStructure();
    display >> id >> path;
    display.endStructure();
    return path.path() == QStringLiteral("/") ? QString() : path.path();
}

}  // namespace

SessionWatcher::SessionWatcher(QObject* parent) : QObject(parent) {
    // The slot below names this type only by name in this class's meta
    // object; QtDBus finds it there once it is registered.
    qRegisterMetaType<QDBusObjectPath>();
    QDBusConnection system = QDBusConnection::systemBus();
    if (system.isConnected()) {
        // Shutdown and sleep look alike from here: both end the open
        // activity, and a cancelled shutdown is a wake-up.
        for (const char* signal : {"PrepareForSleep", "PrepareForShutdown"}) {
            system.connect(kLogin, kLoginPath, kManager, QString::fromLatin1(signal), this,
                           SLOT(prepareForSleepOrShutdown(bool)));
        }
        system.connect(kLogin, kLoginPath, kManager, QStringLiteral("SessionRemoved"), this,
                       SLOT(sessionRemoved(QString, QDBusObjectPath)));
        QDBusInterface manager(kLogin, kLoginPath, kManager, system);
        QByteArray sessionID = qgetenv("XDG_SESSION_ID");
        QDBusReply<QDBusObjectPath> session =
            sessionID.isEmpty()
                ? manager.call(QStringLiteral("GetSessionByPID"), static_cast<uint>(::getpid()))
                : manager.call(QStringLiteral("GetSession"), QString::fromUtf8(sessionID));
        sessionPath_ = session.isValid() ? session.value().path() : userDisplaySession(system);
        if (!sessionPath_.isEmpty()) {
            system.connect(kLogin, sessionPath_, kProperties, QStringLiteral("PropertiesChanged"),
                           this, SLOT(sessionPropertiesChanged(QString, QVariantMap, QStringList)));
        }
        takeInhibitor();
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

SessionWatcher::~SessionWatcher() {
    releaseInhibitor();
}

void SessionWatcher::takeInhibitor() {
    if (inhibitor_ >= 0) {
        return;
    }
    QDBusMessage call =
        QDBusMessage::createMethodCall(kLogin, kLoginPath, kManager, QStringLiteral("Inhibit"));
    call << QStringLiteral("sleep:shutdown") << QStringLiteral("Kvillo")
         << QStringLiteral("Ending the activity being recorded") << QStringLiteral("delay");
    // Blocking, so that a PrepareForSleep arriving meanwhile is handled only
    // once the inhibitor is held (or known to be refused).
    QDBusReply<QDBusUnixFileDescriptor> reply = QDBusConnection::systemBus().call(call);
    if (reply.isValid() && reply.value().isValid()) {
        // The reply's descriptor closes with the reply; keep our own.
        inhibitor_ = ::fcntl(reply.value().fileDescriptor(), F_DUPFD_CLOEXEC, 0);
    }
}

void SessionWatcher::releaseInhibitor() {
    if (inhibitor_ >= 0) {
        ::close(inhibitor_);
        inhibitor_ = -1;
    }
}

void SessionWatcher::prepareForSleepOrShutdown(bool starting) {
    if (starting) {
        asleep_ = true;
        // Receivers are connected directly, so the last write is done when
        // emit returns and logind may go ahead.
        emit willSleep();
        releaseInhibitor();
    } else {
        takeInhibitor();
        // logind sends false only after true; a stray one is no wake-up.
        if (asleep_) {
            asleep_ = false;
            emit woke();
        }
    }
}

void SessionWatcher::sessionRemoved(const QString& /*id*/, const QDBusObjectPath& path) {
    if (sessionEnded_ || sessionPath_.isEmpty() || path.path() != sessionPath_) {
        return;
    }
    sessionEnded_ = true;
    emit sessionEnded();
}

void SessionWatcher::sessionPropertiesChanged(const QString& interface, const QVariantMap& changed,
                                              const QStringList& invalidated) {
    if (interface != kSession) {
        return;
    }
    if (changed.contains(QStringLiteral("LockedHint"))) {
        lockedHint_ = changed.value(QStringLiteral("LockedHint")).toBool();
    } else if (invalidated.contains(QStringLiteral("LockedHint"))) {
        QDBusInterface session(kLogin, sessionPath_, kSession, QDBusConnection::systemBus());
        lockedHint_ = session.property("LockedHint").toBool();
    }
    updateLocked();
}

void SessionWatcher::screensaverActiveChanged(bool active) {
    screensaverActive_ = active;
    updateLocked();
}

// Either source may say "locked"; only when neither does is the screen
// unlocked (a screensaver can end before logind's unlock, say).
void SessionWatcher::updateLocked() {
    bool isLocked = lockedHint_ || screensaverActive_;
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
