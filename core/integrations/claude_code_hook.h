#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

#include "core/integrations/config_object.h"

namespace kvillo {

// Kvillo's UserPromptSubmit hook in Claude Code's user settings
// (~/.claude/settings.json): `hooks` → `UserPromptSubmit` holds groups,
// each with a `hooks` list of commands; Kvillo's is a group of one command
// that runs the bridge with `--hook`. Edits are minimal (JsoncEdit) and
// leave every other hook alone. `path` only names the file in errors. Pure
// functions, safe from any thread.
namespace ClaudeCodeHook {

// The settings file, under HOME as it is now.
std::string settingsPath();

// The group added for `commandLine`.
nlohmann::ordered_json group(const std::string& commandLine);

// What a user would paste by hand, and where.
PasteHint paste(const std::string& commandLine);

// Whether a hook's command is one that Kvillo wrote: it mentions Kvillo
// and ends in "--hook", wherever the bridge was at the time.
bool isKvilloCommand(std::string_view command);

// The settings file as Kvillo writes it where there is none.
std::string freshText(const std::string& commandLine);

// Whether `text` holds a Kvillo hook running exactly `commandLine`.
bool isIn(std::string_view text, const std::string& commandLine);

// `text` with the hook: the text itself when it is there, an older Kvillo
// hook's command replaced, else a new group after the others. Throws
// McpInstallError: notAnObject (the file or `hooks`), notAList
// (`UserPromptSubmit`) or ambiguous (either of them there twice).
std::string addTo(const std::string& path, std::string_view text, const std::string& commandLine);

// `text` without any Kvillo hook: a group holding only Kvillo's commands
// goes, otherwise just those commands. The text itself when there is
// none; never fails.
std::string removeFrom(std::string_view text);

}  // namespace ClaudeCodeHook
}  // namespace kvillo
