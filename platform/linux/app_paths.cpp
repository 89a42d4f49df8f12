#include "platform/linux/app_paths.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

#include "core/settings/features.h"
#include "core/store/database.h"

namespace kvillo {
namespace {

std::string homeFolder() {
    const char* home = std::getenv("HOME");
    if (home && *home) {
        return home;
    }
    if (const passwd* account = ::getpwuid(::getuid()); account && account->pw_dir) {
        return account->pw_dir;
    }
    return "/";
}

std::string xdgFolder(const char* variable, const char* fallbackBelowHome) {
    const char* value = std::getenv(variable);
    if (value && value[0] == '/') {
        return value;
    }
    return homeFolder() + "/" + fallbackBelowHome;
}

}  // namespace

AppPaths AppPaths::fromEnvironment() {
    std::string dataHome = xdgFolder("XDG_DATA_HOME", ".local/share");
    std::string configHome = xdgFolder("XDG_CONFIG_HOME", ".config");
    AppPaths paths;
    paths.dataFolder = dataHome + "/Kvillo";
    paths.databaseFile = paths.dataFolder + "/" + Database::kFileName;
    paths.settingsFile = configHome + "/kvillo/" + std::string(Features::kDomain) + ".json";
    paths.autostartFile = configHome + "/autostart/kvillo.desktop";
    return paths;
}

}  // namespace kvillo
