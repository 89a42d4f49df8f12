#pragma once

#include "core/capture/desktop.h"
#include "platform/linux/desktop_file_index.h"
#include "platform/linux/wayland/desktop_sources.h"

namespace kvillo {

// The application a focused window belongs to, named by its .desktop file
// as on X11: the app id is tried as the file's id and as a StartupWMClass,
// as given and lower-cased (GTK programs send their program name, Qt
// programs their desktop file name, with or without ".desktop", XWayland
// windows on wlroots their WM_CLASS class). Without a matching file the app id (else the class)
// is the name and there is no bundle id.
FrontApplication applicationOf(const FocusedWindow& window, DesktopFileIndex& applications);

}  // namespace kvillo
