#include "core/mcp/mcp_catalogue.h"

#include <initializer_list>
#include <utility>

namespace kvillo::McpCatalogue {
namespace {

struct Property {
    const char* name;
    const char* type;
    const char* description;
};

Json tool(const char* name, const char* description, std::initializer_list<Property> properties,
          std::initializer_list<const char*> required = {}) {
    Json schemaProperties = Json::object();
    for (const auto& property : properties) {
        Json entry = Json::object();
        entry["type"] = property.type;
        if (std::string(property.type) == "array") {
            entry["items"] = Json{{"type", "string"}};
        }
        entry["description"] = property.description;
        schemaProperties[property.name] = std::move(entry);
    }
    Json schema = Json::object();
    schema["type"] = "object";
    schema["properties"] = std::move(schemaProperties);
    if (required.size() > 0) {
        schema["required"] = Json::array();
        for (const char* name : required) {
            schema["required"].push_back(name);
        }
    }
    Json entry = Json::object();
    entry["name"] = name;
    entry["description"] = description;
    entry["inputSchema"] = std::move(schema);
    return entry;
}

constexpr const char* kDate = "ISO 8601 date string (YYYY-MM-DD). Defaults to today.";
constexpr const char* kFromWeek =
    "Start date (YYYY-MM-DD), inclusive. Defaults to 6 days before 'to'.";
constexpr const char* kToToday = "End date (YYYY-MM-DD), inclusive. Defaults to today.";

Json resource(const char* uri, const char* name, const char* description) {
    Json entry = Json::object();
    entry["uri"] = uri;
    entry["name"] = name;
    entry["description"] = description;
    entry["mimeType"] = "text/plain";
    return entry;
}

}  // namespace

const Json& tools() {
    static const Json catalogue = Json::array({
        tool("get_activities",
             "Get logged activities (app usage) for a specific date. Returns a list of app "
             "sessions with start/end times.",
             {{"date", "string", kDate},
              {"limit", "integer", "Maximum number of results. Defaults to 100."}}),
        tool("search_activities", "Search logged activities by app name or window title.",
             {{"query", "string", "Search term to match against app name or window title."},
              {"limit", "integer", "Maximum number of results. Defaults to 50."}},
             {"query"}),
        tool("get_app_usage",
             "Get a summary of time spent per application for a date, or summed over a date "
             "range with 'from'/'to'.",
             {{"date", "string", kDate},
              {"from", "string", "Optional start date (YYYY-MM-DD), inclusive. Overrides 'date'."},
              {"to", "string", "Optional end date (YYYY-MM-DD), inclusive. Defaults to today."}}),
        tool("get_daily_summary",
             "Day-by-day overview for a date range (e.g. last week): active time, top apps and "
             "annotations per day. Use for questions like 'what did I do last week?'.",
             {{"from", "string", kFromWeek}, {"to", "string", kToToday}}),
        tool("get_focus_sessions",
             "Find longer stretches of uninterrupted computer use in a date range, with app "
             "switches and main apps. Use for questions about deep work or focus time.",
             {{"from", "string", "Start date (YYYY-MM-DD), inclusive. Defaults to today."},
              {"to", "string", "End date (YYYY-MM-DD), inclusive. Defaults to 'from'."},
              {"min_minutes", "integer", "Minimum session length in minutes. Defaults to 25."},
              {"max_gap_minutes", "integer",
               "A break longer than this ends a session. Defaults to 2."}}),
        tool("list_projects",
             "List the user's projects and the keywords used to recognise them in window titles "
             "and annotations.",
             {}),
        tool("save_project",
             "Create a project, or replace the keywords of an existing one. Activities are "
             "matched to a project when the window title or current annotation contains the "
             "name or a keyword. Changes apply to past data too. Ask the user before saving "
             "projects you suggested.",
             {{"name", "string", "Project name, e.g. 'Skarvelin'. Also used as a keyword."},
              {"keywords", "array",
               "Extra words to match, e.g. file names, client names or site names. "
               "Case-insensitive."}},
             {"name"}),
        tool("delete_project", "Delete a project by name. Logged activities are not affected.",
             {{"name", "string", "Project name."}}, {"name"}),
        tool("get_project_time",
             "Time spent per project over a date range, with per-day breakdown and the most "
             "common window titles. Use for questions like 'how much time did I spend on X this "
             "week?'. Unmatched time is listed as 'No project' with its top titles, which helps "
             "suggest new keywords.",
             {{"from", "string", kFromWeek}, {"to", "string", kToToday}}),
        tool("annotate",
             "Record what the user is working on right now. Call this proactively whenever the "
             "user starts or switches to a clear task in the conversation, without asking first. "
             "Automatically ends any previous annotation. Call with empty text to stop the "
             "current annotation.",
             {{"text", "string",
               "What the user is working on, e.g. 'Reviewing PR #42' or 'Fixing auth bug'. Empty "
               "string ends the current annotation without starting a new one."},
              {"duration", "string",
               "Optional. How long this task has already been going on, e.g. '30m', '1h', "
               "'1h30m'. If set, the annotation is backdated by this amount."}},
             {"text"}),
        tool("get_annotations",
             "Get context annotations for a specific date. Shows what the user reported working "
             "on.",
             {{"date", "string", kDate}}),
    });
    return catalogue;
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

std::set<std::string> disabledTools(const Features& features) {
    std::set<std::string> disabled;
    if (!features.isEnabled(Features::Key::workingOn)) {
        disabled.insert({"annotate", "get_annotations"});
    }
    if (!features.isEnabled(Features::Key::projects)) {
        disabled.insert({"list_projects", "save_project", "delete_project", "get_project_time"});
    }
    if (!features.isEnabled(Features::Key::focusSessions)) {
        disabled.insert("get_focus_sessions");
    }
    return disabled;
}

}  // namespace kvillo::McpCatalogue
