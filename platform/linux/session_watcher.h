#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace kvillo {

// Sleep and screen locking as the session bus and logind report them:
// logind's PrepareForSleep(true), the session's LockedHint, and the
// screensavers' ActiveChanged. Without a bus, or without logind, the
// signals simply never come. Main thread only.
class SessionWatcher : public QObject {
    Q_OBJECT
public:
    explicit SessionWatcher(QObject* parent = nullptr);

signals:
    void willSleep();
    void locked();
    void unlocked();

private slots:
    void prepareForSleep(bool sleeping);
    void sessionPropertiesChanged(const QString& interface, const QVariantMap& changed,
                                  const QStringList& invalidated);
    void screensaverActiveChanged(bool active);

private:
    void setLocked(bool isLocked);

    bool locked_ = false;
    QString sessionPath_;
};

}  // namespace kvillo
