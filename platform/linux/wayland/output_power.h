#pragma once

#include <list>

#include "platform/linux/wayland/desktop_sources.h"

struct org_kde_kwin_dpms;
struct org_kde_kwin_dpms_manager;

namespace kvillo {

class WaylandConnection;

// Display power from KWin's DPMS protocol, which any client may read. The
// displays sleep when every output is powered down; one lit output is
// enough to keep working. Outputs that come after the start are not
// followed.
//
// wlroots' output-power protocol is not used: it gives one client exclusive
// control of an output, so holding it would stop the user's own tools from
// blanking the screens (and fail where one already does). There, idle time
// and the lock end the row before a screen blanks anyway.
//
// The connection must outlive it. Main thread only.
class OutputPower : public DisplayPowerSource {
    Q_OBJECT
public:
    explicit OutputPower(WaylandConnection& connection);
    ~OutputPower() override;

    // Whether the compositor offers the protocol.
    bool isAvailable() const { return manager_ != nullptr; }
    bool isAsleep() const override { return asleep_; }

private:
    struct Output {
        OutputPower* owner = nullptr;
        org_kde_kwin_dpms* dpms = nullptr;
        bool on = true;
    };

    void setOn(Output& output, bool on);

    org_kde_kwin_dpms_manager* manager_ = nullptr;
    std::list<Output> outputs_;  // a list: listeners hold pointers to its elements
    bool asleep_ = false;
};

}  // namespace kvillo
