#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>

#include "core/localisation/l10n.h"
#include "core/mcp/mcp_tools.h"
#include "tests/core/integrations/update_checker_harness.h"
#include "tests/core/model/model_fixture.h"
#include "tests/support/fake_http_client.h"
#include "tests/support/process.h"
#include "tests/support/sql_beside.h"

namespace kvillo {
namespace {

using testing::kMinute;
using testing::localTime;
using testing::note;
using Key = Features::Key;

const FrontApplication kEditor{.name = "Code", .bundleID = "code", .processID = 11};

class Model : public testing::ModelFixture {
protected:
    std::vector<std::string> texts() {
        std::vector<std::string> out;
        for (const auto& annotation : annotations()) {
            out.push_back(annotation.text);
        }
        return out;
    }
};

TEST_F(Model, TaskTextIsComposedFromProjectAndTask) {
    struct Row {
        const char* name;
        std::optional<std::string> project;
        std::string task;
        std::optional<std::string> stored;
    };
    const Row rows[] = {
        {"project and task", "Skarvelin", "fix login", "Skarvelin \u2013 fix login"},
        {"task names the project", "Skarvelin", "skarvelin: fix login", "skarvelin: fix login"},
        {"case of a non-ASCII name", "\u00c6rlig", "\u00e6rlig sak", "\u00e6rlig sak"},
        {"project alone", "Skarvelin", "", "Skarvelin"},
        {"task alone, trimmed", std::nullopt, "  fix login\n", "fix login"},
        {"empty project", "", "fix login", "fix login"},
        {"nothing", std::nullopt, " \n", std::nullopt},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        db_.endCurrentAnnotation(clock_.now());
        const auto before = annotations().size();
        model().startTask(row.project, row.task, clock_.now());
        if (row.stored) {
            EXPECT_EQ(model().taskText(), row.stored);
            EXPECT_EQ(texts().back(), *row.stored);
        } else {
            EXPECT_EQ(annotations().size(), before);
        }
        clock_.advance(kMinute);
    }
}

// Every transition of the task states, in one day's order.
TEST_F(Model, TaskStatesMoveAsTheUserActs) {
    auto& m = model();
    m.startTask(std::nullopt, "Rapport", start_);  // no task -> running
    EXPECT_EQ(m.taskRunningSince(), start_);
    tick(10 * 60);
    EXPECT_EQ(m.taskClock(), "0:10:00");

    m.togglePause();  // running -> paused with task
    EXPECT_TRUE(m.isPaused());
    EXPECT_TRUE(monitor_.isPaused());
    EXPECT_EQ(m.pausedTask(), "Rapport");
    EXPECT_EQ(m.taskText(), "Rapport");
    EXPECT_FALSE(m.taskRunningSince());
    EXPECT_EQ(annotations().back().endedAt, start_ + 10 * kMinute);
    tick(5 * 60);
    EXPECT_EQ(m.taskClock(), "0:10:00");  // frozen

    m.togglePause();  // paused with task -> running, counting on from the total
    EXPECT_FALSE(monitor_.isPaused());
    EXPECT_EQ(texts(), (std::vector<std::string>{"Rapport", "Rapport"}));
    tick(60);
    EXPECT_EQ(m.taskClock(), "0:11:00");

    m.endTask();  // running -> no task
    EXPECT_FALSE(m.taskText());
    EXPECT_EQ(m.taskClock(), AppModel::kNoTaskClock);

    m.togglePause();  // no task -> paused without task
    EXPECT_TRUE(m.isPaused());
    EXPECT_FALSE(m.taskText());
    m.togglePause();  // and back
    EXPECT_FALSE(m.isPaused());
    EXPECT_EQ(annotations().size(), 2u);

    m.startTask(std::nullopt, "Rapport", clock_.now());
    m.togglePause();
    m.endTask();  // paused with task -> paused without task
    EXPECT_TRUE(m.isPaused());
    EXPECT_FALSE(m.pausedTask());
    EXPECT_FALSE(m.taskText());

    m.togglePause();
    m.togglePause();
    m.startTask(std::nullopt, " ", clock_.now());  // paused -> no task, nothing written
    EXPECT_FALSE(m.isPaused());
    EXPECT_FALSE(m.pausedTask());
    EXPECT_EQ(annotations().size(), 3u);

    m.togglePause();
    m.startTask(std::nullopt, "Post", clock_.now());  // paused -> running
    EXPECT_FALSE(m.isPaused());
    EXPECT_EQ(m.taskText(), "Post");
}

TEST_F(Model, ABackdatedStartCutsThePreviousTaskShort) {
    model().startTask(std::nullopt, "A", start_);
    clock_.advance(30 * kMinute);
    model().startTask(std::nullopt, "B", start_ + 20 * kMinute);
    auto all = annotations();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].endedAt, start_ + 20 * kMinute);
    EXPECT_EQ(all[1].startedAt, start_ + 20 * kMinute);
    EXPECT_EQ(model().taskElapsed(clock_.now()), 10 * kMinute);
}

TEST_F(Model, TasksAreTimedByExactTextWithinToday) {
    db_.insertAnnotation(note("Rapport", start_ - 2 * kMinute * 60, start_ - 60 * kMinute));
    db_.insertAnnotation(note("rapport", start_ - 50 * kMinute, start_ - 40 * kMinute));
    // Yesterday's piece counts from midnight only.
    const double midnight = localTime(2026, 11, 23);
    db_.insertAnnotation(note("Rapport", midnight - 30 * kMinute, midnight + 15 * kMinute));
    db_.insertAnnotation(note("Rapport", start_ - 10 * kMinute, std::nullopt));
    EXPECT_EQ(model().taskBase(), 60 * kMinute + 15 * kMinute);
    EXPECT_EQ(model().taskClock(), "1:25:00");
    // With the clock set back to 06:30, the pieces after it do not count.
    clock_.set(start_ - 150 * kMinute);
    model().refresh();
    EXPECT_EQ(model().taskBase(), 15 * kMinute);
    model().ticker().set(clock_.now());  // the running piece begins later
    EXPECT_LT(model().taskElapsed(clock_.now()), 0);
    EXPECT_EQ(model().taskClock(), "0:00:00");
}

TEST_F(Model, APauseAcrossMidnightCountsTodaysPiecesOnly) {
    const double evening = localTime(2026, 11, 22, 23, 50);
    clock_.set(evening);
    model().startTask(std::nullopt, "Natt", evening);
    tick(12 * 60);  // 00:02
    model().togglePause();
    tick(3 * 60);
    model().togglePause();  // 00:05
    tick(5 * 60);
    EXPECT_EQ(model().taskClock(), "0:07:00");
    // Running across midnight, the running piece counts from its start.
    model().startTask(std::nullopt, "Natt 2", clock_.now() - 20 * kMinute);
    EXPECT_EQ(model().taskClock(), "0:20:00");
}

// After a change of zone, "today" is the new zone's day.
TEST_F(Model, APauseAcrossAZoneChangeCountsTheNewZonesDay) {
    testing::ScopedTimeZone london("Europe/London");
    const double start = localTime(2026, 11, 22, 22, 30);
    clock_.set(start);
    model().startTask(std::nullopt, "Reise", start);
    tick(60 * 60);
    model().togglePause();
    testing::useTimeZone("Europe/Oslo");  // 00:30 on the 23rd there
    tick(5 * 60);
    model().togglePause();
    tick(10 * 60);
    // Oslo's day began half way through the first piece.
    EXPECT_EQ(model().taskClock(), "0:40:00");
}

TEST_F(Model, OnlyChangedFieldsAreAnnounced) {
    std::vector<AppModel::Field> announced;
    auto subscription =
        model().onChange([&](AppModel::Field field) { announced.push_back(field); });
    model().refresh();
    EXPECT_TRUE(announced.empty());
    const bool was = features_.isEnabled(Key::focusSessions);
    model().set(Key::focusSessions, !was);
    EXPECT_EQ(announced.front(), AppModel::Field::enabled);
    EXPECT_EQ(features_.isEnabled(Key::focusSessions), !was);
}

TEST_F(Model, CaptureSwitchesActOnTheMonitorAtOnce) {
    desktop_.front = kEditor;
    desktop_.titles[kEditor.processID] = "main.cpp";
    monitor_.start();
    monitorTimer_.run(60);  // the ticks read the title
    model().set(Key::windowTitles, false);
    auto rows = db_.fetchActivities(0, 4e9);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].title, "main.cpp");
    EXPECT_FALSE(rows[1].title);
    clock_.advance(60);
    model().set(Key::activityLogging, false);
    EXPECT_EQ(db_.fetchActivities(0, 4e9).back().endTime, start_ + 120);
}

// Ticks between refreshes read nothing from the store; an assistant's task,
// through the server's own tool on the server's connection, shows at the
// half-minute refresh.
TEST_F(Model, OnlyTheRefreshReadsTheStoreAndItShowsAnAssistantsTask) {
    int statements = 0;
    model();
    modelDb_.watchStatements([&](std::string_view) { ++statements; });
    McpTools tools(db_, clock_);
    ASSERT_FALSE(tools.annotate(Json{{"text", "Fra assistenten"}}).isError);
    tick(AppModel::kTicksPerRefresh - 1);
    EXPECT_EQ(statements, 0);
    EXPECT_FALSE(model().taskText());
    tick(1);
    EXPECT_GT(statements, 0);
    EXPECT_EQ(model().taskText(), "Fra assistenten");
    EXPECT_TRUE(model().currentAnnotation()->id);
}

TEST_F(Model, TheCurrentProjectComesFromTheTaskOrRecentWork) {
    db_.saveProject("Skarvelin", {"login"});
    db_.saveProject("Beta", {"beta"});
    model().startTask(std::nullopt, "SK\u00c5RVELIN m\u00f8te", start_);
    EXPECT_EQ(model().currentProject(), "Skarvelin");
    model().startTask(std::nullopt, "ny LOGIN", start_);
    model().togglePause();  // the paused task's text still names it
    EXPECT_EQ(model().currentProject(), "Skarvelin");

    model().endTask();
    model().togglePause();
    db_.insert(testing::act("Code", start_ - 30 * kMinute, start_ - 10 * kMinute + 1, "beta.cpp"));
    model().refresh();
    EXPECT_EQ(model().currentProject(), "Beta");  // ended 10 min - 1 s ago
    clock_.advance(1);
    model().refresh();
    EXPECT_FALSE(model().currentProject());

    model().startTask(std::nullopt, "Skarvelin", clock_.now());
    model().set(Key::projects, false);
    EXPECT_FALSE(model().currentProject());
}

TEST_F(Model, ProjectsAreSavedRenamedAndDeleted) {
    model().saveProject("  Alpha ", "a, b", std::nullopt);
    model().saveProject("alpha", "c", "Alpha");  // letter case alone keeps the row
    ASSERT_EQ(model().projects().size(), 1u);
    EXPECT_EQ(model().projects()[0].name, "Alpha");
    EXPECT_EQ(model().projects()[0].keywords, std::vector<std::string>{"c"});
    model().saveProject("Beta", "", "Alpha");
    ASSERT_EQ(model().projects().size(), 1u);
    EXPECT_EQ(model().projects()[0].name, "Beta");
    model().saveProject(" ", "x", std::nullopt);
    model().deleteProject("Beta");
    EXPECT_TRUE(model().projects().empty());
}

// Another program holding the file's write lock: the change waits for a
// later tick instead of stalling the interface, and keeps its time; what
// still waits at the end is tried once more.
TEST_F(Model, AWriteThatFindsTheFileLockedGoesThroughLater) {
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(db_.path().c_str(), &other), SQLITE_OK);
    const auto lock = [&] { sqlite3_exec(other, "BEGIN IMMEDIATE;", nullptr, nullptr, nullptr); };
    const auto unlock = [&] { sqlite3_exec(other, "COMMIT;", nullptr, nullptr, nullptr); };
    lock();
    model().startTask(std::nullopt, "Rapport", start_);
    model().endTask();
    EXPECT_EQ(model().pendingWrites(), 2u);
    EXPECT_FALSE(model().taskText());
    tick(AppModel::kTicksPerRetry);
    EXPECT_EQ(model().pendingWrites(), 2u);

    unlock();
    tick(AppModel::kTicksPerRetry);
    EXPECT_EQ(model().pendingWrites(), 0u);
    ASSERT_EQ(annotations().size(), 1u);
    EXPECT_EQ(annotations()[0].startedAt, start_);
    EXPECT_EQ(annotations()[0].endedAt, start_);

    lock();
    model().startTask(std::nullopt, "Post", clock_.now());
    unlock();
    model_.reset();
    EXPECT_EQ(annotations().back().text, "Post");
    sqlite3_close(other);
}

TEST_F(Model, TheNoticeSaysWhatKeepsKvilloFromRecording) {
    const auto text = [&](L10n::Key key) { return L10n::string(Language::en, key); };
    features_.setLanguage(Language::en);
    desktop_.front = kEditor;
    monitor_.start();
    EXPECT_EQ(model().notice(), "");

    std::vector<AppModel::Field> announced;
    auto subscription =
        model().onChange([&](AppModel::Field field) { announced.push_back(field); });
    testing::execBeside(db_.path(),
                        "CREATE TRIGGER refuse BEFORE INSERT ON activities "
                        "BEGIN SELECT RAISE(ABORT, 'disk says no'); END;");
    desktop_.activate(FrontApplication{.name = "Firefox", .bundleID = "firefox"});
    EXPECT_EQ(model().notice(), text("Loggen kan ikke skrives, så ingenting blir logget."));
    EXPECT_EQ(announced, std::vector{AppModel::Field::notice});
    testing::execBeside(db_.path(), "DROP TRIGGER refuse;");
    desktop_.activate(kEditor);
    EXPECT_EQ(model().notice(), "");

    desktop_.seen.idleTime = false;
    model().refresh();
    EXPECT_EQ(model().notice(), text("Kvillo ser ikke når du er borte fra maskinen her."));
    desktop_.seen.frontApplication = false;
    model().refresh();
    EXPECT_EQ(model().notice(),
              text("Kvillo ser ikke hvilket program du bruker her, så ingenting blir logget."));
    desktop_.seen.completeAfterLogin = true;
    model().refresh();
    EXPECT_EQ(model().notice(),
              text("Kvillo ser hvilket program du bruker fra neste gang du logger inn."));
    model().set(Key::activityLogging, false);
    EXPECT_EQ(model().notice(), "");
}

TEST_F(Model, TheUpdateControlMirrorsTheChecker) {
    testing::FakeHttpClient http;
    const std::string base = "https://primary.test/releases/linux/";
    http.answer(base + "latest", HttpReply{200, {}, testing::releaseJson("v1.5.0", {"k.deb"})});
    http.answer(base + "v1.5.0/assets/k.deb", HttpReply{200, {}, "deb"});
    testing::CheckerHarness checker(http);  // delivers on its own fake UI thread
    updates_ = &checker.checker();
    std::vector<AppModel::Field> announced;
    auto subscription =
        model().onChange([&](AppModel::Field field) { announced.push_back(field); });
    const auto settled = [&](auto state) {
        return testing::eventually(
            [&] {
                checker.ui.runPending();
                return std::holds_alternative<decltype(state)>(model().updateState());
            },
            std::chrono::seconds(10));
    };
    ASSERT_TRUE(settled(updates::Available{}));  // checked at start
    EXPECT_EQ(model().latestRelease()->tag, "v1.5.0");
    EXPECT_NE(std::find(announced.begin(), announced.end(), AppModel::Field::latestRelease),
              announced.end());
    model().downloadUpdate();
    ASSERT_TRUE(settled(updates::ReadyToInstall{}));
    EXPECT_EQ(checker.opened.size(), 1u);
    model_.reset();
}

TEST_F(Model, AssistantsAreConnectedOffTheUiThreadAndRefusalsAreSaid) {
    testing::ScopedEnv home("HOME", folder_.file("home"));
    testing::ScopedEnv config("XDG_CONFIG_HOME", folder_.file("home/.config"));
    std::filesystem::create_directories(folder_.file("home/.cursor"));
    testing::writeFile(folder_.file("home/.cursor/mcp.json"), "[1]");
    McpInstaller installer("http://localhost:7384/mcp");
    installer_ = &installer;
    int announced = 0;
    auto subscription = model().onChange(
        [&](AppModel::Field field) { announced += field == AppModel::Field::clients; });
    const auto done = [&](int count) {
        return testing::eventually(
            [&] {
                uiThread_.runPending();
                return announced == count;
            },
            std::chrono::seconds(10));
    };
    model().connectClient(McpClient::cursor, true);
    ASSERT_TRUE(done(1));
    EXPECT_NE(model().clientError(), "");
    EXPECT_EQ(testing::readFile(folder_.file("home/.cursor/mcp.json")), "[1]");

    std::filesystem::remove(folder_.file("home/.cursor/mcp.json"));
    model().connectClient(McpClient::cursor, true);
    ASSERT_TRUE(done(2));
    EXPECT_EQ(model().clientError(), "");
    const auto rows = model().clients();
    ASSERT_EQ(rows.size(), McpClients::allCases().size());
    EXPECT_EQ(rows[2].client, McpClient::cursor);
    EXPECT_EQ(rows[2].state.status, McpClientStatus::connected);
    model_.reset();
}

TEST(ModelSettings, ABrokenSettingsFileIsNoticed) {
    testing::TempFolder folder;
    testing::writeFile(folder.file("settings.json"), "{ not json");
    Features features{folder.file("settings.json"), [] { return std::string(); }};
    Database db{folder.file("activities.db")};
    testing::FakeDesktop desktop;
    testing::FakeClock clock{localTime(2026, 11, 23, 9)};
    testing::FakeTimer timer{clock};
    testing::FakeUiThread ui;
    testing::FakeNotificationCenter notifications;
    ActivityMonitor monitor{db, features, desktop, clock, timer};
    AppModel model{db, monitor, features, {clock, timer, ui, notifications}};
    EXPECT_EQ(model.notice(), L10n::string(L10n::language(features),
                                           "Innstillingsfilen kan ikke leses, så AI-tilgang er "
                                           "slått av."));
}

}  // namespace
}  // namespace kvillo
