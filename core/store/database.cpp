#include "core/store/database.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include "core/store/statement.h"
#include "core/time/calendar.h"

namespace kvillo {

const char* const Database::kSchema =
    "CREATE TABLE IF NOT EXISTS activities (\n"
    "    id         INTEGER PRIMARY KEY AUTOINCREMENT,\n"
    "    app_name   TEXT    NOT NULL,\n"
    "    bundle_id  TEXT,\n"
    "    title      TEXT,\n"
    "    start_time REAL    NOT NULL,\n"
    "    end_time   REAL,\n"
    "    created_at REAL    NOT NULL DEFAULT (strftime('%s','now'))\n"
    ");\n"
    "CREATE INDEX IF NOT EXISTS idx_activities_start ON activities(start_time);\n"
    "CREATE INDEX IF NOT EXISTS idx_activities_app   ON activities(app_name);\n"
    // Every column the activity queries read, in start order: a search
    // through years of log, and the range and usage queries, read this
    // index alone instead of looking up each row in the table.
    "CREATE INDEX IF NOT EXISTS idx_activities_covering\n"
    "    ON activities(start_time, app_name, bundle_id, title, end_time);\n"
    "\n"
    "CREATE TABLE IF NOT EXISTS annotations (\n"
    "    id         INTEGER PRIMARY KEY AUTOINCREMENT,\n"
    "    text       TEXT    NOT NULL,\n"
    "    started_at REAL    NOT NULL,\n"
    "    ended_at   REAL,\n"
    "    created_at REAL    NOT NULL DEFAULT (strftime('%s','now'))\n"
    ");\n"
    "CREATE INDEX IF NOT EXISTS idx_annotations_started ON annotations(started_at);\n"
    "\n"
    "CREATE TABLE IF NOT EXISTS projects (\n"
    "    id       INTEGER PRIMARY KEY AUTOINCREMENT,\n"
    "    name     TEXT    NOT NULL UNIQUE COLLATE NOCASE,\n"
    "    keywords TEXT    NOT NULL DEFAULT ''\n"
    ");";

namespace {

// The schema, then the journal: WAL persists in the file once set.
const std::string kOpenForWritingText =
    std::string(Database::kSchema) + "\nPRAGMA journal_mode=WAL;\nPRAGMA synchronous=NORMAL;";
const char* const kOpenForWriting = kOpenForWritingText.c_str();

// ?1 max duration, ?2 now, ?3 when the recording program was last known to
// be alive (NULL when unknown), ?4 how often it notes that while recording.
// Only the last row can have been open when it stopped; its end then lies
// between that sign of life and the next one that never came.
constexpr const char* kCloseDangling =
    "UPDATE activities\n"
    "SET end_time = CASE\n"
    "    WHEN NOT EXISTS (SELECT 1 FROM activities b WHERE b.start_time > "
    "activities.start_time)\n"
    "         AND ?3 + ?4 >= start_time\n"
    "    THEN MIN(MAX(?3, start_time), MAX(start_time, ?2))\n"
    "    ELSE MIN(\n"
    "        COALESCE((SELECT MIN(b.start_time) FROM activities b WHERE b.start_time > "
    "activities.start_time),\n"
    "                 start_time + ?1),\n"
    "        start_time + ?1,\n"
    "        MAX(start_time, ?2)) END\n"
    "WHERE end_time IS NULL;";

constexpr const char* kRepairOverlaps =
    "UPDATE activities\n"
    "SET end_time = (SELECT MIN(b.start_time) FROM activities b WHERE b.start_time > "
    "activities.start_time)\n"
    "WHERE end_time > (SELECT MIN(b.start_time) FROM activities b WHERE b.start_time > "
    "activities.start_time);";

constexpr const char* kInsertActivity =
    "INSERT INTO activities (app_name, bundle_id, title, start_time, end_time)\n"
    "VALUES (?, ?, ?, ?, ?);";

constexpr const char* kUpdateEndTime = "UPDATE activities SET end_time = ? WHERE id = ?;";

constexpr const char* kUpdateTitle = "UPDATE activities SET title = ? WHERE id = ?;";

constexpr const char* kEndCurrentAnnotation =
    "UPDATE annotations SET ended_at = MAX(started_at, ?) WHERE ended_at IS NULL;";

constexpr const char* kActivitiesOnDay =
    "SELECT id, app_name, bundle_id, title, start_time, end_time\n"
    "FROM activities\n"
    "WHERE start_time >= ? AND start_time < ? AND app_name != 'loginwindow'\n"
    "ORDER BY start_time DESC\n"
    "LIMIT ?;";

constexpr const char* kActivitiesInRange =
    "SELECT id, app_name, bundle_id, title, start_time, end_time\n"
    "FROM activities\n"
    "WHERE start_time >= ? AND start_time < ? AND app_name != 'loginwindow'\n"
    "ORDER BY start_time ASC;";

constexpr const char* kSearchActivities =
    "SELECT id, app_name, bundle_id, title, start_time, end_time\n"
    "FROM activities\n"
    "WHERE (app_name LIKE ? OR title LIKE ?) AND app_name != 'loginwindow'\n"
    "ORDER BY start_time DESC\n"
    "LIMIT ?;";

// ?1 from, ?2 to. One pass over the range gives each application's totals
// and the start of its latest titled activity; that activity's title is
// then looked up by its start (the first inserted of several starting
// together). Equal totals come in name and bundle order.
constexpr const char* kAppUsage =
    "SELECT u.app_name, u.bundle_id, u.total_secs, u.sessions,\n"
    "       (SELECT b.title FROM activities b\n"
    "        WHERE b.start_time = u.titled_start AND b.app_name = u.app_name\n"
    "          AND b.bundle_id IS u.bundle_id AND b.title IS NOT NULL AND b.title != ''\n"
    "        ORDER BY b.id LIMIT 1) AS latest_title\n"
    "FROM (SELECT app_name, bundle_id,\n"
    "             SUM(COALESCE(end_time, strftime('%s','now')) - start_time) AS total_secs,\n"
    "             COUNT(*) AS sessions,\n"
    "             MAX(CASE WHEN title IS NOT NULL AND title != '' THEN start_time END)\n"
    "                 AS titled_start\n"
    "      FROM activities\n"
    "      WHERE start_time >= ?1 AND start_time < ?2 AND app_name != 'loginwindow'\n"
    "      GROUP BY app_name, bundle_id) u\n"
    "ORDER BY u.total_secs DESC, u.app_name, u.bundle_id;";

constexpr const char* kInsertAnnotation =
    "INSERT INTO annotations (text, started_at, ended_at)\n"
    "VALUES (?, ?, ?);";

constexpr const char* kAnnotationsOnDay =
    "SELECT id, text, started_at, ended_at\n"
    "FROM annotations\n"
    "WHERE started_at < ? AND (ended_at IS NULL OR ended_at > ?)\n"
    "ORDER BY started_at DESC\n"
    "LIMIT ?;";

constexpr const char* kAnnotationsInRange =
    "SELECT id, text, started_at, ended_at\n"
    "FROM annotations\n"
    "WHERE started_at < ? AND (ended_at IS NULL OR ended_at > ?)\n"
    "ORDER BY started_at ASC;";

constexpr const char* kCurrentAnnotation =
    "SELECT id, text, started_at, ended_at\n"
    "FROM annotations\n"
    "WHERE ended_at IS NULL\n"
    "ORDER BY started_at DESC\n"
    "LIMIT 1;";

constexpr const char* kFetchProjects =
    "SELECT id, name, keywords FROM projects ORDER BY name COLLATE NOCASE;";

constexpr const char* kSaveProject =
    "INSERT INTO projects (name, keywords) VALUES (?, ?)\n"
    "ON CONFLICT(name) DO UPDATE SET keywords = excluded.keywords;";

constexpr const char* kDeleteProject = "DELETE FROM projects WHERE name = ? COLLATE NOCASE;";

Activity activityFromRow(const Statement& row) {
    return Activity{
        .id = row.int64(0),
        .appName = row.text(1),
        .bundleID = row.optionalText(2),
        .title = row.optionalText(3),
        .startTime = row.real(4),
        .endTime = row.optionalReal(5),
    };
}

Annotation annotationFromRow(const Statement& row) {
    return Annotation{
        .id = row.int64(0),
        .text = row.text(1),
        .startedAt = row.real(2),
        .endedAt = row.optionalReal(3),
    };
}

// Makes the statements run between construction and commit() one write:
// BEGIN IMMEDIATE takes the file's write lock at once (waiting like any
// write), so no other process writes in between; without commit() it all
// rolls back. Throws DatabaseError(executionFailed, or busy).
class WriteTransaction {
public:
    explicit WriteTransaction(sqlite3* db) : db_(db) { Statement(db_, "BEGIN IMMEDIATE;").run(); }
    ~WriteTransaction() {
        if (!committed_) {
            sqlite3_exec(db_, "ROLLBACK;", nullptr, nullptr, nullptr);
        }
    }
    WriteTransaction(const WriteTransaction&) = delete;
    WriteTransaction& operator=(const WriteTransaction&) = delete;

    void commit() {
        Statement(db_, "COMMIT;").run();
        committed_ = true;
    }

private:
    sqlite3* db_;
    bool committed_ = false;
};

enum class Access { readOnly, immutable };

// Opens the file for reading and writing with its schema in place, in WAL
// mode so that readers in other processes (the bridge, the timesheet
// command) never wait for the monitor's writes, and with NORMAL syncing,
// which in WAL mode can lose only the last commits to a power cut, never
// the file. Gives null and the reason when the file or its folder cannot
// be written.
sqlite3* openForWriting(const std::string& path, std::chrono::milliseconds busyWait,
                        std::string& failure) {
    // Every operation holds the store's mutex, so SQLite's own per-call
    // locking would only be paid for twice.
    constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(path.c_str(), &db, kFlags, nullptr) != SQLITE_OK) {
        failure = db ? sqlite3_errmsg(db) : "Unknown error";
        sqlite3_close(db);
        return nullptr;
    }
    sqlite3_busy_timeout(db, static_cast<int>(busyWait.count()));
    // SQLite quietly opens a write-protected file for reading only.
    if (sqlite3_db_readonly(db, "main") == 1) {
        failure = "the file is write-protected";
        sqlite3_close(db);
        return nullptr;
    }
    char* error = nullptr;
    if (sqlite3_exec(db, kOpenForWriting, nullptr, nullptr, &error) != SQLITE_OK) {
        failure = error ? error : sqlite3_errmsg(db);
        sqlite3_free(error);
        sqlite3_close(db);
        return nullptr;
    }
    return db;
}

// A WAL file whose folder cannot be written can still be read whole as an
// immutable file, which is all a reader needs until writing works again.
sqlite3* openForReading(const std::string& path, Access access, std::chrono::milliseconds busyWait,
                        std::string& failure) {
    std::string name = path;
    int flags = SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX;
    if (access == Access::immutable) {
        name = "file:";
        for (char c : path) {
            if (c == '%' || c == '?' || c == '#') {
                constexpr const char* kHex = "0123456789ABCDEF";
                name += '%';
                name += kHex[static_cast<unsigned char>(c) >> 4];
                name += kHex[c & 0xF];
            } else {
                name += c;
            }
        }
        name += "?immutable=1";
        flags |= SQLITE_OPEN_URI;
    }
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(name.c_str(), &db, flags, nullptr) == SQLITE_OK) {
        sqlite3_busy_timeout(db, static_cast<int>(busyWait.count()));
        if (sqlite3_exec(db, "SELECT 1 FROM activities, annotations, projects LIMIT 1;", nullptr,
                         nullptr, nullptr) == SQLITE_OK) {
            return db;
        }
    }
    failure = db ? sqlite3_errmsg(db) : "Unknown error";
    sqlite3_close(db);
    return nullptr;
}

}  // namespace

Database::Database(std::string path, std::chrono::milliseconds busyWait)
    : path_(std::move(path)), busyWait_(busyWait) {
    // The log is the user's alone; SQLite gives its journal files the same
    // mode. An existing file keeps the mode it has.
    if (int fd = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600); fd >= 0) {
        ::close(fd);
    }
    std::string failure;
    db_ = openForWriting(path_, busyWait_, failure);
    if (db_) {
        return;
    }
    // Writing is out of reach (a write-protected file or folder): reading
    // is still worth having, so the server can answer.
    for (Access access : {Access::readOnly, Access::immutable}) {
        std::string readFailure;
        if ((db_ = openForReading(path_, access, busyWait_, readFailure))) {
            readOnlyReason_ = failure;
            return;
        }
    }
    throw DatabaseError(DatabaseError::Kind::openFailed, failure);
}

Database::~Database() {
    sqlite3_close(db_);
}

std::optional<std::string> Database::readOnlyReason() {
    std::lock_guard lock(mutex_);
    return readOnlyReason_;
}

void Database::watchStatements(std::function<void(std::string_view sql)> watcher) {
    std::lock_guard lock(mutex_);
    statementWatcher_ = std::move(watcher);
    installStatementWatcher();
}

void Database::installStatementWatcher() {
    if (!statementWatcher_) {
        sqlite3_trace_v2(db_, 0, nullptr, nullptr);
        return;
    }
    sqlite3_trace_v2(
        db_, SQLITE_TRACE_STMT,
        [](unsigned, void* context, void* statement, void*) {
            const char* sql = sqlite3_sql(static_cast<sqlite3_stmt*>(statement));
            (*static_cast<std::function<void(std::string_view)>*>(context))(sql ? sql : "");
            return 0;
        },
        &statementWatcher_);
}

std::unique_lock<std::mutex> Database::lockForWriting() {
    std::unique_lock lock(mutex_);
    if (readOnlyReason_) {
        std::string failure;
        if (sqlite3* writable = openForWriting(path_, busyWait_, failure)) {
            sqlite3_close(db_);
            db_ = writable;
            readOnlyReason_.reset();
            installStatementWatcher();
        } else {
            readOnlyReason_ = failure;
            throw DatabaseError(DatabaseError::Kind::readOnly, failure);
        }
    }
    return lock;
}

void Database::closeDanglingActivities(Duration maxDuration, TimePoint now,
                                       std::optional<SignOfLife> lastAlive) {
    auto lock = lockForWriting();
    Statement statement(db_, kCloseDangling);
    statement.bind(1, maxDuration);
    statement.bind(2, now);
    statement.bind(3, lastAlive ? std::optional(lastAlive->at) : std::nullopt);
    statement.bind(4, lastAlive ? lastAlive->interval : 0.0);
    statement.run();
}

void Database::repairOverlaps() {
    auto lock = lockForWriting();
    Statement(db_, kRepairOverlaps).run();
}

std::int64_t Database::insert(const Activity& activity) {
    auto lock = lockForWriting();
    Statement statement(db_, kInsertActivity);
    statement.bind(1, activity.appName);
    statement.bind(2, activity.bundleID);
    statement.bind(3, activity.title);
    statement.bind(4, activity.startTime);
    statement.bind(5, activity.endTime);
    statement.run();
    return sqlite3_last_insert_rowid(db_);
}

void Database::updateEndTime(std::int64_t id, TimePoint endTime) {
    auto lock = lockForWriting();
    Statement statement(db_, kUpdateEndTime);
    statement.bind(1, endTime);
    statement.bind(2, id);
    statement.run();
}

void Database::updateTitle(std::int64_t id, const std::string& title) {
    auto lock = lockForWriting();
    Statement statement(db_, kUpdateTitle);
    statement.bind(1, title);
    statement.bind(2, id);
    statement.run();
}

std::vector<Activity> Database::queryActivities(const char* sql, TimePoint from, TimePoint to,
                                                std::optional<int> limit) {
    std::lock_guard lock(mutex_);
    Statement statement(db_, sql);
    statement.bind(1, from);
    statement.bind(2, to);
    if (limit) {
        statement.bind(3, *limit);
    }
    std::vector<Activity> activities;
    while (statement.nextRow()) {
        activities.push_back(activityFromRow(statement));
    }
    return activities;
}

std::vector<Activity> Database::fetchActivitiesOn(TimePoint day, int limit) {
    auto range = calendar::dayRange(day);
    return queryActivities(kActivitiesOnDay, range.start, range.end, limit);
}

std::vector<Activity> Database::fetchActivities(TimePoint from, TimePoint to) {
    return queryActivities(kActivitiesInRange, from, to, std::nullopt);
}

std::vector<Activity> Database::searchActivities(const std::string& query, int limit) {
    std::lock_guard lock(mutex_);
    Statement statement(db_, kSearchActivities);
    std::string pattern = "%" + query + "%";
    statement.bind(1, pattern);
    statement.bind(2, pattern);
    statement.bind(3, limit);
    std::vector<Activity> activities;
    while (statement.nextRow()) {
        activities.push_back(activityFromRow(statement));
    }
    return activities;
}

std::vector<AppUsageSummary> Database::appUsageOn(TimePoint day) {
    auto range = calendar::dayRange(day);
    return appUsage(range.start, range.end);
}

std::vector<AppUsageSummary> Database::appUsage(TimePoint from, TimePoint to) {
    std::lock_guard lock(mutex_);
    Statement statement(db_, kAppUsage);
    statement.bind(1, from);
    statement.bind(2, to);
    std::vector<AppUsageSummary> summaries;
    while (statement.nextRow()) {
        summaries.push_back(AppUsageSummary{
            .appName = statement.text(0),
            .bundleID = statement.optionalText(1),
            .totalDuration = statement.real(2),
            .sessionCount = statement.int32(3),
            .latestTitle = statement.optionalText(4),
        });
    }
    return summaries;
}

void Database::endOpenAnnotations(TimePoint at) {
    Statement statement(db_, kEndCurrentAnnotation);
    statement.bind(1, at);
    statement.run();
}

std::int64_t Database::insertAnnotation(const Annotation& annotation) {
    auto lock = lockForWriting();
    // Another process (the bridge, a second server) may be inserting too:
    // ending and inserting apart would let both end the same task and
    // leave two open.
    WriteTransaction transaction(db_);
    endOpenAnnotations(annotation.startedAt);
    Statement statement(db_, kInsertAnnotation);
    statement.bind(1, annotation.text);
    statement.bind(2, annotation.startedAt);
    statement.bind(3, annotation.endedAt);
    statement.run();
    std::int64_t id = sqlite3_last_insert_rowid(db_);
    transaction.commit();
    return id;
}

void Database::endCurrentAnnotation(TimePoint at) {
    auto lock = lockForWriting();
    endOpenAnnotations(at);
}

std::vector<Annotation> Database::queryAnnotations(const char* sql, TimePoint from, TimePoint to,
                                                   std::optional<int> limit) {
    std::lock_guard lock(mutex_);
    Statement statement(db_, sql);
    statement.bind(1, to);
    statement.bind(2, from);
    if (limit) {
        statement.bind(3, *limit);
    }
    std::vector<Annotation> annotations;
    while (statement.nextRow()) {
        annotations.push_back(annotationFromRow(statement));
    }
    return annotations;
}

std::vector<Annotation> Database::fetchAnnotationsOn(TimePoint day, int limit) {
    auto range = calendar::dayRange(day);
    return queryAnnotations(kAnnotationsOnDay, range.start, range.end, limit);
}

std::vector<Annotation> Database::fetchAnnotations(TimePoint from, TimePoint to) {
    return queryAnnotations(kAnnotationsInRange, from, to, std::nullopt);
}

std::optional<Annotation> Database::currentAnnotation() {
    std::lock_guard lock(mutex_);
    Statement statement(db_, kCurrentAnnotation);
    if (!statement.nextRow()) {
        return std::nullopt;
    }
    return annotationFromRow(statement);
}

std::vector<Project> Database::fetchProjects() {
    std::lock_guard lock(mutex_);
    Statement statement(db_, kFetchProjects);
    std::vector<Project> projects;
    while (statement.nextRow()) {
        projects.push_back(Project{
            .id = statement.int64(0),
            .name = statement.text(1),
            .keywords = Project::parseKeywords(statement.text(2)),
        });
    }
    return projects;
}

void Database::saveProject(const std::string& name, const std::vector<std::string>& keywords) {
    auto lock = lockForWriting();
    Statement statement(db_, kSaveProject);
    statement.bind(1, name);
    statement.bind(2, Project::joinKeywords(keywords));
    statement.run();
}

bool Database::deleteProject(const std::string& name) {
    auto lock = lockForWriting();
    Statement statement(db_, kDeleteProject);
    statement.bind(1, name);
    statement.run();
    return sqlite3_changes(db_) > 0;
}

}  // namespace kvillo
