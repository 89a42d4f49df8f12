#include "platform/linux/desktop_notifications.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QStringList>
#include <QVariantMap>

#include <utility>

namespace kvillo {
namespace {

const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
const QString kInterface = QStringLiteral("org.freedesktop.Notifications");
const QString kDesktopEntry = QStringLiteral("io.kvillo.Kvillo");
constexpr uint kDismissedByUser = 2;
constexpr uchar kNormalUrgency = 1;

QString qs(const std::string& text) {
    return QString::fromStdString(text);
}

// Calls `done` with the finished call on this thread's event loop, once;
// also when the call failed before it was sent.
template <typename Done>
void whenFinished(const QDBusPendingCall& call, QObject* context, Done done) {
    auto* watcher = new QDBusPendingCallWatcher(call, context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [watcher, done = std::move(done)] {
                         watcher->deleteLater();
                         done(*watcher);
                     });
}

}  // namespace

DesktopNotifications::DesktopNotifications(NotificationCenter& fallback, QObject* parent)
    : QObject(parent), fallback_(fallback) {
    fallback_.setAnswerHandler([this](const std::string& requestID, const std::string& actionID) {
        answer(requestID, actionID);
    });
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        route_ = Route::kFallback;
        return;
    }
    // The signals are broadcast to every client of the server; ours are told
    // apart by id. Only the service's owner is heard: another program could
    // send the same signals with an id that happens to be ours.
    bus.connect(kService, kPath, kInterface, QStringLiteral("ActionInvoked"), this,
                SLOT(actionInvoked(uint, QString)));
    bus.connect(kService, kPath, kInterface, QStringLiteral("NotificationClosed"), this,
                SLOT(notificationClosed(uint, uint)));
    auto* owners =
        new QDBusServiceWatcher(kService, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(owners, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& newOwner) {
                forgetShown();
                if (!newOwner.isEmpty() && route_ != Route::kAsking) {
                    askCapabilities();
                }
            });
    askCapabilities();
}

void DesktopNotifications::askCapabilities() {
    route_ = Route::kAsking;
    auto ask = QDBusMessage::createMethodCall(kService, kPath, kInterface,
                                              QStringLiteral("GetCapabilities"));
    whenFinished(
        QDBusConnection::sessionBus().asyncCall(ask), this, [this](const QDBusPendingCall& call) {
            QDBusPendingReply<QStringList> capabilities = call;
            route_ =
                capabilities.isValid() && capabilities.value().contains(QStringLiteral("actions"))
                    ? Route::kDesktop
                    : Route::kFallback;
            if (waiting_) {
                post(*std::exchange(waiting_, std::nullopt));
            }
        });
}

DesktopNotifications::~DesktopNotifications() {
    fallback_.setAnswerHandler(nullptr);
}

void DesktopNotifications::setAnswerHandler(AnswerHandler handler) {
    handler_ = std::move(handler);
}

void DesktopNotifications::post(const Question& question) {
    if (route_ == Route::kFallback) {
        fallback_.post(question);
    } else if (route_ == Route::kAsking || notifying_) {
        waiting_ = question;
    } else {
        notify(question);
    }
}

// One Notify at a time, so that the next one can replace what this one
// shows.
void DesktopNotifications::notify(const Question& question) {
    QStringList actions;
    for (const Question::Action& action : question.actions) {
        // The key "default" is what a click on the notification itself
        // invokes; it counts as the first action.
        if (actions.isEmpty()) {
            actions << QString::fromLatin1(kDefaultAction) << qs(action.title);
        }
        actions << qs(action.id) << qs(action.title);
    }
    QVariantMap hints{
        {QStringLiteral("urgency"), QVariant::fromValue(kNormalUrgency)},  // a byte, as specified
        {QStringLiteral("desktop-entry"), kDesktopEntry},
    };
    auto call =
        QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Notify"));
    // A question waits for its answer: it never expires.
    call << QStringLiteral("Kvillo") << shownID_ << kDesktopEntry << qs(question.title)
         << qs(question.body) << actions << hints << 0;
    notifying_ = true;
    whenFinished(QDBusConnection::sessionBus().asyncCall(call), this,
                 [this, question](const QDBusPendingCall& call) {
                     notifying_ = false;
                     QDBusPendingReply<uint> id = call;
                     if (id.isValid() && id.value() != 0) {
                         shownID_ = id.value();
                         shownRequestID_ = question.requestID;
                     } else if (!waiting_) {
                         fallback_.post(question);
                     }
                     for (const auto& signal : std::exchange(early_, {})) {
                         signal();
                     }
                     // A later question replaces this one; it tries the
                     // server again, which may have come back.
                     if (waiting_) {
                         post(*std::exchange(waiting_, std::nullopt));
                     }
                 });
}

void DesktopNotifications::actionInvoked(uint id, const QString& key) {
    if (notifying_) {
        early_.push_back([this, id, key] { actionInvoked(id, key); });
        return;
    }
    if (id == 0 || id != shownID_) {
        return;
    }
    std::string requestID = shownRequestID_;
    // Servers close the notification after an action; that is no second
    // answer.
    forgetShown();
    answer(requestID, key.toStdString());
}

void DesktopNotifications::notificationClosed(uint id, uint reason) {
    if (notifying_) {
        early_.push_back([this, id, reason] { notificationClosed(id, reason); });
        return;
    }
    if (id == 0 || id != shownID_) {
        return;
    }
    std::string requestID = shownRequestID_;
    forgetShown();
    // Expired or closed by a program: not the user's answer.
    if (reason == kDismissedByUser) {
        answer(requestID, kDismissAction);
    }
}

void DesktopNotifications::forgetShown() {
    shownID_ = 0;
    shownRequestID_.clear();
}

void DesktopNotifications::answer(const std::string& requestID, const std::string& actionID) {
    // A copy: the handler may replace itself.
    if (AnswerHandler handler = handler_) {
        handler(requestID, actionID);
    }
}

}  // namespace kvillo
