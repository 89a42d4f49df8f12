#include "platform/linux/login_item_manager.h"

#include <filesystem>

#include "core/files/atomic_file.h"
#include "platform/linux/desktop_entry.h"

namespace kvillo {

LoginItemManager::LoginItemManager(std::string autostartFile, std::string executable)
    : autostartFile_(std::move(autostartFile)), executable_(std::move(executable)) {}

bool LoginItemManager::isEnabled() const {
    auto entry = DesktopEntry::load(autostartFile_);
    return entry && !entry->boolean("Hidden");
}

void LoginItemManager::setEnabled(bool enabled) {
    if (enabled == isEnabled()) {
        return;
    }
    std::error_code error;
    if (!enabled) {
        if (!std::filesystem::remove(autostartFile_, error) && error) {
            throw LoginItemError("Could not remove " + autostartFile_ + ": " + error.message());
        }
        return;
    }
    std::filesystem::create_directories(std::filesystem::path(autostartFile_).parent_path(), error);
    std::string entry =
        "[Desktop Entry]\n"
        "Type=Application\n"
        "Name=Kvillo\n"
        "Comment=Personal time and activity logger\n"
        "Exec=" +
        desktopExecArgument(executable_) +
        "\n"
        "Icon=kvillo\n"
        "Terminal=false\n"
        "X-GNOME-Autostart-enabled=true\n";
    // An autostart entry holds nothing private; desktop files are 0644.
    if (auto failed = writeFileAtomically(autostartFile_, entry, 0644)) {
        throw LoginItemError("Could not write " + autostartFile_ + ": " + failed->reason());
    }
}

}  // namespace kvillo
