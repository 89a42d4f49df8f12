#pragma once

#include <ostream>

#include "app/command_line.h"
#include "core/integrations/mcp_installer.h"
#include "core/localisation/language.h"
#include "platform/linux/app_paths.h"

namespace kvillo {

// The installer the command line uses: its URL entries name the port that
// the Kvillo recording into `paths` published, else the default port.
McpInstaller commandLineInstaller(const AppPaths& paths);

// Runs `kvillo clients`: one line per AI tool, with its command-line name,
// its name and its state ("Connected", "Not connected", "Not installed", or
// why connecting would fail) in `language`. Returns 0.
int runListClients(const McpInstaller& installer, Language language, std::ostream& out);

// Runs `kvillo connect NAME` or `kvillo disconnect NAME`: what the settings
// page's buttons do, with the same texts. Each tool's new state goes to
// `out`, then which tools to restart; each failure to `err`, with what to
// paste where Kvillo refused a file. For all tools, `connect` skips those
// not installed and `disconnect` touches those connected only. Returns 0,
// or 1 when any tool failed (the others are still done).
int runConnectClients(const ConnectClients& request, McpInstaller& installer, Language language,
                      std::ostream& out, std::ostream& err);

}  // namespace kvillo
