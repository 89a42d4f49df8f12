#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>

#include "core/store/database.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using Json = nlohmann::json;

std::vector<Json> answerLines(const std::string& output) {
    std::vector<Json> lines;
    std::istringstream stream(output);
    std::string line;
    while (std::getline(stream, line)) {
        lines.push_back(Json::parse(line));  // nothing but JSON on standard output
    }
    return lines;
}

TEST(McpBridge, AnswersLineByLineAndSharesTheStore) {
    testing::TempFolder home;
    std::string input =
        R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-06-18"}})"
        "\n"
        R"({"jsonrpc":"2.0","method":"notifications/initialized"})"
        "\n"
        "this is not json\n"
        "[1e400]\n"
        "\n"
        R"({"jsonrpc":"2.0","id":"b","method":"tools/call","params":{"name":"annotate","arguments":{"text":"Via stdio"}}})"
        "\r\n"
        R"({"jsonrpc":"2.0","id":"c","method":"tools/call","params":{"name":"annotate","arguments":{"text":"Via\u0000 stdio"}}})"
        "\n";
    auto result = testing::runProcess({KVILLO_MCP_BINARY}, testing::homeEnvironment(home), input);
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.error, "");
    auto lines = answerLines(result.output);
    ASSERT_EQ(lines.size(), 5u) << result.output;
    EXPECT_EQ(lines[0]["result"]["protocolVersion"], "2025-06-18");
    for (int i : {1, 2}) {
        EXPECT_EQ(lines[i]["error"]["code"], -32700);
        EXPECT_TRUE(lines[i].contains("id") && lines[i]["id"].is_null()) << lines[i];
    }
    EXPECT_EQ(lines[3]["id"], "b");
    EXPECT_TRUE(lines[3]["result"]["content"][0]["text"].get<std::string>().starts_with(
        "Annotation started: Via stdio"));
    EXPECT_EQ(lines[4]["result"]["content"][0]["text"], "Error: the text contains a NUL character");

    Database db(home.file("data/Kvillo/activities.db"));
    EXPECT_EQ(db.currentAnnotation()->text, "Via stdio");
}

// A line past the request limit is dropped as it streams in, not held: with
// its heap capped far below the line's size the bridge refuses it and goes on.
TEST(McpBridge, RefusesAnOverLongLineAndAnswersTheNext) {
    testing::TempFolder home;
    const std::string ping = R"({"jsonrpc":"2.0","id":7,"method":"ping"})";
    std::string input = ping + "\n" + std::string(60 << 20, 'x') + "\n" + ping;
    auto result =
        testing::runProcess({"/bin/sh", "-c", "ulimit -d 32768 && exec \"$0\"", KVILLO_MCP_BINARY},
                            testing::homeEnvironment(home), input);
    EXPECT_EQ(result.status, 0) << result.error;
    auto lines = answerLines(result.output);
    ASSERT_EQ(lines.size(), 3u) << result.output;
    EXPECT_EQ(lines[0], lines[2]);
    EXPECT_EQ(lines[1]["error"]["code"], -32600);
    EXPECT_TRUE(lines[1].contains("id") && lines[1]["id"].is_null()) << lines[1];
}

}  // namespace
}  // namespace kvillo
