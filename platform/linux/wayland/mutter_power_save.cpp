#include "platform/linux/wayland/mutter_power_save.h"

#include <QDBusMessage>
#include <QDBusVariant>

namespace kvillo {
namespace {

const QString kService = QStringLiteral("org.gnome.Mutter.DisplayConfig");
const QString kPath = QStringLiteral("/org/gnome/Mutter/DisplayConfig");
const QString kInterface = QStringLiteral("org.gnome.Mutter.DisplayConfig");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");
const QString kMode = QStringLiteral("PowerSaveMode");
constexpr int kAnswerTimeoutMs = 2000;
constexpr int kUnknown = -1;

}  // namespace

MutterPowerSave::MutterPowerSave(const QDBusConnection& bus) : bus_(bus) {
    if (!bus_.isConnected()) {
        return;
    }
    bus_.connect(kService, kPath, kProperties, QStringLiteral("PropertiesChanged"), this,
                 SLOT(propertiesChanged(QString, QVariantMap, QStringList)));
    readMode();
}

void MutterPowerSave::readMode() {
    auto get = QDBusMessage::createMethodCall(kService, kPath, kProperties, QStringLiteral("Get"));
    get << kInterface << kMode;
    QDBusMessage reply = bus_.call(get, QDBus::Block, kAnswerTimeoutMs);
    bool read = reply.type() == QDBusMessage::ReplyMessage && reply.arguments().size() == 1;
    setMode(read ? reply.arguments()[0].value<QDBusVariant>().variant().toInt() : kUnknown);
}

void MutterPowerSave::propertiesChanged(const QString& interface, const QVariantMap& changed,
                                        const QStringList& invalidated) {
    if (interface != kInterface) {
        return;
    }
    if (changed.contains(kMode)) {
        setMode(changed.value(kMode).toInt());
    } else if (invalidated.contains(kMode)) {
        readMode();
    }
}

void MutterPowerSave::setMode(int mode) {
    bool asleep = isAsleepMode(mode);
    if (asleep == asleep_) {
        return;
    }
    asleep_ = asleep;
    emit changed(asleep);
}

}  // namespace kvillo
