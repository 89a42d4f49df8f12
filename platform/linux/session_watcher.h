#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

// Incomplete here: the app includes this header without QtDBus's folders.
class QDBusObjectPath;

namespace kvillo {

// Sleep, shutdown, the end of the session and screen locking as logind and
// the screensavers report them: logind's PrepareForSleep and
// PrepareForShutdown, its SessionRemoved for this session, the session's
// LockedHint, and the screensavers' ActiveChanged (the screen counts as
// locked while either says so). Without a bus, or without logind, the
// signals simply never come. A process outside any logind session (an
// autostarted program in a user scope) follows the user's display session.
// Main thread only.
//
// While it lives it holds a logind "delay" inhibitor for sleep and shutdown,
// so that logind waits (up to its InhibitDelayMaxSec) until willSleep() has
// been handled. Connect willSleep() directly: the inhibitor is released as
// soon as emit returns.
class SessionWatcher : public QObject {
    Q_OBJECT
public:
    explicit SessionWatcher(QObject* parent = nullptr);
    ~SessionWatcher() override;

signals:
    // The machine is about to sleep or shut down.
    void willSleep();
    // After willSleep(): the machine woke, or the shutdown was cancelled.
    void woke();
    // logind removed this process's session (logout); emitted once.
    void sessionEnded();
    void locked();
    void unlocked();

private slots:
    void prepareForSleepOrShutdown(bool starting);
    void sessionRemoved(const QString& id, const QDBusObjectPath& path);
    void sessionPropertiesChanged(const QString& interface, const QVariantMap& changed,
                                  const QStringList& invalidated);
    void screensaverActiveChanged(bool active);

private:
    void takeInhibitor();
    void releaseInhibitor();
    void updateLocked();

    bool lockedHint_ = false;
    bool screensaverActive_ = false;
    bool locked_ = false;
    bool asleep_ = false;
    bool sessionEnded_ = false;
    // Our duplicate of the descriptor logind handed out; closing it releases
    // the inhibitor. -1 when none is held.
    int inhibitor_ = -1;
    QString sessionPath_;
};

}  // namespace kvillo
