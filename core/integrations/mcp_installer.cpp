#include "core/integrations/mcp_installer.h"

#include <filesystem>

#include "core/integrations/claude_code_hook.h"
#include "core/integrations/external_command.h"
#include "core/integrations/server_entry.h"

namespace kvillo {
namespace {

using Json = nlohmann::ordered_json;

// The first line of Continue's block file: what marks it as Kvillo's.
constexpr std::string_view kContinueMarker = "# Kvillo's MCP server.";

std::optional<ConfigText> readQuietly(const std::string& path) {
    try {
        return readConfigFile(path);
    } catch (const McpInstallError&) {
        return std::nullopt;
    }
}

bool exists(const std::string& path) {
    std::error_code error;
    return std::filesystem::exists(path, error);
}

std::string trimmed(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ' || text.back() == '\r')) {
        text.pop_back();
    }
    return text;
}

// The runs of `claude` that leave its user-scope entry as `wanted`: none
// when its file already says just that, so that connecting twice runs
// nothing; an older entry is removed first, as `claude mcp add` refuses a
// name it has.
std::vector<std::vector<std::string>> claudeAddCommands(const std::string& claude,
                                                        const std::string& path,
                                                        std::string_view servers,
                                                        const Json& wanted,
                                                        const std::string& url) {
    auto config = readQuietly(path);
    std::string text = config ? config->text : "";
    bool asWanted = false;
    try {
        asWanted =
            config && config->exists && ServerEntry::setIn(path, text, servers, wanted) == text;
    } catch (const McpInstallError&) {
        // Not for Kvillo to judge: `claude` reads its own file.
    }
    std::vector<std::vector<std::string>> commands;
    if (asWanted) {
        return commands;
    }
    if (ServerEntry::isIn(text, servers)) {
        commands.push_back({claude, "mcp", "remove", "--scope", "user", "kvillo"});
    }
    commands.push_back(
        {claude, "mcp", "add", "--scope", "user", "--transport", "http", "kvillo", url});
    return commands;
}

}  // namespace

McpInstaller::McpInstaller(std::string serverURL, StdioCommand bridge)
    : serverURL_(std::move(serverURL)), bridge_(std::move(bridge)) {}

Json McpInstaller::entry(McpClient client) const {
    switch (McpClients::entryForm(client)) {
        case McpClients::EntryForm::stdio:
            return Json{{"command", bridge_.command}, {"args", bridge_.args}};
        case McpClients::EntryForm::url:
            return Json{{"url", serverURL_}};
        case McpClients::EntryForm::typedUrl:
            return Json{{"type", "http"}, {"url", serverURL_}};
        case McpClients::EntryForm::serverUrl:
            return Json{{"serverUrl", serverURL_}};
        case McpClients::EntryForm::continueBlock:
            break;
    }
    return nullptr;
}

std::string McpInstaller::continueBlock() const {
    // The address is written as a JSON string, which YAML reads as a
    // double-quoted scalar whatever it holds.
    return std::string(kContinueMarker) +
           " Kvillo writes this file when it connects Continue\n"
           "# and removes it when it disconnects it.\n"
           "name: Kvillo\n"
           "version: 1.0.0\n"
           "schema: v1\n"
           "mcpServers:\n"
           "  - name: Kvillo\n"
           "    type: streamable-http\n"
           "    url: " +
           Json(serverURL_).dump() + "\n";
}

std::string McpInstaller::hookCommandLine() const {
    return bridge_.shellLine({"--hook"});
}

bool McpInstaller::isInstalled(McpClient client) const {
    auto config = readQuietly(McpClients::configPath(client));
    if (!config || !config->exists) {
        return false;
    }
    if (client == McpClient::continueApp) {
        return true;
    }
    return ServerEntry::isIn(config->text, McpClients::serversMember(client));
}

bool McpInstaller::isPresent(McpClient client) const {
    if (exists(McpClients::clientFolder(client))) {
        return true;
    }
    return client == McpClient::claudeCode &&
           (findOnPath("claude") || exists(McpClients::configPath(client)));
}

McpClientState McpInstaller::state(McpClient client) const {
    if (isInstalled(client)) {
        return {McpClientStatus::connected, std::nullopt};
    }
    if (!isPresent(client)) {
        return {McpClientStatus::notInstalled, std::nullopt};
    }
    try {
        planInstall(client);
    } catch (const McpInstallError& error) {
        return {McpClientStatus::unusable, error};
    }
    return {McpClientStatus::notConnected, std::nullopt};
}

McpInstaller::Plan McpInstaller::planInstall(McpClient client) const {
    Plan plan;
    const std::string path = McpClients::configPath(client);
    if (client == McpClient::continueApp) {
        ConfigText before = readConfigFile(path);
        std::string text = continueBlock();
        if (!before.exists || before.text != text) {
            bool ours = std::string_view(before.text).starts_with(kContinueMarker);
            plan.writes.push_back({path, std::move(before), std::move(text), ours});
        }
        return plan;
    }
    const Json wanted = entry(client);
    const std::string_view servers = McpClients::serversMember(client);
    if (auto claude = client == McpClient::claudeCode ? findOnPath("claude") : std::nullopt) {
        plan.commands = claudeAddCommands(*claude, path, servers, wanted, serverURL_);
    } else {
        ConfigText before = readConfigFile(path);
        std::string after = ServerEntry::setIn(path, before.text, servers, wanted);
        if (!before.exists || after != before.text) {
            bool ours = before.text == ServerEntry::freshText(servers, wanted);
            plan.writes.push_back({path, std::move(before), std::move(after), ours});
        }
    }
    if (client == McpClient::claudeCode) {
        const std::string settings = ClaudeCodeHook::settingsPath();
        const std::string line = hookCommandLine();
        ConfigText before = readConfigFile(settings);
        std::string after = ClaudeCodeHook::addTo(settings, before.text, line);
        if (!before.exists || after != before.text) {
            bool ours = before.text == ClaudeCodeHook::freshText(line);
            plan.writes.push_back({settings, std::move(before), std::move(after), ours});
        }
    }
    return plan;
}

McpInstaller::Plan McpInstaller::planUninstall(McpClient client) const {
    Plan plan;
    const std::string path = McpClients::configPath(client);
    if (client == McpClient::continueApp) {
        ConfigText before = readConfigFile(path);
        if (before.exists) {
            bool ours = std::string_view(before.text).starts_with(kContinueMarker);
            plan.writes.push_back({path, std::move(before), std::nullopt, ours});
        }
        return plan;
    }
    const std::string_view servers = McpClients::serversMember(client);
    auto claude = client == McpClient::claudeCode ? findOnPath("claude") : std::nullopt;
    if (claude) {
        if (isInstalled(client)) {
            plan.commands.push_back({*claude, "mcp", "remove", "--scope", "user", "kvillo"});
        }
    } else {
        ConfigText before = readConfigFile(path);
        std::string after = ServerEntry::removeFrom(path, before.text, servers);
        if (after != before.text) {
            bool ours = before.text == ServerEntry::freshText(servers, entry(client));
            plan.writes.push_back({path, std::move(before), std::move(after), ours});
        }
    }
    if (client == McpClient::claudeCode) {
        const std::string settings = ClaudeCodeHook::settingsPath();
        ConfigText before = readConfigFile(settings);
        std::string after = ClaudeCodeHook::removeFrom(before.text);
        if (after != before.text) {
            bool ours = before.text == ClaudeCodeHook::freshText(hookCommandLine());
            plan.writes.push_back({settings, std::move(before), std::move(after), ours});
        }
    }
    return plan;
}

void McpInstaller::carryOut(const Plan& plan) const {
    for (const auto& command : plan.commands) {
        CommandOutcome outcome = runExternalCommand(command, kCommandTimeout);
        if (!outcome.ran || outcome.status != 0) {
            std::string shown = "claude";
            for (std::size_t i = 1; i < command.size() && i < 3; ++i) {
                shown += " " + command[i];
            }
            std::string detail = trimmed(outcome.output);
            if (detail.empty()) {
                detail = outcome.ran ? "exit status " + std::to_string(outcome.status)
                                     : "it could not be run, or did not finish in time";
            }
            throw McpInstallError(McpInstallError::Kind::commandFailed, shown, {}, detail);
        }
    }
    for (const auto& write : plan.writes) {
        if (write.after) {
            replaceConfigFile(write.path, write.before, *write.after, write.writtenByKvillo);
        } else {
            removeConfigFile(write.path, write.before, write.writtenByKvillo);
        }
    }
}

void McpInstaller::install(McpClient client) {
    carryOut(planInstall(client));
}

void McpInstaller::uninstall(McpClient client) {
    carryOut(planUninstall(client));
}

}  // namespace kvillo
