#include <gtest/gtest.h>

#include <sstream>

#include "core/mcp/answer_caps.h"
#include "core/text/join.h"
#include "tests/core/mcp/mcp_fixture.h"

namespace kvillo {
namespace {

using AnswerCaps::kCutLine;
using AnswerCaps::kMaxAnswerBytes;

std::string repeated(std::string_view part, size_t times) {
    std::string text;
    for (size_t i = 0; i < times; ++i) {
        text += part;
    }
    return text;
}

// A text past the cap keeps its longest start that fits with the cut line;
// one without line breaks ends at a code point boundary instead.
TEST(AnswerCaps, AnAnswerPastTheCapIsCutAtALine) {
    struct Row {
        const char* name;
        std::string text;
        bool atLine;
    };
    const std::string line = repeated("\u20ac", 99) + "\n";  // 298 bytes
    for (const Row& row : {
             Row{"lines", repeated(line, kMaxAnswerBytes / line.size() + 1), true},
             Row{"one line", repeated("\u20ac", kMaxAnswerBytes / 3 + 1), false},
         }) {
        SCOPED_TRACE(row.name);
        std::string cut = AnswerCaps::capAnswer(row.text);
        ASSERT_LE(cut.size(), kMaxAnswerBytes);
        ASSERT_TRUE(cut.ends_with("\n" + std::string(kCutLine)));
        std::string kept = cut.substr(0, cut.size() - kCutLine.size() - 1);
        EXPECT_TRUE(row.text.starts_with(kept));
        if (row.atLine) {
            EXPECT_EQ(row.text[kept.size()], '\n');
            EXPECT_GT(cut.size() + line.size(), kMaxAnswerBytes);
        } else {
            EXPECT_EQ(kept.size() % 3, 0u);
            EXPECT_GT(cut.size() + 3, kMaxAnswerBytes);
        }
    }
    std::string full = repeated("x", kMaxAnswerBytes);
    EXPECT_EQ(AnswerCaps::capAnswer(full), full);
}

using Caps = testing::McpFixture;

TEST_F(Caps, TextsPastAThousandCodePointsAreRefusedAndNothingIsWritten) {
    const std::string atCap = repeated("\u00f8", 1000);  // 2000 bytes
    const std::string pastCap = atCap + "\U0001F600";
    struct Row {
        const char* tool;
        Json args;
    };
    for (const Row& row : {
             Row{"annotate", {{"text", pastCap}}},
             Row{"save_project", {{"name", pastCap}}},
             Row{"save_project", {{"name", "Kvillo"}, {"keywords", {"kv", pastCap}}}},
             Row{"delete_project", {{"name", pastCap}}},
             Row{"search_activities", {{"query", pastCap}}},
         }) {
        SCOPED_TRACE(row.args.dump().substr(0, 40));
        EXPECT_EQ(tool(row.tool, row.args), "Error: the text is longer than 1000 characters.");
        EXPECT_TRUE(toolIsError(row.tool, row.args));
    }
    EXPECT_FALSE(db_.currentAnnotation());
    EXPECT_TRUE(db_.fetchProjects().empty());

    EXPECT_FALSE(toolIsError("annotate", {{"text", " " + atCap + "\n"}}));
    EXPECT_EQ(db_.currentAnnotation()->text, atCap);
    EXPECT_FALSE(toolIsError("save_project", {{"name", atCap}, {"keywords", {atCap}}}));
    EXPECT_EQ(db_.fetchProjects().at(0).keywords, std::vector<std::string>{atCap});
    EXPECT_FALSE(toolIsError("search_activities", {{"query", atCap}}));
    EXPECT_EQ(tool("delete_project", {{"name", atCap}}), "Deleted project " + atCap + ".");
}

// A hundred notes at the cap, each over the whole range, would repeat on
// every one of 92 days: some 28 MB.
TEST_F(Caps, ALongReportEndsWithTheCutLine) {
    const std::string text = repeated("\u20ac", 1000);
    std::vector<std::string> texts(100, text);
    for (int i = 0; i < 100; ++i) {
        db_.insertAnnotation(testing::note(text, testing::localTime(2026, 1, 1) + i,
                                           testing::localTime(2026, 11, 24)));
    }
    const std::string workedOn = "  Worked on: " + join(texts, "; ");
    std::string summary = tool("get_daily_summary", {{"from", "2026-08-01"}});
    ASSERT_LE(summary.size(), kMaxAnswerBytes);
    EXPECT_GE(summary.size() + workedOn.size(), kMaxAnswerBytes);  // not one line less
    ASSERT_TRUE(summary.ends_with("\n" + std::string(kCutLine)));
    EXPECT_TRUE(summary.starts_with("Showing 2026-08-24 to 2026-11-23 (at most 92 days).\n"));
    std::istringstream lines(summary);
    int days = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("  Worked on: ")) {
            ASSERT_EQ(line, workedOn);  // whole lines only
            ++days;
        }
    }
    EXPECT_GT(days, 10);
}

}  // namespace
}  // namespace kvillo
