#include "platform/linux/wayland/threshold_idle.h"

#include <wayland-client.h>

#include <algorithm>
#include <cmath>

#include "ext-idle-notify-v1-client.h"
#include "idle-client.h"
#include "platform/linux/wayland/wayland_connection.h"

namespace kvillo {

ThresholdIdle::ThresholdIdle(WaylandConnection& connection, const Clock& clock)
    : connection_(connection), clock_(clock) {
    seat_ = connection.seat();
    if (!seat_) {
        return;
    }
    extNotifier_ =
        static_cast<ext_idle_notifier_v1*>(connection.bind(ext_idle_notifier_v1_interface, 1));
    if (!extNotifier_) {
        kdeIdle_ = static_cast<org_kde_kwin_idle*>(connection.bind(org_kde_kwin_idle_interface, 1));
    }
}

ThresholdIdle::~ThresholdIdle() {
    release();
    if (extNotifier_) {
        ext_idle_notifier_v1_destroy(extNotifier_);
    }
    if (kdeIdle_) {
        org_kde_kwin_idle_destroy(kdeIdle_);
    }
}

void ThresholdIdle::release() {
    if (extNotification_) {
        ext_idle_notification_v1_destroy(extNotification_);
        extNotification_ = nullptr;
    }
    if (kdeTimeout_) {
        org_kde_kwin_idle_timeout_release(kdeTimeout_);
        kdeTimeout_ = nullptr;
    }
}

void ThresholdIdle::setThreshold(Duration threshold) {
    if (threshold_ == threshold || !isAvailable() || !connection_.isConnected()) {
        return;
    }
    threshold_ = threshold;
    // An absence under way stays one until the compositor says "back": the
    // new notification only starts counting now.
    release();
    const auto milliseconds = static_cast<std::uint32_t>(std::lround(threshold * 1000));
    if (extNotifier_) {
        static const ext_idle_notification_v1_listener listener = {
            .idled = [](void* data,
                        ext_idle_notification_v1*) { static_cast<ThresholdIdle*>(data)->idled(); },
            .resumed =
                [](void* data, ext_idle_notification_v1*) {
                    static_cast<ThresholdIdle*>(data)->resumed();
                }};
        extNotification_ =
            ext_idle_notifier_v1_get_idle_notification(extNotifier_, milliseconds, seat_);
        ext_idle_notification_v1_add_listener(extNotification_, &listener, this);
    } else {
        static const org_kde_kwin_idle_timeout_listener listener = {
            .idle = [](void* data,
                       org_kde_kwin_idle_timeout*) { static_cast<ThresholdIdle*>(data)->idled(); },
            .resumed =
                [](void* data, org_kde_kwin_idle_timeout*) {
                    static_cast<ThresholdIdle*>(data)->resumed();
                }};
        kdeTimeout_ = org_kde_kwin_idle_get_idle_timeout(kdeIdle_, seat_, milliseconds);
        org_kde_kwin_idle_timeout_add_listener(kdeTimeout_, &listener, this);
    }
    // The compositor counts from when it gets the request.
    connection_.flush();
}

void ThresholdIdle::idled() {
    if (threshold_) {
        TimePoint since = clock_.now() - *threshold_;
        lastInput_ = lastInput_ ? std::min(*lastInput_, since) : since;
    }
}

void ThresholdIdle::resumed() {
    lastInput_.reset();
}

Duration ThresholdIdle::secondsSinceLastInput() {
    if (!lastInput_ || !connection_.isConnected()) {
        return 0;
    }
    return clock_.now() - *lastInput_;
}

}  // namespace kvillo
