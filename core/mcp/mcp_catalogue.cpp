#include "core/mcp/mcp_catalogue.h"

#include <algorithm>
#include <array>

namespace kvillo::McpCatalogue {
namespace {

using Key = Features::Key;

constexpr const char* kDate = "ISO 8601 date string (YYYY-MM-DD). Defaults to today.";
constexpr const char* kFromWeek =
    "Start date (YYYY-MM-DD), inclusive. Defaults to 6 days before 'to'.";
constexpr const char* kToToday = "End date (YYYY-MM-DD), inclusive. Defaults to today.";

constexpr McpToolArgument kDayArguments[] = {{"date", "string", kDate}};
constexpr McpToolArgument kWeekArguments[] = {{"from", "string", kFromWeek},
                                              {"to", "string", kToToday}};
constexpr McpToolArgument kGetActivities[] = {
    {"date", "string", kDate}, {"limit", "integer", "Maximum number of results. Defaults to 100."}};
constexpr McpToolArgument kSearchActivities[] = {
    {"query", "string", "Search term to match against app name or window title.", true},
    {"limit", "integer", "Maximum number of results. Defaults to 50."}};
constexpr McpToolArgument kGetAppUsage[] = {
    {"date", "string", kDate},
    {"from", "string", "Optional start date (YYYY-MM-DD), inclusive. Overrides 'date'."},
    {"to", "string", "Optional end date (YYYY-MM-DD), inclusive. Defaults to today."}};
constexpr McpToolArgument kGetFocusSessions[] = {
    {"from", "string", "Start date (YYYY-MM-DD), inclusive. Defaults to today."},
    {"to", "string", "End date (YYYY-MM-DD), inclusive. Defaults to 'from'."},
    {"min_minutes", "integer", "Minimum session length in minutes. Defaults to 25."},
    {"max_gap_minutes", "integer", "A break longer than this ends a session. Defaults to 2."}};
constexpr McpToolArgument kSaveProject[] = {
    {"name", "string", "Project name, e.g. 'Skarvelin'. Also used as a keyword.", true},
    {"keywords", "array",
     "Extra words to match, e.g. file names, client names or site names. Case-insensitive."}};
constexpr McpToolArgument kDeleteProject[] = {{"name", "string", "Project name.", true}};
constexpr McpToolArgument kAnnotate[] = {
    {"text", "string",
     "What the user is working on, e.g. 'Reviewing PR #42' or 'Fixing auth bug'. Empty string "
     "ends the current annotation without starting a new one.",
     true},
    {"duration", "string",
     "Optional. How long this task has already been going on, e.g. '30m', '1h', '1h30m'. If "
     "set, the annotation is backdated by this amount."}};

const McpTool kTools[] = {
    {"get_activities",
     "Get logged activities (app usage) for a specific date. Returns a list of app sessions with "
     "start/end times.",
     kGetActivities, std::nullopt, &McpTools::getActivities},
    {"search_activities", "Search logged activities by app name or window title.",
     kSearchActivities, std::nullopt, &McpTools::searchActivities},
    {"get_app_usage",
     "Get a summary of time spent per application for a date, or summed over a date range with "
     "'from'/'to'.",
     kGetAppUsage, std::nullopt, &McpTools::getAppUsage},
    {"get_daily_summary",
     "Day-by-day overview for a date range (e.g. last week): active time, top apps and "
     "annotations per day. Use for questions like 'what did I do last week?'.",
     kWeekArguments, std::nullopt, &McpTools::getDailySummary},
    {"get_focus_sessions",
     "Find longer stretches of uninterrupted computer use in a date range, with app switches and "
     "main apps. Use for questions about deep work or focus time.",
     kGetFocusSessions, Key::focusSessions, &McpTools::getFocusSessions},
    {"list_projects",
     "List the user's projects and the keywords used to recognise them in window titles and "
     "annotations.",
     {},
     Key::projects,
     &McpTools::listProjects},
    {"save_project",
     "Create a project, or replace the keywords of an existing one. Activities are matched to a "
     "project when the window title or current annotation contains the name or a keyword. "
     "Changes apply to past data too. Ask the user before saving projects you suggested.",
     kSaveProject, Key::projects, &McpTools::saveProject},
    {"delete_project", "Delete a project by name. Logged activities are not affected.",
     kDeleteProject, Key::projects, &McpTools::deleteProject},
    {"get_project_time",
     "Time spent per project over a date range, with per-day breakdown and the most common "
     "window titles. Use for questions like 'how much time did I spend on X this week?'. "
     "Unmatched time is listed as 'No project' with its top titles, which helps suggest new "
     "keywords.",
     kWeekArguments, Key::projects, &McpTools::getProjectTime},
    {"annotate",
     "Record what the user is working on right now. Call this proactively whenever the user "
     "starts or switches to a clear task in the conversation, without asking first. "
     "Automatically ends any previous annotation. Call with empty text to stop the current "
     "annotation.",
     kAnnotate, Key::workingOn, &McpTools::annotate},
    {"get_annotations",
     "Get context annotations for a specific date. Shows what the user reported working on.",
     kDayArguments, Key::workingOn, &McpTools::getAnnotations},
};

Json schemaOf(const McpTool& tool) {
    Json properties = Json::object();
    Json required = Json::array();
    for (const auto& argument : tool.arguments) {
        Json property = Json::object();
        property["type"] = argument.type;
        if (std::string_view(argument.type) == "array") {
            property["items"] = Json{{"type", "string"}};
        }
        property["description"] = argument.description;
        properties[argument.name] = std::move(property);
        if (argument.required) {
            required.push_back(argument.name);
        }
    }
    Json schema = Json::object();
    schema["type"] = "object";
    schema["properties"] = std::move(properties);
    if (!required.empty()) {
        schema["required"] = std::move(required);
    }
    return schema;
}

Json resource(const char* uri, const char* name, const char* description) {
    Json entry = Json::object();
    entry["uri"] = uri;
    entry["name"] = name;
    entry["description"] = description;
    entry["mimeType"] = "text/plain";
    return entry;
}

}  // namespace

std::span<const McpTool> tools() {
    return kTools;
}

const McpTool* findTool(std::string_view name) {
    auto found = std::find_if(std::begin(kTools), std::end(kTools),
                              [name](const McpTool& tool) { return tool.name == name; });
    return found == std::end(kTools) ? nullptr : &*found;
}

bool isWithdrawn(const McpTool& tool, const Features& features) {
    return tool.feature && !features.isEnabled(*tool.feature);
}

Json toolList(const Features& features) {
    // The schemas never change; only which tools are listed does.
    static const std::vector<Json> entries = [] {
        std::vector<Json> built;
        for (const auto& tool : kTools) {
            Json entry = Json::object();
            entry["name"] = tool.name;
            entry["description"] = tool.description;
            entry["inputSchema"] = schemaOf(tool);
            built.push_back(std::move(entry));
        }
        return built;
    }();
    // Each switch is read once per listing: a read asks the settings file.
    std::array<std::optional<bool>, Features::allKeys().size()> on;
    Json list = Json::array();
    for (size_t i = 0; i < std::size(kTools); ++i) {
        const auto& feature = kTools[i].feature;
        if (feature) {
            auto& state = on[static_cast<size_t>(*feature)];
            if (!state) {
                state = features.isEnabled(*feature);
            }
            if (!*state) {
                continue;
            }
        }
        list.push_back(entries[i]);
    }
    return list;
}

const Json& resources() {
    static const Json list = Json::array({
        resource("kvillo://activities/today", "Today's Activities",
                 "All logged app sessions for today."),
        resource("kvillo://activities/yesterday", "Yesterday's Activities",
                 "All logged app sessions for yesterday."),
        resource("kvillo://usage/today", "Today's App Usage Summary",
                 "Time spent per application today."),
    });
    return list;
}

}  // namespace kvillo::McpCatalogue
