#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "core/mcp/json_rpc.h"
#include "core/mcp/mcp_tools.h"
#include "core/settings/features.h"

namespace kvillo {

// One argument in a tool's input schema.
struct McpToolArgument {
    const char* name;
    const char* type;  // "string", "integer", or "array" of strings
    const char* description;
    bool required = false;
};

// One tool, all that listing, gating and dispatch need: adding a tool is
// adding one of these to the catalogue.
struct McpTool {
    const char* name;
    const char* description;
    std::span<const McpToolArgument> arguments;
    std::optional<Features::Key> feature;  // the switch that withdraws it when off
    ToolResult (McpTools::*run)(const Json& args);
};

// What assistants are offered: the tools with their input schemas and the
// resources, in fixed order and with fixed English texts.
namespace McpCatalogue {

// The eleven tools, in the order they are listed.
std::span<const McpTool> tools();

// The tool of that name, or nullptr.
const McpTool* findTool(std::string_view name);

// Whether the tool's switch is off now; read afresh at every call.
bool isWithdrawn(const McpTool& tool, const Features& features);

// The tools/list result's "tools" array: every tool not withdrawn.
Json toolList(const Features& features);

// The three resources as the resources/list result's "resources" array.
const Json& resources();

}  // namespace McpCatalogue
}  // namespace kvillo
