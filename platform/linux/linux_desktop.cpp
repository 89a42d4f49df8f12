#include "platform/linux/linux_desktop.h"

#include <cmath>

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
    }
    connect(&session_, &SessionWatcher::willSleep, this, [this] {
        if (events_.willSleep) {
            events_.willSleep();
        }
    });
    connect(&session_, &SessionWatcher::locked, this, [this] {
        if (events_.locked) {
            events_.locked();
        }
    });
    connect(&session_, &SessionWatcher::unlocked, this, [this] {
        if (events_.unlocked) {
            events_.unlocked();
        }
    });
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
