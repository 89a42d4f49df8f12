#include "tests/support/desktop_day.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "core/time/system_clock.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace kvillo::testing {

using namespace std::chrono_literals;

void useShortestIdleThreshold(const std::string& configHome) {
    std::filesystem::create_directories(configHome + "/kvillo");
    writeFile(configHome + "/kvillo/app.kvillo.shared.json", R"({"idleMinutes": 1})");
}

void lockThenStayAway(const std::function<std::vector<Activity>()>& rows,
                      const DesktopHands& hands) {
    const size_t before = rows().size();
    ASSERT_TRUE(hands.lock());
    ASSERT_TRUE(eventually([&] { return rows().back().endTime.has_value(); }, 10s));
    ASSERT_TRUE(hands.unlock());
    ASSERT_TRUE(eventually([&] { return rows().size() == before + 1; }, 10s));

    ASSERT_TRUE(hands.input());
    const double lastInput = SystemClock().now();
    ASSERT_TRUE(eventually([&] { return rows().back().endTime.has_value(); }, 80s));
    // At the last input, not a minute later when the absence was noticed
    // (compositors time the threshold roughly, and a loaded machine delays
    // the news).
    EXPECT_GT(*rows().back().endTime, lastInput - 5);
    EXPECT_LT(*rows().back().endTime, lastInput + 30);
    ASSERT_TRUE(hands.input());
    ASSERT_TRUE(eventually([&] { return rows().size() == before + 2; }, 10s));
}

void expectTheDay(const std::vector<Activity>& rows, const std::vector<std::string>& names,
                  const std::string& title) {
    ASSERT_EQ(rows.size(), names.size());
    ASSERT_EQ(rows.size(), 5u);
    for (size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(rows[i].appName, names[i]);
        ASSERT_TRUE(rows[i].endTime);
    }
    EXPECT_EQ(rows[0].endTime, rows[1].startTime);
    EXPECT_EQ(rows[1].endTime, rows[2].startTime);
    EXPECT_EQ(rows[2].title, title);
    EXPECT_LT(*rows[2].endTime, rows[3].startTime);  // locked
    EXPECT_LT(*rows[3].endTime, rows[4].startTime);  // away
}

}  // namespace kvillo::testing
