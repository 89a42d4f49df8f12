#include <gtest/gtest.h>

#include "core/analysis/project_search.h"
#include "core/text/substring_automaton.h"
#include "core/text/text_folding.h"

namespace kvillo {
namespace {

TEST(TextFolding, CaseAndDiacriticsFoldAway) {
    struct Row {
        const char* input;
        const char* folded;
    };
    const Row rows[] = {
        {"Skarvelin", "skarvelin"},
        {"É", "e"},
        {"crème brûlée", "creme brulee"},
        {"ÅRSMØTE", "arsmøte"},
        {"Straße", "strasse"},
        {"", ""},
        {"a\xff"
         "b",
         "a\xEF\xBF\xBD"
         "b"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.input);
        EXPECT_EQ(foldForMatching(row.input), row.folded);
    }
}

TEST(SubstringAutomaton, FindsTheLowestRankAmongOverlappingPatterns) {
    SubstringAutomaton automaton;
    automaton.add("he", 3);
    automaton.add("she", 2);
    automaton.add("hers", 1);
    automaton.add("", 0);  // never matches
    automaton.add("his", 4);
    automaton.finish();
    EXPECT_EQ(automaton.lowestRankIn("ushers"), 1);
    EXPECT_EQ(automaton.lowestRankIn("ushe"), 2);
    EXPECT_EQ(automaton.lowestRankIn("ahe"), 3);  // found through a failure link
    EXPECT_EQ(automaton.lowestRankIn("hhis"), 4);
    EXPECT_EQ(automaton.lowestRankIn("h e r s"), SubstringAutomaton::kNoMatch);
    EXPECT_EQ(automaton.lowestRankIn(""), SubstringAutomaton::kNoMatch);

    SubstringAutomaton empty;
    empty.finish();
    EXPECT_EQ(empty.lowestRankIn("anything"), SubstringAutomaton::kNoMatch);
}

TEST(ProjectSearch, AgreesWithAPlainSearchOverEveryTerm) {
    std::vector<Project> projects{{.name = "Øko"},
                                  {.name = "ab", .keywords = {"bc", "abc"}},
                                  {.name = "Café", .keywords = {"Kraftnod"}},
                                  {.name = "c"}};
    ProjectSearch search(projects);
    for (const char* text :
         {"ØKONOMI", "xabcx", "bcd", "cafe", "KRAFTNØD", "kraftnod!", "zzz", "c", "", "aøko"}) {
        SCOPED_TRACE(text);
        const std::string* expected = nullptr;
        std::string folded = foldForMatching(text);
        for (const auto& project : projects) {
            bool found =
                !folded.empty() && folded.find(foldForMatching(project.name)) != std::string::npos;
            for (const auto& keyword : project.keywords) {
                found = found || (!folded.empty() &&
                                  folded.find(foldForMatching(keyword)) != std::string::npos);
            }
            if (found) {
                expected = &project.name;
                break;
            }
        }
        const std::string* actual = search.find(text);
        EXPECT_EQ(actual ? *actual : "(none)", expected ? *expected : "(none)");
    }
}

}  // namespace
}  // namespace kvillo
