#pragma once

#include <string>

namespace kvillo {

// A client's configuration file as it was before a change.
struct ConfigText {
    bool exists = false;  // false: no file (or a dangling link, which a write would create)
    std::string text;
};

// The suffix of the copy kept beside a file before Kvillo first changes it.
inline constexpr const char* kBackupSuffix = ".kvillo-backup";

// Reads the file at `path`. Throws McpInstallError(unreadable) when it
// exists but cannot be read (no permission, a folder).
ConfigText readConfigFile(const std::string& path);

// Replaces the file at `path`, whose contents were `before`, with `text`:
// makes its folder when missing; when the file exists, was not written by
// Kvillo (`writtenByKvillo` false) and has no backup yet, first copies it
// to `path` + kBackupSuffix with its mode; then writes it atomically,
// keeping a symbolic link, the file's mode and (where allowed) owner, and
// giving a new file mode 0600. Throws McpInstallError(unwritable) naming
// the file that could not be written; the file is then as it was (a backup
// may be left).
void replaceConfigFile(const std::string& path, const ConfigText& before, const std::string& text,
                       bool writtenByKvillo);

// Removes the file at `path`, after the same backup as above. A missing
// file is fine. Throws McpInstallError(unwritable).
void removeConfigFile(const std::string& path, const ConfigText& before, bool writtenByKvillo);

}  // namespace kvillo
