#include "platform/linux/wayland/output_power.h"

#include <wayland-client.h>

#include <algorithm>

#include "dpms-client.h"
#include "platform/linux/wayland/wayland_connection.h"
#include "wlr-output-power-management-unstable-v1-client.h"

namespace kvillo {

OutputPower::OutputPower(WaylandConnection& connection) {
    wlrManager_ = static_cast<zwlr_output_power_manager_v1*>(
        connection.bind(zwlr_output_power_manager_v1_interface, 1));
    if (!wlrManager_) {
        kdeManager_ = static_cast<org_kde_kwin_dpms_manager*>(
            connection.bind(org_kde_kwin_dpms_manager_interface, 1));
    }
    if (!isAvailable()) {
        return;
    }
    static const zwlr_output_power_v1_listener wlrListener = {
        .mode =
            [](void* data, zwlr_output_power_v1*, std::uint32_t mode) {
                auto* output = static_cast<Output*>(data);
                output->owner->setOn(*output, mode == ZWLR_OUTPUT_POWER_V1_MODE_ON);
            },
        // The output is gone or cannot tell: it no longer keeps anyone awake.
        .failed =
            [](void* data, zwlr_output_power_v1*) {
                auto* output = static_cast<Output*>(data);
                output->owner->setOn(*output, false);
            },
    };
    static const org_kde_kwin_dpms_listener kdeListener = {
        .supported = [](void*, org_kde_kwin_dpms*, std::uint32_t) {},
        .mode =
            [](void* data, org_kde_kwin_dpms*, std::uint32_t mode) {
                auto* output = static_cast<Output*>(data);
                output->owner->setOn(*output, mode == ORG_KDE_KWIN_DPMS_MODE_ON);
            },
        .done = [](void*, org_kde_kwin_dpms*) {},
    };
    for (wl_output* each : connection.outputs()) {
        Output& output = outputs_.emplace_back();
        output.owner = this;
        if (wlrManager_) {
            output.wlr = zwlr_output_power_manager_v1_get_output_power(wlrManager_, each);
            zwlr_output_power_v1_add_listener(output.wlr, &wlrListener, &output);
        } else {
            output.kde = org_kde_kwin_dpms_manager_get(kdeManager_, each);
            org_kde_kwin_dpms_add_listener(output.kde, &kdeListener, &output);
        }
    }
    // The current modes come in reply.
    connection.roundtrip();
}

OutputPower::~OutputPower() {
    for (Output& output : outputs_) {
        if (output.wlr) {
            zwlr_output_power_v1_destroy(output.wlr);
        }
        if (output.kde) {
            org_kde_kwin_dpms_release(output.kde);
        }
    }
    if (wlrManager_) {
        zwlr_output_power_manager_v1_destroy(wlrManager_);
    }
    if (kdeManager_) {
        org_kde_kwin_dpms_manager_destroy(kdeManager_);
    }
}

void OutputPower::setOn(Output& output, bool on) {
    output.on = on;
    bool asleep = !outputs_.empty() && std::none_of(outputs_.begin(), outputs_.end(),
                                                    [](const Output& each) { return each.on; });
    if (asleep != asleep_) {
        asleep_ = asleep;
        emit changed(asleep);
    }
}

}  // namespace kvillo
