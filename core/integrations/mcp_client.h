#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace kvillo {

// The AI assistants whose configuration Kvillo can write, in the order the
// settings page and `kvillo clients` list them.
enum class McpClient { claudeDesktop, claudeCode, cursor, windsurf, continueApp, vsCode, zed };

namespace McpClients {

constexpr std::array<McpClient, 7> allCases() {
    return {McpClient::claudeDesktop, McpClient::claudeCode, McpClient::cursor, McpClient::windsurf,
            McpClient::continueApp,   McpClient::vsCode,     McpClient::zed};
}

// "Claude Desktop", "VS Code": the product's own name, never translated.
// It is also the raw value.
std::string_view displayName(McpClient client);

// Exactly one of the display names, case and all; none for anything else.
std::optional<McpClient> fromRawValue(std::string_view raw);

// "claude-desktop", "vscode": the name on the command line.
std::string_view commandLineName(McpClient client);
std::optional<McpClient> fromCommandLineName(std::string_view name);

// How a client finds a server.
enum class EntryForm {
    stdio,          // "command" and "args": it starts the bridge itself
    url,            // "url"
    typedUrl,       // "type": "http" and "url"
    serverUrl,      // "serverUrl"
    continueBlock,  // a YAML block file of Kvillo's own
};
EntryForm entryForm(McpClient client);

// True for Claude Desktop alone, which connects to command servers only.
bool prefersStdio(McpClient client);

// The member of the configuration's top-level object that holds the servers
// ("mcpServers", "servers", "context_servers"); empty for Continue.
std::string_view serversMember(McpClient client);

// The file Kvillo writes for `client`, and the folder whose presence shows
// the client is installed. Read from HOME and XDG_CONFIG_HOME at each call.
std::string configPath(McpClient client);
std::string clientFolder(McpClient client);

}  // namespace McpClients
}  // namespace kvillo
