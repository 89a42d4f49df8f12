#include <gtest/gtest.h>

#include "platform/linux/wayland/source_choice.h"

namespace kvillo {
namespace {

TEST(SourceChoice, PicksByWhatTheSessionOffersNotByName) {
    using F = FocusKind;
    struct Row {
        const char* name;
        SessionOffer offer;
        SourcePlan plan;
    };
    const std::vector<std::string> sway{"wl_seat", "zwlr_foreign_toplevel_manager_v1",
                                        "org_kde_kwin_idle", "zwlr_output_power_manager_v1"};
    const std::vector<std::string> kwin{"wl_seat", "ext_idle_notifier_v1", "org_kde_kwin_idle",
                                        "org_kde_kwin_dpms_manager"};
    const Row rows[] = {
        {"sway 1.7", {false, false, sway}, {{F::wlrToplevels}, IdleKind::kdeIdle, PowerKind::none}},
        {"KDE Plasma",
         {false, true, kwin},
         {{F::kwinScript}, IdleKind::extIdleNotify, PowerKind::kdeDpms}},
        // The extension may be missing: the protocols are tried after it.
        {"GNOME",
         {true, false, {"wl_seat"}},
         {{F::gnomeExtension}, IdleKind::mutterIdleMonitor, PowerKind::mutterPowerSave}},
        {"a wlroots desktop with a KWin on the bus",
         {false, true, sway},
         {{F::kwinScript, F::wlrToplevels}, IdleKind::kdeIdle, PowerKind::none}},
        {"weston",
         {false, false, {"wl_seat", "weston_desktop_shell"}},
         {{}, IdleKind::none, PowerKind::none}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(planSources(row.offer), row.plan);
    }
}

}  // namespace
}  // namespace kvillo
