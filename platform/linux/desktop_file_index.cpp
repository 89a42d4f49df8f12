#include "platform/linux/desktop_file_index.h"

#include <algorithm>
#include <filesystem>

#include "core/environment/xdg_folders.h"

namespace kvillo {
namespace {

constexpr std::chrono::seconds kRescanInterval{60};

std::string lowerDashed(std::string text) {
    for (char& c : text) {
        c = c == ' ' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

}  // namespace

DesktopFileIndex::DesktopFileIndex(std::string locale) : locale_(std::move(locale)) {}

std::vector<std::string> DesktopFileIndex::applicationFolders() {
    std::vector<std::string> folders{xdg::dataHome() + "/applications"};
    for (const auto& folder : xdg::dataDirs()) {
        folders.push_back(folder + "/applications");
    }
    return folders;
}

void DesktopFileIndex::scan() {
    pathByID_.clear();
    idByStartupClass_.clear();
    // Earlier folders win, so they are read last.
    auto folders = applicationFolders();
    for (auto folder = folders.rbegin(); folder != folders.rend(); ++folder) {
        std::error_code error;
        std::filesystem::recursive_directory_iterator files(*folder, error);
        for (; !error && files != std::filesystem::recursive_directory_iterator();
             files.increment(error)) {
            const auto& path = files->path();
            if (path.extension() != ".desktop") {
                continue;
            }
            // A file in a subfolder has the folders in its id: kde/foo.desktop is kde-foo.
            std::string relative = std::filesystem::relative(path, *folder, error).string();
            std::replace(relative.begin(), relative.end(), '/', '-');
            std::string id = relative.substr(0, relative.size() - 8);
            pathByID_[id] = path.string();
        }
    }
    for (const auto& [id, path] : pathByID_) {
        if (const DesktopEntry* desktop = entry(path)) {
            if (auto startupClass = desktop->value("StartupWMClass")) {
                idByStartupClass_.emplace(*startupClass, id);
            }
        }
    }
    scanned_ = true;
    scannedAt_ = std::chrono::steady_clock::now();
}

const DesktopEntry* DesktopFileIndex::entry(const std::string& path) {
    auto found = parsed_.find(path);
    if (found == parsed_.end()) {
        found = parsed_.emplace(path, DesktopEntry::load(path)).first;
    }
    return found->second ? &*found->second : nullptr;
}

std::optional<DesktopApplication> DesktopFileIndex::byID(const std::string& id) {
    auto path = pathByID_.find(id);
    if (path == pathByID_.end()) {
        return std::nullopt;
    }
    const DesktopEntry* desktop = entry(path->second);
    if (!desktop || desktop->boolean("Hidden")) {
        return std::nullopt;
    }
    auto name = desktop->localizedValue("Name", locale_);
    if (!name || name->empty()) {
        return std::nullopt;
    }
    return DesktopApplication{id, *name};
}

std::optional<DesktopApplication> DesktopFileIndex::byStartupClass(const std::string& wmClass) {
    auto found = idByStartupClass_.find(wmClass);
    return found == idByStartupClass_.end() ? std::nullopt : byID(found->second);
}

std::optional<DesktopApplication> DesktopFileIndex::find(const std::string& instance,
                                                         const std::string& className,
                                                         const std::string& gtkApplicationID) {
    auto lookUp = [&]() -> std::optional<DesktopApplication> {
        if (!instance.empty()) {
            if (auto found = byStartupClass(instance)) {
                return found;
            }
        }
        if (!className.empty()) {
            if (auto found = byStartupClass(className)) {
                return found;
            }
        }
        for (const auto& name : {instance, className}) {
            if (!name.empty()) {
                if (auto found = byID(lowerDashed(name))) {
                    return found;
                }
                if (auto found = byID(name)) {
                    return found;
                }
            }
        }
        if (!gtkApplicationID.empty()) {
            return byID(gtkApplicationID);
        }
        return std::nullopt;
    };
    if (!scanned_) {
        scan();
    }
    auto found = lookUp();
    if (!found && std::chrono::steady_clock::now() - scannedAt_ > kRescanInterval) {
        scan();  // perhaps installed since
        found = lookUp();
    }
    return found;
}

}  // namespace kvillo
