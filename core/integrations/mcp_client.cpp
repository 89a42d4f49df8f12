#include "core/integrations/mcp_client.h"

#include "core/environment/xdg_folders.h"

namespace kvillo::McpClients {
namespace {

enum class Base { home, config };

struct Row {
    McpClient client;
    std::string_view displayName;
    std::string_view commandLineName;
    EntryForm form;
    std::string_view serversMember;
    Base base;
    std::string_view folder;  // relative to the base
    std::string_view file;    // relative to the base
};

// Where each client looks on Linux, and what it expects to find there.
constexpr Row kRows[] = {
    {McpClient::claudeDesktop, "Claude Desktop", "claude-desktop", EntryForm::stdio, "mcpServers",
     Base::config, "Claude", "Claude/claude_desktop_config.json"},
    {McpClient::claudeCode, "Claude Code", "claude-code", EntryForm::typedUrl, "mcpServers",
     Base::home, ".claude", ".claude.json"},
    {McpClient::cursor, "Cursor", "cursor", EntryForm::url, "mcpServers", Base::home, ".cursor",
     ".cursor/mcp.json"},
    {McpClient::windsurf, "Windsurf", "windsurf", EntryForm::serverUrl, "mcpServers", Base::home,
     ".codeium/windsurf", ".codeium/windsurf/mcp_config.json"},
    {McpClient::continueApp, "Continue", "continue", EntryForm::continueBlock, "", Base::home,
     ".continue", ".continue/mcpServers/kvillo.yaml"},
    {McpClient::vsCode, "VS Code", "vscode", EntryForm::typedUrl, "servers", Base::config, "Code",
     "Code/User/mcp.json"},
    {McpClient::zed, "Zed", "zed", EntryForm::url, "context_servers", Base::config, "zed",
     "zed/settings.json"},
};

static_assert(
    [] {
        for (std::size_t i = 0; i < std::size(kRows); ++i) {
            if (static_cast<std::size_t>(kRows[i].client) != i) {
                return false;
            }
        }
        return std::size(kRows) == allCases().size();
    }(),
    "one row per client, in the order of the enumeration");

const Row& rowOf(McpClient client) {
    return kRows[static_cast<int>(client)];
}

std::string under(Base base, std::string_view relative) {
    return (base == Base::home ? xdg::homeFolder() : xdg::configHome()) + "/" +
           std::string(relative);
}

}  // namespace

std::string_view displayName(McpClient client) {
    return rowOf(client).displayName;
}

std::optional<McpClient> fromRawValue(std::string_view raw) {
    for (const auto& row : kRows) {
        if (row.displayName == raw) {
            return row.client;
        }
    }
    return std::nullopt;
}

std::string_view commandLineName(McpClient client) {
    return rowOf(client).commandLineName;
}

std::optional<McpClient> fromCommandLineName(std::string_view name) {
    for (const auto& row : kRows) {
        if (row.commandLineName == name) {
            return row.client;
        }
    }
    return std::nullopt;
}

EntryForm entryForm(McpClient client) {
    return rowOf(client).form;
}

bool prefersStdio(McpClient client) {
    return entryForm(client) == EntryForm::stdio;
}

std::string_view serversMember(McpClient client) {
    return rowOf(client).serversMember;
}

std::string configPath(McpClient client) {
    return under(rowOf(client).base, rowOf(client).file);
}

std::string clientFolder(McpClient client) {
    return under(rowOf(client).base, rowOf(client).folder);
}

}  // namespace kvillo::McpClients
