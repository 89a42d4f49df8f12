#include "platform/linux/wayland/output_power.h"

#include <wayland-client.h>

#include <algorithm>

#include "dpms-client.h"
#include "platform/linux/wayland/wayland_connection.h"

namespace kvillo {

OutputPower::OutputPower(WaylandConnection& connection) {
    manager_ = static_cast<org_kde_kwin_dpms_manager*>(
        connection.bind(org_kde_kwin_dpms_manager_interface, 1));
    if (!manager_) {
        return;
    }
    static const org_kde_kwin_dpms_listener listener = {
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
        output.dpms = org_kde_kwin_dpms_manager_get(manager_, each);
        org_kde_kwin_dpms_add_listener(output.dpms, &listener, &output);
    }
    // The current modes come in reply.
    connection.roundtrip();
}

OutputPower::~OutputPower() {
    for (Output& output : outputs_) {
        org_kde_kwin_dpms_release(output.dpms);
    }
    if (manager_) {
        org_kde_kwin_dpms_manager_destroy(manager_);
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
