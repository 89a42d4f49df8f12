#include "platform/linux/wayland/wayland_session.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>

#include "core/environment/locale_environment.h"
#include "platform/linux/wayland/gnome_extension_focus.h"
#include "platform/linux/wayland/gnome_extension_setup.h"
#include "platform/linux/wayland/kwin_script_focus.h"
#include "platform/linux/wayland/mutter_idle.h"
#include "platform/linux/wayland/mutter_power_save.h"
#include "platform/linux/wayland/output_power.h"
#include "platform/linux/wayland/settled_focus.h"
#include "platform/linux/wayland/threshold_idle.h"
#include "platform/linux/wayland/wayland_connection.h"
#include "platform/linux/wayland/window_application.h"
#include "platform/linux/wayland/wlr_toplevel_focus.h"

namespace kvillo {
namespace {

bool ownedOnSessionBus(const char* name) {
    auto* bus = QDBusConnection::sessionBus().interface();
    return bus && bus->isServiceRegistered(QString::fromLatin1(name)).value();
}

}  // namespace

WaylandSession::WaylandSession(const Clock& clock)
    : clock_(clock),
      connection_(std::make_unique<WaylandConnection>()),
      applications_(localeEnvironment::messagesLocale().value_or("C")) {
    if (!connection_->isConnected()) {
        return;
    }
    connect(connection_.get(), &WaylandConnection::lost, this, [this](bool compositorGone) {
        settled_.reset();
        focus_.reset();
        cachedApplication_.reset();
        emit connectionLost(compositorGone);
    });

    SessionOffer offer;
    offer.gnomeShell = ownedOnSessionBus("org.gnome.Shell");
    offer.kwin = ownedOnSessionBus("org.kde.KWin");
    for (const auto& global : connection_->globals()) {
        offer.globals.push_back(global.interface);
    }
    const SourcePlan plan = planSources(offer);

    // Every start on GNOME: it also remembers an extension the user had
    // switched on before Kvillo first looked.
    if (offer.gnomeShell) {
        completeAfterLogin_ =
            completesAfterLogin(setUpGnomeExtension(QDBusConnection::sessionBus()));
    }
    for (FocusKind kind : plan.focus) {
        auto source = makeFocus(kind);
        // Under Mutter nothing but the extension can tell, and one that did
        // not answer just now (the screen is locked, the Shell is busy at
        // login or is enabling it) reports as soon as it runs.
        if (source && (source->isReady() || kind == FocusKind::gnomeExtension)) {
            focusHeard_ = source->isReady();
            focus_ = std::move(source);
            break;
        }
    }
    if (focus_) {
        connect(focus_.get(), &FocusSource::changed, this, [this] { focusHeard_ = true; });
        settled_ = std::make_unique<SettledFocus>(*focus_);
        connect(settled_.get(), &SettledFocus::windowChanged, this,
                &WaylandSession::activeWindowChanged);
    }

    if (plan.idle == IdleKind::mutterIdleMonitor) {
        idle_ = std::make_unique<MutterIdle>(QDBusConnection::sessionBus());
    } else if (plan.idle == IdleKind::extIdleNotify || plan.idle == IdleKind::kdeIdle) {
        if (auto idle = std::make_unique<ThresholdIdle>(*connection_, clock_);
            idle->isAvailable()) {
            idle_ = std::move(idle);
        }
    }

    if (plan.power == PowerKind::mutterPowerSave) {
        power_ = std::make_unique<MutterPowerSave>(QDBusConnection::sessionBus());
    } else if (plan.power == PowerKind::kdeDpms) {
        if (auto power = std::make_unique<OutputPower>(*connection_); power->isAvailable()) {
            power_ = std::move(power);
        }
    }
    if (power_) {
        connect(power_.get(), &DisplayPowerSource::changed, this,
                &WaylandSession::displaySleepChanged);
    }
}

WaylandSession::~WaylandSession() {
    // The sources hold protocol objects of the connection: they go first.
    settled_.reset();
    focus_.reset();
    idle_.reset();
    power_.reset();
}

std::unique_ptr<FocusSource> WaylandSession::makeFocus(FocusKind kind) {
    switch (kind) {
        case FocusKind::wlrToplevels:
            return std::make_unique<WlrToplevelFocus>(*connection_);
        case FocusKind::kwinScript:
            return std::make_unique<KWinScriptFocus>(QDBusConnection::sessionBus());
        case FocusKind::gnomeExtension:
            return std::make_unique<GnomeExtensionFocus>(QDBusConnection::sessionBus());
    }
    return nullptr;
}

bool WaylandSession::isConnected() const {
    return connection_->isConnected();
}

const std::string& WaylandSession::connectError() const {
    return connection_->connectError();
}

std::optional<FrontApplication> WaylandSession::frontApplication() {
    if (!settled_ || !settled_->window()) {
        return std::nullopt;
    }
    const FocusedWindow& window = *settled_->window();
    if (!cachedApplication_ || !sameWindow(cachedWindow_, window)) {
        cachedWindow_ = window;
        cachedApplication_ = applicationOf(window, applications_);
    }
    return cachedApplication_;
}

std::optional<std::string> WaylandSession::activeWindowTitle() const {
    if (!settled_ || !settled_->window() || settled_->window()->title.empty()) {
        return std::nullopt;
    }
    return settled_->window()->title;
}

void WaylandSession::setIdleThreshold(Duration threshold) {
    if (idle_) {
        idle_->setThreshold(threshold);
    }
}

Duration WaylandSession::secondsSinceLastInput() {
    return idle_ && isConnected() ? idle_->secondsSinceLastInput() : 0;
}

bool WaylandSession::isDisplayAsleep() const {
    return power_ && isConnected() && power_->isAsleep();
}

}  // namespace kvillo
