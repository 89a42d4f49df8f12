#include "core/files/private_folder.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

namespace kvillo {

std::error_code createPrivateFolder(const std::string& path) {
    std::filesystem::path folder = std::filesystem::path(path).lexically_normal();
    if (folder.has_filename() == false) {
        folder = folder.parent_path();
    }
    std::error_code error;
    std::filesystem::create_directories(folder.parent_path(), error);
    // mkdir applies the umask, which only ever takes bits away from 0700.
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
        return {errno, std::generic_category()};
    }
    if (!std::filesystem::is_directory(folder, error)) {
        return error ? error : std::make_error_code(std::errc::not_a_directory);
    }
    return {};
}

}  // namespace kvillo
