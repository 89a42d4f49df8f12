#pragma once

#include <set>
#include <string>

#include "core/mcp/json_rpc.h"
#include "core/settings/features.h"

namespace kvillo {

// What AI assistants are offered: the tools with their input schemas and
// the resources, in fixed order and with fixed English texts.
namespace McpCatalogue {

// The eleven tools as the tools/list result's "tools" array.
const Json& tools();

// The three resources as the resources/list result's "resources" array.
const Json& resources();

// Tools whose feature is switched off now; read afresh at every call.
std::set<std::string> disabledTools(const Features& features);

}  // namespace McpCatalogue
}  // namespace kvillo
