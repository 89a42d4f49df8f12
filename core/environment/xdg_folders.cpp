#include "core/environment/xdg_folders.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace kvillo::xdg {
namespace {

std::string folderOr(const char* variable, const char* belowHome) {
    const char* value = std::getenv(variable);
    if (value && value[0] == '/') {
        return value;
    }
    return homeFolder() + "/" + belowHome;
}

}  // namespace

std::string homeFolder() {
    if (const char* home = std::getenv("HOME"); home && *home) {
        return home;
    }
    if (const passwd* account = ::getpwuid(::getuid()); account && account->pw_dir) {
        return account->pw_dir;
    }
    return "/";
}

std::string dataHome() {
    return folderOr("XDG_DATA_HOME", ".local/share");
}

std::string configHome() {
    return folderOr("XDG_CONFIG_HOME", ".config");
}

std::string cacheHome() {
    return folderOr("XDG_CACHE_HOME", ".cache");
}

std::vector<std::string> dataDirs() {
    const char* value = std::getenv("XDG_DATA_DIRS");
    std::string_view rest = value && *value ? value : "/usr/local/share:/usr/share";
    std::vector<std::string> folders;
    while (true) {
        size_t colon = rest.find(':');
        std::string_view folder = rest.substr(0, colon);
        if (folder.starts_with('/')) {
            folders.emplace_back(folder);
        }
        if (colon == std::string_view::npos) {
            return folders;
        }
        rest.remove_prefix(colon + 1);
    }
}

}  // namespace kvillo::xdg
