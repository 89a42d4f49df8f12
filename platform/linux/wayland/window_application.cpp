#include "platform/linux/wayland/window_application.h"

namespace kvillo {

FrontApplication applicationOf(const FocusedWindow& window, DesktopFileIndex& applications) {
    FrontApplication application;
    application.processID = window.processID;
    if (auto found = applications.find(window.appID, window.wmClass, window.appID)) {
        application.name = found->name;
        application.bundleID = found->id;
    } else if (!window.appID.empty()) {
        application.name = window.appID;
    } else if (!window.wmClass.empty()) {
        application.name = window.wmClass;
    }
    return application;
}

}  // namespace kvillo
