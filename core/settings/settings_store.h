#pragma once

#include <nlohmann/json.hpp>

#include <mutex>
#include <optional>
#include <string>

namespace kvillo {

// A persistent key-value store: one JSON object in one file, shared by every
// process of the program.
//
// Reads see the file as it is now: it is parsed again whenever it changed on
// disk. Writes re-read, change one key and replace the file with
// writeFileAtomically, so a crash never leaves a half-written file, a
// symbolic link stays a link and the file keeps its mode (a new one is
// 0600). A file that is not a JSON object reads as empty and is moved aside
// to "<file>.corrupt" beside the file it names before the next write, so
// nothing the user had is silently lost. A file that exists but cannot be read also reads as
// empty, and is never written over.
//
// A broken file (corrupt or unreadable) must not quietly give back the
// defaults of settings whose default is the riskier choice: such keys are
// given as `brokenFileValues`, which answer for them while the file is
// broken and are written with the first save that replaces it (unless that
// save sets them itself).
//
// Threads: every member may be called from any thread.
class SettingsStore {
public:
    // What the path held when it was last read.
    enum class FileState { missing, readable, corrupt, unreadable };

    explicit SettingsStore(std::string path,
                           nlohmann::json brokenFileValues = nlohmann::json::object());

    const std::string& path() const { return path_; }
    FileState fileState() const;

    // The stored value, or none when the key is absent.
    std::optional<nlohmann::json> value(const std::string& key) const;

    // Both return false when the file could not be written; nothing of the
    // old file is lost then.
    bool set(const std::string& key, nlohmann::json value);
    bool remove(const std::string& key);

private:
    struct FileStamp {
        bool exists = false;
        long long device = 0, inode = 0, size = 0, modifiedNanoseconds = 0;
        bool operator==(const FileStamp&) const = default;
    };

    // The caller holds mutex_.
    const nlohmann::json& current() const;
    bool replace(const nlohmann::json& object);

    std::string path_;
    nlohmann::json brokenFileValues_;
    mutable std::mutex mutex_;
    mutable FileStamp stamp_;
    mutable nlohmann::json cached_ = nlohmann::json::object();
    mutable bool corrupt_ = false;
    mutable bool unreadable_ = false;
    mutable bool loaded_ = false;
};

}  // namespace kvillo
