#include "platform/linux/linux_desktop.h"

#include <cmath>
#include <iostream>

namespace kvillo {

LinuxDesktop::LinuxDesktop() {
    if (qEnvironmentVariableIsSet("DISPLAY")) {
        x11_ = std::make_unique<X11Session>();
        if (!x11_->isConnected()) {
            x11_.reset();
        }
    }
    if (x11_) {
        connect(x11_.get(), &X11Session::activeWindowChanged, this, [this] {
            if (events_.activated) {
                events_.activated(x11_->frontApplication());
            }
        });
        connect(x11_.get(), &X11Session::displaySleepChanged, this,
                [this](bool asleep) { send(asleep ? events_.displaySlept : events_.woke); });
        connect(x11_.get(), &X11Session::connectionLost, this, &LinuxDesktop::endSession);
    } else if (qEnvironmentVariableIsSet("WAYLAND_DISPLAY")) {
        std::cerr << "kvillo: this Wayland session has no X display, so no window can be seen "
                     "and nothing is recorded; sleep and screen locking are still followed\n";
    } else {
        std::cerr << "kvillo: no display to watch, so nothing is recorded\n";
    }
    // Direct connections: logind's delay on sleep and shutdown lasts only
    // until these return, and the open row must be written by then.
    connect(&session_, &SessionWatcher::willSleep, this, [this] { send(events_.willSleep); });
    connect(&session_, &SessionWatcher::woke, this, [this] { send(events_.woke); });
    connect(&session_, &SessionWatcher::locked, this, [this] { send(events_.locked); });
    connect(&session_, &SessionWatcher::unlocked, this, [this] { send(events_.unlocked); });
    connect(&session_, &SessionWatcher::sessionEnded, this, &LinuxDesktop::endSession);
}

DesktopSight LinuxDesktop::sight() const {
    return DesktopSight{.frontApplication = x11_ != nullptr,
                        .idleTime = x11_ != nullptr && x11_->canTellIdleTime()};
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

LinuxDesktop::~LinuxDesktop() = default;

std::optional<FrontApplication> LinuxDesktop::frontApplication() {
    return x11_ ? x11_->frontApplication() : std::nullopt;
}

std::optional<std::string> LinuxDesktop::windowTitle(const FrontApplication&) {
    return x11_ ? x11_->activeWindowTitle() : std::nullopt;
}

Duration LinuxDesktop::secondsSinceLastInput() {
    return x11_ ? x11_->secondsSinceLastInput() : 0;
}

void LinuxDesktop::setIdleThreshold(Duration) {}

bool LinuxDesktop::isDisplayAsleep() {
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
