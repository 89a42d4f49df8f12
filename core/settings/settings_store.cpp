#include "core/settings/settings_store.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "core/files/atomic_file.h"

namespace kvillo {

SettingsStore::SettingsStore(std::string path, nlohmann::json brokenFileValues)
    : path_(std::move(path)), brokenFileValues_(std::move(brokenFileValues)) {}

SettingsStore::FileState SettingsStore::fileState() const {
    std::lock_guard lock(mutex_);
    current();
    if (unreadable_) {
        return FileState::unreadable;
    }
    if (corrupt_) {
        return FileState::corrupt;
    }
    return stamp_.exists ? FileState::readable : FileState::missing;
}

const nlohmann::json& SettingsStore::current() const {
    FileStamp stamp;
    struct stat info {};
    if (::stat(path_.c_str(), &info) == 0) {
        stamp = {true, static_cast<long long>(info.st_dev), static_cast<long long>(info.st_ino),
                 static_cast<long long>(info.st_size),
                 info.st_mtim.tv_sec * 1'000'000'000LL + info.st_mtim.tv_nsec};
    }
    if (loaded_ && stamp == stamp_) {
        return cached_;
    }
    loaded_ = true;
    stamp_ = stamp;
    cached_ = nlohmann::json::object();
    corrupt_ = false;
    unreadable_ = false;
    if (!stamp.exists) {
        return cached_;
    }
    std::ifstream file(path_, std::ios::binary);
    if (!file) {
        unreadable_ = true;
        return cached_;
    }
    std::stringstream contents;
    contents << file.rdbuf();
    auto parsed = nlohmann::json::parse(contents.str(), nullptr, false);
    if (parsed.is_object()) {
        cached_ = std::move(parsed);
    } else {
        corrupt_ = true;
    }
    return cached_;
}

std::optional<nlohmann::json> SettingsStore::value(const std::string& key) const {
    std::lock_guard lock(mutex_);
    const auto& object = current();
    auto found = object.find(key);
    if (found != object.end()) {
        return *found;
    }
    if (corrupt_ || unreadable_) {
        if (auto standIn = brokenFileValues_.find(key); standIn != brokenFileValues_.end()) {
            return *standIn;
        }
    }
    return std::nullopt;
}

bool SettingsStore::set(const std::string& key, nlohmann::json value) {
    std::lock_guard lock(mutex_);
    nlohmann::json object = current();
    if (corrupt_ || unreadable_) {
        object.update(brokenFileValues_);
    }
    object[key] = std::move(value);
    return replace(object);
}

bool SettingsStore::remove(const std::string& key) {
    std::lock_guard lock(mutex_);
    nlohmann::json object = current();
    if (corrupt_ || unreadable_) {
        object.update(brokenFileValues_);
    } else if (!object.contains(key)) {
        return true;
    }
    object.erase(key);
    return replace(object);
}

bool SettingsStore::replace(const nlohmann::json& object) {
    // A file that exists but cannot be read may hold good settings; writing
    // would replace them with only the one key.
    if (unreadable_) {
        return false;
    }
    std::filesystem::path target(path_);
    std::error_code error;
    std::filesystem::create_directories(target.parent_path(), error);

    if (corrupt_) {
        // The file the link names is kept aside; the link then names the
        // new file.
        std::string corrupt = resolveSymbolicLinks(path_, error);
        if (!error) {
            std::filesystem::rename(corrupt, corrupt + ".corrupt", error);
        }
        if (error) {
            return false;
        }
        corrupt_ = false;
    }

    // Settings may hold names and paths: readable by the user alone.
    if (writeFileAtomically(path_, object.dump(2) + "\n", 0600)) {
        return false;
    }
    loaded_ = false;
    return true;
}

}  // namespace kvillo
