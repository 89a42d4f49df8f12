#include <gtest/gtest.h>

#include "core/integrations/jsonc_document.h"
#include "core/integrations/jsonc_edit.h"

namespace kvillo {
namespace {

using Json = nlohmann::ordered_json;

TEST(JsoncDocument, ReadsWhatEditorsWriteAndNothingElse) {
    struct Row {
        const char* name;
        const char* text;
        bool accepted;
    };
    const Row rows[] = {
        {"plain JSON", R"({"a": [1, -2.5e3, true, null, "x"]})", true},
        {"comments of both kinds", "// head\n{ /* a */ \"a\": 1 // tail\n}\n/* end */", true},
        {"trailing commas", "{\"a\": [1, 2,], \"b\": {\"c\": 1,},}", true},
        {"a byte order mark", "\xEF\xBB\xBF{}", true},
        {"comment markers inside a string", R"({"a": "// not /* a comment"})", true},
        {"an escaped quote", R"({"a": "say \"hi\"\\"})", true},
        {"an open block comment", "{} /* no end", false},
        {"a comma and nothing else", "{,}", false},
        {"two commas", "[1,,2]", false},
        {"a missing comma", R"({"a": 1 "b": 2})", false},
        {"a bare word", "{a: 1}", false},
        {"single quotes", "{'a': 1}", false},
        {"a raw newline in a string", "{\"a\": \"x\ny\"}", false},
        {"a leading zero", "[01]", false},
        {"two values", "{} {}", false},
        {"nothing", "", false},
        {"deeper than the limit", nullptr, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::string text = row.text ? row.text
                                    : std::string(JsoncDocument::kMaxDepth + 1, '[') +
                                          std::string(JsoncDocument::kMaxDepth + 1, ']');
        EXPECT_EQ(JsoncDocument::scan(text).has_value(), row.accepted);
    }
}

TEST(JsoncDocument, KeysAreDecodedAndTheLastOfANameCounts) {
    std::string text = R"({"kv\u0069llo": 1, "\ud83d\ude00": 2, "kvillo": {"x": 3}})";
    auto document = JsoncDocument::scan(text);
    ASSERT_TRUE(document);
    EXPECT_EQ(document->count(document->root(), "kvillo"), 2);
    EXPECT_EQ(document->root().items[1].key, "\xF0\x9F\x98\x80");
    const auto* last = document->member(document->root(), "kvillo");
    ASSERT_TRUE(last);
    EXPECT_EQ(text.substr(last->begin, last->end - last->begin), R"({"x": 3})");
}

enum class Operation { setKvillo, removeKvillo, appendToList };

// Every other byte stays: the expected texts differ from the inputs only
// where the member goes or went.
TEST(JsoncEdit, ChangesOnlyTheMemberConcerned) {
    struct Row {
        const char* name;
        const char* before;
        Operation operation;
        const char* after;
    };
    const Row rows[] = {
        {"added after the last member, in its indentation", "{\n    \"a\": 1 // one\n}\n",
         Operation::setKvillo,
         "{\n    \"a\": 1, // one\n    \"kvillo\": {\n        \"url\": \"u\"\n    }\n}\n"},
        {"a trailing comma is kept, and given to the new member",
         "{\n  /* servers */\n  \"a\": 1,\n}", Operation::setKvillo,
         "{\n  /* servers */\n  \"a\": 1,\n  \"kvillo\": {\n    \"url\": \"u\"\n  },\n}"},
        {"a comment after the comma stays with its member", "{\n\t\"a\": 1, // one\n}",
         Operation::setKvillo,
         "{\n\t\"a\": 1, // one\n\t\"kvillo\": {\n\t\t\"url\": \"u\"\n\t},\n}"},
        {"an empty object opens up", "{\n  \"s\": {}\n}", Operation::setKvillo,
         "{\n  \"s\": {\n    \"kvillo\": {\n      \"url\": \"u\"\n    }\n  }\n}"},
        {"a comment in an empty object stays below", "{\n  \"s\": { // none yet\n  }\n}",
         Operation::setKvillo,
         "{\n  \"s\": { // none yet\n    \"kvillo\": {\n      \"url\": \"u\"\n    }\n  }\n}"},
        {"a one-line file stays on one line", R"({"s": {"a": 1}})", Operation::setKvillo,
         R"({"s": {"a": 1, "kvillo": {"url":"u"}}})"},
        {"an old value is replaced whole", "{\n  \"kvillo\": [1,\n    2] /* old */\n}",
         Operation::setKvillo, "{\n  \"kvillo\": {\n    \"url\": \"u\"\n  } /* old */\n}"},
        {"removing the last member takes the comma before", "{\n  \"a\": 1,\n  \"kvillo\": 2\n}",
         Operation::removeKvillo, "{\n  \"a\": 1\n}"},
        {"removing a middle member takes its line", "{\n  \"kvillo\": 2, \n  \"a\": 1,\n}",
         Operation::removeKvillo, "{\n  \"a\": 1,\n}"},
        {"a comment before the last member stays", "{\n  \"a\": 1, // one\n  \"kvillo\": 2\n}",
         Operation::removeKvillo, "{\n  \"a\": 1 // one\n}"},
        {"a comment on the removed line stays", "{\n  \"kvillo\": 2, // mine\n  \"a\": 1\n}",
         Operation::removeKvillo, "{\n  // mine\n  \"a\": 1\n}"},
        {"removing on one line", R"({"kvillo": 2, "a": 1})", Operation::removeKvillo,
         R"({"a": 1})"},
        {"CRLF lines get CRLF", "{\r\n  \"a\": 1, // one\r\n}\r\n", Operation::setKvillo,
         "{\r\n  \"a\": 1, // one\r\n  \"kvillo\": {\r\n    \"url\": \"u\"\r\n  },\r\n}\r\n"},
        {"a CRLF line goes whole", "{\r\n  \"kvillo\": 2,\r\n  \"a\": 1\r\n}",
         Operation::removeKvillo, "{\r\n  \"a\": 1\r\n}"},
        {"an element goes after the last", "{\n  \"s\": [\n    {\"a\": 1}\n  ]\n}",
         Operation::appendToList,
         "{\n  \"s\": [\n    {\"a\": 1},\n    {\n      \"b\": 2\n    }\n  ]\n}"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        auto document = JsoncDocument::scan(row.before);
        ASSERT_TRUE(document);
        const auto& root = document->root();
        std::string after;
        switch (row.operation) {
            case Operation::setKvillo: {
                const auto* servers = document->member(root, "s");
                after = JsoncEdit::setMember(row.before, *document, servers ? *servers : root,
                                             "kvillo", Json{{"url", "u"}});
                break;
            }
            case Operation::removeKvillo: {
                std::size_t index = root.items[0].key == "kvillo" ? 0 : 1;
                after = JsoncEdit::removeItem(row.before, *document, root, index);
                break;
            }
            case Operation::appendToList:
                after = JsoncEdit::appendElement(row.before, *document,
                                                 *document->member(root, "s"), Json{{"b", 2}});
                break;
        }
        EXPECT_EQ(after, row.after);
        EXPECT_TRUE(JsoncDocument::scan(after));
    }
}

}  // namespace
}  // namespace kvillo
