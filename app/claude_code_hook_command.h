#pragma once

#include <chrono>

#include "platform/linux/app_paths.h"

namespace kvillo {

// How long the hook waits for another program's lock on the log, at each
// step that needs it, before it gives up on this prompt.
inline constexpr std::chrono::milliseconds kHookBusyWait{25};

// Runs `kvillo-mcp --hook`: Claude Code's UserPromptSubmit hook. Reads the
// event's JSON from standard input and has the `annotate` tool note
// "Claude Code: " + its `cwd` as the task, through the MCP dispatcher, so
// the AI-access and Claude Code hook switches decide as for any other
// caller. Nothing happens when that task is already the open one, when the
// input is not such an event, or when there is no log at `paths` (which is
// then not created).
//
// Whatever happens it writes nothing to standard output or error (Claude
// Code would hand that to the assistant) and returns 0 (anything else would
// hold up the user's prompt); it gives up rather than wait long on a locked
// log or an input that never ends.
int runClaudeCodeHook(const AppPaths& paths);

}  // namespace kvillo
