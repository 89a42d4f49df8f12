#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <regex>
#include <thread>

#include <unistd.h>
#include <wayland-server.h>

#include "core/store/database.h"
#include "tests/support/port_blocker.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;
using testing::ChildProcess;
using testing::eventually;
using testing::runProcess;
using testing::TempFolder;

// The shared objects the process has mapped.
std::string mappedFiles(const ChildProcess& process) {
    return testing::readFile("/proc/" + std::to_string(process.pid()) + "/maps");
}

// What `.schema` prints for the store: SQLite keeps each statement's text
// without "IF NOT EXISTS" and adds the table it keeps for AUTOINCREMENT.
constexpr const char* kSchemaDump =
    "CREATE TABLE activities (\n"
    "    id         INTEGER PRIMARY KEY AUTOINCREMENT,\n"
    "    app_name   TEXT    NOT NULL,\n"
    "    bundle_id  TEXT,\n"
    "    title      TEXT,\n"
    "    start_time REAL    NOT NULL,\n"
    "    end_time   REAL,\n"
    "    created_at REAL    NOT NULL DEFAULT (strftime('%s','now'))\n"
    ");\n"
    "CREATE TABLE sqlite_sequence(name,seq);\n"
    "CREATE INDEX idx_activities_start ON activities(start_time);\n"
    "CREATE INDEX idx_activities_app   ON activities(app_name);\n"
    "CREATE INDEX idx_activities_covering\n"
    "    ON activities(start_time, app_name, bundle_id, title, end_time);\n"
    "CREATE TABLE annotations (\n"
    "    id         INTEGER PRIMARY KEY AUTOINCREMENT,\n"
    "    text       TEXT    NOT NULL,\n"
    "    started_at REAL    NOT NULL,\n"
    "    ended_at   REAL,\n"
    "    created_at REAL    NOT NULL DEFAULT (strftime('%s','now'))\n"
    ");\n"
    "CREATE INDEX idx_annotations_started ON annotations(started_at);\n"
    "CREATE TABLE projects (\n"
    "    id       INTEGER PRIMARY KEY AUTOINCREMENT,\n"
    "    name     TEXT    NOT NULL UNIQUE COLLATE NOCASE,\n"
    "    keywords TEXT    NOT NULL DEFAULT ''\n"
    ");\n";

TEST(Program, HelpAndVersionNeedNoDisplay) {
    auto help = runProcess({KVILLO_BINARY, "--help"}, {{"DISPLAY", ""}});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.output.find("Usage: kvillo [--headless] [--port PORT]"), std::string::npos);
    EXPECT_EQ(help.error, "");

    auto version = runProcess({KVILLO_BINARY, "--version"}, {{"DISPLAY", ""}});
    EXPECT_EQ(version.status, 0);
    EXPECT_TRUE(std::regex_match(version.output, std::regex("kvillo [0-9]+\\.[0-9]+\\.[0-9]+\n")))
        << version.output;
}

TEST(Program, UnknownFlagPrintsUsageToStandardErrorAndExitsTwo) {
    auto result = runProcess({KVILLO_BINARY, "--frobnicate"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error.rfind("kvillo: unknown argument: --frobnicate\n", 0), 0u)
        << result.error;
    EXPECT_NE(result.error.find("Usage: kvillo"), std::string::npos);
}

// What a headless Kvillo says when there is nothing to watch.
constexpr const char* kNoDisplay = "kvillo: no display to watch, so nothing is recorded\n";

// What Kvillo says once its server listens, with the port written as N;
// withPortAsN makes standard error comparable with it.
constexpr const char* kServerLine = "MCP server on http://localhost:N/mcp\n";
std::string withPortAsN(const std::string& error) {
    static const std::regex port("(MCP server on http://localhost:)[0-9]+/");
    return std::regex_replace(error, port, "$1N/");
}
bool serverListens(const ChildProcess& kvillo) {
    return eventually(
        [&] { return kvillo.standardError().find("MCP server on") != std::string::npos; }, 10s);
}

TEST(Program, HeadlessStartCreatesTheStoreAndSignalsEndItCleanly) {
    TempFolder home;
    std::string database = home.file("data/Kvillo/activities.db");
    for (int signalNumber : {SIGTERM, SIGINT, SIGHUP}) {
        SCOPED_TRACE(signalNumber);
        ChildProcess kvillo({KVILLO_BINARY, "--headless", "--port", "0"},
                            testing::homeEnvironment(home));
        ASSERT_TRUE(eventually([&] { return kvillo.holdsOpen(database); }, 10s))
            << kvillo.standardError();
        auto maps = mappedFiles(kvillo);
        EXPECT_NE(maps.find("/libkvillo.so"), std::string::npos);
        EXPECT_EQ(maps.find("libQt6Gui"), std::string::npos) << "headless maps the GUI";
        EXPECT_EQ(maps.find("libkvillo_gui"), std::string::npos);
        kvillo.signal(signalNumber);
        EXPECT_EQ(kvillo.wait(10s), 0) << kvillo.standardError();
        EXPECT_EQ(withPortAsN(kvillo.standardError()), std::string(kNoDisplay) + kServerLine);
    }
    // The log is the user's alone, whatever the umask.
    auto mode = [](const std::string& path) {
        return std::filesystem::status(path).permissions() & std::filesystem::perms::all;
    };
    EXPECT_EQ(mode(home.file("data/Kvillo")), std::filesystem::perms::owner_all);
    EXPECT_EQ(mode(database),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    auto dump = runProcess({"sqlite3", database, ".schema"});
    ASSERT_EQ(dump.status, 0) << dump.error;
    EXPECT_EQ(dump.output, kSchemaDump);
}

// The tray program from the build tree and installed: each finds its
// private library and GUI module, and ends cleanly on SIGTERM.
TEST(Program, TheTrayProgramRunsOnItsLibraryAndModuleWhereverItIs) {
    TempFolder prefix;
    auto install = runProcess({CMAKE_COMMAND, "--install", BUILD_DIR, "--prefix", prefix.path()});
    ASSERT_EQ(install.status, 0) << install.output << install.error;
    struct Row {
        std::string binary;
        std::string libraryFolder;
    };
    const Row rows[] = {
        {KVILLO_BINARY, std::filesystem::path(KVILLO_BINARY).parent_path()},
        {prefix.file("bin/kvillo"), prefix.file(INSTALL_LIBDIR) + "/kvillo"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.binary);
        TempFolder home;
        auto environment = testing::homeEnvironment(home);
        environment["QT_QPA_PLATFORM"] = "offscreen";
        ChildProcess kvillo({row.binary, "--port", "0"}, environment);
        ASSERT_TRUE(eventually(
            [&] { return kvillo.holdsOpen(home.file("data/Kvillo/activities.db")); }, 10s))
            << kvillo.standardError();
        auto maps = mappedFiles(kvillo);
        EXPECT_NE(maps.find(row.libraryFolder + "/libkvillo.so"), std::string::npos) << maps;
        EXPECT_NE(maps.find(row.libraryFolder + "/libkvillo_gui.so"), std::string::npos) << maps;
        kvillo.signal(SIGTERM);
        EXPECT_EQ(kvillo.wait(10s), 0) << kvillo.standardError();
    }
    TempFolder home;
    auto bridge = runProcess({prefix.file("bin/kvillo-mcp")}, testing::homeEnvironment(home),
                             "{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"ping\"}\n");
    EXPECT_EQ(bridge.output, "{\"jsonrpc\":\"2.0\",\"id\":1,\"result\":{}}\n") << bridge.error;
}

TEST(Program, ATakenPortLeavesTheServerOffButTheProgramRunning) {
    TempFolder home;
    testing::PortBlocker blocker(/*alsoIpv6=*/true);
    std::string port = std::to_string(blocker.port());

    ChildProcess kvillo({KVILLO_BINARY, "--headless", "--port", port},
                        testing::homeEnvironment(home));
    ASSERT_TRUE(
        eventually([&] { return kvillo.holdsOpen(home.file("data/Kvillo/activities.db")); }, 10s));
    ASSERT_TRUE(eventually([&] { return !kvillo.standardError().empty(); }, 5s));
    ASSERT_TRUE(eventually([&] { return kvillo.standardError().size() > strlen(kNoDisplay); }, 5s));
    EXPECT_EQ(kvillo.standardError(),
              kNoDisplay + ("kvillo: the MCP server is off: cannot listen on localhost port " +
                            port + ": Address already in use\n"));
    kvillo.signal(SIGTERM);
    EXPECT_EQ(kvillo.wait(10s), 0);
}

// A Wayland server in a thread of the test that offers clients nothing at
// all, as some compositors (weston) do.
class BareCompositor {
public:
    explicit BareCompositor(const std::string& folder) : display_(wl_display_create()) {
        testing::ScopedEnv runtime("XDG_RUNTIME_DIR", folder);
        listening_ = wl_display_add_socket(display_, "wayland-bare") == 0;
        thread_ = std::thread([this] { wl_display_run(display_); });
    }
    ~BareCompositor() {
        wl_display_terminate(display_);
        thread_.join();
        wl_display_destroy(display_);
    }
    bool listening() const { return listening_; }

private:
    wl_display* display_;
    bool listening_ = false;
    std::thread thread_;
};

TEST(Program, AWaylandDesktopThatShowsNothingIsSaidAndNothingIsRecorded) {
    TempFolder home;
    BareCompositor bare(home.path());
    ASSERT_TRUE(bare.listening());
    struct Row {
        const char* name;
        std::string display;
        std::string said;
    };
    const Row rows[] = {
        {"no compositor", "wayland-kvillo-test",
         "kvillo: cannot connect to the Wayland compositor wayland-kvillo-test: No such file or "
         "directory\n"
         "kvillo: no display to watch, so nothing is recorded\n"},
        {"a compositor that offers nothing", home.file("wayland-bare"),
         "kvillo: this Wayland desktop does not tell which window is in front, so nothing is "
         "recorded\n"
         "kvillo: this desktop does not tell how long you have been away from keyboard and "
         "mouse, so idle detection is unavailable\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        auto environment = testing::homeEnvironment(home);
        environment["WAYLAND_DISPLAY"] = row.display;
        environment["XDG_RUNTIME_DIR"] = home.path();
        environment["DBUS_SESSION_BUS_ADDRESS"] = "";
        ChildProcess kvillo({KVILLO_BINARY, "--headless", "--port", "0"}, environment);
        ASSERT_TRUE(serverListens(kvillo)) << kvillo.standardError();
        kvillo.signal(SIGTERM);
        EXPECT_EQ(kvillo.wait(10s), 0);
        EXPECT_EQ(withPortAsN(kvillo.standardError()), row.said + kServerLine);
    }
}

// As root file modes stop nothing, so the program then runs as another user.
TEST(Program, AWriteProtectedLogIsSaidOnceAndTheProgramRunsOn) {
    TempFolder home;
    std::string folder = home.file("data/Kvillo");
    std::filesystem::create_directories(folder);
    Database(folder + "/activities.db").fetchProjects();
    for (const auto& path : {home.path(), home.file("data")}) {
        std::filesystem::permissions(path, std::filesystem::perms(0755));
    }
    std::filesystem::permissions(folder + "/activities.db", std::filesystem::perms(0444));
    std::filesystem::permissions(folder, std::filesystem::perms(0555));
    std::vector<std::string> command = {KVILLO_BINARY, "--headless", "--port", "0"};
    if (::geteuid() == 0) {
        command.insert(command.begin(),
                       {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"});
    }
    ChildProcess kvillo(command, testing::homeEnvironment(home));
    const std::string said = "kvillo: the activity log " + folder +
                             "/activities.db cannot be written, so nothing is recorded: ";
    ASSERT_TRUE(
        eventually([&] { return kvillo.standardError().find(said) != std::string::npos; }, 10s))
        << kvillo.standardError();
    EXPECT_FALSE(kvillo.wait(300ms)) << "it runs on, serving what can be read";
    kvillo.signal(SIGTERM);
    EXPECT_EQ(kvillo.wait(10s), 0);
    std::string error = kvillo.standardError();
    EXPECT_EQ(error.find(said), error.rfind(said)) << "said more than once: " << error;
    std::filesystem::permissions(folder, std::filesystem::perms(0755));
}

// The open row the first copy keeps while recording is what a second
// copy's start-up repair would close.
TEST(Program, ASecondCopyLeavesTheRunningOneAndItsDatabaseAlone) {
    TempFolder home;
    auto environment = testing::homeEnvironment(home);
    const std::vector<std::string> command{KVILLO_BINARY, "--headless", "--port", "0"};
    std::string database = home.file("data/Kvillo/activities.db");
    std::string portFile = home.file("data/Kvillo/instance.port");
    ChildProcess first(command, environment);
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(portFile); }, 10s))
        << first.standardError();
    std::string port = testing::readFile(portFile);
    port.pop_back();
    // The port picked for --port 0 is said, and is the one later copies learn.
    EXPECT_EQ(first.standardError(),
              kNoDisplay + ("MCP server on http://localhost:" + port + "/mcp\n"));
    // An open row as the first keeps while recording, which a second
    // copy's start-up repair would close.
    auto insert = runProcess({"sqlite3", database,
                              "INSERT INTO activities (app_name, start_time) "
                              "VALUES ('Code', strftime('%s','now'))"});
    ASSERT_EQ(insert.status, 0) << insert.error;
    auto modified = std::filesystem::last_write_time(database);

    ChildProcess second(command, environment);
    EXPECT_EQ(second.wait(10s), 0);
    EXPECT_EQ(
        second.standardError(),
        "kvillo: Kvillo is already running (MCP server on http://localhost:" + port + "/mcp)\n");
    auto openRows =
        runProcess({"sqlite3", database, "SELECT count(*) FROM activities WHERE end_time IS NULL"});
    EXPECT_EQ(openRows.output, "1\n");
    EXPECT_EQ(std::filesystem::last_write_time(database), modified);

    auto timesheet = runProcess({KVILLO_BINARY, "timesheet"}, environment);
    EXPECT_EQ(timesheet.status, 0) << timesheet.error;

    first.signal(SIGKILL);
    first.wait(10s);
    ChildProcess next(command, environment);
    EXPECT_TRUE(eventually([&] { return next.holdsOpen(database); }, 10s)) << next.standardError();
    ASSERT_TRUE(serverListens(next)) << next.standardError();
    next.signal(SIGTERM);
    EXPECT_EQ(next.wait(10s), 0);
    EXPECT_EQ(withPortAsN(next.standardError()), std::string(kNoDisplay) + kServerLine);
}

TEST(Program, WithoutADisplayTheTrayProgramAsksForHeadless) {
    TempFolder home;
    auto result = runProcess({KVILLO_BINARY}, testing::homeEnvironment(home));
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.error.find("--headless"), std::string::npos);
}

TEST(Program, UnopenableDatabaseExitsOneNamingThePathAndTheReason) {
    TempFolder home;
    // A file where the data folder should be defeats even root.
    testing::writeFile(home.file("data"), "not a folder");
    auto result =
        runProcess({KVILLO_BINARY, "--headless", "--port", "0"}, testing::homeEnvironment(home));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error,
              "kvillo: cannot open the lock file " + home.file("data/Kvillo/instance.lock") +
                  ": Not a directory; running without the single-copy lock\n"
                  "kvillo: cannot open the database " +
                  home.file("data/Kvillo/activities.db") + ": unable to open database file\n");
}

}  // namespace
}  // namespace kvillo
