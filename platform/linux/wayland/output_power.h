#pragma once

#include <list>

#include "platform/linux/wayland/desktop_sources.h"

struct org_kde_kwin_dpms;
struct org_kde_kwin_dpms_manager;
struct wl_output;
struct zwlr_output_power_manager_v1;
struct zwlr_output_power_v1;

namespace kvillo {

class WaylandConnection;

// Display power from the compositor: zwlr_output_power_manager_v1's mode
// events on wlroots, else KDE's DPMS protocol. The displays sleep when every
// output is powered down; one lit output is enough to keep working. Outputs
// that come after the start are not followed.
//
// The connection must outlive it. Main thread only.
class OutputPower : public DisplayPowerSource {
    Q_OBJECT
public:
    explicit OutputPower(WaylandConnection& connection);
    ~OutputPower() override;

    // Whether the compositor offers either protocol.
    bool isAvailable() const { return wlrManager_ != nullptr || kdeManager_ != nullptr; }
    bool isAsleep() const override { return asleep_; }

private:
    struct Output {
        OutputPower* owner = nullptr;
        zwlr_output_power_v1* wlr = nullptr;
        org_kde_kwin_dpms* kde = nullptr;
        bool on = true;
    };

    void setOn(Output& output, bool on);

    zwlr_output_power_manager_v1* wlrManager_ = nullptr;
    org_kde_kwin_dpms_manager* kdeManager_ = nullptr;
    std::list<Output> outputs_;  // a list: listeners hold pointers to its elements
    bool asleep_ = false;
};

}  // namespace kvillo
