#include <gtest/gtest.h>

#include <filesystem>

#include "core/store/database.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;
using testing::runProcess;
using testing::TempFolder;

constexpr const char* kEvent =
    R"({"session_id":"s1","transcript_path":"/tmp/t.jsonl","cwd":"/home/kari/src/kraftnod",)"
    R"("hook_event_name":"UserPromptSubmit","prompt":"Fix the build"})";
constexpr const char* kTask = "Claude Code: /home/kari/src/kraftnod";

// A home with a log (unless `withLog` is false) and the given settings.
struct Home {
    explicit Home(const std::string& settings, bool withLog = true) {
        std::filesystem::create_directories(folder.file("config/kvillo"));
        testing::writeFile(folder.file("config/kvillo/app.kvillo.shared.json"), settings);
        if (withLog) {
            std::filesystem::create_directories(folder.file("data/Kvillo"));
            Database create(log());
        }
    }
    std::string log() const { return folder.file("data/Kvillo/activities.db"); }
    std::vector<Annotation> notes() const {
        Database db(log());
        return db.fetchAnnotations(0, 4e9);
    }
    // The hook as Claude Code runs it: the event on standard input.
    testing::ProcessResult hook(const std::string& input, std::vector<std::string> command = {
                                                              KVILLO_MCP_BINARY, "--hook"}) const {
        return runProcess(command, testing::homeEnvironment(folder), input);
    }
    TempFolder folder;
};

void expectSilentSuccess(const testing::ProcessResult& result) {
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "");
}

TEST(ClaudeCodeHook, NotesTheFolderWhenTheSwitchesAllowAndSaysNothing) {
    struct Row {
        const char* name;
        const char* settings;
        std::string input;
        bool noted;
    };
    const Row rows[] = {
        {"the folder becomes the task", "{}", kEvent, true},
        {"the hook switched off", R"({"claudeCodeHook": false})", kEvent, false},
        {"AI access off", R"({"aiAccess": false})", kEvent, false},
        {"not JSON", "{}", "Fix the build", false},
        {"no folder in the event", "{}", R"({"prompt": "hi", "cwd": 7})", false},
        {"no input at all", "{}", "", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Home home(row.settings);
        expectSilentSuccess(home.hook(row.input));
        auto notes = home.notes();
        EXPECT_EQ(notes.size(), row.noted ? 1u : 0u);
        if (row.noted && !notes.empty()) {
            EXPECT_EQ(notes[0].text, kTask);
            EXPECT_FALSE(notes[0].endedAt);
        }
    }
}

TEST(ClaudeCodeHook, TheNextPromptInTheSameFolderKeepsTheTaskRunning) {
    Home home("{}");
    expectSilentSuccess(home.hook(kEvent));
    expectSilentSuccess(home.hook(kEvent));
    EXPECT_EQ(home.notes().size(), 1u);
}

TEST(ClaudeCodeHook, WithoutALogNoneIsMade) {
    Home home("{}", false);
    expectSilentSuccess(home.hook(kEvent));
    EXPECT_FALSE(std::filesystem::exists(home.folder.file("data")));
}

TEST(ClaudeCodeHook, ALockedLogLeavesThePromptUnnoted) {
    Home home("{}");
    std::string locked = home.folder.file("locked");
    // Holds the write lock until killed.
    testing::ChildProcess holder(
        {"sqlite3", home.log()}, {},
        "BEGIN EXCLUSIVE;\nINSERT INTO projects (name) VALUES ('x');\n.shell touch " + locked +
            " && sleep 60\n");
    ASSERT_TRUE(testing::eventually([&] { return std::filesystem::exists(locked); }, 10s))
        << holder.standardError();
    expectSilentSuccess(home.hook(kEvent));
    holder.signal(SIGKILL);
    holder.wait(10s);
    EXPECT_TRUE(home.notes().empty());
}

TEST(ClaudeCodeHook, KvilloRunsTheBridgeAndTheHookAsWell) {
    Home home("{}");
    expectSilentSuccess(home.hook(kEvent, {KVILLO_BINARY, "mcp", "--hook"}));
    EXPECT_EQ(home.notes().size(), 1u);
    auto bridge = home.hook(R"({"jsonrpc":"2.0","id":1,"method":"ping"})"
                            "\n",
                            {KVILLO_BINARY, "mcp"});
    EXPECT_EQ(bridge.status, 0) << bridge.error;
    EXPECT_EQ(bridge.output, "{\"jsonrpc\":\"2.0\",\"id\":1,\"result\":{}}\n");
}

}  // namespace
}  // namespace kvillo
