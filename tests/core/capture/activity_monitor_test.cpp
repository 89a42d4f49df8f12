#include <gtest/gtest.h>

#include "core/capture/activity_monitor.h"
#include "tests/support/fake_clock.h"
#include "tests/support/fake_desktop.h"
#include "tests/support/records.h"
#include "tests/support/sql_beside.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using testing::kHour;
using testing::kMinute;
using testing::localTime;

const FrontApplication kEditor{.name = "Code", .bundleID = "code", .processID = 11};
const FrontApplication kBrowser{.name = "Firefox", .bundleID = "firefox", .processID = 22};
const FrontApplication kSecondEditor{.name = "Code", .bundleID = "code", .processID = 12};

class Monitor : public ::testing::Test {
protected:
    std::vector<Activity> rows() { return db_.fetchActivities(0, 4e9); }

    testing::TempFolder folder_;
    Database db_{folder_.file("activities.db")};
    Features features_{folder_.file("settings.json"), [] { return std::string(); }};
    testing::FakeDesktop desktop_;
    const double start_ = localTime(2026, 11, 23, 9);
    testing::FakeClock clock_{start_};
    testing::FakeTimer timer_{clock_};
    ActivityMonitor monitor_{db_, features_, desktop_, clock_, timer_};
};

TEST_F(Monitor, SwitchingAppsGivesTouchingRows) {
    desktop_.front = kEditor;
    monitor_.start();
    EXPECT_TRUE(desktop_.subscribed);
    clock_.advance(60);
    desktop_.activate(kBrowser);
    clock_.advance(30);
    desktop_.activate(kEditor);
    clock_.advance(10);
    monitor_.stop();
    EXPECT_FALSE(desktop_.subscribed);
    EXPECT_FALSE(timer_.running());

    auto all = rows();
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[0].appName, "Code");
    EXPECT_EQ(all[0].bundleID, "code");
    EXPECT_EQ(all[0].startTime, start_);
    EXPECT_EQ(all[0].endTime, all[1].startTime);
    EXPECT_EQ(all[1].appName, "Firefox");
    EXPECT_EQ(all[1].endTime, all[2].startTime);
    EXPECT_EQ(all[2].endTime, start_ + 100);
    monitor_.stop();  // twice is harmless
}

TEST_F(Monitor, StartClosesALeftoverRowAfterHalfAnHour) {
    auto leftover = db_.insert(Activity{.appName = "Crashed", .startTime = start_ - 7200});
    monitor_.start();
    auto all = rows();
    ASSERT_EQ(all.size(), 1u);  // nothing in front: no new row
    EXPECT_EQ(all[0].id, leftover);
    EXPECT_EQ(all[0].endTime, start_ - 7200 + 1800);
}

TEST_F(Monitor, LoggingOffThenOnThroughRefresh) {
    desktop_.front = kEditor;
    monitor_.start();
    features_.set(Features::Key::activityLogging, false);
    clock_.advance(60);
    desktop_.activate(kBrowser);
    ASSERT_EQ(rows().size(), 1u);
    EXPECT_EQ(rows()[0].endTime, start_ + 60);

    clock_.advance(60);
    features_.set(Features::Key::activityLogging, true);
    monitor_.refresh();
    ASSERT_EQ(rows().size(), 2u);
    EXPECT_EQ(rows()[1].appName, "Firefox");
    EXPECT_EQ(rows()[1].startTime, start_ + 120);
}

TEST_F(Monitor, LockingEndsTheRowAndUnlockingStartsAnother) {
    desktop_.front = kEditor;
    monitor_.start();
    clock_.advance(100);
    desktop_.lock();
    clock_.advance(600);
    timer_.run(30);  // ticks while locked write nothing
    desktop_.unlock();
    auto all = rows();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].endTime, start_ + 100);
    EXPECT_EQ(all[1].appName, "Code");
    EXPECT_EQ(all[1].startTime, start_ + 730);
}

TEST_F(Monitor, IdlenessEndsTheRowAtTheLastInputAndInputStartsANewOne) {
    desktop_.front = kEditor;
    monitor_.start();
    EXPECT_EQ(desktop_.idleThreshold, 5 * kMinute);  // told before the first tick
    timer_.run(5 * kMinute);
    desktop_.idleSeconds = 5 * kMinute + 2;  // the last input was just over 5 minutes ago
    timer_.run(5);
    auto all = rows();
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0].endTime, clock_.now() - (5 * kMinute + 2));

    desktop_.idleSeconds = 1;
    timer_.run(5);
    ASSERT_EQ(rows().size(), 2u);
    EXPECT_EQ(rows()[1].startTime, clock_.now());

    // A changed threshold reaches the desktop at the next check.
    features_.setIdleMinutes(9);
    timer_.run(5);
    EXPECT_EQ(desktop_.idleThreshold, 9 * kMinute);

    // With idle detection off nothing ends the row.
    features_.set(Features::Key::idleDetection, false);
    desktop_.idleSeconds = 3600;
    timer_.run(20);
    EXPECT_FALSE(rows()[1].endTime);
}

TEST_F(Monitor, ALongAbsenceEndsTheTaskWhereTheAbsenceBegan) {
    struct Row {
        const char* name;
        double awayMinutes;
        bool taskEnded;
    };
    const Row cases[] = {{"40 minutes away", 40, true}, {"10 minutes away", 10, false}};
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        testing::TempFolder folder;
        Database db(folder.file("activities.db"));
        testing::FakeClock clock(start_);
        testing::FakeTimer timer(clock);
        ActivityMonitor monitor(db, features_, desktop_, clock, timer);
        db.insertAnnotation(Annotation{.text = "Skriver rapport", .startedAt = start_});
        desktop_.front = kEditor;
        desktop_.idleSeconds = 0;
        monitor.start();
        timer.run(10 * kMinute);
        double lastInput = clock.now();
        // Away: the idle time grows with the clock.
        for (double away = 5; away <= row.awayMinutes * kMinute; away += 5) {
            desktop_.idleSeconds = away;
            timer.run(5);
        }
        desktop_.idleSeconds = 0;
        timer.run(5);
        auto task = db.fetchAnnotations(0, 4e9).front();
        if (row.taskEnded) {
            EXPECT_EQ(task.endedAt, lastInput);
        } else {
            EXPECT_FALSE(task.endedAt);
        }
        EXPECT_EQ(db.fetchActivities(0, 4e9).size(), 2u);  // before and after the absence
        monitor.stop();
    }
}

TEST_F(Monitor, PausingRecordsNothingUntilItEnds) {
    desktop_.front = kEditor;
    monitor_.start();
    clock_.advance(60);
    monitor_.pause(start_ + 60 + 15 * kMinute);
    EXPECT_TRUE(monitor_.isPaused());
    EXPECT_EQ(rows()[0].endTime, start_ + 60);
    desktop_.activate(kBrowser);
    EXPECT_EQ(rows().size(), 1u);
    timer_.run(15 * kMinute - 5);
    EXPECT_EQ(rows().size(), 1u);
    timer_.run(5);
    EXPECT_FALSE(monitor_.isPaused());
    ASSERT_EQ(rows().size(), 2u);
    EXPECT_EQ(rows()[1].appName, "Firefox");
    EXPECT_EQ(rows()[1].startTime, start_ + 60 + 15 * kMinute);

    monitor_.pause(start_ + 86400);
    monitor_.resume();
    EXPECT_EQ(rows().size(), 3u);
}

TEST_F(Monitor, TitlesFollowTheWindowButAnEmptyOneKeepsTheLast) {
    desktop_.front = kEditor;
    desktop_.titles[11] = "main.cpp";
    monitor_.start();
    timer_.run(5);
    EXPECT_EQ(rows()[0].title, "main.cpp");
    desktop_.titles[11] = "";
    timer_.run(5);
    EXPECT_EQ(rows()[0].title, "main.cpp");
    desktop_.titles[11] = "test.cpp";
    timer_.run(5);
    EXPECT_EQ(rows()[0].title, "test.cpp");
    features_.set(Features::Key::windowTitles, false);
    desktop_.titles[11] = "secret.txt";
    timer_.run(5);
    EXPECT_EQ(rows()[0].title, "test.cpp");
}

TEST_F(Monitor, SleepNamelessAppsAndSleepingDisplays) {
    desktop_.front =
        FrontApplication{.name = std::nullopt, .bundleID = std::nullopt, .processID = 5};
    monitor_.start();
    EXPECT_EQ(rows()[0].appName, "Unknown");
    EXPECT_FALSE(rows()[0].bundleID);
    clock_.advance(30);
    desktop_.sleep();
    EXPECT_EQ(rows()[0].endTime, start_ + 30);

    desktop_.displayAsleep = true;
    desktop_.activate(kBrowser);
    EXPECT_EQ(rows().size(), 1u);
    desktop_.displayAsleep = false;
    desktop_.activate(std::nullopt);  // no window in front
    EXPECT_EQ(rows().size(), 1u);
    desktop_.front = kBrowser;
    desktop_.wake();
    EXPECT_EQ(rows().size(), 2u);
}

TEST_F(Monitor, WindowsOfOneApplicationAreOneRowThatFollowsTheFocusedTitle) {
    desktop_.front = kEditor;
    desktop_.titles = {{11, "main.cpp"}, {12, "notes.md"}};
    monitor_.start();
    timer_.run(5);
    clock_.advance(20);
    desktop_.activate(kSecondEditor);  // the title comes at once, not at the next tick
    EXPECT_EQ(rows().size(), 1u);
    EXPECT_EQ(rows()[0].title, "notes.md");
    desktop_.activate(kEditor);
    EXPECT_EQ(rows()[0].title, "main.cpp");
    desktop_.activate(kBrowser);
    auto all = rows();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].endTime, start_ + 25);
}

TEST_F(Monitor, UnderTheLockNothingCountsAndNoRowEndsBeforeItBegan) {
    desktop_.front = kEditor;
    monitor_.start();
    clock_.advance(60);
    desktop_.lock();
    clock_.advance(60);
    desktop_.activate(kBrowser);  // a dialog that took the focus under the locker
    timer_.run(10 * kMinute);
    EXPECT_EQ(rows().size(), 1u);
    desktop_.unlock();
    ASSERT_EQ(rows().size(), 2u);

    // A window that comes up on its own long after the last input: the
    // absence found at the next tick ends the row where it began.
    clock_.advance(60);
    desktop_.idleSeconds = 4 * kMinute;
    desktop_.activate(kEditor);
    const double opened = clock_.now();
    desktop_.idleSeconds = 6 * kMinute;
    timer_.run(5);
    ASSERT_EQ(rows().size(), 3u);
    EXPECT_EQ(rows()[2].startTime, opened);
    EXPECT_EQ(rows()[2].endTime, opened);
}

TEST_F(Monitor, SleepingDisplaysAndMachinesEndTheRowAndWakingStartsOne) {
    features_.set(Features::Key::idleDetection, false);
    desktop_.front = kEditor;
    monitor_.start();
    // DPMS says nothing: the tick finds the display asleep.
    clock_.advance(60);
    desktop_.displayAsleep = true;
    timer_.run(5);
    EXPECT_EQ(rows()[0].endTime, start_ + 65);
    timer_.run(kHour);
    desktop_.displayAsleep = false;
    timer_.run(5);
    ASSERT_EQ(rows().size(), 2u);
    EXPECT_EQ(rows()[1].startTime, clock_.now());

    // A screensaver says so at the moment.
    clock_.advance(2);
    desktop_.displaySleep();
    EXPECT_EQ(rows()[1].endTime, clock_.now());
    timer_.run(kHour);
    desktop_.wake();
    ASSERT_EQ(rows().size(), 3u);
    EXPECT_EQ(rows()[2].startTime, clock_.now());

    // Between "about to sleep" and the sleep, input and switches open nothing.
    clock_.advance(30);
    desktop_.sleep();
    desktop_.idleSeconds = 0;
    timer_.run(5);
    desktop_.activate(kBrowser);
    EXPECT_EQ(rows().size(), 3u);
    timer_.run(kHour);
    desktop_.wake();
    ASSERT_EQ(rows().size(), 4u);
    EXPECT_EQ(rows()[3].startTime, clock_.now());

    // The end of the session ends the row and the ticks, and nothing after
    // it opens another.
    clock_.advance(30);
    desktop_.end();
    EXPECT_EQ(rows()[3].endTime, clock_.now());
    EXPECT_FALSE(timer_.running());
    desktop_.activate(kEditor);
    EXPECT_EQ(rows().size(), 4u);
}

TEST_F(Monitor, ALeftoverRowEndsWhenTheProgramWasLastAlive) {
    desktop_.front = kEditor;
    monitor_.start();
    timer_.run(10 * kMinute);
    // Noted while recording, never more than a minute behind.
    auto alive = AliveMarker(db_.path()).read();
    ASSERT_TRUE(alive);
    EXPECT_GE(*alive, clock_.now() - AliveMarker::kInterval);

    // A crash: the row stays open, and the next start comes two hours on.
    testing::FakeClock later(clock_.now() + 2 * kHour);
    testing::FakeTimer timer(later);
    desktop_.front.reset();
    ActivityMonitor next(db_, features_, desktop_, later, timer);
    next.start();
    EXPECT_EQ(rows()[0].endTime, *alive);
    monitor_.stop();
}

TEST_F(Monitor, SaysOnceWhenTheLogCannotBeWrittenAndOnceWhenItCanAgain) {
    std::vector<std::optional<std::string>> reports;
    auto subscription =
        monitor_.onWriteStatusChanged([&](const std::optional<DatabaseError>& error) {
            reports.push_back(error ? std::optional(error->message()) : std::nullopt);
        });
    testing::execBeside(db_.path(),
                        "CREATE TRIGGER refuse BEFORE INSERT ON activities "
                        "BEGIN SELECT RAISE(ABORT, 'disk says no'); END;");
    desktop_.front = kEditor;
    monitor_.start();
    desktop_.activate(kBrowser);
    EXPECT_EQ(reports, (std::vector<std::optional<std::string>>{"disk says no"}));
    testing::execBeside(db_.path(), "DROP TRIGGER refuse;");
    desktop_.activate(kEditor);
    EXPECT_EQ(rows().size(), 1u);
    EXPECT_EQ(reports, (std::vector<std::optional<std::string>>{"disk says no", std::nullopt}));
}

}  // namespace
}  // namespace kvillo
