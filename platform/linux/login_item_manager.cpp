#include "platform/linux/login_item_manager.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

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
    std::filesystem::create_directories(std::filesystem::path(autostartFile_).parent_path(),
                                        error);
    std::string temporary = autostartFile_ + ".new";
    {
        std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
        file << "[Desktop Entry]\n"
                "Type=Application\n"
                "Name=Kvillo\n"
                "Comment=Personal time and activity logger\n"
             << "Exec=" << desktopExecArgument(executable_) << "\n"
             << "Icon=kvillo\n"
                "Terminal=false\n"
                "X-GNOME-Autostart-enabled=true\n";
        file.close();
        if (!file) {
            std::filesystem::remove(temporary, error);
            throw LoginItemError("Could not write " + autostartFile_ + ": " +
                                 std::strerror(errno));
        }
    }
    std::filesystem::rename(temporary, autostartFile_, error);
    if (error) {
        std::string reason = error.message();
        std::filesystem::remove(temporary, error);
        throw LoginItemError("Could not write " + autostartFile_ + ": " + reason);
    }
}

}  // namespace kvillo
