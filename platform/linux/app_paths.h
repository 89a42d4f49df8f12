#pragma once

#include <string>

namespace kvillo {

// Where Kvillo keeps its files, following the XDG base directories: the
// database in $XDG_DATA_HOME/Kvillo (default ~/.local/share/Kvillo), the
// settings and the autostart entry under $XDG_CONFIG_HOME (default ~/.config).
// A relative XDG value is ignored, as the XDG rules require.
struct AppPaths {
    std::string dataFolder;     // .../Kvillo
    std::string databaseFile;   // .../Kvillo/activities.db
    std::string settingsFile;   // .../kvillo/app.kvillo.shared.json
    std::string autostartFile;  // .../autostart/kvillo.desktop

    // Read from the environment now; call again to see a changed one.
    static AppPaths fromEnvironment();
};

}  // namespace kvillo
