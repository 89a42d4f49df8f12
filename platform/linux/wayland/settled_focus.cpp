#include "platform/linux/wayland/settled_focus.h"

namespace kvillo {

SettledFocus::SettledFocus(FocusSource& source, std::chrono::milliseconds settleTime)
    : source_(source), window_(source.focused()) {
    settle_.setSingleShot(true);
    settle_.setInterval(settleTime);
    connect(&settle_, &QTimer::timeout, this, &SettledFocus::settle);
    connect(&source_, &FocusSource::changed, this, &SettledFocus::sourceChanged);
}

void SettledFocus::sourceChanged() {
    auto now = source_.focused();
    if (sameWindow(now, window_)) {
        settle_.stop();  // it passed through something else and came back
        window_ = std::move(now);
        return;
    }
    // A window that retitles itself all the time (a build's progress, a
    // download) must still take over: only another window starts the wait
    // again.
    if (settle_.isActive() && sameWindow(now, pending_)) {
        return;
    }
    pending_ = std::move(now);
    settle_.start();
}

void SettledFocus::settle() {
    auto now = source_.focused();
    bool changed = !sameWindow(now, window_);
    window_ = std::move(now);
    if (changed) {
        emit windowChanged();
    }
}

}  // namespace kvillo
