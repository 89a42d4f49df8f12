#include <gtest/gtest.h>

#include "core/analysis/project_matcher.h"
#include "tests/support/records.h"

namespace kvillo {
namespace {

using testing::act;
using testing::kMinute;
using testing::note;
using Names = std::vector<std::optional<std::string>>;

// Matching does no calendar arithmetic, so any instants do.
constexpr double kNine = 9 * testing::kHour;
constexpr double kNow = 18 * testing::kHour;

const std::vector<Project> kProjects{{.name = "Alpha", .keywords = {"kunde-a"}},
                                     {.name = "Beta", .keywords = {"Prototype", "b-app"}},
                                     {.name = "Skarvelin"},
                                     {.name = "Café"}};

// The project names assign() gives, in its order.
Names namesOf(const std::vector<Activity>& activities, const std::vector<Annotation>& notes,
              double carryOver) {
    Names names;
    for (const auto& pair : ProjectMatcher::assign(activities, kProjects, notes, carryOver, kNow)) {
        names.push_back(pair.project ? std::optional(kProjects[*pair.project].name) : std::nullopt);
    }
    return names;
}

TEST(ProjectMatcher, WithoutProjectsNothingIsMatchedOrSorted) {
    std::vector<Activity> activities{act("B", kNine + 100, kNine + 200, "Alpha"),
                                     act("A", kNine, kNine + 50, "Alpha")};
    const std::vector<Project> none;
    auto pairs = ProjectMatcher::assign(activities, none, {note("Alpha", 0, {})}, 600, kNow);
    ASSERT_EQ(pairs.size(), 2u);
    EXPECT_EQ(pairs[0].activity, &activities[0]);
    EXPECT_FALSE(pairs[0].project || pairs[1].project);
}

TEST(ProjectMatcher, TitlesMatchByFoldedSubstringAndTheEarlierProjectWins) {
    struct Row {
        const char* name;
        const char* title;
        std::optional<std::string> expected;
    };
    const Row rows[] = {
        {"list order beats position in the title", "b-app review for Alpha", "Alpha"},
        {"substring inside a word, any case", "Rapid PROTOTYPES", "Beta"},
        {"diacritics in the title are ignored", "Skårvelin — planning", "Skarvelin"},
        {"diacritics in the term are ignored", "CAFE menu", "Café"},
        {"no term at all", "Inbox", std::nullopt},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(namesOf({act("Firefox", kNine, kNine + 60, row.title)}, {}, 0),
                  Names{row.expected});
    }
}

TEST(ProjectMatcher, AnnotationsCoverFromTheirStartUntilButNotAtTheirEnd) {
    std::vector<Annotation> notes{note("Arbeid på Skarvelin", kNine, kNine + 30 * kMinute)};
    // Sorted by start: the one before the note, the one at its start, the one at its end.
    EXPECT_EQ(namesOf({act("Mail", kNine, kNine + 60),
                       act("Mail", kNine + 30 * kMinute, kNine + 31 * kMinute),
                       act("Mail", kNine - 1, kNine)},
                      notes, 0),
              (Names{std::nullopt, "Skarvelin", std::nullopt}));
    EXPECT_EQ(namesOf({act("Mail", kNow - 60, kNow)}, {note("Skarvelin", kNine, {})}, 0),
              Names{"Skarvelin"})
        << "an open note lasts until now";
}

TEST(ProjectMatcher, CarryOverReachesItsLengthPastTheLastMatchedEnd) {
    double end = kNine + 10 * kMinute;
    // The chain of unmatched activities does not stretch the carry.
    EXPECT_EQ(namesOf({act("Files", kNine, end), act("Mail", end + 9 * kMinute, end + 570),
                       act("Mail", end + 10 * kMinute, end + 630),
                       act("Mail", end + 11 * kMinute, end + 12 * kMinute)},
                      {note("Arbeid på Skarvelin", kNine, end)}, 600),
              (Names{"Skarvelin", "Skarvelin", "Skarvelin", std::nullopt}));
    // With no carry, only overlap with the matched activity keeps its project.
    EXPECT_EQ(namesOf({act("Code", kNine, kNine + 60, "Beta"), act("Mail", kNine + 30, kNine + 90),
                       act("Mail", kNine + 61, kNine + 90)},
                      {}, 0),
              (Names{"Beta", "Beta", std::nullopt}));
}

TEST(ProjectMatcher, TheLaterListedCoveringAnnotationDecidesEvenWithoutAMatch) {
    std::vector<Annotation> notes{note("Alpha work", kNine, kNine + 60 * kMinute),
                                  note("Lunsj", kNine + 10 * kMinute, kNine + 40 * kMinute)};
    Activity inLunch = act("Mail", kNine + 20 * kMinute, kNine + 21 * kMinute);
    EXPECT_EQ(namesOf({inLunch, act("Mail", kNine + 45 * kMinute, kNine + 46 * kMinute)}, notes, 0),
              (Names{std::nullopt, "Alpha"}));
    // Notes given out of start order are searched from the end of the list all the same.
    Annotation later = note("Pause", kNine + 50 * kMinute, kNine + 55 * kMinute);
    EXPECT_EQ(namesOf({inLunch}, {notes[1], later, notes[0]}, 0), Names{"Alpha"});
}

TEST(ProjectMatcher, ClaudeCodeTasksClaimOnlyDeveloperAppsForFortyFiveMinutes) {
    std::vector<Annotation> notes{note("Beta sprint", kNine - 60 * kMinute, kNine + 120 * kMinute),
                                  note("Claude Code: /home/kari/src/skarvelin", kNine, {})};
    struct Row {
        const char* name;
        const char* app;
        double startAfterNote;
        std::optional<std::string> expected;
    };
    const Row rows[] = {
        {"exactly 45 minutes still counts", "GNOME Terminal", 2700, "Skarvelin"},
        {"one second later falls through to the earlier note", "Terminal", 2701, "Beta"},
        {"editor named by a developer word", "Visual Studio Code", 60, "Skarvelin"},
        {"a browser never", "Firefox", 60, "Beta"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        double start = kNine + row.startAfterNote;
        EXPECT_EQ(namesOf({act(row.app, start, start + 30)}, notes, 600), Names{row.expected});
    }
}

TEST(ProjectMatcher, ClaudeCodeMatchesAreNotCarriedNorBreakAnEarlierCarry) {
    std::vector<Annotation> notes{note("Claude Code: /src/skarvelin", kNine, {})};
    EXPECT_EQ(namesOf({act("Terminal", kNine, kNine + 60), act("Firefox", kNine + 61, kNine + 120)},
                      notes, 600),
              (Names{"Skarvelin", std::nullopt}));
    EXPECT_EQ(
        namesOf({act("Code", kNine - 60, kNine, "Alpha review"), act("Terminal", kNine, kNine + 60),
                 act("Firefox", kNine + 120, kNine + 180)},
                notes, 600),
        (Names{"Alpha", "Skarvelin", "Alpha"}));
}

TEST(ProjectMatcher, EqualStartsKeepTheirInputOrder) {
    std::vector<Activity> activities{act("Second", kNine, kNine + 1, "Beta"),
                                     act("Third", kNine, kNine + 2),
                                     act("First", kNine - 5, kNine - 4, "Alpha")};
    auto pairs = ProjectMatcher::assign(activities, kProjects, {}, 600, kNow);
    EXPECT_EQ(pairs[0].activity->appName, "First");
    EXPECT_EQ(pairs[1].activity->appName, "Second");
    EXPECT_EQ(pairs[2].activity->appName, "Third");
    EXPECT_EQ(namesOf(activities, {}, 600), (Names{"Alpha", "Beta", "Beta"}));
}

}  // namespace
}  // namespace kvillo
