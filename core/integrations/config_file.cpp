#include "core/integrations/config_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "core/files/atomic_file.h"
#include "core/integrations/mcp_install_error.h"

namespace kvillo {
namespace {

[[noreturn]] void throwUnwritable(const std::string& path, const std::string& reason) {
    throw McpInstallError(McpInstallError::Kind::unwritable, path, {}, reason);
}

// The copy is written once, before the first change: later changes are
// Kvillo's own, and the copy keeps what the user had.
void keepBackup(const std::string& path, const ConfigText& before, bool writtenByKvillo) {
    if (!before.exists || writtenByKvillo) {
        return;
    }
    std::string backup = path + kBackupSuffix;
    struct stat info {};
    if (::lstat(backup.c_str(), &info) == 0) {
        return;
    }
    mode_t mode = ::stat(path.c_str(), &info) == 0 ? (info.st_mode & 07777) : 0600;
    if (auto error = writeFileAtomically(backup, before.text, mode)) {
        throwUnwritable(backup, error->reason());
    }
}

}  // namespace

ConfigText readConfigFile(const std::string& path) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        if (errno == ENOENT) {
            return {};
        }
        throw McpInstallError(McpInstallError::Kind::unreadable, path, {}, std::strerror(errno));
    }
    ConfigText config{true, {}};
    char buffer[64 * 1024];
    for (;;) {
        ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            int error = errno;
            ::close(fd);
            throw McpInstallError(McpInstallError::Kind::unreadable, path, {},
                                  std::strerror(error));
        }
        if (n == 0) {
            break;
        }
        config.text.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(fd);
    return config;
}

namespace {

// Clients rewrite their own files while they run: a change made since
// `before` was read would be lost, so the edit is refused instead. (What
// lands between this look and the rename is not seen; that window is
// microseconds, where the one it closes was the whole edit.)
void refuseIfChanged(const std::string& path, const ConfigText& before) {
    ConfigText now = readConfigFile(path);
    if (now.exists != before.exists || now.text != before.text) {
        throwUnwritable(path, "another program changed it meanwhile; try again");
    }
}

}  // namespace

void replaceConfigFile(const std::string& path, const ConfigText& before, const std::string& text,
                       bool writtenByKvillo) {
    refuseIfChanged(path, before);
    std::error_code error;
    std::string target = resolveSymbolicLinks(path, error);
    auto folder = std::filesystem::path(error ? path : target).parent_path();
    if (!folder.empty()) {
        std::filesystem::create_directories(folder, error);
        if (error) {
            throwUnwritable(folder.string(), error.message());
        }
    }
    keepBackup(path, before, writtenByKvillo);
    if (auto failure = writeFileAtomically(path, text, 0600)) {
        throwUnwritable(path, failure->reason());
    }
}

void removeConfigFile(const std::string& path, const ConfigText& before, bool writtenByKvillo) {
    if (!before.exists) {
        return;
    }
    refuseIfChanged(path, before);
    keepBackup(path, before, writtenByKvillo);
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
        throwUnwritable(path, std::strerror(errno));
    }
}

}  // namespace kvillo
