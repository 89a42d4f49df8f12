#include "platform/linux/wayland/wlr_toplevel_focus.h"

#include <wayland-client.h>

#include "platform/linux/wayland/wayland_connection.h"
#include "wlr-foreign-toplevel-management-unstable-v1-client.h"

namespace kvillo {
namespace {

// Version 3 adds the parent event, which is ignored; asking for it keeps
// the listener's table in step with what the header declares.
constexpr std::uint32_t kManagerVersion = 3;

}  // namespace

WlrToplevelFocus::WlrToplevelFocus(WaylandConnection& connection) {
    manager_ = static_cast<zwlr_foreign_toplevel_manager_v1*>(
        connection.bind(zwlr_foreign_toplevel_manager_v1_interface, kManagerVersion));
    if (!manager_) {
        return;
    }
    static const zwlr_foreign_toplevel_manager_v1_listener listener = {
        &WlrToplevelFocus::onToplevel, &WlrToplevelFocus::onFinished};
    zwlr_foreign_toplevel_manager_v1_add_listener(manager_, &listener, this);
    // The existing windows and their states come in reply; the focused one
    // is known before the constructor returns.
    connection.roundtrip();
}

WlrToplevelFocus::~WlrToplevelFocus() {
    for (Toplevel& toplevel : toplevels_) {
        zwlr_foreign_toplevel_handle_v1_destroy(toplevel.handle);
    }
    if (manager_) {
        zwlr_foreign_toplevel_manager_v1_destroy(manager_);
    }
}

void WlrToplevelFocus::onToplevel(void* data, zwlr_foreign_toplevel_manager_v1*,
                                  zwlr_foreign_toplevel_handle_v1* handle) {
    auto* self = static_cast<WlrToplevelFocus*>(data);
    Toplevel& toplevel = self->toplevels_.emplace_back();
    toplevel.owner = self;
    toplevel.handle = handle;
    static const zwlr_foreign_toplevel_handle_v1_listener listener = {
        .title = [](void* data, zwlr_foreign_toplevel_handle_v1*,
                    const char* title) { static_cast<Toplevel*>(data)->pendingTitle = title; },
        .app_id = [](void* data, zwlr_foreign_toplevel_handle_v1*,
                     const char* appID) { static_cast<Toplevel*>(data)->pendingAppID = appID; },
        .output_enter = [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
        .output_leave = [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
        .state =
            [](void* data, zwlr_foreign_toplevel_handle_v1*, wl_array* states) {
                auto* toplevel = static_cast<Toplevel*>(data);
                toplevel->pendingActivated = false;
                const auto* state = static_cast<const std::uint32_t*>(states->data);
                for (size_t i = 0; i < states->size / sizeof(std::uint32_t); ++i) {
                    if (state[i] == ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED) {
                        toplevel->pendingActivated = true;
                    }
                }
            },
        .done =
            [](void* data, zwlr_foreign_toplevel_handle_v1*) {
                auto* toplevel = static_cast<Toplevel*>(data);
                toplevel->title = toplevel->pendingTitle;
                toplevel->appID = toplevel->pendingAppID;
                toplevel->activated = toplevel->pendingActivated;
                toplevel->owner->update();
            },
        .closed =
            [](void* data, zwlr_foreign_toplevel_handle_v1* handle) {
                auto* toplevel = static_cast<Toplevel*>(data);
                WlrToplevelFocus* owner = toplevel->owner;
                zwlr_foreign_toplevel_handle_v1_destroy(handle);
                owner->toplevels_.remove_if(
                    [toplevel](const Toplevel& each) { return &each == toplevel; });
                owner->update();
            },
        .parent = [](void*, zwlr_foreign_toplevel_handle_v1*, zwlr_foreign_toplevel_handle_v1*) {},
    };
    zwlr_foreign_toplevel_handle_v1_add_listener(handle, &listener, &toplevel);
}

void WlrToplevelFocus::onFinished(void* data, zwlr_foreign_toplevel_manager_v1*) {
    // The compositor will send nothing more: what was focused is unknown.
    auto* self = static_cast<WlrToplevelFocus*>(data);
    self->focused_.reset();
    emit self->changed();
}

void WlrToplevelFocus::update() {
    std::optional<FocusedWindow> focused;
    for (const Toplevel& toplevel : toplevels_) {
        if (toplevel.activated) {
            focused.emplace();
            focused->appID = toplevel.appID;
            focused->title = toplevel.title;
        }
    }
    if (focused != focused_) {
        focused_ = std::move(focused);
        emit changed();
    }
}

std::optional<FocusedWindow> WlrToplevelFocus::focused() const {
    return focused_;
}

}  // namespace kvillo
