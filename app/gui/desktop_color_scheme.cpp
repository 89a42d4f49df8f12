#include "app/gui/desktop_color_scheme.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QPalette>

#include "app/gui/theme.h"

namespace kvillo {
namespace {

constexpr auto kService = "org.freedesktop.portal.Desktop";
constexpr auto kPath = "/org/freedesktop/portal/desktop";
constexpr auto kInterface = "org.freedesktop.portal.Settings";
constexpr auto kGroup = "org.freedesktop.appearance";
constexpr auto kKey = "color-scheme";

// Read() wraps the value in one variant more than the signal does (older
// portals); unwrap all of them.
QVariant unwrap(QVariant value) {
    while (value.canConvert<QDBusVariant>() && value.userType() == qMetaTypeId<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

}  // namespace

DesktopColorScheme::DesktopColorScheme(Theme& theme, QObject* parent)
    : QObject(parent), theme_(theme) {
    theme_.setDark(paletteIsDark());
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return;
    }
    bus.connect(kService, kPath, kInterface, "SettingChanged", this,
                SLOT(settingChanged(QString, QString, QDBusVariant)));
    auto read = QDBusMessage::createMethodCall(kService, kPath, kInterface, "Read");
    read << QString(kGroup) << QString(kKey);
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(read), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](auto* call) {
        QDBusPendingReply<QDBusVariant> reply = *call;
        if (!reply.isError()) {
            apply(reply.value().variant());
        }
        call->deleteLater();
    });
}

std::optional<bool> DesktopColorScheme::darkFromPortal(unsigned value) {
    switch (value) {
        case 1:
            return true;
        case 2:
            return false;
        default:
            return std::nullopt;
    }
}

void DesktopColorScheme::settingChanged(const QString& group, const QString& key,
                                        const QDBusVariant& value) {
    if (group == kGroup && key == kKey) {
        apply(value.variant());
    }
}

void DesktopColorScheme::apply(const QVariant& value) {
    const auto dark = darkFromPortal(unwrap(value).toUInt());
    theme_.setDark(dark.value_or(paletteIsDark()));
}

bool DesktopColorScheme::paletteIsDark() const {
    return QGuiApplication::palette().color(QPalette::Window).lightnessF() < 0.5;
}

}  // namespace kvillo
