#include "core/files/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

namespace kvillo {
namespace {

// As many links as the kernel follows before it gives up with ELOOP.
constexpr int kMaxLinks = 40;

std::error_code systemError(int code) {
    return {code, std::generic_category()};
}

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        bytes.remove_prefix(static_cast<size_t>(n));
    }
    return true;
}

// Makes the rename itself durable. Some file systems cannot flush a folder
// (EINVAL); the file is in place by then, so there is nothing to undo.
void syncFolder(const std::string& folder) {
    int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

}  // namespace

std::string resolveSymbolicLinks(const std::string& path, std::error_code& error) {
    error.clear();
    std::filesystem::path current(path);
    for (int links = 0;; ++links) {
        struct stat info {};
        // A path that cannot be looked at is left to the write to report.
        if (::lstat(current.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) {
            return current.string();
        }
        if (links == kMaxLinks) {
            error = systemError(ELOOP);
            return path;
        }
        auto target = std::filesystem::read_symlink(current, error);
        if (error) {
            return path;
        }
        // An absolute target replaces the folder; a relative one is read
        // from the folder that holds the link.
        current = current.parent_path() / target;
    }
}

std::optional<FileWriteError> writeFileAtomically(const std::string& path, std::string_view bytes,
                                                  mode_t newFileMode) {
    std::error_code error;
    const std::filesystem::path target = resolveSymbolicLinks(path, error);
    if (error) {
        return FileWriteError(path, error);
    }
    struct stat existing {};
    bool exists = ::stat(target.c_str(), &existing) == 0;
    if (!exists && errno != ENOENT) {
        return FileWriteError(path, systemError(errno));
    }
    if (exists && !S_ISREG(existing.st_mode)) {
        return FileWriteError(path, systemError(S_ISDIR(existing.st_mode) ? EISDIR : EINVAL));
    }

    std::string folder = target.has_parent_path() ? target.parent_path().string() : ".";
    // Hidden, and short enough to stay under the longest name a folder holds.
    std::string temporary = folder + "/." + target.filename().string().substr(0, 200) + ".XXXXXX";
    int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) {
        return FileWriteError(path, systemError(errno));
    }
    auto fail = [&](int code) {
        if (fd >= 0) {
            ::close(fd);
        }
        ::unlink(temporary.c_str());
        return FileWriteError(path, systemError(code));
    };

    mode_t mode = newFileMode;
    if (exists) {
        // Only root may give a file away; a user keeps their own group at
        // most. Either way the permission bits are set after, since a
        // change of owner clears set-id bits. Those are never carried over:
        // a file that changed owner must not gain the writer's identity.
        if (existing.st_uid != ::geteuid() || existing.st_gid != ::getegid()) {
            (void)::fchown(fd, existing.st_uid, existing.st_gid);
        }
        mode = existing.st_mode & 0777;
    }
    if (::fchmod(fd, mode) != 0 || !writeAll(fd, bytes) || ::fsync(fd) != 0) {
        return fail(errno);
    }
    int closed = ::close(fd);
    fd = -1;
    if (closed != 0) {
        return fail(errno);
    }
    if (::rename(temporary.c_str(), target.c_str()) != 0) {
        return fail(errno);
    }
    syncFolder(folder);
    return std::nullopt;
}

}  // namespace kvillo
