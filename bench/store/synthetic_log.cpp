#include "bench/store/synthetic_log.h"

#include <sqlite3.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/store/database.h"

namespace kvillo::bench {
namespace {

// Part of the cached file's name: change it whenever the generator changes
// what it writes, so that no run reads a stale log.
constexpr const char* kGeneratorVersion = "v2";

const char* const kWords[] = {"atlas",  "boreal", "cobalt",  "delta", "ember", "fjord",   "glacier",
                              "harbor", "indigo", "juniper", "krill", "lumen", "mistral", "nordic",
                              "orbit",  "polar",  "quartz",  "rune",  "saga",  "tundra",  "umbra",
                              "vega",   "willow", "xenon",   "yarrow"};
constexpr int kWordCount = static_cast<int>(std::size(kWords));
// Names for projects beyond the first 25; their keywords still end in one
// of kWords, so the logs of fewer projects stay as they were.
const char* const kMoreWords[] = {
    "alder", "basalt",  "cirrus", "dune", "eider",  "flint", "gneiss", "heather", "isbre",
    "jade",  "kelp",    "larch",  "moss", "nimbus", "opal",  "pine",   "quill",   "reef",
    "slate", "thistle", "urd",    "vale", "wren",   "ymer",  "zephyr"};
constexpr int kMaxProjects = kWordCount + static_cast<int>(std::size(kMoreWords));

struct App {
    const char* name;
    const char* bundleID;  // none for some programs
    int weight;            // how often it has the focus
};
// One name with two bundle ids, programs without one, and the lock screen,
// which every activity query leaves out.
constexpr App kApps[] = {
    {"Firefox", "firefox", 30},
    {"Code", "code", 25},
    {"Terminal", "org.gnome.Terminal", 15},
    {"Thunderbird", "org.mozilla.Thunderbird", 8},
    {"Slack", "com.slack.Slack", 8},
    {"Files", "org.gnome.Nautilus", 3},
    {"LibreOffice Calc", "libreoffice-calc", 2},
    {"LibreOffice Writer", "libreoffice-writer", 2},
    {"Zoom", nullptr, 2},
    {"Chromium", "chromium", 2},
    {"Evince", "org.gnome.Evince", 2},
    {"KeePassXC", "org.keepassxc.KeePassXC", 1},
    {"Signal", "signal", 1},
    {"Spotify", "spotify", 1},
    {"Code", "code-insiders", 1},
    {"xterm", nullptr, 1},
    {"loginwindow", nullptr, 1},
};

const char* projectWord(int project) {
    return project < kWordCount ? kWords[project] : kMoreWords[project - kWordCount];
}

std::string keyword(int project, int k) {
    return std::string(projectWord(project)) + "-" + kWords[(project * 7 + k * 3 + 1) % kWordCount];
}

// Titles as people see them: file names, tickets, mail subjects, a third of
// them with a project's keyword, many with non-ASCII punctuation; a few
// windows have an empty title or none.
std::optional<std::string> titleFor(std::mt19937& random, const App& app, const LogShape& shape) {
    int n = std::uniform_int_distribution<int>(0, 99)(random);
    if (n < 2) {
        return std::nullopt;
    }
    if (n < 3) {
        return std::string();
    }
    std::string subject = n < 35 ? keyword(n % shape.projects, n % shape.keywordsPerProject)
                                 : "notes " + std::to_string(n);
    std::string name = app.name;
    if (name == "Code") {
        return subject + ".cpp — kvillo — Visual Studio Code";
    }
    if (name == "Firefox" || name == "Chromium") {
        return "Pull request #" + std::to_string(n) + " · " + subject + " — " + name;
    }
    if (name == "Terminal" || name == "xterm") {
        return "kari@laptop: ~/src/" + subject;
    }
    if (name == "Thunderbird") {
        return "Re: Møte om " + subject + " – Innboks";
    }
    return subject + " | " + name;
}

void check(int result, sqlite3* db) {
    if (result != SQLITE_OK && result != SQLITE_DONE) {
        throw std::runtime_error(std::string("synthetic log: ") + sqlite3_errmsg(db));
    }
}

void bindText(sqlite3_stmt* statement, int index, const std::optional<std::string>& text) {
    if (text) {
        sqlite3_bind_text(statement, index, text->c_str(), -1, SQLITE_TRANSIENT);
    } else {
        sqlite3_bind_null(statement, index);
    }
}

void writeLog(const std::string& path, const LogShape& shape) {
    if (shape.projects > kMaxProjects) {
        throw std::invalid_argument("synthetic log: too many projects");
    }
    {
        Database database(path);  // the schema, as the program makes it
        for (int p = 0; p < shape.projects; ++p) {
            std::vector<std::string> keywords;
            for (int k = 0; k < shape.keywordsPerProject; ++k) {
                keywords.push_back(keyword(p, k));
            }
            database.saveProject(std::string("Project ") + projectWord(p), keywords);
        }
    }
    sqlite3* db = nullptr;
    check(sqlite3_open(path.c_str(), &db), db);
    check(sqlite3_exec(db, "BEGIN;", nullptr, nullptr, nullptr), db);
    sqlite3_stmt* activity = nullptr;
    check(sqlite3_prepare_v2(db,
                             "INSERT INTO activities (app_name, bundle_id, title, start_time, "
                             "end_time) VALUES (?, ?, ?, ?, ?);",
                             -1, &activity, nullptr),
          db);
    sqlite3_stmt* annotation = nullptr;
    check(sqlite3_prepare_v2(
              db, "INSERT INTO annotations (text, started_at, ended_at) VALUES (?, ?, ?);", -1,
              &annotation, nullptr),
          db);
    std::mt19937 random(7384);
    std::vector<int> weights;
    for (const auto& app : kApps) {
        weights.push_back(app.weight);
    }
    std::discrete_distribution<int> pickApp(weights.begin(), weights.end());
    const int mean = shape.meanActivitySeconds;
    std::uniform_int_distribution<int> length(mean / 10, mean * 19 / 10);
    std::uniform_int_distribution<int> gap(0, 99);
    for (int d = 0; d < shape.days; ++d) {
        const TimePoint dayStart = kFirstDay + d * 86400.0 + 7 * 3600;
        const bool lastOfLog = d == shape.days - 1;
        // Notes of 20 minutes every 24 (or as the shape says), over the
        // working day.
        for (int a = 0; a < shape.annotationsPerDay; ++a) {
            std::string text = a % 3 == 0
                                   ? "Claude Code: /home/kari/src/" + keyword(a % shape.projects, 0)
                                   : "Jobber med " + keyword((d + a) % shape.projects,
                                                             a % shape.keywordsPerProject);
            TimePoint start = dayStart + a * static_cast<double>(shape.annotationEvery);
            std::optional<TimePoint> end =
                start + (shape.annotationEvery - shape.annotationEvery / 6);
            if (lastOfLog && a == shape.annotationsPerDay - 1) {
                end.reset();
            }
            bindText(annotation, 1, text);
            sqlite3_bind_double(annotation, 2, start);
            if (end) {
                sqlite3_bind_double(annotation, 3, *end);
            } else {
                sqlite3_bind_null(annotation, 3);
            }
            check(sqlite3_step(annotation), db);
            sqlite3_reset(annotation);
        }
        TimePoint t = dayStart;
        for (int i = 0; i < shape.activitiesPerDay; ++i) {
            const App& app = kApps[pickApp(random)];
            TimePoint end = t + length(random);
            sqlite3_bind_text(activity, 1, app.name, -1, SQLITE_STATIC);
            if (app.bundleID) {
                sqlite3_bind_text(activity, 2, app.bundleID, -1, SQLITE_STATIC);
            } else {
                sqlite3_bind_null(activity, 2);
            }
            bindText(activity, 3, titleFor(random, app, shape));
            sqlite3_bind_double(activity, 4, t);
            if (lastOfLog && i == shape.activitiesPerDay - 1) {
                sqlite3_bind_null(activity, 5);
            } else {
                sqlite3_bind_double(activity, 5, end);
            }
            check(sqlite3_step(activity), db);
            sqlite3_reset(activity);
            t = end + (gap(random) < 95 ? 0 : 3 * mean);  // now and then a break
        }
    }
    sqlite3_finalize(activity);
    sqlite3_finalize(annotation);
    check(sqlite3_exec(db, "COMMIT;", nullptr, nullptr, nullptr), db);
    sqlite3_close(db);
}

}  // namespace

TimePoint lastDay(const LogShape& shape) {
    return kFirstDay + (shape.days - 1) * 86400.0;
}

std::string cachedLog(const LogShape& shape) {
    std::filesystem::path folder = KVILLO_BENCH_CACHE_DIR;
    std::filesystem::create_directories(folder);
    std::string name = std::string("log-") + kGeneratorVersion + "-" + std::to_string(shape.days) +
                       "d-" + std::to_string(shape.activitiesPerDay) + "a-" +
                       std::to_string(shape.annotationsPerDay) + "n-" +
                       std::to_string(shape.projects) + "x" +
                       std::to_string(shape.keywordsPerProject) + "p";
    // Only shapes that change the pace say so, so the names of the logs
    // already cached stay valid.
    if (shape.meanActivitySeconds != LogShape{}.meanActivitySeconds ||
        shape.annotationEvery != LogShape{}.annotationEvery) {
        name += "-" + std::to_string(shape.meanActivitySeconds) + "s-" +
                std::to_string(shape.annotationEvery) + "e";
    }
    name += ".db";
    std::filesystem::path path = folder / name;
    if (!std::filesystem::exists(path)) {
        // Built under another name and renamed, so an interrupted run leaves
        // no half-built log to be reused.
        std::filesystem::path partial = folder / (name + ".partial");
        std::filesystem::remove(partial);
        writeLog(partial.string(), shape);
        std::filesystem::rename(partial, path);
    }
    return path.string();
}

ScratchFolder::ScratchFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kvillo-bench-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) {
        throw std::runtime_error("cannot make a temporary folder");
    }
    path_ = pattern;
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string ScratchFolder::copyOf(const std::string& path, const std::string& name) {
    std::string copy = file(name);
    std::filesystem::copy_file(path, copy, std::filesystem::copy_options::overwrite_existing);
    return copy;
}

}  // namespace kvillo::bench
