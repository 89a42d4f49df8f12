// kvillo-mcp: the stdio bridge for MCP clients that start their servers
// as commands, and with --hook Claude Code's prompt hook.
#include <string_view>

#include "app/claude_code_hook_command.h"
#include "app/mcp_bridge.h"

int main(int argc, char** argv) {
    auto paths = kvillo::AppPaths::fromEnvironment();
    if (argc > 1 && std::string_view(argv[1]) == "--hook") {
        return kvillo::runClaudeCodeHook(paths);
    }
    return kvillo::runMcpBridge(paths);
}
