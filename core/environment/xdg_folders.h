#pragma once

#include <string>
#include <vector>

namespace kvillo {

// The XDG base directories, read from the environment at each call. A
// relative value is ignored, as the XDG rules require, and the default
// below the home folder is used instead.
namespace xdg {

// $HOME, else the account's home folder, else "/".
std::string homeFolder();

// $XDG_DATA_HOME, default ~/.local/share.
std::string dataHome();

// $XDG_CONFIG_HOME, default ~/.config.
std::string configHome();

// $XDG_CACHE_HOME, default ~/.cache.
std::string cacheHome();

// $XDG_DATA_DIRS in order, default /usr/local/share then /usr/share.
std::vector<std::string> dataDirs();

}  // namespace xdg
}  // namespace kvillo
