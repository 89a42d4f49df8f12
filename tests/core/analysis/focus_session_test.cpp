#include <gtest/gtest.h>

#include "core/analysis/focus_session.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

const double kNine = testing::localTime(2026, 11, 23, 9);

Activity act(const std::string& app, double startMinutes, std::optional<double> endMinutes) {
    return Activity{.appName = app,
                    .startTime = kNine + startMinutes * 60,
                    .endTime = endMinutes ? std::optional(kNine + *endMinutes * 60) : std::nullopt};
}

std::vector<FocusSession> detect(const std::vector<Activity>& activities,
                                 double now = kNine + 1e5) {
    return FocusSession::detect(activities, 1500, 120, now);
}

TEST(FocusSession, LengthDecidesWhetherARunCounts) {
    EXPECT_TRUE(detect({}).empty());
    EXPECT_TRUE(detect({act("Code", 0, 24)}).empty());
    auto one = detect({act("Code", 0, 30)});
    ASSERT_EQ(one.size(), 1u);
    EXPECT_EQ(one[0].switches, 0);
    EXPECT_EQ(one[0].duration(), 1800);
    EXPECT_EQ(detect({act("Code", 0, 25)}).size(), 1u);  // exactly 1500 s counts
}

TEST(FocusSession, AGapOfExactlyTwoMinutesKeepsTheRun) {
    auto joined = detect({act("Code", 0, 12), act("Terminal", 14, 26)});
    ASSERT_EQ(joined.size(), 1u);
    EXPECT_EQ(joined[0].duration(), 26 * 60);
    EXPECT_EQ(joined[0].switches, 1);
    EXPECT_TRUE(detect({act("Code", 0, 12), act("Terminal", 14 + 1.0 / 60, 26)}).empty());
}

TEST(FocusSession, GapsAreMeasuredFromTheLatestEndSeen) {
    // The long editor session overlaps a short look at mail; the terminal
    // follows the editor, not the mail.
    auto sessions = detect({act("Code", 0, 30), act("Mail", 5, 6), act("Terminal", 31, 40)});
    ASSERT_EQ(sessions.size(), 1u);
    EXPECT_EQ(sessions[0].end, kNine + 40 * 60);
    EXPECT_EQ(sessions[0].switches, 2);
}

TEST(FocusSession, AppsAreSummedPerNameLargestFirst) {
    auto sessions = detect({act("Terminal", 0, 5), act("Code", 5, 20), act("Terminal", 20, 30)});
    ASSERT_EQ(sessions.size(), 1u);
    using Apps = std::vector<std::pair<std::string, Duration>>;
    EXPECT_EQ(sessions[0].apps, (Apps{{"Terminal", 900}, {"Code", 900}}));
    auto longer = detect({act("Code", 0, 20), act("Terminal", 20, 30)});
    EXPECT_EQ(longer[0].apps, (Apps{{"Code", 1200}, {"Terminal", 600}}));
}

TEST(FocusSession, OpenActivitiesRunToNowAndInputOrderDoesNotMatter) {
    double now = kNine + 40 * 60;
    auto open = detect({act("Code", 0, std::nullopt)}, now);
    ASSERT_EQ(open.size(), 1u);
    EXPECT_EQ(open[0].end, now);

    std::vector<Activity> sorted{act("A", 0, 20), act("B", 21, 27), act("C", 40, 70),
                                 act("D", 71, 80)};
    std::vector<Activity> shuffled{sorted[2], sorted[0], sorted[3], sorted[1]};
    auto expected = detect(sorted);
    EXPECT_EQ(expected.size(), 2u);
    EXPECT_EQ(detect(shuffled), expected);
}

}  // namespace
}  // namespace kvillo
