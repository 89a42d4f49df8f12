#include <gtest/gtest.h>

#include <array>

#include "core/analysis/focus_session.h"
#include "tests/support/records.h"

namespace kvillo {
namespace {

using testing::act;

// Detection does no calendar arithmetic, so any instants do.
constexpr double kNine = 9 * testing::kHour;
double at(double minutes) {
    return kNine + minutes * testing::kMinute;
}

std::vector<FocusSession> detect(const std::vector<Activity>& activities) {
    return FocusSession::detect(activities, 1500, 120, at(100));
}

TEST(FocusSession, RunsOfTheMinimumLengthCountAndOnlyGapsOverTheMaximumBreakThem) {
    using Spans = std::vector<std::array<double, 3>>;  // start and end minute, switches
    struct Row {
        const char* name;
        std::vector<std::pair<double, std::optional<double>>> activities;  // minutes, open ends
        Spans sessions;
    };
    const Row rows[] = {
        {"nothing", {}, {}},
        {"24 minutes is too short", {{0, 24}}, {}},
        {"exactly 25 minutes counts", {{0, 25}}, {{0, 25, 0}}},
        {"a gap of exactly two minutes keeps the run", {{0, 12}, {14, 26}}, {{0, 26, 1}}},
        {"a second more breaks it", {{0, 12}, {14 + 1.0 / 60, 26}}, {}},
        {"gaps count from the latest end seen", {{0, 30}, {5, 6}, {31, 40}}, {{0, 40, 2}}},
        {"input in any order", {{40, 70}, {0, 20}, {71, 80}, {21, 27}}, {{0, 27, 1}, {40, 80, 1}}},
        {"an open activity runs until now", {{0, std::nullopt}}, {{0, 100, 0}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<Activity> activities;
        for (auto [start, end] : row.activities) {
            activities.push_back(
                act("Code", at(start), end ? std::optional(at(*end)) : std::nullopt));
        }
        Spans found;
        for (const auto& session : detect(activities)) {
            found.push_back({(session.start - kNine) / 60, (session.end - kNine) / 60,
                             static_cast<double>(session.switches)});
        }
        EXPECT_EQ(found, row.sessions);
    }
}

TEST(FocusSession, AppsAreSummedPerNameLargestFirstThenInOrderOfAppearance) {
    using Apps = std::vector<std::pair<std::string, Duration>>;
    auto tie = detect({act("Terminal", at(0), at(5)), act("Code", at(5), at(20)),
                       act("Terminal", at(20), at(30))});
    ASSERT_EQ(tie.size(), 1u);
    EXPECT_EQ(tie[0].apps, (Apps{{"Terminal", 900}, {"Code", 900}}));
    auto longer = detect({act("Terminal", at(0), at(10)), act("Code", at(10), at(30))});
    ASSERT_EQ(longer.size(), 1u);
    EXPECT_EQ(longer[0].apps, (Apps{{"Code", 1200}, {"Terminal", 600}}));
}

}  // namespace
}  // namespace kvillo
