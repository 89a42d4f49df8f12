#pragma once

#include <QTimer>

#include <chrono>
#include <optional>

#include "platform/linux/wayland/desktop_sources.h"

namespace kvillo {

// The focused window once it has held for a moment: compositors pass
// through "no window" (and KWin through an empty window) on every switch,
// which must not end the row and start it again. A new title of the same
// window counts at once. Main thread only; the source must outlive it.
class SettledFocus : public QObject {
    Q_OBJECT
public:
    static constexpr std::chrono::milliseconds kSettleTime{150};

    explicit SettledFocus(FocusSource& source, std::chrono::milliseconds settleTime = kSettleTime);

    const std::optional<FocusedWindow>& window() const { return window_; }

signals:
    // Another window, or none, has held for the settle time. Not sent for a
    // new title.
    void windowChanged();

private:
    void sourceChanged();
    void settle();

    FocusSource& source_;
    QTimer settle_;
    std::optional<FocusedWindow> window_;
    std::optional<FocusedWindow> pending_;  // what the running wait is for
};

}  // namespace kvillo
