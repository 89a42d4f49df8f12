#include <gtest/gtest.h>
#include <sqlite3.h>

#include <atomic>
#include <ctime>
#include <thread>

#include "core/store/database.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using testing::localTime;
using testing::TempFolder;

constexpr double kMinute = 60;
constexpr double kHour = 3600;

class DatabaseTest : public ::testing::Test {
protected:
    // Runs SQL on a second connection to the same file, as another process would.
    void sideExec(const std::string& sql) {
        sqlite3* side = nullptr;
        ASSERT_EQ(sqlite3_open(path_.c_str(), &side), SQLITE_OK);
        char* error = nullptr;
        EXPECT_EQ(sqlite3_exec(side, sql.c_str(), nullptr, nullptr, &error), SQLITE_OK)
            << (error ? error : "");
        sqlite3_free(error);
        sqlite3_close(side);
    }

    Activity activity(const std::string& app, double start, std::optional<double> end) {
        return Activity{.appName = app, .startTime = start, .endTime = end};
    }

    std::optional<double> endOf(std::int64_t id) {
        for (const auto& a : db_.fetchActivities(0, 4e9)) {
            if (a.id == id) {
                return a.endTime;
            }
        }
        ADD_FAILURE() << "no activity " << id;
        return std::nullopt;
    }

    TempFolder folder_;
    std::string path_ = folder_.file("activities.db");
    Database db_{path_};
};

TEST(DatabaseOpen, MissingFolderFailsWithSqliteMessage) {
    TempFolder folder;
    try {
        Database db(folder.file("missing/activities.db"));
        FAIL() << "opened a file in a folder that does not exist";
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.kind(), DatabaseError::Kind::openFailed);
        EXPECT_EQ(error.message(), "unable to open database file");
        EXPECT_STREQ(error.what(), "Failed to open database: unable to open database file");
    }
}

TEST(DatabaseOpen, FileThatIsNotADatabaseFailsOnTheSchema) {
    TempFolder folder;
    testing::writeFile(folder.file("activities.db"), std::string(4096, 'x'));
    try {
        Database db(folder.file("activities.db"));
        FAIL() << "opened a file that is not a database";
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.kind(), DatabaseError::Kind::executionFailed);
        EXPECT_STREQ(error.what(), "Failed to execute statement: file is not a database");
    }
}

TEST(DatabaseOpen, ForeignTableOfTheSameNameFailsToPrepare) {
    TempFolder folder;
    sqlite3* foreign = nullptr;
    ASSERT_EQ(sqlite3_open(folder.file("activities.db").c_str(), &foreign), SQLITE_OK);
    sqlite3_exec(foreign, "CREATE TABLE projects (id INTEGER PRIMARY KEY, title TEXT);", nullptr,
                 nullptr, nullptr);
    sqlite3_close(foreign);

    Database db(folder.file("activities.db"));  // every table is "IF NOT EXISTS"
    try {
        db.fetchProjects();
        FAIL() << "prepared a statement against the wrong columns";
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.kind(), DatabaseError::Kind::prepareFailed);
        EXPECT_STREQ(error.what(), "Failed to prepare statement: no such column: name");
    }
}

TEST_F(DatabaseTest, ReopeningKeepsRows) {
    db_.insert(activity("Mail", 1000, 1100));
    Database again(path_);
    ASSERT_EQ(again.fetchActivities(0, 2000).size(), 1u);
    EXPECT_EQ(again.fetchActivities(0, 2000)[0].appName, "Mail");
}

TEST_F(DatabaseTest, ActivityFieldsRoundTripIncludingAbsentOnes) {
    Activity full{.appName = "Firefox",
                  .bundleID = "firefox",
                  .title = "Kvillo – «test» 🚀",
                  .startTime = 1000.25,
                  .endTime = 1100.5};
    full.id = db_.insert(full);
    Activity bare = activity("Unknown", 2000, std::nullopt);
    bare.id = db_.insert(bare);
    EXPECT_EQ(db_.fetchActivities(0, 3000), (std::vector<Activity>{full, bare}));

    db_.updateTitle(*bare.id, "Ny tittel");
    db_.updateEndTime(*bare.id, 2500);
    bare.title = "Ny tittel";
    bare.endTime = 2500;
    EXPECT_EQ(db_.fetchActivities(1500, 3000), (std::vector<Activity>{bare}));
}

TEST_F(DatabaseTest, DayQueriesFollowTheCalendarAcrossClockChanges) {
    // 29 March 2026 lasts 23 hours in Oslo: the clocks go from 02:00 to 03:00.
    double day = localTime(2026, 3, 29, 12);
    db_.insert(activity("Before", localTime(2026, 3, 28, 23, 59), std::nullopt));
    db_.insert(activity("First", localTime(2026, 3, 29, 0, 0), std::nullopt));
    db_.insert(activity("Last", localTime(2026, 3, 29, 23, 59), std::nullopt));
    db_.insert(activity("After", localTime(2026, 3, 30, 0, 0), std::nullopt));
    db_.insert(activity("loginwindow", localTime(2026, 3, 29, 8), std::nullopt));

    auto activities = db_.fetchActivitiesOn(day, 10);
    ASSERT_EQ(activities.size(), 2u);
    EXPECT_EQ(activities[0].appName, "Last");  // newest first
    EXPECT_EQ(activities[1].appName, "First");
    EXPECT_EQ(db_.fetchActivitiesOn(day, 1).size(), 1u);
    EXPECT_EQ(db_.fetchActivitiesOn(day, -1).size(), 2u);

    // The autumn change makes 25 October 2026 a 25-hour day.
    db_.insert(activity("Late", localTime(2026, 10, 25, 23, 30), std::nullopt));
    EXPECT_EQ(db_.fetchActivitiesOn(localTime(2026, 10, 25, 1), 10).size(), 1u);
}

TEST_F(DatabaseTest, RangeQueriesAreOldestFirstAndSkipLoginWindow) {
    db_.insert(activity("Late", 3000, 3100));
    db_.insert(activity("loginwindow", 2000, 2500));
    db_.insert(activity("Early", 1000, 1100));
    db_.insert(activity("Outside", 4000, 4100));
    auto activities = db_.fetchActivities(1000, 4000);
    ASSERT_EQ(activities.size(), 2u);
    EXPECT_EQ(activities[0].appName, "Early");
    EXPECT_EQ(activities[1].appName, "Late");
    EXPECT_FALSE(db_.currentAnnotation());
}

TEST_F(DatabaseTest, DayUsageAndNotesFollowTheCalendarAcrossClockChanges) {
    // 25 October 2026 lasts 25 hours in Oslo.
    double day = localTime(2026, 10, 25, 12);
    db_.insert(Activity{.appName = "Code",
                        .startTime = localTime(2026, 10, 25, 23, 30),
                        .endTime = localTime(2026, 10, 25, 23, 40)});
    db_.insert(Activity{.appName = "Code",
                        .startTime = localTime(2026, 10, 26, 0, 10),
                        .endTime = localTime(2026, 10, 26, 0, 20)});
    auto usage = db_.appUsageOn(day);
    ASSERT_EQ(usage.size(), 1u);
    EXPECT_EQ(usage[0].totalDuration, 600);
    EXPECT_EQ(usage[0].sessionCount, 1);

    db_.insertAnnotation(Annotation{.text = "Sent",
                                    .startedAt = localTime(2026, 10, 25, 23, 50),
                                    .endedAt = localTime(2026, 10, 26, 0, 5)});
    db_.insertAnnotation(Annotation{.text = "Neste dag",
                                    .startedAt = localTime(2026, 10, 26, 0, 5),
                                    .endedAt = localTime(2026, 10, 26, 1)});
    auto notes = db_.fetchAnnotationsOn(day, 10);
    ASSERT_EQ(notes.size(), 1u);
    EXPECT_EQ(notes[0].text, "Sent");
}

TEST_F(DatabaseTest, SearchIsCaseInsensitiveLimitedAndSkipsLoginWindow) {
    for (int i = 0; i < 4; ++i) {
        db_.insert(activity("Mail", 1000 + i, 1001 + i));
        db_.insert(
            Activity{.appName = "Firefox", .title = "Inbox - Gmail", .startTime = 2000.0 + i});
    }
    db_.insert(Activity{.appName = "loginwindow", .title = "mail", .startTime = 3000});
    auto found = db_.searchActivities("mail", 5);
    ASSERT_EQ(found.size(), 5u);
    for (size_t i = 1; i < found.size(); ++i) {
        EXPECT_GT(found[i - 1].startTime, found[i].startTime);
    }
    EXPECT_EQ(found[0].appName, "Firefox");
    EXPECT_EQ(db_.searchActivities("MAIL", 100).size(), 8u);
    // The query is a LIKE pattern: its wildcards are not escaped.
    EXPECT_EQ(db_.searchActivities("G_ail", 100).size(), 4u);
}

TEST_F(DatabaseTest, AppUsageGroupsByNameAndBundleAndCountsOpenRowsToNow) {
    double now = static_cast<double>(std::time(nullptr));
    db_.insert(Activity{.appName = "Code",
                        .bundleID = "code",
                        .title = "a.cpp",
                        .startTime = now - 300,
                        .endTime = now - 200});
    db_.insert(Activity{.appName = "Code",
                        .bundleID = "code",
                        .title = "",
                        .startTime = now - 200,
                        .endTime = now - 150});
    db_.insert(Activity{.appName = "Code",
                        .bundleID = "code-insiders",
                        .startTime = now - 150,
                        .endTime = now - 140});
    db_.insert(Activity{.appName = "Terminal", .startTime = now - 140});
    db_.insert(activity("loginwindow", now - 100, now));

    auto usage = db_.appUsage(now - 3600, now + 3600);
    ASSERT_EQ(usage.size(), 3u);
    EXPECT_EQ(usage[0].appName, "Code");
    EXPECT_EQ(usage[0].bundleID, "code");
    EXPECT_EQ(usage[0].totalDuration, 150);
    EXPECT_EQ(usage[0].sessionCount, 2);
    EXPECT_EQ(usage[0].latestTitle, "a.cpp");  // the empty title does not count
    EXPECT_EQ(usage[1].appName, "Terminal");
    EXPECT_NEAR(usage[1].totalDuration, 140, 2);
    EXPECT_FALSE(usage[1].bundleID);
    EXPECT_EQ(usage[2].bundleID, "code-insiders");
}

TEST_F(DatabaseTest, InsertingAnAnnotationEndsTheOpenOne) {
    db_.insertAnnotation(Annotation{.text = "Rapport", .startedAt = 1000});
    db_.insertAnnotation(Annotation{.text = "Møte", .startedAt = 1600});
    auto all = db_.fetchAnnotations(0, 5000);
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].endedAt, 1600);
    EXPECT_EQ(db_.currentAnnotation()->text, "Møte");

    // A task that starts before the open one ends that one at its own start.
    db_.insertAnnotation(Annotation{.text = "Tilbake i tid", .startedAt = 1200});
    all = db_.fetchAnnotations(0, 5000);
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[2].text, "Møte");
    EXPECT_EQ(all[2].endedAt, 1600);
    EXPECT_EQ(db_.currentAnnotation()->text, "Tilbake i tid");

    db_.endCurrentAnnotation(900);
    EXPECT_FALSE(db_.currentAnnotation());
    EXPECT_EQ(db_.fetchAnnotations(1199, 1201).back().endedAt, 1200);
}

TEST_F(DatabaseTest, AnnotationsAreFoundByOverlapWithTheDay) {
    double morning = localTime(2026, 11, 23, 9);
    db_.insertAnnotation(Annotation{.text = "Ended yesterday",
                                    .startedAt = localTime(2026, 11, 22, 10),
                                    .endedAt = localTime(2026, 11, 23, 0)});
    db_.insertAnnotation(Annotation{.text = "Overnight", .startedAt = localTime(2026, 11, 22, 21)});
    auto today = db_.fetchAnnotationsOn(morning, 10);
    ASSERT_EQ(today.size(), 1u);
    EXPECT_EQ(today[0].text, "Overnight");
    EXPECT_FALSE(today[0].endedAt);
    EXPECT_EQ(db_.fetchAnnotationsOn(localTime(2026, 11, 22, 12), 10).size(), 2u);
}

TEST_F(DatabaseTest, ProjectsAreUniqueWithoutRegardToCase) {
    db_.saveProject("Alpha", {"a", "b"});
    db_.saveProject("ALPHA", {"c"});
    db_.saveProject("beta", {});
    auto projects = db_.fetchProjects();
    ASSERT_EQ(projects.size(), 2u);
    EXPECT_EQ(projects[0].name, "Alpha");
    EXPECT_EQ(projects[0].keywords, std::vector<std::string>{"c"});
    EXPECT_EQ(projects[1].name, "beta");
    EXPECT_TRUE(projects[1].keywords.empty());

    EXPECT_FALSE(db_.deleteProject("gamma"));
    EXPECT_TRUE(db_.deleteProject("alpha"));
    EXPECT_EQ(db_.fetchProjects().size(), 1u);
}

TEST_F(DatabaseTest, DanglingActivitiesCloseAtTheEarliestSensibleEnd) {
    double now = 100 * kHour;
    auto longAgo = db_.insert(activity("Crashed", now - 10 * kHour, std::nullopt));
    auto followed = db_.insert(activity("Followed", now - 5 * kHour, std::nullopt));
    db_.insert(activity("Next", now - 5 * kHour + 10 * kMinute, now - 4 * kHour));
    auto recent = db_.insert(activity("Recent", now - 5 * kMinute, std::nullopt));
    db_.closeDanglingActivities(1800, now);
    EXPECT_EQ(endOf(longAgo), now - 10 * kHour + 1800);
    EXPECT_EQ(endOf(followed), now - 5 * kHour + 10 * kMinute);
    EXPECT_EQ(endOf(recent), now);
}

TEST_F(DatabaseTest, OverlapsAreCutBackButOpenRowsStayOpen) {
    double ten = localTime(2026, 11, 23, 10);
    auto overlapping = db_.insert(activity("A", ten, ten + 30 * kMinute));
    auto open = db_.insert(activity("B", ten + 20 * kMinute, std::nullopt));
    auto last = db_.insert(activity("C", ten + 25 * kMinute, ten + 90 * kMinute));
    db_.repairOverlaps();
    EXPECT_EQ(endOf(overlapping), ten + 20 * kMinute);
    EXPECT_FALSE(endOf(open));
    EXPECT_EQ(endOf(last), ten + 90 * kMinute);
}

TEST_F(DatabaseTest, FailedStatementsThrowTypedErrorsAndChangeNothing) {
    sideExec(
        "CREATE TRIGGER refuse BEFORE INSERT ON projects BEGIN SELECT RAISE(ABORT, 'no "
        "projects today'); END;");
    try {
        db_.saveProject("Alpha", {"a"});
        FAIL() << "the trigger did not refuse";
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.kind(), DatabaseError::Kind::executionFailed);
        EXPECT_STREQ(error.what(), "Failed to execute statement: no projects today");
    }
    EXPECT_TRUE(db_.fetchProjects().empty());
}

TEST_F(DatabaseTest, WritesWaitForAnotherProcessesLock) {
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(path_.c_str(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE; INSERT INTO projects (name) VALUES ('x');",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    std::thread release([other] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        sqlite3_exec(other, "COMMIT;", nullptr, nullptr, nullptr);
    });
    EXPECT_NO_THROW(db_.insert(activity("Waited", 1000, 1001)));
    release.join();
    sqlite3_close(other);
    EXPECT_EQ(db_.fetchActivities(0, 2000).size(), 1u);
    EXPECT_EQ(db_.fetchProjects().size(), 1u);
}

TEST_F(DatabaseTest, TwoThreadsShareTheConnectionWithoutErrorsOrLostRows) {
    constexpr int kPerThread = 400;
    std::atomic<int> failures = 0;
    auto writer = [&](const std::string& app, double base) {
        for (int i = 0; i < kPerThread; ++i) {
            try {
                auto id = db_.insert(activity(app, base + i, std::nullopt));
                db_.updateEndTime(id, base + i + 0.5);
                db_.fetchActivities(base, base + i + 1);
                db_.insertAnnotation(Annotation{.text = app, .startedAt = base + i});
            } catch (const DatabaseError&) {
                ++failures;
            }
        }
    };
    std::thread first(writer, "First", 10000);
    std::thread second(writer, "Second", 20000);
    first.join();
    second.join();
    EXPECT_EQ(failures, 0);
    auto all = db_.fetchActivities(0, 1e6);
    EXPECT_EQ(all.size(), 2u * kPerThread);
    for (const auto& a : all) {
        EXPECT_EQ(a.endTime, a.startTime + 0.5);
    }
    EXPECT_EQ(db_.fetchAnnotations(0, 1e6).size(), 2u * kPerThread);
}

}  // namespace
}  // namespace kvillo
