#include "platform/linux/linux_desktop.h"

#include <cmath>
#include <iostream>

#include "platform/linux/wayland/settled_focus.h"

namespace kvillo {

LinuxDesktop::LinuxDesktop(const Clock& clock) {
    if (qEnvironmentVariableIsSet("WAYLAND_DISPLAY")) {
        wayland_ = std::make_unique<WaylandSession>(clock);
        if (!wayland_->isConnected()) {
            std::cerr << "kvillo: cannot connect to the Wayland compositor "
                      << qgetenv("WAYLAND_DISPLAY").toStdString() << ": "
                      << wayland_->connectError() << "\n";
            wayland_.reset();
        }
    }
    if (qEnvironmentVariableIsSet("DISPLAY")) {
        x11_ = std::make_unique<X11Session>();
        if (!x11_->isConnected()) {
            x11_.reset();
        }
    }
    // Under Wayland both follow the focus, each settling on its own; an
    // XWayland window leaves both at once, and reading before the slower one
    // has settled would name it by the other's name for a moment.
    settle_.setSingleShot(true);
    settle_.setInterval(SettledFocus::kSettleTime);
    connect(&settle_, &QTimer::timeout, this, &LinuxDesktop::frontChanged);
    if (wayland_) {
        connect(wayland_.get(), &WaylandSession::activeWindowChanged, this,
                &LinuxDesktop::sourceChanged);
        connect(wayland_.get(), &WaylandSession::displaySleepChanged, this,
                [this](bool asleep) { send(asleep ? events_.displaySlept : events_.woke); });
        connect(wayland_.get(), &WaylandSession::connectionLost, this, [this](bool compositorGone) {
            if (compositorGone) {
                endSession();
            } else {
                sourceChanged();
            }
        });
    }
    if (x11_) {
        connect(x11_.get(), &X11Session::activeWindowChanged, this, &LinuxDesktop::sourceChanged);
        if (wayland_) {
            // XWayland may stop (or be stopped when no X11 program is left):
            // the queries then answer nothing and the compositor's windows
            // are what is in front.
            connect(x11_.get(), &X11Session::connectionLost, this, &LinuxDesktop::sourceChanged);
        } else {
            connect(x11_.get(), &X11Session::displaySleepChanged, this,
                    [this](bool asleep) { send(asleep ? events_.displaySlept : events_.woke); });
            connect(x11_.get(), &X11Session::connectionLost, this, &LinuxDesktop::endSession);
        }
    }
    tellWhatCannotBeSeen();
    // Direct connections: logind's delay on sleep and shutdown lasts only
    // until these return, and the open row must be written by then.
    connect(&session_, &SessionWatcher::willSleep, this, [this] { send(events_.willSleep); });
    connect(&session_, &SessionWatcher::woke, this, [this] { send(events_.woke); });
    connect(&session_, &SessionWatcher::locked, this, [this] { send(events_.locked); });
    connect(&session_, &SessionWatcher::unlocked, this, [this] { send(events_.unlocked); });
    connect(&session_, &SessionWatcher::sessionEnded, this, &LinuxDesktop::endSession);
}

LinuxDesktop::~LinuxDesktop() = default;

void LinuxDesktop::tellWhatCannotBeSeen() const {
    const DesktopSight seen = sight();
    if (!wayland_ && !x11_) {
        std::cerr << "kvillo: no display to watch, so nothing is recorded\n";
        return;
    }
    if (!seen.frontApplication) {
        std::cerr << (x11_ ? "kvillo: this Wayland desktop does not tell which window is in "
                             "front, so only X11 programs (through XWayland) are recorded\n"
                           : "kvillo: this Wayland desktop does not tell which window is in "
                             "front, so nothing is recorded\n");
    }
    if (!seen.idleTime) {
        std::cerr << "kvillo: this desktop does not tell how long you have been away from "
                     "keyboard and mouse, so idle detection is unavailable\n";
    }
}

DesktopSight LinuxDesktop::sight() const {
    if (wayland_) {
        return DesktopSight{.frontApplication = wayland_->canTellFront(),
                            .idleTime = wayland_->canTellIdleTime(),
                            .completeAfterLogin = wayland_->completeAfterLogin()};
    }
    return DesktopSight{.frontApplication = x11_ != nullptr,
                        .idleTime = x11_ != nullptr && x11_->canTellIdleTime()};
}

void LinuxDesktop::sourceChanged() {
    if (wayland_ && x11_) {
        settle_.start();
    } else {
        frontChanged();
    }
}

void LinuxDesktop::frontChanged() {
    if (events_.activated) {
        events_.activated(frontApplication());
    }
}

void LinuxDesktop::send(const std::function<void()>& event) {
    // A copy: the handler may unsubscribe, which replaces `event`.
    if (auto handler = event) {
        handler();
    }
}

void LinuxDesktop::endSession() {
    if (ended_) {
        return;
    }
    ended_ = true;
    send(events_.ended);
    emit sessionEnded();
}

// Under Wayland an X11 window is active only while it has the focus: the
// compositor clears _NET_ACTIVE_WINDOW when one of its own windows takes it.
bool LinuxDesktop::x11InFront() {
    return x11_ && x11_->frontApplication().has_value();
}

std::optional<FrontApplication> LinuxDesktop::frontApplication() {
    if (x11_) {
        if (auto application = x11_->frontApplication()) {
            return application;
        }
    }
    return wayland_ ? wayland_->frontApplication() : std::nullopt;
}

std::optional<std::string> LinuxDesktop::windowTitle(const FrontApplication&) {
    if (x11InFront()) {
        return x11_->activeWindowTitle();
    }
    return wayland_ ? wayland_->activeWindowTitle() : std::nullopt;
}

Duration LinuxDesktop::secondsSinceLastInput() {
    if (wayland_) {
        return wayland_->secondsSinceLastInput();
    }
    return x11_ ? x11_->secondsSinceLastInput() : 0;
}

void LinuxDesktop::setIdleThreshold(Duration threshold) {
    if (wayland_) {
        wayland_->setIdleThreshold(threshold);
    }
}

bool LinuxDesktop::isDisplayAsleep() {
    if (wayland_) {
        return wayland_->isDisplayAsleep();
    }
    return x11_ && x11_->isDisplayAsleep();
}

void LinuxDesktop::subscribe(DesktopEvents events) {
    events_ = std::move(events);
}

void LinuxDesktop::unsubscribe() {
    events_ = {};
}

void QtRepeatingTimer::start(Duration interval, std::function<void()> tick) {
    QObject::disconnect(connection_);
    connection_ = QObject::connect(&timer_, &QTimer::timeout, std::move(tick));
    timer_.start(static_cast<int>(std::lround(interval * 1000)));
}

void QtRepeatingTimer::stop() {
    timer_.stop();
    QObject::disconnect(connection_);
}

}  // namespace kvillo
