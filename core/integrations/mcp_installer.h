#pragma once

#include <nlohmann/json.hpp>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "core/integrations/config_file.h"
#include "core/integrations/mcp_client.h"
#include "core/integrations/mcp_install_error.h"
#include "core/integrations/stdio_command.h"

namespace kvillo {

enum class McpClientStatus {
    connected,     // the client's file names Kvillo
    notConnected,  // it does not, and connecting would work
    notInstalled,  // the client's folder is absent (connecting still works)
    unusable,      // connecting would fail; see the state's problem
};

struct McpClientState {
    McpClientStatus status = McpClientStatus::notConnected;
    std::optional<McpInstallError> problem;  // only for `unusable`
};

// Writes, finds and removes Kvillo in the configuration of the AI
// assistants of McpClient, under HOME and XDG_CONFIG_HOME as they are at
// each call.
//
// JSON files are changed by minimal textual edits (ServerEntry), or not at
// all: a file that is not a JSON object, or whose servers member is no
// object, is refused with an error that shows what to paste. Before Kvillo
// first changes a file it did not write, a copy is kept beside it
// (kBackupSuffix); writes are atomic and keep the file's mode. Continue gets
// a YAML file of Kvillo's own. Claude Code goes through its own `claude mcp`
// command when `claude` is on PATH (its file is rewritten by the running
// program, so an edit beside it could be lost), else through the file; its
// UserPromptSubmit hook (ClaudeCodeHook) is added and removed with it.
//
// Holds no state but its two values, so any thread may call it, one call
// per file at a time. Calls for Claude Code with `claude` on PATH run that
// program and may block for up to kCommandTimeout.
class McpInstaller {
public:
    static constexpr std::chrono::seconds kCommandTimeout{30};

    // `serverURL` is what URL entries name: the server's endpointURL().
    // `bridge` is how Claude Desktop and the hook start the stdio bridge.
    explicit McpInstaller(std::string serverURL,
                          StdioCommand bridge = StdioCommand::forThisProgram());

    const std::string& serverURL() const { return serverURL_; }
    const StdioCommand& bridge() const { return bridge_; }

    // The value written under "kvillo" for `client` (null for Continue).
    nlohmann::ordered_json entry(McpClient client) const;

    // The text of Continue's block file.
    std::string continueBlock() const;

    // The command the Claude Code hook runs.
    std::string hookCommandLine() const;

    // Whether the client's file names Kvillo (any value under "kvillo", a
    // Continue block file). Never fails: what cannot be read counts as no.
    bool isInstalled(McpClient client) const;

    // What the settings page and `kvillo clients` show. Reads only.
    McpClientState state(McpClient client) const;

    // Connects or disconnects `client`; doing either twice changes nothing
    // more. Disconnecting removes only what Kvillo wrote, and a file that
    // holds nothing of Kvillo's is left alone whatever else it holds.
    // Throws McpInstallError. The files are then as they were, except that
    // for Claude Code the server may be connected while the hook failed to
    // be written (the error says which file).
    void install(McpClient client);
    void uninstall(McpClient client);

private:
    struct FileWrite {
        std::string path;
        ConfigText before;
        std::optional<std::string> after;  // none: remove the file
        bool writtenByKvillo = false;
    };
    // What connecting or disconnecting will do, worked out before anything
    // is changed so that a refusal leaves every file alone.
    struct Plan {
        std::vector<FileWrite> writes;
        std::vector<std::vector<std::string>> commands;  // `claude` runs, before the writes
    };

    Plan planInstall(McpClient client) const;
    Plan planUninstall(McpClient client) const;
    void carryOut(const Plan& plan) const;
    bool isPresent(McpClient client) const;

    std::string serverURL_;
    StdioCommand bridge_;
};

}  // namespace kvillo
