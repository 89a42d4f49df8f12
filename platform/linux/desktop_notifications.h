#pragma once

#include <QObject>
#include <QString>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/model/notification_center.h"

namespace kvillo {

// Questions as desktop notifications with buttons, through the
// org.freedesktop.Notifications service on the session bus. One question is
// shown at a time: posting replaces the one still shown, whatever its
// request identifier.
//
// The server is asked at construction, and again whenever another program
// takes over the service, whether it shows actions; a new server also
// forgets what the old one showed (it numbers from 1 again, and only the
// service's owner is listened to).
// Questions posted before it answers wait (only the latest is kept) and go
// out when it does. Where it cannot show a question with buttons (no session
// bus, no notification server, a server without "actions", a Notify call
// that fails) the question goes to `fallback` instead, so that it is never
// silently lost. This object takes over the fallback's answer handler: the
// fallback's answers come out of this object's handler.
// A server may still draw no buttons although it lists "actions"; the user
// can then answer by clicking the notification (kDefaultAction) or close it.
//
// Threads: made, used and destroyed on the UI thread, which runs Qt's event
// loop; nothing blocks on the bus, and answers are delivered on that thread.
// `fallback` must outlive this object.
class DesktopNotifications : public QObject, public NotificationCenter {
    Q_OBJECT
public:
    explicit DesktopNotifications(NotificationCenter& fallback, QObject* parent = nullptr);
    ~DesktopNotifications() override;

    void setAnswerHandler(AnswerHandler handler) override;
    void post(const Question& question) override;

private slots:
    void actionInvoked(uint id, const QString& key);
    void notificationClosed(uint id, uint reason);

private:
    enum class Route { kAsking, kDesktop, kFallback };

    void askCapabilities();

    void notify(const Question& question);
    void forgetShown();
    void answer(const std::string& requestID, const std::string& actionID);

    NotificationCenter& fallback_;
    AnswerHandler handler_;
    Route route_ = Route::kAsking;
    // The latest question posted while the server's capabilities or a Notify
    // reply were awaited; sent when they come.
    std::optional<Question> waiting_;
    bool notifying_ = false;
    // Signals that came while a Notify's reply was on its way: Qt may
    // deliver a signal before the reply that names its id.
    std::vector<std::function<void()>> early_;
    // The notification on screen: the id the server gave it (0 when none)
    // and the request it asks.
    uint shownID_ = 0;
    std::string shownRequestID_;
};

}  // namespace kvillo
