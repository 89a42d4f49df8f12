#include <gtest/gtest.h>

#include "core/analysis/project_matcher.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

constexpr double kMinute = 60;
const double kNine = testing::localTime(2026, 11, 23, 9);
const double kNow = testing::localTime(2026, 11, 23, 18);

Activity act(const std::string& app, double start, double end,
             std::optional<std::string> title = std::nullopt) {
    return Activity{.appName = app, .title = std::move(title), .startTime = start, .endTime = end};
}

Annotation note(const std::string& text, double start, std::optional<double> end) {
    return Annotation{.text = text, .startedAt = start, .endedAt = end};
}

using Names = std::vector<std::optional<std::string>>;

// The project names assign() gives, in its order; the inputs stay alive
// for as long as the pointers are read.
Names namesOf(const std::vector<Activity>& activities, const std::vector<Project>& projects,
              const std::vector<Annotation>& notes, double carryOver) {
    Names names;
    for (const auto& pair : ProjectMatcher::assign(activities, projects, notes, carryOver, kNow)) {
        names.push_back(pair.project ? std::optional(*pair.project) : std::nullopt);
    }
    return names;
}
const std::vector<Project> kProjects{
    {.name = "Alpha", .keywords = {"kunde-a"}},
    {.name = "Beta", .keywords = {"Prototype", "b-app"}},
    {.name = "Skarvelin", .keywords = {}},
};

TEST(ProjectMatcher, WithoutProjectsNothingIsMatchedOrSorted) {
    std::vector<Activity> activities{act("B", kNine + 100, kNine + 200, "Alpha"),
                                     act("A", kNine, kNine + 50, "Alpha")};
    std::vector<Annotation> notes{note("Alpha", 0, std::nullopt)};
    const std::vector<Project> none;
    auto pairs = ProjectMatcher::assign(activities, none, notes, 600, kNow);
    ASSERT_EQ(pairs.size(), 2u);
    EXPECT_EQ(pairs[0].activity, &activities[0]);
    EXPECT_EQ(namesOf(activities, {}, notes, 600), (Names{std::nullopt, std::nullopt}));
}

TEST(ProjectMatcher, TitlesMatchByFoldedSubstringAndTheEarlierProjectWins) {
    struct Row {
        const char* name;
        const char* title;
        std::optional<std::string> expected;
    };
    const Row rows[] = {
        {"list order beats position in the title", "b-app review for Alpha", "Alpha"},
        {"keyword of the first project", "Ticket KUNDE-A-17", "Alpha"},
        {"substring inside a word, any case", "Rapid PROTOTYPES", "Beta"},
        {"diacritics are ignored", "Skårvelin — planning", "Skarvelin"},
        {"no term at all", "Inbox", std::nullopt},
        {"empty title", "", std::nullopt},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(namesOf({act("Firefox", kNine, kNine + 60, row.title)}, kProjects, {}, 0),
                  Names{row.expected});
    }
    std::vector<Project> api{{.name = "Api"}};
    EXPECT_EQ(namesOf({act("Code", 0, 1, "Rapid prototyping")}, api, {}, 0), Names{"Api"});
    std::vector<Project> accented{{.name = "Café"}};
    EXPECT_EQ(namesOf({act("Code", 0, 1, "CAFE menu")}, accented, {}, 0), Names{"Café"});
}

TEST(ProjectMatcher, AnnotationsCoverFromTheirStartUntilButNotAtTheirEnd) {
    std::vector<Annotation> notes{note("Arbeid på Skarvelin", kNine, kNine + 30 * kMinute)};
    auto names = namesOf(
        {act("Mail", kNine, kNine + 60), act("Mail", kNine + 30 * kMinute, kNine + 31 * kMinute),
         act("Mail", kNine - 1, kNine)},
        kProjects, notes, 0);
    // Sorted by start: the one before the note, the one at its start, the one at its end.
    EXPECT_EQ(names, (Names{std::nullopt, "Skarvelin", std::nullopt}));

    // An open note lasts until now.
    EXPECT_EQ(namesOf({act("Mail", kNow - 60, kNow)}, kProjects,
                      {note("Skarvelin", kNine, std::nullopt)}, 0),
              Names{"Skarvelin"});
}

TEST(ProjectMatcher, CarryOverReachesTenMinutesPastTheLastMatchedEnd) {
    std::vector<Annotation> notes{note("Arbeid på Skarvelin", kNine, kNine + 10 * kMinute)};
    double end = kNine + 10 * kMinute;
    auto names =
        namesOf({act("Files", kNine, end), act("Mail", end + 9 * kMinute, end + 9.5 * kMinute),
                 act("Mail", end + 10 * kMinute, end + 10.5 * kMinute),
                 act("Mail", end + 11 * kMinute, end + 12 * kMinute)},
                kProjects, notes, 600);
    // The chain of unmatched activities does not stretch the carry.
    EXPECT_EQ(names, (Names{"Skarvelin", "Skarvelin", "Skarvelin", std::nullopt}));

    EXPECT_EQ(namesOf({act("Code", kNine, kNine + 60, "Beta"), act("Mail", kNine + 30, kNine + 90),
                       act("Mail", kNine + 61, kNine + 90)},
                      kProjects, {}, 0),
              (Names{"Beta", "Beta", std::nullopt}));
}

TEST(ProjectMatcher, TheLaterListedCoveringAnnotationDecidesEvenWithoutAMatch) {
    std::vector<Annotation> notes{note("Alpha work", kNine, kNine + 60 * kMinute),
                                  note("Lunsj", kNine + 10 * kMinute, kNine + 40 * kMinute)};
    EXPECT_EQ(namesOf({act("Mail", kNine + 20 * kMinute, kNine + 21 * kMinute),
                       act("Mail", kNine + 45 * kMinute, kNine + 46 * kMinute)},
                      kProjects, notes, 0),
              (Names{std::nullopt, "Alpha"}));
    // Notes given out of start order are searched from the end of the list all the same.
    std::vector<Annotation> reversed{notes[1], notes[0]};
    EXPECT_EQ(
        namesOf({act("Mail", kNine + 20 * kMinute, kNine + 21 * kMinute)}, kProjects, reversed, 0),
        Names{"Alpha"});
}

TEST(ProjectMatcher, ClaudeCodeTasksClaimOnlyDeveloperAppsForFortyFiveMinutes) {
    std::vector<Annotation> notes{
        note("Beta sprint", kNine - 60 * kMinute, kNine + 120 * kMinute),
        note("Claude Code: /home/kari/src/skarvelin", kNine, std::nullopt)};
    struct Row {
        const char* name;
        const char* app;
        double startAfterNote;
        std::optional<std::string> expected;
    };
    const Row rows[] = {
        {"terminal after 44 minutes", "Terminal", 44 * kMinute, "Skarvelin"},
        {"exactly 45 minutes still counts", "GNOME Terminal", 2700, "Skarvelin"},
        {"one second later falls through to the earlier note", "Terminal", 2701, "Beta"},
        {"terminal after 46 minutes", "Terminal", 46 * kMinute, "Beta"},
        {"editor named by a developer word", "Visual Studio Code", 60, "Skarvelin"},
        {"iTerm2", "iTerm2", 60, "Skarvelin"},
        {"a browser never", "Firefox", 60, "Beta"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        double start = kNine + row.startAfterNote;
        EXPECT_EQ(namesOf({act(row.app, start, start + 30)}, kProjects, notes, 600),
                  Names{row.expected});
    }
}

TEST(ProjectMatcher, ClaudeCodeMatchesAreNotCarried) {
    std::vector<Annotation> notes{note("Claude Code: /src/skarvelin", kNine, std::nullopt)};
    EXPECT_EQ(namesOf({act("Terminal", kNine, kNine + 60), act("Firefox", kNine + 61, kNine + 120)},
                      kProjects, notes, 600),
              (Names{"Skarvelin", std::nullopt}));
    // Nor do they break the carry of a title match before them.
    EXPECT_EQ(
        namesOf({act("Code", kNine - 60, kNine, "Alpha review"), act("Terminal", kNine, kNine + 60),
                 act("Firefox", kNine + 120, kNine + 180)},
                kProjects, notes, 600),
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
    EXPECT_EQ(namesOf(activities, kProjects, {}, 600), (Names{"Alpha", "Beta", "Beta"}));
}

}  // namespace
}  // namespace kvillo
