#include "platform/linux/login_item_manager.h"

#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include <cstdlib>

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
    // A unique temporary name: two instances switching at once must not
    // write into each other's file.
    std::string temporary = autostartFile_ + ".XXXXXX";
    int fd = ::mkstemp(temporary.data());
    if (fd < 0) {
        throw LoginItemError("Could not write " + autostartFile_ + ": " + std::strerror(errno));
    }
    bool written = ::write(fd, entry.data(), entry.size()) == static_cast<ssize_t>(entry.size());
    int writeErrno = errno;
    ::fchmod(fd, 0644);
    if (::close(fd) != 0 || !written) {
        std::filesystem::remove(temporary, error);
        throw LoginItemError("Could not write " + autostartFile_ + ": " +
                             std::strerror(written ? EIO : writeErrno));
    }
    std::filesystem::rename(temporary, autostartFile_, error);
    if (error) {
        std::string reason = error.message();
        std::filesystem::remove(temporary, error);
        throw LoginItemError("Could not write " + autostartFile_ + ": " + reason);
    }
}

}  // namespace kvillo
