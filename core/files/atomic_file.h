#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace kvillo {

// Why a file could not be written. The file that was there is unchanged.
class FileWriteError {
public:
    FileWriteError(std::string path, std::error_code error)
        : path_(std::move(path)), error_(error) {}

    // The path as the caller gave it.
    const std::string& path() const { return path_; }
    std::error_code error() const { return error_; }
    // The system's words for the error: "Permission denied".
    std::string reason() const { return error_.message(); }
    // "cannot write /home/kari/mars.csv: Permission denied"
    std::string message() const { return "cannot write " + path_ + ": " + reason(); }

private:
    std::string path_;
    std::error_code error_;
};

// The file that `path` finally names: symbolic links followed one by one,
// a relative link read from the folder holding it. The last one need not
// exist (a dangling link names the file it would create). Unchanged when
// `path` is no link; ELOOP after 40 links.
std::string resolveSymbolicLinks(const std::string& path, std::error_code& error);

// Replaces the file that `path` names with `bytes`, so that a reader, a
// crash or a full disk leaves either the old contents or the new, never a
// mix: a temporary file in the same folder is written, flushed to disk and
// renamed over the target, then the folder is flushed.
//
// A symbolic link is kept and its target replaced (created when it is
// dangling). The existing file's permission bits and, where allowed, its
// owner are kept; a new file gets exactly `newFileMode`. The folder must
// exist. A target that exists but is not a regular file (a folder, a pipe)
// is refused.
//
// Returns the error, naming `path`, when the file could not be replaced;
// the old file is then untouched and no temporary file is left. Safe from
// any thread; two writers of one file leave one of the two contents whole.
std::optional<FileWriteError> writeFileAtomically(const std::string& path, std::string_view bytes,
                                                  mode_t newFileMode);

}  // namespace kvillo
