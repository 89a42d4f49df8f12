#pragma once

#include "platform/linux/app_paths.h"

namespace kvillo {

// The MCP endpoint over standard input and output, for clients that start
// their servers as commands (`kvillo-mcp`, or `kvillo mcp` inside an
// AppImage). One JSON-RPC message per line in, one answer per line out; it
// works whether or not the tray program runs, on the same log and settings
// at `paths`. A line is held to the HTTP endpoint's body limit: a longer one
// is skipped unread and answered -32600, and the session goes on with the
// next line. Returns the exit status: 0 at the end of input, 1 when the log
// cannot be opened (said on standard error).
int runMcpBridge(const AppPaths& paths);

}  // namespace kvillo
