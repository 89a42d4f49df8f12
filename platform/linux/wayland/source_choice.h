#pragma once

#include <string>
#include <vector>

namespace kvillo {

// What a Wayland session offers, as far as choosing sources goes. Read from
// the session bus and the compositor's registry, never from the desktop's
// name: sway, for one, sets no XDG_CURRENT_DESKTOP.
struct SessionOffer {
    bool gnomeShell = false;           // org.gnome.Shell has an owner on the session bus
    bool kwin = false;                 // org.kde.KWin has an owner
    std::vector<std::string> globals;  // the compositor's registry interfaces
};

enum class FocusKind { gnomeExtension, kwinScript, wlrToplevels };
enum class IdleKind { none, mutterIdleMonitor, extIdleNotify, kdeIdle };
enum class PowerKind { none, mutterPowerSave, kdeDpms };

// The focus sources to try, best first (the first that is ready wins; none
// ready leaves only X11 windows through XWayland), and the idle and display
// power sources to use.
struct SourcePlan {
    std::vector<FocusKind> focus;
    IdleKind idle = IdleKind::none;
    PowerKind power = PowerKind::none;
    bool operator==(const SourcePlan&) const = default;
};

SourcePlan planSources(const SessionOffer& offer);

}  // namespace kvillo
