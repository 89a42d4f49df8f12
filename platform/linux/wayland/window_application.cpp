#include "platform/linux/wayland/window_application.h"

namespace kvillo {

FrontApplication applicationOf(const FocusedWindow& window, DesktopFileIndex& applications) {
    FrontApplication application;
    application.processID = window.processID;
    std::string appID = window.appID;
    if (constexpr std::string_view suffix = ".desktop"; appID.ends_with(suffix)) {
        appID.resize(appID.size() - suffix.size());
    }
    if (auto found = applications.find(appID, window.wmClass, appID)) {
        application.name = found->name;
        application.bundleID = found->id;
    } else if (!appID.empty()) {
        application.name = appID;
    } else if (!window.wmClass.empty()) {
        application.name = window.wmClass;
    }
    return application;
}

}  // namespace kvillo
