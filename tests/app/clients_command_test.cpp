#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;
using testing::readFile;
using testing::writeFile;

// A home with Cursor installed, Zed connected and a VS Code file Kvillo
// must not change; no `claude` on the path.
class ClientsCommandTest : public ::testing::Test {
protected:
    ClientsCommandTest() {
        std::filesystem::create_directories(home_.file("config/kvillo"));
        std::filesystem::create_directories(home_.file(".cursor"));
        std::filesystem::create_directories(home_.file("config/zed"));
        std::filesystem::create_directories(home_.file("config/Code/User"));
        writeFile(home_.file("config/zed/settings.json"),
                  "{\n  \"context_servers\": {\n    \"kvillo\": {\"url\": \"http://x\"}, // old\n"
                  "  },\n}\n");
        writeFile(vsCode(), kVsCode);
        language("en");
    }

    void language(const std::string& code) {
        writeFile(home_.file("config/kvillo/app.kvillo.shared.json"),
                  "{\"language\": \"" + code + "\"}");
    }
    std::map<std::string, std::string> environment() const {
        auto environment = testing::homeEnvironment(home_);
        environment["PATH"] = "/usr/bin:/bin";
        return environment;
    }
    testing::ProcessResult kvillo(const std::vector<std::string>& arguments) const {
        std::vector<std::string> command{KVILLO_BINARY};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return testing::runProcess(command, environment());
    }
    std::string vsCode() const { return home_.file("config/Code/User/mcp.json"); }

    static constexpr const char* kVsCode = "{\"servers\": []}\n";
    testing::TempFolder home_;
};

TEST_F(ClientsCommandTest, ListsEveryToolWithItsStateInTheInterfaceLanguage) {
    language("nb");
    auto result = kvillo({"clients"});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output,
              "claude-desktop  Claude Desktop  Ikke installert\n"
              "claude-code     Claude Code     Ikke installert\n"
              "cursor          Cursor          Ikke koblet til\n"
              "windsurf        Windsurf        Ikke installert\n"
              "continue        Continue        Ikke installert\n"
              "vscode          VS Code         Kvillo endrer ikke " +
                  vsCode() +
                  ", for «servers» er ikke et objekt.\n"
                  "zed             Zed             Koblet til\n");
    EXPECT_EQ(result.error, "");
}

TEST_F(ClientsCommandTest, ConnectWritesThePortTheRunningKvilloServesOn) {
    testing::ChildProcess running({KVILLO_BINARY, "--headless", "--port", "0"}, environment());
    std::string portFile = home_.file("data/Kvillo/instance.port");
    ASSERT_TRUE(testing::eventually([&] { return std::filesystem::exists(portFile); }, 10s))
        << running.standardError();
    std::string port = readFile(portFile);
    port.pop_back();

    auto result = kvillo({"connect", "cursor"});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output, "Cursor: Connected\nRestart Cursor for the change to take effect.\n");
    EXPECT_EQ(readFile(home_.file(".cursor/mcp.json")),
              "{\n  \"mcpServers\": {\n    \"kvillo\": {\n      \"url\": \"http://localhost:" +
                  port + "/mcp\"\n    }\n  }\n}\n");

    running.signal(SIGTERM);
    ASSERT_EQ(running.wait(10s), 0);
    result = kvillo({"connect", "zed"});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_NE(
        readFile(home_.file("config/zed/settings.json"))
            .find("\"kvillo\": {\n      \"url\": \"http://localhost:7384/mcp\"\n    }, // old"),
        std::string::npos);
}

TEST_F(ClientsCommandTest, FailuresSayWhatToPasteAndBadNamesExitTwo) {
    auto result = kvillo({"connect", "all"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output,
              "Claude Desktop: Not installed\nClaude Code: Not installed\nCursor: Connected\n"
              "Windsurf: Not installed\nContinue: Not installed\nZed: Connected\n"
              "Restart Cursor, Zed for the change to take effect.\n");
    EXPECT_EQ(result.error, "kvillo: VS Code: Kvillo leaves " + vsCode() +
                                " alone: “servers” is not an object.\n"
                                "Add this yourself under “servers”:\n"
                                "\"kvillo\": {\n  \"type\": \"http\",\n"
                                "  \"url\": \"http://localhost:7384/mcp\"\n}\n");
    EXPECT_EQ(readFile(vsCode()), kVsCode);

    result = kvillo({"disconnect", "all"});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output,
              "Claude Desktop: Not installed\nClaude Code: Not installed\nCursor: Not connected\n"
              "Windsurf: Not installed\nContinue: Not installed\n"
              "VS Code: Kvillo leaves " +
                  vsCode() +
                  " alone: “servers” is not an object.\nZed: Not connected\n"
                  "Restart Cursor, Zed for the change to take effect.\n");

    for (auto arguments : std::vector<std::vector<std::string>>{{"connect", "emacs"},
                                                                {"disconnect"},
                                                                {"connect", "zed", "cursor"},
                                                                {"clients", "x"}}) {
        SCOPED_TRACE(arguments[0]);
        result = kvillo(arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.output, "");
        EXPECT_NE(result.error.find("Usage: kvillo"), std::string::npos);
    }
    EXPECT_EQ(kvillo({"connect", "emacs"})
                  .error.rfind("kvillo: unknown AI tool: emacs (use "
                               "claude-desktop, claude-code, cursor, ",
                               0),
              0u);
}

}  // namespace
}  // namespace kvillo
