#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

#include "core/integrations/config_object.h"

namespace kvillo {

// Kvillo's entry, the member "kvillo" of the object that a client's JSON
// configuration keeps its servers in (the top-level member `servers`:
// "mcpServers", "servers", ...). Works on the file's text: every change is
// a minimal edit (JsoncEdit) that keeps comments, trailing commas, order
// and formatting of everything else. `path` only names the file in errors.
// Pure functions, safe from any thread.
namespace ServerEntry {

inline constexpr std::string_view kName = "kvillo";

// What a user would paste under `servers` by hand.
PasteHint paste(std::string_view servers, const nlohmann::ordered_json& entry);

// The whole file as Kvillo writes it where there is none: the entry alone,
// two-space indented, with a final newline.
std::string freshText(std::string_view servers, const nlohmann::ordered_json& entry);

// Whether `text` is a JSON object whose last member `servers` is an object
// with the entry (of any value, null included). Never fails.
bool isIn(std::string_view text, std::string_view servers);

// `text` with the entry set to `entry` (replacing any other value whole),
// the text itself when it already is, freshText when it is blank. Throws
// McpInstallError: notAnObject (the file or `servers`) or ambiguous
// (`servers` or the entry there twice).
std::string setIn(const std::string& path, std::string_view text, std::string_view servers,
                  const nlohmann::ordered_json& entry);

// `text` without the entry; the text itself when there is none to remove
// (whatever the file holds). Throws McpInstallError(ambiguous) when the
// entry, or the `servers` holding one, is there twice.
std::string removeFrom(const std::string& path, std::string_view text, std::string_view servers);

}  // namespace ServerEntry
}  // namespace kvillo
