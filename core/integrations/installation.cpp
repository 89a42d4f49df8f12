#include "core/integrations/installation.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace kvillo {
namespace {

namespace fs = std::filesystem;

bool listsFile(const fs::path& list, const std::string& executable) {
    std::ifstream in(list);
    std::string line;
    while (std::getline(in, line)) {
        if (line == executable) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::string_view Installation::packageSuffix() const {
    switch (kind) {
        case Kind::debianPackage:
            return ".deb";
        case Kind::appImage:
            return ".AppImage";
        case Kind::tarball:
            break;
    }
    return ".tar.gz";
}

Installation Installation::detect(const std::string& executable, const char* appImageVariable,
                                  const std::string& dpkgInfoFolder, std::string_view package) {
    if (appImageVariable && appImageVariable[0] == '/') {
        return {Kind::appImage, appImageVariable};
    }
    // dpkg keeps one list per installed package, named after it, with an
    // architecture when the package is multi-arch. Only ours is read: the
    // folder holds hundreds.
    std::error_code error;
    std::string exact = std::string(package) + ".list";
    std::string withArch = std::string(package) + ":";
    for (const auto& entry : fs::directory_iterator(dpkgInfoFolder, error)) {
        std::string name = entry.path().filename().string();
        bool ours = name == exact || (name.starts_with(withArch) && name.ends_with(".list"));
        if (ours && listsFile(entry.path(), executable)) {
            return {Kind::debianPackage, {}};
        }
    }
    return {Kind::tarball, {}};
}

Installation Installation::ofThisProcess() {
    std::error_code error;
    // The path the package put there, not a symbolic link to it: dpkg lists
    // /usr/bin, and a merged /usr makes /bin a link to it.
    fs::path executable = fs::canonical("/proc/self/exe", error);
    return detect(error ? std::string() : executable.string(), appImageOfThisProcess());
}

const char* Installation::appImageOfThisProcess() {
    const char* appImage = std::getenv("APPIMAGE");
    const char* appDir = std::getenv("APPDIR");
    if (!appImage || !appDir || appDir[0] != '/') {
        return nullptr;
    }
    std::error_code error;
    const auto executable = fs::canonical("/proc/self/exe", error).string();
    const auto mount = fs::weakly_canonical(appDir, error).string();
    return !error && executable.starts_with(mount + "/") ? appImage : nullptr;
}

}  // namespace kvillo
