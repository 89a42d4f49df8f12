#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "core/records/activity.h"
#include "core/records/annotation.h"
#include "core/records/app_usage_summary.h"
#include "core/records/project.h"
#include "core/store/database_error.h"

struct sqlite3;

namespace kvillo {

// The program's one store: an SQLite file with activities, annotations and
// projects. Every operation prepares, runs and finalises its own statement and
// either returns plain records or throws DatabaseError; nothing is cached.
//
// Threads: one instance is shared by the UI thread and the server thread.
// Each operation holds the instance's lock for its whole run, so calls from
// any thread are serialised on the one connection.
//
// Days are calendar days in the process's time zone (a day with a clock
// change is 23 or 25 hours). Activities of "loginwindow" never come back from
// a query.
class Database {
public:
    // The name of the file inside the data folder.
    static constexpr const char* kFileName = "activities.db";

    // The schema, executed as a whole at every open; every statement is
    // "IF NOT EXISTS", so opening an existing file only adds what it lacks
    // (a file from an older version gains its covering index, about a
    // second's work on five years of activities).
    static const char* const kSchema;

    static constexpr std::chrono::milliseconds kDefaultBusyWait{5000};

    // Opens or creates the file (0600) and its schema in WAL mode. An
    // operation that finds the file locked by another connection waits up
    // to `busyWait` for it, then throws DatabaseError(busy); a connection on
    // the UI thread waits briefly and tries again later instead. A file
    // that can be read but not written (a write-protected file or folder)
    // is opened for reading; see readOnlyReason(). Throws
    // DatabaseError(openFailed) when it cannot even be read.
    explicit Database(std::string path, std::chrono::milliseconds busyWait = kDefaultBusyWait);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    const std::string& path() const { return path_; }

    // Why the file is open for reading only (SQLite's words); none while it
    // can be written. While it is read-only every write first tries to open
    // it for writing again, so writing resumes once the cause is gone.
    std::optional<std::string> readOnlyReason();

    // Calls `watcher` with the text of every statement the connection
    // starts, on the calling thread, until replaced (an empty function
    // stops it); for measuring what a caller costs the store.
    void watchStatements(std::function<void(std::string_view sql)> watcher);

    // When the recording program was last known to be alive, and how often
    // it notes that while a row is open.
    struct SignOfLife {
        TimePoint at = 0;
        Duration interval = 0;
    };

    // Repairs run at start. Every open activity ends at the earliest of the
    // next activity's start, its own start + maxDuration, and max(its start,
    // now); but the last activity, when `lastAlive` shows the program was
    // still noting signs of life after it began (at most one interval
    // before its start), ends at that sign of life (never before its start,
    // never after now).
    void closeDanglingActivities(Duration maxDuration, TimePoint now,
                                 std::optional<SignOfLife> lastAlive = std::nullopt);
    // Cuts back every activity that runs past the next one's start. Open
    // activities are left alone.
    void repairOverlaps();

    // Activities. `insert` ignores the record's id and returns the new one.
    std::int64_t insert(const Activity& activity);
    void updateEndTime(std::int64_t id, TimePoint endTime);
    void updateTitle(std::int64_t id, const std::string& title);
    // Newest first, at most `limit` (a negative limit means all).
    std::vector<Activity> fetchActivitiesOn(TimePoint day, int limit);
    // Started in [from, to), oldest first.
    std::vector<Activity> fetchActivities(TimePoint from, TimePoint to);
    // App name or title LIKE %query% (ASCII case-insensitive; % and _ act as
    // wildcards), newest first.
    std::vector<Activity> searchActivities(const std::string& query, int limit);
    // Totals per application name and bundle id, largest first (equal ones
    // by name, then bundle id); open activities count up to the wall clock.
    // The latest title is that of the group's latest activity in the range
    // with a non-empty title (of several starting together, the first
    // inserted).
    std::vector<AppUsageSummary> appUsageOn(TimePoint day);
    std::vector<AppUsageSummary> appUsage(TimePoint from, TimePoint to);

    // Annotations. Inserting ends the open one at the new start (never
    // before its own start) and inserts in one transaction, so at most one
    // is open at any time, whichever processes write; a failed insert
    // changes nothing.
    std::int64_t insertAnnotation(const Annotation& annotation);
    void endCurrentAnnotation(TimePoint at);
    // Overlapping the day (or [from, to)): newest first / oldest first.
    std::vector<Annotation> fetchAnnotationsOn(TimePoint day, int limit);
    std::vector<Annotation> fetchAnnotations(TimePoint from, TimePoint to);
    std::optional<Annotation> currentAnnotation();

    // Projects, by name without regard to case. Saving an existing name (in
    // any case) replaces its keywords and keeps its stored spelling.
    std::vector<Project> fetchProjects();
    void saveProject(const std::string& name, const std::vector<std::string>& keywords);
    // True if a project was deleted.
    bool deleteProject(const std::string& name);

private:
    // Takes the mutex for a write, reopening a read-only file for writing
    // when that has become possible.
    std::unique_lock<std::mutex> lockForWriting();
    void endOpenAnnotations(TimePoint at);  // caller holds mutex_
    std::vector<Activity> queryActivities(const char* sql, TimePoint from, TimePoint to,
                                          std::optional<int> limit);
    std::vector<Annotation> queryAnnotations(const char* sql, TimePoint from, TimePoint to,
                                             std::optional<int> limit);

    void installStatementWatcher();  // caller holds mutex_

    std::string path_;
    std::chrono::milliseconds busyWait_;
    std::function<void(std::string_view)> statementWatcher_;  // guarded by mutex_
    sqlite3* db_ = nullptr;                                   // guarded by mutex_
    std::optional<std::string> readOnlyReason_;               // guarded by mutex_
    std::mutex mutex_;  // held for the whole of each operation
};

}  // namespace kvillo
