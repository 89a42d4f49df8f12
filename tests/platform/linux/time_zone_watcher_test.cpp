#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/linux/time_zone_watcher.h"
#include "tests/support/qt_events.h"
#include "tests/support/session_bus.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;

constexpr const char* kTimedate = "org.freedesktop.timedate1";

void pointLink(const std::string& link, const std::string& target) {
    std::filesystem::remove(link);
    std::filesystem::create_symlink(target, link);
}

// The symlink while nothing else names a zone; timedated once it runs,
// including one started after the watcher; TZ above both.
TEST(TimeZoneWatcher, FollowsTheSymlinkThenTimedatedWithTZAboveBoth) {
    testing::SessionBus bus;
    ASSERT_EQ(bus.error(), "");
    testing::ScopedEnv tz("TZ", "");
    testing::ensureCoreApplication();
    testing::TempFolder folder;
    std::string link = folder.file("localtime");
    pointLink(link, "/usr/share/zoneinfo/Europe/Oslo");

    TimeZoneWatcher watcher(QString::fromStdString(link));
    int changes = 0;
    watcher.subscribe([&] { ++changes; });
    EXPECT_EQ(watcher.currentZone(), "Europe/Oslo");

    // Relative, as some distributions write it; seen at the next check.
    pointLink(link, "../usr/share/zoneinfo/America/New_York");
    watcher.check();
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(watcher.currentZone(), "America/New_York");
    watcher.check();
    EXPECT_EQ(changes, 1);

    ASSERT_EQ(bus.startMock(kTimedate, {"--system", "--template", "timedated"}), "");
    for (const char* zone : {"Asia/Tokyo", "Europe/Oslo"}) {
        SCOPED_TRACE(zone);
        int before = changes;
        ASSERT_EQ(
            bus.call(kTimedate, "/org/freedesktop/timedate1",
                     "org.freedesktop.timedate1.SetTimezone", std::string("'") + zone + "', False")
                .status,
            0);
        ASSERT_TRUE(testing::processEventsUntil([&] { return changes > before; }, 5s));
        EXPECT_EQ(watcher.currentZone(), zone);
    }

    struct Row {
        std::string tz;
        std::string zone;
    };
    const Row rows[] = {
        {":Asia/Kolkata", "Asia/Kolkata"},
        {"/usr/share/zoneinfo/Australia/Perth", "Australia/Perth"},
        {":" + link, "America/New_York"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.tz);
        testing::ScopedEnv rowTZ("TZ", row.tz);
        int before = changes;
        watcher.check();
        EXPECT_EQ(changes, before + 1);
        EXPECT_EQ(watcher.currentZone(), row.zone);
    }
    watcher.unsubscribe();
}

}  // namespace
}  // namespace kvillo
