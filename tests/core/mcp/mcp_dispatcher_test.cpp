#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/mcp/mcp_catalogue.h"
#include "tests/core/mcp/mcp_fixture.h"

namespace kvillo {
namespace {

using Dispatcher = testing::McpFixture;
using ::testing::Contains;
using ::testing::Not;

std::string batchOf(int pings) {
    std::string batch = "[";
    for (int i = 0; i < pings; ++i) {
        batch += std::string(i ? "," : "") + R"({"jsonrpc":"2.0","id":1,"method":"ping"})";
    }
    return batch + "]";
}

TEST_F(Dispatcher, AnswersKeepTheIdsForm) {
    EXPECT_EQ(
        *dispatcher_.handleBody(R"({"jsonrpc":"2.0","id":"abc","method":"nope"})"),
        R"({"jsonrpc":"2.0","id":"abc","error":{"code":-32601,"message":"Method not found: nope"}})");
    EXPECT_EQ(*dispatcher_.handleBody(R"({"jsonrpc":"2.0","id":42,"method":"ping"})"),
              R"({"jsonrpc":"2.0","id":42,"result":{}})");
}

TEST_F(Dispatcher, MalformedAndHostileBodiesGetParseErrorsWithANullId) {
    struct Row {
        const char* name;
        std::string body;
        const char* message;  // how the message starts
    };
    const char* badId = "Parse error: id must be int or string";
    const Row rows[] = {
        {"syntax error", "{", "Parse error: "},
        {"no jsonrpc", R"({"id":1,"method":"ping"})", "Parse error: "},
        {"fractional id", R"({"jsonrpc":"2.0","id":1.5,"method":"ping"})", badId},
        {"id beyond 64 bits", R"({"jsonrpc":"2.0","id":9223372036854775808,"method":"ping"})",
         badId},
        {"number beyond a double", R"({"jsonrpc":"2.0","id":1,"method":"ping","params":1e400})",
         "Parse error: "},
        // Valid JSON, so only the depth limit refuses it; a deeper one would
        // overflow the stack when copied.
        {"deep nesting",
         R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":)" + std::string(1000, '[') +
             std::string(1000, ']') + "}",
         "Parse error: nested deeper"},
        {"empty batch", "[]", "Parse error: "},
        {"batch over a hundred", batchOf(101), "Parse error: "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        auto answer = dispatcher_.handleBody(row.body);
        ASSERT_TRUE(answer);
        auto error = Json::parse(*answer);
        EXPECT_TRUE(error.contains("id") && error["id"].is_null()) << *answer;
        EXPECT_EQ(error["error"]["code"], -32700);
        EXPECT_THAT(error["error"]["message"].get<std::string>(),
                    ::testing::StartsWith(row.message));
    }
    // Brackets in a string, even after an escaped quote, are not nesting.
    auto quoted = Json::parse(*dispatcher_.handleBody(
        R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"search_activities","arguments":{"query":"\")" +
        std::string(200, '[') + R"("}}})"));
    EXPECT_EQ(quoted["result"]["isError"], false);
}

TEST_F(Dispatcher, NotificationsGetNoAnswerAndBatchesAnswerTheRest) {
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
    EXPECT_EQ(Json::parse(*dispatcher_.handleBody(batchOf(100))).size(), 100u);
}

TEST_F(Dispatcher, InitializeAnswersASupportedVersionOrTheNewest) {
    struct Row {
        Json asked;
        const char* answered;
    };
    const Row rows[] = {{"2024-11-05", "2024-11-05"},
                        {"2099-01-01", "2025-11-25"},
                        {nullptr, "2025-11-25"},
                        {42, "2025-11-25"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.asked.dump());
        auto result = call("initialize", row.asked.is_null()
                                             ? Json::object()
                                             : Json{{"protocolVersion", row.asked}})["result"];
        EXPECT_EQ(result["protocolVersion"], row.answered);
        EXPECT_EQ(result["serverInfo"].dump(), R"({"name":"kvillo","version":"1.0.0"})");
        EXPECT_EQ(result["capabilities"].dump(), R"({"tools":{},"resources":{}})");
    }
}

TEST_F(Dispatcher, TheCatalogueFollowsTheFeatureSwitches) {
    auto names = [&] {
        std::vector<std::string> list;
        Json listed = call("tools/list")["result"]["tools"];
        for (const auto& tool : listed) {
            list.push_back(tool["name"]);
        }
        return list;
    };
    EXPECT_EQ(names().size(), McpCatalogue::tools().size());  // nothing is off yet
    Json listed = call("tools/list")["result"]["tools"];
    auto deleteProject = std::find_if(listed.begin(), listed.end(), [](const Json& tool) {
        return tool["name"] == "delete_project";
    });
    ASSERT_NE(deleteProject, listed.end());
    EXPECT_EQ(
        (*deleteProject)["inputSchema"].dump(),
        R"({"type":"object","properties":{"name":{"type":"string","description":"Project name."}},"required":["name"]})");

    features_.set(Features::Key::projects, false);
    auto withoutProjects = names();
    EXPECT_THAT(withoutProjects, Not(Contains("save_project")));
    EXPECT_THAT(withoutProjects, Contains("annotate"));
    EXPECT_EQ(tool("save_project", {{"name", "X"}}),
              "This feature is turned off in Kvillo's settings.");
    EXPECT_TRUE(db_.fetchProjects().empty());

    features_.set(Features::Key::aiAccess, false);
    EXPECT_EQ(names(), withoutProjects);  // listing stays; calling and reading do not
    EXPECT_EQ(tool("get_activities"), "AI access is turned off in Kvillo's settings.");
    EXPECT_TRUE(toolIsError("save_project", {{"name", "X"}}));
    EXPECT_EQ(call("resources/list")["result"]["resources"].size(), 3u);
    for (const char* uri : {"kvillo://activities/today", "kvillo://usage/today", "kvillo://x"}) {
        SCOPED_TRACE(uri);
        EXPECT_EQ(
            call("resources/read", {{"uri", uri}}).dump(),
            R"({"jsonrpc":"2.0","id":1,"error":{"code":-32603,"message":"AI access is turned off in Kvillo's settings."}})");
    }
}

TEST_F(Dispatcher, AnUnexpectedFailureIsAnsweredForItsIdAndTheRestGoesOn) {
    struct BrokenClock : Clock {
        TimePoint now() const override { throw std::logic_error("the clock broke"); }
    } broken;
    McpDispatcher dispatcher(db_, features_, broken);
    auto answers = Json::parse(*dispatcher.handleBody(R"([
        {"jsonrpc":"2.0","id":"a","method":"tools/call","params":{"name":"get_activities"}},
        {"jsonrpc":"2.0","id":2,"method":"ping"}])"));
    EXPECT_EQ(
        answers.dump(),
        R"([{"jsonrpc":"2.0","id":"a","error":{"code":-32603,"message":"Internal error: the clock broke"}},{"jsonrpc":"2.0","id":2,"result":{}}])");
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
    auto noArguments = call("tools/call", Json{{"name", "get_activities"}})["result"];
    EXPECT_EQ(noArguments["content"][0]["text"], "No activities found.");
    EXPECT_EQ(noArguments["isError"], false);
    EXPECT_EQ(tool("frobnicate"), "Unknown tool: frobnicate");
    EXPECT_EQ(call("resources/read", "kvillo://usage/today")["error"]["message"],
              "Invalid params: missing 'uri'");
}

TEST_F(Dispatcher, ResourcesReadTheDaysOfTheClock) {
    auto list = call("resources/list")["result"]["resources"];
    EXPECT_EQ(
        list.back().dump(),
        R"({"uri":"kvillo://usage/today","name":"Today's App Usage Summary","description":"Time spent per application today.","mimeType":"text/plain"})");
    for (const auto& resource : list) {  // every one listed can be read
        SCOPED_TRACE(resource["uri"].get<std::string>());
        EXPECT_TRUE(call("resources/read", {{"uri", resource["uri"]}}).contains("result"));
    }

    add("Code", testing::localTime(2026, 11, 22, 10), 5);
    auto yesterday = call("resources/read", {{"uri", "kvillo://activities/yesterday"}})["result"];
    EXPECT_EQ(yesterday["contents"][0]["uri"], "kvillo://activities/yesterday");
    EXPECT_EQ(yesterday["contents"][0]["text"],
              "Activities (1 sessions):\n"
              "\u2022 Code  [2026-11-22T10:00:00+01:00 \u2192 2026-11-22T10:05:00+01:00]  (5m 0s)");
    EXPECT_EQ(call("resources/read",
                   {{"uri", "kvillo://activities/today"}})["result"]["contents"][0]["text"],
              "No activities found.");  // no annotations, so no blank line either
    auto unknown = call("resources/read", {{"uri", "kvillo://usage/yesterday"}});
    EXPECT_EQ(unknown["error"]["code"], -32603);
    EXPECT_EQ(unknown["error"]["message"], "Unknown resource URI: kvillo://usage/yesterday");
}

TEST_F(Dispatcher, ABatchOfLargeAnswersStopsPastTheCap) {
    // About 3 MB of titles today: one answer fits, two pass the cap.
    for (int i = 0; i < 3000; ++i) {
        add("Code", testing::localTime(2026, 11, 23, 9) + i, 0.01, std::string(1000, 'x'));
    }
    std::string call = R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":)"
                       R"({"name":"get_activities","arguments":{"limit":5000}}})";
    auto answers = Json::parse(*dispatcher_.handleBody("[" + call + "," + call + "," + call + "]"));
    ASSERT_EQ(answers.size(), 3u);
    EXPECT_TRUE(answers[0].contains("result"));
    EXPECT_TRUE(answers[1].contains("result"));
    EXPECT_EQ(answers[2]["error"]["message"],
              "The batch's answers passed 4 MB: send this request again on its own.");
}

}  // namespace
}  // namespace kvillo
