#include "platform/linux/wayland/source_choice.h"

#include <algorithm>

namespace kvillo {

SourcePlan planSources(const SessionOffer& offer) {
    auto offers = [&offer](const char* interface) {
        return std::find(offer.globals.begin(), offer.globals.end(), interface) !=
               offer.globals.end();
    };
    SourcePlan plan;
    // A desktop shell's own view beats a protocol: it names the .desktop
    // file and the process, which the wlroots protocol cannot.
    if (offer.gnomeShell) {
        plan.focus.push_back(FocusKind::gnomeExtension);
    }
    if (offer.kwin) {
        plan.focus.push_back(FocusKind::kwinScript);
    }
    if (offers("zwlr_foreign_toplevel_manager_v1")) {
        plan.focus.push_back(FocusKind::wlrToplevels);
    }

    // Mutter counts real time since the last input; the protocols only say
    // when a threshold is crossed. ext-idle-notify replaced KDE's protocol,
    // which sway 1.7 still has alone.
    if (offer.gnomeShell) {
        plan.idle = IdleKind::mutterIdleMonitor;
    } else if (offers("ext_idle_notifier_v1")) {
        plan.idle = IdleKind::extIdleNotify;
    } else if (offers("org_kde_kwin_idle")) {
        plan.idle = IdleKind::kdeIdle;
    }

    // wlroots' output-power protocol would take control of the outputs
    // from the user's own tools (see OutputPower).
    if (offer.gnomeShell) {
        plan.power = PowerKind::mutterPowerSave;
    } else if (offers("org_kde_kwin_dpms_manager")) {
        plan.power = PowerKind::kdeDpms;
    }
    return plan;
}

}  // namespace kvillo
