#pragma once

#include <list>
#include <optional>
#include <string>

#include "platform/linux/wayland/desktop_sources.h"

struct zwlr_foreign_toplevel_handle_v1;
struct zwlr_foreign_toplevel_manager_v1;

namespace kvillo {

class WaylandConnection;

// The focused window on wlroots compositors (sway, Hyprland, labwc, river,
// wayfire, niri), from zwlr_foreign_toplevel_manager_v1: the toplevel whose
// state holds "activated". The protocol names no process, so processID
// stays 0. A screen locker on these compositors takes the activation away
// from every window, which reads as no window.
//
// The connection must outlive the source. Main thread only.
class WlrToplevelFocus : public FocusSource {
    Q_OBJECT
public:
    explicit WlrToplevelFocus(WaylandConnection& connection);
    ~WlrToplevelFocus() override;

    bool isReady() const override { return manager_ != nullptr; }
    std::optional<FocusedWindow> focused() const override;

private:
    // A window's state as last completed by "done"; the compositor sends
    // changes one by one and "done" makes them count together.
    struct Toplevel {
        WlrToplevelFocus* owner = nullptr;
        zwlr_foreign_toplevel_handle_v1* handle = nullptr;
        std::string title, appID;
        bool activated = false;
        std::string pendingTitle, pendingAppID;
        bool pendingActivated = false;
    };

    static void onToplevel(void* data, zwlr_foreign_toplevel_manager_v1* manager,
                           zwlr_foreign_toplevel_handle_v1* handle);
    static void onFinished(void* data, zwlr_foreign_toplevel_manager_v1* manager);
    void update();

    zwlr_foreign_toplevel_manager_v1* manager_ = nullptr;
    std::list<Toplevel> toplevels_;  // a list: listeners hold pointers to its elements
    std::optional<FocusedWindow> focused_;
};

}  // namespace kvillo
