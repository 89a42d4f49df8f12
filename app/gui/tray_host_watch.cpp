#include "app/gui/tray_host_watch.h"

#include <xcb/xcb.h>

#include <QtGui/qguiapplication_platform.h>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QGuiApplication>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace kvillo {
namespace {

const QString kWatcherService = QStringLiteral("org.kde.StatusNotifierWatcher");

bool onX11() {
    return QGuiApplication::platformName() == QLatin1String("xcb");
}

// The screen number DISPLAY names (":0.1" is screen 1), 0 when it names none.
int displayScreen() {
    const char* display = std::getenv("DISPLAY");
    const char* dot = display ? std::strrchr(display, '.') : nullptr;
    const char* colon = display ? std::strrchr(display, ':') : nullptr;
    return dot && colon && dot > colon ? std::atoi(dot + 1) : 0;
}

}  // namespace

TrayHostWatch::TrayHostWatch(QObject* parent) : QObject(parent) {
    poll_.setInterval(200);
    connect(&poll_, &QTimer::timeout, this, &TrayHostWatch::look);
}

void TrayHostWatch::start(std::chrono::milliseconds patience) {
    deadline_ = std::chrono::steady_clock::now() + patience;
    const QString platform = QGuiApplication::platformName();
    if (platform != QLatin1String("xcb") && platform != QLatin1String("wayland")) {
        // The offscreen and other plugins have no tray at all.
        emit absent(QStringLiteral("the %1 platform has no system tray").arg(platform));
        return;
    }
    look();
}

void TrayHostWatch::look() {
    if (statusNotifierHostPresent() || xembedTrayPresent()) {
        poll_.stop();
        emit found();
        return;
    }
    if (std::chrono::steady_clock::now() >= deadline_) {
        poll_.stop();
        emit absent(onX11() ? QStringLiteral("no system tray: neither a StatusNotifierWatcher with "
                                             "a host on the session bus nor an XEmbed tray")
                            : QStringLiteral("no system tray: no StatusNotifierWatcher with a "
                                             "host on the session bus"));
        return;
    }
    if (!poll_.isActive()) {
        poll_.start();
    }
}

bool TrayHostWatch::statusNotifierHostPresent() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface()->isServiceRegistered(kWatcherService)) {
        return false;
    }
    auto get = QDBusMessage::createMethodCall(
        kWatcherService, QStringLiteral("/StatusNotifierWatcher"),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get << QStringLiteral("org.kde.StatusNotifierWatcher")
        << QStringLiteral("IsStatusNotifierHostRegistered");
    QDBusMessage reply = bus.call(get, QDBus::Block, 1000);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        return false;
    }
    return reply.arguments().first().value<QDBusVariant>().variant().toBool();
}

bool TrayHostWatch::xembedTrayPresent() {
    if (!onX11()) {
        return false;
    }
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    xcb_connection_t* connection = x11 ? x11->connection() : nullptr;
    if (!connection) {
        return false;
    }
    const QByteArray name = "_NET_SYSTEM_TRAY_S" + QByteArray::number(displayScreen());
    std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> atom(
        xcb_intern_atom_reply(connection, xcb_intern_atom(connection, 0, name.size(), name.data()),
                              nullptr),
        &std::free);
    if (!atom) {
        return false;
    }
    std::unique_ptr<xcb_get_selection_owner_reply_t, decltype(&std::free)> owner(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, atom->atom),
                                      nullptr),
        &std::free);
    return owner && owner->owner != XCB_NONE;
}

}  // namespace kvillo
