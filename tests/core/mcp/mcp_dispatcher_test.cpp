#include <gtest/gtest.h>

#include "tests/core/mcp/mcp_fixture.h"

namespace kvillo {
namespace {

using Dispatcher = testing::McpFixture;

TEST_F(Dispatcher, ErrorsAndIdsKeepTheirForm) {
    EXPECT_EQ(
        *dispatcher_.handleBody(R"({"jsonrpc":"2.0","id":"abc","method":"nope"})"),
        R"({"jsonrpc":"2.0","id":"abc","error":{"code":-32601,"message":"Method not found: nope"}})");
    EXPECT_EQ(*dispatcher_.handleBody(R"({"jsonrpc":"2.0","id":42,"method":"ping"})"),
              R"({"jsonrpc":"2.0","id":42,"result":{}})");

    auto parseError = Json::parse(*dispatcher_.handleBody("{"));
    EXPECT_FALSE(parseError.contains("id"));
    EXPECT_EQ(parseError["error"]["code"], -32700);
    EXPECT_TRUE(parseError["error"]["message"].get<std::string>().starts_with("Parse error: "));
    for (const char* bad : {R"({"jsonrpc":"2.0","id":1.5,"method":"ping"})",
                            R"({"jsonrpc":"2.0","id":true,"method":"ping"})",
                            R"({"jsonrpc":"2.0","id":{},"method":"ping"})"}) {
        SCOPED_TRACE(bad);
        EXPECT_EQ(Json::parse(*dispatcher_.handleBody(bad))["error"]["message"],
                  "Parse error: id must be int or string");
    }
    EXPECT_EQ(Json::parse(*dispatcher_.handleBody(R"({"id":1,"method":"ping"})"))["error"]["code"],
              -32700);
}

TEST_F(Dispatcher, HostileBodiesGetParseErrors) {
    struct Row {
        const char* name;
        std::string body;
    };
    const Row rows[] = {
        {"number beyond a double", R"({"jsonrpc":"2.0","id":1,"method":"ping","params":1e400})"},
        {"negative one too", "[-1e400]"},
        {"nesting bomb in params",
         R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":)" + std::string(100000, '[')},
        {"oversized batch",
         "[" + std::string(R"({"jsonrpc":"2.0","id":1,"method":"ping"},)").append(100 * 41, ' ') +
             [] {
                 std::string batch;
                 for (int i = 0; i < 101; ++i) {
                     batch +=
                         std::string(i ? "," : "") + R"({"jsonrpc":"2.0","id":1,"method":"ping"})";
                 }
                 return batch;
             }() +
             "]"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        auto answer = dispatcher_.handleBody(row.body);
        ASSERT_TRUE(answer);
        EXPECT_EQ(Json::parse(*answer)["error"]["code"], -32700);
    }
    // A string full of brackets is not nesting.
    auto quoted = Json::parse(*dispatcher_.handleBody(
        R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"search_activities","arguments":{"query":")" +
        std::string(200, '[') + R"("}}})"));
    EXPECT_EQ(quoted["result"]["isError"], false);
}

TEST_F(Dispatcher, NotificationsAndBatches) {
    EXPECT_FALSE(
        dispatcher_.handleBody(R"({"jsonrpc":"2.0","method":"notifications/initialized"})"));
    EXPECT_FALSE(dispatcher_.handleBody(R"({"jsonrpc":"2.0","id":null,"method":"tools/call",
        "params":{"name":"annotate","arguments":{"text":"Ignored"}}})"));
    EXPECT_FALSE(db_.currentAnnotation());  // a notification does nothing

    auto batch = Json::parse(*dispatcher_.handleBody(R"([
        {"jsonrpc":"2.0","id":1,"method":"ping"},
        {"jsonrpc":"2.0","method":"notifications/initialized"},
        {"jsonrpc":"2.0","id":"two","method":"nope"}])"));
    ASSERT_EQ(batch.size(), 2u);
    EXPECT_EQ(batch[0]["id"], 1);
    EXPECT_EQ(batch[1]["id"], "two");
    EXPECT_FALSE(dispatcher_.handleBody(R"([{"jsonrpc":"2.0","method":"a"}])"));
    EXPECT_EQ(Json::parse(*dispatcher_.handleBody("[]"))["error"]["code"], -32700);
}

TEST_F(Dispatcher, InitializeAnswersASupportedVersionOrTheNewest) {
    struct Row {
        Json asked;
        const char* answered;
    };
    const Row rows[] = {{"2024-11-05", "2024-11-05"}, {"2025-03-26", "2025-03-26"},
                        {"2025-06-18", "2025-06-18"}, {"2099-01-01", "2025-11-25"},
                        {nullptr, "2025-11-25"},      {42, "2025-11-25"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.asked.dump());
        Json params = Json::object();
        if (!row.asked.is_null()) {
            params["protocolVersion"] = row.asked;
        }
        auto result = call("initialize", params)["result"];
        EXPECT_EQ(result["protocolVersion"], row.answered);
        EXPECT_EQ(result["serverInfo"].dump(), R"({"name":"kvillo","version":"1.0.0"})");
        EXPECT_EQ(result["capabilities"].dump(), R"({"tools":{},"resources":{}})");
    }
}

TEST_F(Dispatcher, TheCatalogueFollowsTheFeatureSwitches) {
    auto names = [&] {
        std::vector<std::string> list;
        Json response = call("tools/list");
        for (const auto& tool : response["result"]["tools"]) {
            list.push_back(tool["name"]);
        }
        return list;
    };
    EXPECT_EQ(names(),
              (std::vector<std::string>{"get_activities", "search_activities", "get_app_usage",
                                        "get_daily_summary", "get_focus_sessions", "list_projects",
                                        "save_project", "delete_project", "get_project_time",
                                        "annotate", "get_annotations"}));
    Json listed = call("tools/list");
    for (const auto& tool : listed["result"]["tools"]) {
        if (tool["name"] == "delete_project") {
            EXPECT_EQ(
                tool["inputSchema"].dump(),
                R"({"type":"object","properties":{"name":{"type":"string","description":"Project name."}},"required":["name"]})");
        }
    }

    features_.set(Features::Key::projects, false);
    EXPECT_EQ(names().size(), 7u);
    EXPECT_EQ(tool("save_project", {{"name", "X"}}),
              "This feature is turned off in Kvillo's settings.");
    EXPECT_TRUE(db_.fetchProjects().empty());

    features_.set(Features::Key::aiAccess, false);
    EXPECT_EQ(names().size(), 7u);  // listing stays; calling does not
    EXPECT_EQ(tool("get_activities"), "AI access is turned off in Kvillo's settings.");
    EXPECT_TRUE(toolIsError("save_project", {{"name", "X"}}));
}

TEST_F(Dispatcher, TheClaudeCodeHookSwitchRefusesOnlyItsOwnNotes) {
    features_.set(Features::Key::claudeCodeHook, false);
    // Leading white space, Unicode's included, would be trimmed off on storing.
    for (const char* text :
         {"Claude Code: fixing tests", " \tClaude Code: x", "\u00a0\u3000Claude Code:"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(tool("annotate", {{"text", text}}),
                  "The Claude Code hook is turned off in Kvillo's settings.");
    }
    EXPECT_FALSE(db_.currentAnnotation());
    EXPECT_FALSE(toolIsError("annotate", {{"text", "claude code: x"}}));
    EXPECT_FALSE(toolIsError("annotate", {{"text", "Fixing tests"}}));
    EXPECT_EQ(db_.currentAnnotation()->text, "Fixing tests");
}

TEST_F(Dispatcher, ParamsAreCheckedBeforeTheToolRuns) {
    EXPECT_EQ(call("tools/call", Json::array())["error"]["message"],
              "Invalid params: missing 'name'");
    EXPECT_EQ(call("tools/call", Json{{"name", 3}})["error"]["code"], -32602);
    auto noArguments = call("tools/call", Json{{"name", "get_activities"}});
    EXPECT_EQ(noArguments["result"]["content"][0]["text"], "No activities found.");
    EXPECT_EQ(noArguments["result"]["isError"], false);
    EXPECT_EQ(tool("frobnicate"), "Unknown tool: frobnicate");
    EXPECT_EQ(call("resources/read", "kvillo://usage/today")["error"]["message"],
              "Invalid params: missing 'uri'");
}

TEST_F(Dispatcher, ResourcesReadTheDaysOfTheClock) {
    auto list = call("resources/list")["result"]["resources"];
    ASSERT_EQ(list.size(), 3u);
    EXPECT_EQ(
        list[2].dump(),
        R"({"uri":"kvillo://usage/today","name":"Today's App Usage Summary","description":"Time spent per application today.","mimeType":"text/plain"})");

    add("Code", testing::localTime(2026, 11, 22, 10), 5);
    auto yesterday = call("resources/read", {{"uri", "kvillo://activities/yesterday"}})["result"];
    EXPECT_EQ(yesterday["contents"][0]["uri"], "kvillo://activities/yesterday");
    EXPECT_EQ(yesterday["contents"][0]["text"],
              "Activities (1 sessions):\n"
              "\u2022 Code  [2026-11-22T09:00:00 \u2192 2026-11-22T09:05:00]  (5m 0s)");
    EXPECT_EQ(call("resources/read",
                   {{"uri", "kvillo://activities/today"}})["result"]["contents"][0]["text"],
              "No activities found.");  // no annotations, so no blank line either
    auto unknown = call("resources/read", {{"uri", "kvillo://usage/yesterday"}});
    EXPECT_EQ(unknown["error"]["code"], -32603);
    EXPECT_EQ(unknown["error"]["message"], "Unknown resource URI: kvillo://usage/yesterday");
}

}  // namespace
}  // namespace kvillo
