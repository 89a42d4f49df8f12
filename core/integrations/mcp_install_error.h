#pragma once

#include <exception>
#include <string>

#include "core/localisation/language.h"

namespace kvillo {

// Why the installer could not connect or disconnect a client. Whatever the
// kind, the client's files are as they were before the call (but for a
// Claude Code hook, see McpInstaller). `what()` is the English description.
class McpInstallError : public std::exception {
public:
    enum class Kind {
        unreadable,     // the file exists but cannot be read
        notAnObject,    // the file, or its member `member()`, is not a JSON object
        notAList,       // the member `member()` is not a JSON array
        ambiguous,      // the member `member()` is there more than once
        unwritable,     // the file, its backup or its folder cannot be written
        commandFailed,  // the client's own command (`path()`) failed; `detail()` is its output
    };

    // `path` is the file (or command); `member` the member refused, as a
    // path ("hooks → UserPromptSubmit"), empty for the whole file; `detail`
    // the system's reason or the command's output; `entry` the text a user
    // could paste under `pasteUnder` instead, for the kinds that refuse a
    // file as it is (empty otherwise).
    McpInstallError(Kind kind, std::string path, std::string member = {}, std::string detail = {},
                    std::string entry = {}, std::string pasteUnder = {});

    Kind kind() const { return kind_; }
    const std::string& path() const { return path_; }
    const std::string& member() const { return member_; }
    const std::string& detail() const { return detail_; }
    const std::string& entry() const { return entry_; }

    // One sentence in `language`: "Kvillo leaves /home/kari/.cursor/mcp.json
    // alone: “mcpServers” is not an object."
    std::string summary(Language language) const;

    // The summary and, when the file was refused, what to paste where, on
    // the lines below.
    std::string description(Language language) const;

    const char* what() const noexcept override { return english_.c_str(); }

private:
    Kind kind_;
    std::string path_;
    std::string member_;
    std::string detail_;
    std::string entry_;
    std::string pasteUnder_;
    std::string english_;
};

}  // namespace kvillo
