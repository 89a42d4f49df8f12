#include "platform/linux/wayland/mutter_idle.h"

#include <QDBusMessage>

namespace kvillo {
namespace {

const QString kService = QStringLiteral("org.gnome.Mutter.IdleMonitor");
const QString kPath = QStringLiteral("/org/gnome/Mutter/IdleMonitor/Core");
const QString kInterface = QStringLiteral("org.gnome.Mutter.IdleMonitor");
// The monitor asks every few seconds on the main thread; a Shell that does
// not answer within this is not worth waiting for.
constexpr int kAnswerTimeoutMs = 1000;

}  // namespace

MutterIdle::MutterIdle(const QDBusConnection& bus) : bus_(bus) {}

Duration MutterIdle::secondsSinceLastInput() {
    QDBusMessage reply = bus_.call(
        QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("GetIdletime")),
        QDBus::Block, kAnswerTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != QLatin1String("t")) {
        return 0;
    }
    return static_cast<Duration>(reply.arguments().value(0).toULongLong()) / 1000.0;
}

}  // namespace kvillo
