#include <gtest/gtest.h>
#include <sqlite3.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <ctime>
#include <functional>
#include <random>
#include <thread>

#include "core/store/database.h"
#include "tests/support/damaged_store.h"
#include "tests/support/process.h"
#include "tests/support/records.h"
#include "tests/support/sql_beside.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using testing::act;
using testing::kHour;
using testing::kMinute;
using testing::localTime;
using testing::note;
using Kind = DatabaseError::Kind;

template <typename Action>
void expectError(Action action, Kind kind, const char* what) {
    try {
        action();
        ADD_FAILURE() << "no DatabaseError; expected " << what;
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.kind(), kind);
        EXPECT_STREQ(error.what(), what);
    }
}

// Runs `body` in a child process and gives its exit status; the child ends
// with the code `body` returns. Another process is what the store must
// share its file with (the bridge, the timesheet command).
pid_t startChild(const std::function<int()>& body) {
    pid_t pid = ::fork();
    if (pid == 0) {
        ::_exit(body());
    }
    return pid;
}
int exitStatus(pid_t pid) {
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// The first column of the first row `sql` gives on a connection of its own;
// none without a row.
std::optional<std::string> firstValue(const std::string& path, const char* sql) {
    sqlite3* db = nullptr;
    sqlite3_open(path.c_str(), &db);
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(db, sql, -1, &statement, nullptr), SQLITE_OK) << sql;
    std::optional<std::string> value;
    if (sqlite3_step(statement) == SQLITE_ROW) {
        auto text = sqlite3_column_text(statement, 0);
        value = text ? reinterpret_cast<const char*>(text) : "";
    }
    sqlite3_finalize(statement);
    sqlite3_close(db);
    return value;
}

// One field of every row, to compare query results at once.
template <typename Record, typename Field>
std::vector<Field> column(const std::vector<Record>& rows, Field Record::*field) {
    std::vector<Field> values;
    for (const auto& row : rows) {
        values.push_back(row.*field);
    }
    return values;
}
using Names = std::vector<std::string>;
Names names(const std::vector<Activity>& rows) {
    return column(rows, &Activity::appName);
}
Names names(const std::vector<Annotation>& rows) {
    return column(rows, &Annotation::text);
}
using Ends = std::vector<std::optional<double>>;

class DatabaseTest : public ::testing::Test {
protected:
    Ends ends() { return column(db_.fetchActivities(0, 4e9), &Activity::endTime); }

    testing::TempFolder folder_;
    std::string path_ = folder_.file("activities.db");
    Database db_{path_};
};

TEST(DatabaseOpen, UnusableFilesFailWithTypedErrors) {
    testing::TempFolder folder;
    expectError([&] { Database db(folder.file("missing/activities.db")); }, Kind::openFailed,
                "Failed to open database: unable to open database file");

    testing::writeFile(folder.file("garbage.db"), std::string(4096, 'x'));
    expectError([&] { Database db(folder.file("garbage.db")); }, Kind::openFailed,
                "Failed to open database: file is not a database");

    // Every table is "IF NOT EXISTS", so a foreign one of the same name stays.
    testing::execBeside(folder.file("foreign.db"),
                        "CREATE TABLE projects (id INTEGER PRIMARY KEY, title TEXT);");
    Database foreign(folder.file("foreign.db"));
    expectError([&] { foreign.fetchProjects(); }, Kind::prepareFailed,
                "Failed to prepare statement: no such column: name");
}

TEST(DatabaseOpen, AFileFromBeforeTheCoveringIndexGainsIt) {
    testing::TempFolder folder;
    std::string path = folder.file("activities.db");
    testing::execBeside(
        path,
        "CREATE TABLE activities (id INTEGER PRIMARY KEY AUTOINCREMENT, app_name TEXT NOT NULL, "
        "bundle_id TEXT, title TEXT, start_time REAL NOT NULL, end_time REAL, "
        "created_at REAL NOT NULL DEFAULT (strftime('%s','now')));"
        "INSERT INTO activities (app_name, start_time) VALUES ('Code', 1000);");
    Database(path).fetchProjects();
    EXPECT_TRUE(
        firstValue(path, "SELECT sql FROM sqlite_schema WHERE name = 'idx_activities_covering';"));
}

TEST_F(DatabaseTest, ActivitiesRoundTripThroughAReopenedFile) {
    Activity full{.appName = "Firefox",
                  .bundleID = "firefox",
                  .title = "Kvillo – «test» 🚀",
                  .startTime = 1000.25,
                  .endTime = 1100.5};
    full.id = db_.insert(full);
    Activity bare = act("Unknown", 2000, std::nullopt);
    bare.id = db_.insert(bare);
    Activity updated = act("Mail", 3000, 3500, "Ny tittel");
    updated.id = db_.insert(act("Mail", 3000, std::nullopt));
    db_.updateTitle(*updated.id, "Ny tittel");
    db_.updateEndTime(*updated.id, 3500);
    EXPECT_EQ(Database(path_).fetchActivities(0, 4000),
              (std::vector<Activity>{full, bare, updated}));
}

TEST_F(DatabaseTest, DayQueriesFollowTheCalendarAcrossClockChanges) {
    // 29 March 2026 lasts 23 hours in Oslo, 25 October 25 hours.
    double spring = localTime(2026, 3, 29, 12);
    db_.insert(act("Before", localTime(2026, 3, 28, 23, 59), std::nullopt));
    db_.insert(act("First", localTime(2026, 3, 29), std::nullopt));
    db_.insert(act("Last", localTime(2026, 3, 29, 23, 59), std::nullopt));
    db_.insert(act("After", localTime(2026, 3, 30), std::nullopt));
    db_.insert(act("loginwindow", localTime(2026, 3, 29, 8), std::nullopt));
    EXPECT_EQ(names(db_.fetchActivitiesOn(spring, 10)), (Names{"Last", "First"}));
    EXPECT_EQ(names(db_.fetchActivitiesOn(spring, 1)), Names{"Last"});
    EXPECT_EQ(db_.fetchActivitiesOn(spring, -1).size(), 2u);  // no limit

    double autumn = localTime(2026, 10, 25, 1);
    db_.insert(act("Code", localTime(2026, 10, 25, 23, 30), localTime(2026, 10, 25, 23, 40)));
    db_.insert(act("Code", localTime(2026, 10, 26, 0, 10), localTime(2026, 10, 26, 0, 20)));
    EXPECT_EQ(db_.fetchActivitiesOn(autumn, 10).size(), 1u);
    EXPECT_EQ(
        db_.appUsageOn(autumn),
        (std::vector<AppUsageSummary>{{"Code", std::nullopt, 10 * kMinute, 1, std::nullopt}}));
    db_.insertAnnotation(
        note("Sent", localTime(2026, 10, 25, 23, 50), localTime(2026, 10, 26, 0, 5)));
    db_.insertAnnotation(
        note("Neste dag", localTime(2026, 10, 26, 0, 5), localTime(2026, 10, 26, 1)));
    EXPECT_EQ(names(db_.fetchAnnotationsOn(autumn, 10)), Names{"Sent"});
}

TEST_F(DatabaseTest, RangeQueriesAreOldestFirstHalfOpenAndSkipLoginWindow) {
    db_.insert(act("Late", 3000, 3100));
    db_.insert(act("loginwindow", 2000, 2500));
    db_.insert(act("Early", 1000, 1100));
    db_.insert(act("Outside", 4000, 4100));
    EXPECT_EQ(names(db_.fetchActivities(1000, 4000)), (Names{"Early", "Late"}));
}

TEST_F(DatabaseTest, SearchIsCaseInsensitiveLimitedAndSkipsLoginWindow) {
    for (int i = 0; i < 4; ++i) {
        db_.insert(act("Mail", 1000 + i, 1001 + i));
        db_.insert(act("Firefox", 2000 + i, std::nullopt, "Inbox - Gmail"));
    }
    db_.insert(act("loginwindow", 3000, std::nullopt, "mail"));
    auto found = db_.searchActivities("mail", 5);
    EXPECT_EQ(names(found), (Names{"Firefox", "Firefox", "Firefox", "Firefox", "Mail"}));
    EXPECT_EQ(found[4].startTime, 1003);  // newest first
    EXPECT_EQ(db_.searchActivities("MAIL", 100).size(), 8u);
    // The query is a LIKE pattern: its wildcards are not escaped.
    EXPECT_EQ(db_.searchActivities("G_ail", 100).size(), 4u);
}

// The usage statement as first written, which looked for each
// application's latest title through its whole history: slow on years of
// data, but what the store's answers must still be.
constexpr const char* kFormerUsage = R"(
SELECT a.app_name, a.bundle_id,
       SUM(COALESCE(a.end_time, strftime('%s','now')) - a.start_time) AS total_secs,
       COUNT(*) AS sessions,
       (SELECT title FROM activities a2
        WHERE a2.app_name = a.app_name
          AND (a2.bundle_id = a.bundle_id OR (a2.bundle_id IS NULL AND a.bundle_id IS NULL))
          AND a2.start_time >= ? AND a2.start_time < ?
          AND a2.title IS NOT NULL AND a2.title != ''
        ORDER BY a2.start_time DESC LIMIT 1) AS latest_title
FROM activities a
WHERE a.start_time >= ? AND a.start_time < ? AND a.app_name != 'loginwindow'
GROUP BY a.app_name, a.bundle_id
ORDER BY total_secs DESC;)";

std::vector<AppUsageSummary> formerUsage(const std::string& path, double from, double to) {
    sqlite3* db = nullptr;
    sqlite3_open(path.c_str(), &db);
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(db, kFormerUsage, -1, &statement, nullptr), SQLITE_OK);
    for (int i : {0, 2}) {
        sqlite3_bind_double(statement, i + 1, from);
        sqlite3_bind_double(statement, i + 2, to);
    }
    auto text = [&](int column) -> std::optional<std::string> {
        auto bytes = sqlite3_column_text(statement, column);
        return bytes ? std::optional<std::string>(reinterpret_cast<const char*>(bytes))
                     : std::nullopt;
    };
    std::vector<AppUsageSummary> rows;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        rows.push_back({*text(0), text(1), sqlite3_column_double(statement, 2),
                        sqlite3_column_int(statement, 3), text(4)});
    }
    sqlite3_finalize(statement);
    sqlite3_close(db);
    return rows;
}

TEST_F(DatabaseTest, UsageAnswersAsTheFormerStatementDid) {
    // Starts and lengths on a coarse grid, so that activities start together
    // and totals tie; one name under two bundle ids and under none, titles
    // missing or empty, open rows (counted to the wall clock), the lock
    // screen.
    const double now = static_cast<double>(std::time(nullptr));
    const char* apps[] = {"Code", "Firefox", "Mail", "loginwindow"};
    const std::optional<std::string> bundles[] = {std::nullopt, "one", "two"};
    const std::optional<std::string> titles[] = {std::nullopt, "", "a.cpp", "b.cpp", "Inbox"};
    std::mt19937 random(20261123);
    auto pick = [&](int count) { return std::uniform_int_distribution<int>(0, count - 1)(random); };
    for (int i = 0; i < 400; ++i) {
        Activity activity = act(apps[pick(4)], now - 100 * kMinute + pick(100) * kMinute,
                                std::nullopt, titles[pick(5)]);
        activity.bundleID = bundles[pick(3)];
        if (pick(20) != 0) {
            activity.endTime = activity.startTime + pick(4) * kMinute;
        }
        db_.insert(activity);
    }
    std::vector<std::pair<double, double>> ranges{{0, 4e9}, {now, now + kHour}};
    for (int i = 0; i < 40; ++i) {
        double from = now - 100 * kMinute + pick(100) * kMinute;
        ranges.emplace_back(from, from + (1 + pick(30)) * kMinute);
    }
    for (auto [from, to] : ranges) {
        SCOPED_TRACE(::testing::PrintToString(std::pair(from - now, to - now)));
        // Open rows count to the second, so the former answer is taken
        // before and after: when both agree, no second passed in between.
        std::vector<AppUsageSummary> before, answer, after;
        for (int attempt = 0; attempt < 5 && (attempt == 0 || before != after); ++attempt) {
            before = formerUsage(path_, from, to);
            answer = db_.appUsage(from, to);
            after = formerUsage(path_, from, to);
        }
        EXPECT_EQ(answer, before);
    }
}

TEST_F(DatabaseTest, InsertingAnAnnotationEndsTheOpenOne) {
    auto report = db_.insertAnnotation(note("Rapport", 1000, std::nullopt));
    auto meeting = db_.insertAnnotation(note("Møte", 1600, std::nullopt));
    EXPECT_EQ(db_.currentAnnotation(), note("Møte", 1600, std::nullopt, meeting));
    // A task that starts before the open one ends that one at its own start,
    // and nothing ends before it started.
    auto back = db_.insertAnnotation(note("Tilbake i tid", 1200, std::nullopt));
    EXPECT_EQ(db_.currentAnnotation()->text, "Tilbake i tid");
    db_.endCurrentAnnotation(900);
    EXPECT_FALSE(db_.currentAnnotation());
    EXPECT_EQ(db_.fetchAnnotations(0, 5000), (std::vector{note("Rapport", 1000, 1600, report),
                                                          note("Tilbake i tid", 1200, 1200, back),
                                                          note("Møte", 1600, 1600, meeting)}));
}

TEST_F(DatabaseTest, AFailedAnnotationInsertLeavesTheOpenTaskOpen) {
    auto open = db_.insertAnnotation(note("Rapport", 1000, std::nullopt));
    testing::execBeside(path_,
                        "CREATE TRIGGER refuse BEFORE INSERT ON annotations "
                        "BEGIN SELECT RAISE(ABORT, 'disk full'); END;");
    expectError([&] { db_.insertAnnotation(note("Møte", 1600, std::nullopt)); },
                Kind::executionFailed, "Failed to execute statement: disk full");
    EXPECT_EQ(db_.currentAnnotation(), note("Rapport", 1000, std::nullopt, open));
}

TEST(DatabaseAnnotations, WritersInSeveralProcessesNeverLeaveTwoTasksOpen) {
    testing::TempFolder folder;
    std::string path = folder.file("activities.db");
    Database(path).fetchProjects();
    constexpr int kWriters = 4;
    constexpr int kEach = 150;
    std::vector<pid_t> writers;
    for (int w = 0; w < kWriters; ++w) {
        writers.push_back(startChild([&] {
            try {
                Database db(path);
                for (int i = 0; i < kEach; ++i) {
                    timespec now{};
                    ::clock_gettime(CLOCK_REALTIME, &now);
                    db.insertAnnotation(
                        note("Task", now.tv_sec + now.tv_nsec * 1e-9, std::nullopt));
                }
                return 0;
            } catch (const DatabaseError&) {
                return 1;
            }
        }));
    }
    for (pid_t writer : writers) {
        EXPECT_EQ(exitStatus(writer), 0);
    }
    // Each insert ends the one open task at its start, so in insert order
    // every task ends where the next begins (or at its own start). Two open
    // at once would both have been ended by a later insert than the next.
    auto tasks = Database(path).fetchAnnotations(0, 4e9);
    ASSERT_EQ(tasks.size(), static_cast<size_t>(kWriters * kEach));
    std::sort(tasks.begin(), tasks.end(), [](const auto& a, const auto& b) { return a.id < b.id; });
    int wrong = 0;
    for (size_t i = 0; i + 1 < tasks.size(); ++i) {
        wrong += tasks[i].endedAt != std::max(tasks[i].startedAt, tasks[i + 1].startedAt);
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_FALSE(tasks.back().endedAt);
}

TEST_F(DatabaseTest, AnnotationsAreFoundByOverlapWithTheDay) {
    db_.insertAnnotation(
        note("Ended at midnight", localTime(2026, 11, 22, 10), localTime(2026, 11, 23)));
    db_.insertAnnotation(note("Overnight", localTime(2026, 11, 22, 21), std::nullopt));
    EXPECT_EQ(names(db_.fetchAnnotationsOn(localTime(2026, 11, 23, 9), 10)), Names{"Overnight"});
    EXPECT_EQ(names(db_.fetchAnnotationsOn(localTime(2026, 11, 22, 12), 10)),
              (Names{"Overnight", "Ended at midnight"}));  // newest first
}

TEST_F(DatabaseTest, ProjectsAreUniqueWithoutRegardToCase) {
    db_.saveProject("Alpha", {"a", "b"});
    db_.saveProject("ALPHA", {"c"});
    db_.saveProject("beta", {});
    auto projects = db_.fetchProjects();
    ASSERT_EQ(projects.size(), 2u);
    EXPECT_EQ(projects[0], (Project{projects[0].id, "Alpha", {"c"}}));  // first spelling kept
    EXPECT_EQ(projects[1], (Project{projects[1].id, "beta", {}}));
    EXPECT_FALSE(db_.deleteProject("gamma"));
    EXPECT_TRUE(db_.deleteProject("alpha"));
    EXPECT_EQ(db_.fetchProjects(), std::vector{projects[1]});
}

TEST_F(DatabaseTest, DanglingActivitiesCloseAtTheEarliestSensibleEnd) {
    const double now = 100 * kHour;
    const double crashed = now - 10 * kHour;
    const double recent = now - 5 * kMinute;
    struct Row {
        const char* name;
        std::optional<double> lastAlive;
        double recentEnd;
    };
    // "Crashed" is open with a gap after it, "Followed" open until "Next"
    // began, "Recent" the last: only it can have been open at the crash.
    const Row rows[] = {
        {"no sign of life: at most half an hour, never past now", std::nullopt, now},
        {"alive after the last row began: there", recent + 3 * kMinute, recent + 3 * kMinute},
        {"alive just before it began: where it began", recent - 30, recent},
        {"alive long before: as without", recent - kHour, now},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        testing::TempFolder folder;
        Database db(folder.file("activities.db"));
        db.insert(act("Crashed", crashed, std::nullopt));
        db.insert(act("Followed", now - 5 * kHour, std::nullopt));
        db.insert(act("Next", now - 5 * kHour + 10 * kMinute, now - 4 * kHour));
        db.insert(act("Recent", recent, std::nullopt));
        std::optional<Database::SignOfLife> alive;
        if (row.lastAlive) {
            alive = Database::SignOfLife{*row.lastAlive, 65};
        }
        db.closeDanglingActivities(30 * kMinute, now, alive);
        // A sign of life says nothing of rows that others followed.
        EXPECT_EQ(column(db.fetchActivities(0, 4e9), &Activity::endTime),
                  (Ends{crashed + 30 * kMinute, now - 5 * kHour + 10 * kMinute, now - 4 * kHour,
                        row.recentEnd}));
    }
}

TEST_F(DatabaseTest, OverlapsAreCutBackButOpenRowsStayOpen) {
    db_.insert(act("A", 0, 30 * kMinute));
    db_.insert(act("B", 20 * kMinute, std::nullopt));
    db_.insert(act("C", 25 * kMinute, 90 * kMinute));
    db_.repairOverlaps();
    EXPECT_EQ(ends(), (Ends{20 * kMinute, std::nullopt, 90 * kMinute}));
}

TEST(DatabaseDamage, AQueryThatCannotReadThrowsInsteadOfEndingEarly) {
    testing::TempFolder folder;
    std::string path = folder.file("activities.db");
    {
        Database db(path);
        db.insert(act("Code", 1000, 1100, "main.cpp"));
        db.insertAnnotation(note("Rapport", 1000, std::nullopt));
        db.saveProject("Kvillo", {"kvillo"});
    }
    testing::damageEveryTree(path);
    Database db(path);
    const std::pair<const char*, std::function<void()>> reads[] = {
        {"fetchActivities", [&] { db.fetchActivities(0, 2000); }},
        {"fetchActivitiesOn", [&] { db.fetchActivitiesOn(1000, 10); }},
        {"searchActivities", [&] { db.searchActivities("main", 10); }},
        {"appUsage", [&] { db.appUsage(0, 2000); }},
        {"fetchAnnotations", [&] { db.fetchAnnotations(0, 2000); }},
        {"fetchAnnotationsOn", [&] { db.fetchAnnotationsOn(1000, 10); }},
        {"currentAnnotation", [&] { db.currentAnnotation(); }},
        {"fetchProjects", [&] { db.fetchProjects(); }},
    };
    for (const auto& [name, read] : reads) {
        SCOPED_TRACE(name);
        expectError(read, Kind::readFailed, "Failed to read: database disk image is malformed");
    }
}

TEST_F(DatabaseTest, WritesWaitForAnotherProcessesLock) {
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(path_.c_str(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE; INSERT INTO projects (name) VALUES ('x');",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    // Holding the lock for a while is the point: without a busy timeout the
    // insert below would fail at once instead of waiting for the commit.
    std::thread release([other] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        sqlite3_exec(other, "COMMIT;", nullptr, nullptr, nullptr);
    });
    EXPECT_NO_THROW(db_.insert(act("Waited", 1000, 1001)));
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
                auto id = db_.insert(act(app, base + i, std::nullopt));
                db_.updateEndTime(id, base + i + 0.5);
                db_.fetchActivities(base, base + i + 1);
                db_.insertAnnotation(note(app, base + i, std::nullopt));
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

TEST_F(DatabaseTest, OtherProcessesReadAndWriteBesideAnOpenTransaction) {
    db_.insert(act("Committed", 1000, 1001));
    sqlite3* writer = nullptr;
    ASSERT_EQ(sqlite3_open(path_.c_str(), &writer), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(writer,
                           "BEGIN IMMEDIATE; INSERT INTO activities (app_name, start_time) "
                           "VALUES ('Uncommitted', 2000);",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    EXPECT_EQ(exitStatus(startChild([&] {
                  auto rows = Database(path_).fetchActivities(0, 1e6);
                  return rows.size() == 1 && rows[0].appName == "Committed" ? 0 : 1;
              })),
              0);
    sqlite3_exec(writer, "COMMIT;", nullptr, nullptr, nullptr);

    // A reader in the middle of a long read (an export, say) holds its
    // snapshot; the monitor's write goes through at once, not after it.
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    pid_t reader = startChild([&] {
        sqlite3* db = nullptr;
        sqlite3_open(path_.c_str(), &db);
        sqlite3_exec(db, "BEGIN; SELECT count(*) FROM activities;", nullptr, nullptr, nullptr);
        [[maybe_unused]] auto written = ::write(ready[1], "r", 1);
        ::pause();
        return 0;
    });
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    EXPECT_NO_THROW(db_.insert(act("WhileRead", 3000, 3001)));
    ::kill(reader, SIGKILL);
    exitStatus(reader);
    sqlite3_close(writer);
    EXPECT_EQ(names(db_.fetchActivities(0, 1e6)), (Names{"Committed", "Uncommitted", "WhileRead"}));
}

TEST(DatabaseCrash, KillingTheWriterMidWriteLeavesASoundFile) {
    testing::TempFolder folder;
    std::string path = folder.file("activities.db");
    Database(path).fetchProjects();
    pid_t writer = startChild([&] {
        Database db(path);
        for (int i = 0;; ++i) {
            auto id = db.insert(act("Busy", i, std::nullopt));
            db.updateTitle(id, std::string(500, 'x'));
            db.updateEndTime(id, i + 0.5);
        }
        return 0;
    });
    Database reader(path);
    bool wrote = testing::eventually([&] { return reader.fetchActivities(0, 1e9).size() >= 300; },
                                     std::chrono::seconds(30));
    ::kill(writer, SIGKILL);
    exitStatus(writer);
    ASSERT_TRUE(wrote) << "the writer wrote too little before it was killed";

    EXPECT_EQ(firstValue(path, "PRAGMA integrity_check;"), "ok");
    EXPECT_GE(Database(path).fetchActivities(0, 1e9).size(), 300u);
}

// File modes stop nobody as root, so the store is then used by another
// user, as it would be by a user whose file is write-protected.
TEST(DatabaseReadOnly, AProtectedLogIsReadAndWrittenAgainOnceFreed) {
    testing::TempFolder folder;
    ::chmod(folder.path().c_str(), 0755);
    std::string data = folder.file("data");
    ::mkdir(data.c_str(), 0755);
    std::string path = data + "/activities.db";
    Database(path).insert(act("Before", 1000, 1001));
    ::chmod(path.c_str(), 0444);
    ::chmod(data.c_str(), 0555);

    int asked[2], freed[2];
    ASSERT_EQ(::pipe(asked), 0);
    ASSERT_EQ(::pipe(freed), 0);
    pid_t user = startChild([&] {
        if (::geteuid() == 0 && ::setuid(65534) != 0) {
            return 10;
        }
        Database db(path);
        if (!db.readOnlyReason() || db.fetchActivities(0, 1e6).size() != 1) {
            return 11;
        }
        try {
            db.insert(act("Refused", 2000, 2001));
            return 12;
        } catch (const DatabaseError& error) {
            if (error.kind() != DatabaseError::Kind::readOnly) {
                return 13;
            }
        }
        char byte = 0;
        [[maybe_unused]] auto written = ::write(asked[1], "?", 1);
        if (::read(freed[0], &byte, 1) != 1) {
            return 14;
        }
        db.insert(act("After", 3000, 3001));
        return db.readOnlyReason() ? 15 : 0;
    });
    char byte = 0;
    ASSERT_EQ(::read(asked[0], &byte, 1), 1);
    ::chmod(path.c_str(), 0666);
    ::chmod(data.c_str(), 0777);
    ASSERT_EQ(::write(freed[1], "!", 1), 1);
    EXPECT_EQ(exitStatus(user), 0) << "10 setuid, 11 open/read, 12-13 refusal, 15 reopen";
    EXPECT_EQ(names(Database(path).fetchActivities(0, 1e6)), (Names{"Before", "After"}));
}

}  // namespace
}  // namespace kvillo
