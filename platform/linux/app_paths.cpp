#include "platform/linux/app_paths.h"

#include "core/environment/xdg_folders.h"
#include "core/settings/features.h"
#include "core/store/database.h"

namespace kvillo {

AppPaths AppPaths::fromEnvironment() {
    std::string configHome = xdg::configHome();
    AppPaths paths;
    paths.dataFolder = xdg::dataHome() + "/Kvillo";
    paths.databaseFile = paths.dataFolder + "/" + Database::kFileName;
    paths.settingsFile = configHome + "/kvillo/" + std::string(Features::kDomain) + ".json";
    paths.autostartFile = configHome + "/autostart/kvillo.desktop";
    return paths;
}

}  // namespace kvillo
