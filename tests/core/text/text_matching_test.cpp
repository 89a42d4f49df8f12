#include <gtest/gtest.h>

#include <algorithm>

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
    automaton.add("he", 2);
    automaton.add("she", 3);
    automaton.add("hers", 1);
    automaton.add("", 0);  // never matches
    automaton.add("his", 4);
    automaton.finish();
    EXPECT_EQ(automaton.lowestRankIn("ushers"), 1);  // the lowest comes last
    EXPECT_EQ(automaton.lowestRankIn("ushe"), 2);    // "he" ends inside "she"
    EXPECT_EQ(automaton.lowestRankIn("hers his"), 1);
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
        std::string folded = foldForMatching(text);
        auto occurs = [&](const std::string& term) {
            return !folded.empty() && folded.find(foldForMatching(term)) != std::string::npos;
        };
        auto first = std::find_if(projects.begin(), projects.end(), [&](const Project& project) {
            return occurs(project.name) ||
                   std::any_of(project.keywords.begin(), project.keywords.end(), occurs);
        });
        std::optional<size_t> expected;
        if (first != projects.end()) {
            expected = static_cast<size_t>(first - projects.begin());
        }
        EXPECT_EQ(search.find(text), expected);
    }
}

}  // namespace
}  // namespace kvillo
