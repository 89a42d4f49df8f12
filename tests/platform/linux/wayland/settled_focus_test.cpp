#include <gtest/gtest.h>

#include "platform/linux/wayland/settled_focus.h"
#include "tests/support/qt_events.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;

class HandSetFocus : public FocusSource {
public:
    bool isReady() const override { return true; }
    std::optional<FocusedWindow> focused() const override { return window; }
    void set(std::optional<FocusedWindow> next) {
        window = std::move(next);
        emit changed();
    }
    std::optional<FocusedWindow> window;
};

FocusedWindow window(const std::string& appID, const std::string& title) {
    FocusedWindow focused;
    focused.appID = appID;
    focused.title = title;
    return focused;
}

// Compositors pass through "no window" on every switch; only what holds
// counts, and a new title counts at once without being a switch.
TEST(SettledFocus, OnlyWhatHoldsIsASwitchAndTitlesFollowAtOnce) {
    testing::ensureCoreApplication();
    HandSetFocus source;
    source.window = window("org.example.A", "One");
    SettledFocus settled(source, 50ms);
    int switches = 0;
    QObject::connect(&settled, &SettledFocus::windowChanged, [&] { ++switches; });

    source.set(std::nullopt);
    source.set(window("org.example.B", "Two"));
    ASSERT_TRUE(testing::processEventsUntil([&] { return switches == 1; }, 2s));
    EXPECT_EQ(settled.window(), window("org.example.B", "Two"));

    source.set(window("org.example.B", "Two, edited"));
    EXPECT_EQ(settled.window()->title, "Two, edited");
    source.set(std::nullopt);
    source.set(window("org.example.B", "Two, edited"));  // back before it settled
    testing::processEventsFor(150ms);
    EXPECT_EQ(switches, 1);

    source.set(std::nullopt);  // a locker, an empty workspace
    ASSERT_TRUE(testing::processEventsUntil([&] { return switches == 2; }, 2s));
    EXPECT_FALSE(settled.window());

    // A window retitling itself faster than the settle time still settles.
    for (int i = 0; i < 8; ++i) {
        source.set(window("org.example.C", "Building " + std::to_string(i)));
        testing::processEventsFor(20ms);
    }
    EXPECT_EQ(switches, 3);
    EXPECT_EQ(settled.window()->appID, "org.example.C");
}

}  // namespace
}  // namespace kvillo
