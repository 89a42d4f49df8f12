#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>

#include "core/integrations/claude_code_hook.h"
#include "core/integrations/jsonc_document.h"
#include "core/integrations/mcp_installer.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

namespace fs = std::filesystem;
using testing::readFile;
using testing::writeFile;

constexpr const char* kUrl = "http://localhost:7384/mcp";

// The clients with a JSON file, where it is below the home folder, the
// member holding the servers and the entry each expects.
struct JsonClient {
    McpClient client;
    const char* file;
    const char* servers;
    const char* entry;
};
const JsonClient kJsonClients[] = {
    {McpClient::claudeDesktop, "config/Claude/claude_desktop_config.json", "mcpServers",
     R"({"command": "/opt/kvillo/kvillo-mcp", "args": []})"},
    {McpClient::claudeCode, ".claude.json", "mcpServers",
     R"({"type": "http", "url": "http://localhost:7384/mcp"})"},
    {McpClient::cursor, ".cursor/mcp.json", "mcpServers",
     R"({"url": "http://localhost:7384/mcp"})"},
    {McpClient::windsurf, ".codeium/windsurf/mcp_config.json", "mcpServers",
     R"({"serverUrl": "http://localhost:7384/mcp"})"},
    {McpClient::vsCode, "config/Code/User/mcp.json", "servers",
     R"({"type": "http", "url": "http://localhost:7384/mcp"})"},
    {McpClient::zed, "config/zed/settings.json", "context_servers",
     R"({"url": "http://localhost:7384/mcp"})"},
};

nlohmann::json parsed(const std::string& text) {
    return nlohmann::json::parse(text, nullptr, false, true);
}

mode_t modeOf(const std::string& path) {
    struct stat info {};
    ::stat(path.c_str(), &info);
    return info.st_mode & 07777;
}

// Whether `after` is `before` with one run of bytes put in.
bool isInsertionInto(const std::string& before, const std::string& after) {
    if (after.size() <= before.size()) {
        return false;
    }
    std::size_t prefix = 0;
    while (prefix < before.size() && before[prefix] == after[prefix]) {
        ++prefix;
    }
    std::size_t suffix = 0;
    while (suffix < before.size() - prefix &&
           before[before.size() - 1 - suffix] == after[after.size() - 1 - suffix]) {
        ++suffix;
    }
    return prefix + suffix == before.size();
}

class McpInstallerTest : public ::testing::Test {
protected:
    std::string path(const JsonClient& row) const { return home_.file(row.file); }
    std::string backup(const std::string& file) const { return file + kBackupSuffix; }

    // A file of the user's own: comments, trailing commas and another server.
    std::string handWritten(const JsonClient& row) {
        std::string text = std::string("// mine\n{\n  \"theme\": \"dark\", /* kept */\n  \"") +
                           row.servers +
                           "\": {\n    \"other\": {\"command\": \"x\"}, // another\n  },\n"
                           "  \"zz\": [1, 2,],\n}\n";
        fs::create_directories(fs::path(path(row)).parent_path());
        writeFile(path(row), text);
        return text;
    }

    // A stub `claude` that notes its arguments, and fails while "claude-fails" exists.
    void putClaudeOnPath() {
        fs::create_directories(home_.file("bin"));
        writeFile(home_.file("bin/claude"),
                  "#!/bin/sh\necho \"$*\" >> \"$HOME/claude-calls\"\n"
                  "if [ -e \"$HOME/claude-fails\" ]; then echo 'kvillo already exists' >&2; "
                  "exit 1; fi\n");
        fs::permissions(home_.file("bin/claude"), fs::perms(0755));
    }
    std::string claudeCalls() const {
        return fs::exists(home_.file("claude-calls")) ? readFile(home_.file("claude-calls")) : "";
    }

    testing::TempFolder home_;
    testing::ScopedEnv homeEnv_{"HOME", home_.path()};
    testing::ScopedEnv configEnv_{"XDG_CONFIG_HOME", home_.file("config")};
    testing::ScopedEnv pathEnv_{"PATH", home_.file("bin")};  // no `claude` unless put there
    McpInstaller installer_{kUrl, StdioCommand{"/opt/kvillo/kvillo-mcp", {}}};
};

TEST_F(McpInstallerTest, InstallsOnceIntoAFreshFileAndUninstalls) {
    for (const auto& row : kJsonClients) {
        SCOPED_TRACE(McpClients::displayName(row.client));
        EXPECT_EQ(installer_.state(row.client).status, McpClientStatus::notInstalled);
        installer_.install(row.client);
        std::string written = readFile(path(row));
        EXPECT_EQ(parsed(written), parsed(std::string("{\"") + row.servers +
                                          "\": {\"kvillo\": " + row.entry + "}}"));
        EXPECT_EQ(modeOf(path(row)), 0600u);
        EXPECT_EQ(installer_.state(row.client).status, McpClientStatus::connected);

        installer_.install(row.client);
        EXPECT_EQ(readFile(path(row)), written);

        installer_.uninstall(row.client);
        EXPECT_EQ(parsed(readFile(path(row))),
                  parsed(std::string("{\"") + row.servers + "\": {}}"));
        EXPECT_FALSE(installer_.isInstalled(row.client));
        EXPECT_EQ(installer_.state(row.client).status, McpClientStatus::notConnected);
        EXPECT_FALSE(fs::exists(backup(path(row))));  // Kvillo's own file
    }
}

TEST_F(McpInstallerTest, AHandWrittenFileKeepsEveryOtherByteAndABackup) {
    for (const auto& row : kJsonClients) {
        SCOPED_TRACE(McpClients::displayName(row.client));
        std::string original = handWritten(row);
        ::chmod(path(row).c_str(), 0640);

        installer_.install(row.client);
        std::string installed = readFile(path(row));
        EXPECT_TRUE(isInsertionInto(original, installed)) << installed;
        auto document = JsoncDocument::scan(installed);
        ASSERT_TRUE(document);
        const auto* servers = document->member(document->root(), row.servers);
        ASSERT_TRUE(servers);
        const auto* entry = document->member(*servers, "kvillo");
        ASSERT_TRUE(entry);
        EXPECT_EQ(parsed(installed.substr(entry->begin, entry->end - entry->begin)),
                  parsed(row.entry));
        EXPECT_EQ(modeOf(path(row)), 0640u);
        EXPECT_EQ(readFile(backup(path(row))), original);

        installer_.install(row.client);
        EXPECT_EQ(readFile(path(row)), installed);
        installer_.uninstall(row.client);
        EXPECT_EQ(readFile(path(row)), original);
        EXPECT_EQ(readFile(backup(path(row))), original);
    }
}

TEST_F(McpInstallerTest, FilesThatAreNotAsExpectedAreRefusedAndLeftAlone) {
    struct Case {
        const char* name;
        std::string (*text)(const JsonClient&);
        const char* member;  // the member the error names
    };
    const Case cases[] = {
        {"not an object", [](const JsonClient&) { return std::string("[1, 2]\n"); }, ""},
        {"not JSON", [](const JsonClient&) { return std::string("{\"a\": }"); }, ""},
        {"servers an array",
         [](const JsonClient& row) { return std::string("{\"") + row.servers + "\": [1]}"; },
         "servers"},
        {"servers twice",
         [](const JsonClient& row) {
             return std::string("{\"") + row.servers + "\": {}, \"" + row.servers + "\": {}}";
         },
         "servers"},
    };
    for (const auto& row : kJsonClients) {
        for (const auto& c : cases) {
            SCOPED_TRACE(std::string(McpClients::displayName(row.client)) + ", " + c.name);
            std::string text = c.text(row);
            fs::create_directories(fs::path(path(row)).parent_path());
            writeFile(path(row), text);
            try {
                installer_.install(row.client);
                ADD_FAILURE() << "installed";
            } catch (const McpInstallError& error) {
                EXPECT_EQ(error.member(), std::string(c.member) == "servers" ? row.servers : "");
                EXPECT_NE(std::string(error.what()).find("\"kvillo\": {"), std::string::npos)
                    << error.what();
            }
            EXPECT_EQ(installer_.state(row.client).status, McpClientStatus::unusable);
            EXPECT_NO_THROW(installer_.uninstall(row.client));
            EXPECT_EQ(readFile(path(row)), text);
            EXPECT_FALSE(fs::exists(backup(path(row))));
        }
    }
}

TEST_F(McpInstallerTest, AFolderOnlyReadableForTheUserLosesNothing) {
    const JsonClient& cursor = kJsonClients[2];
    std::string original = handWritten(cursor);
    std::string folder = fs::path(path(cursor)).parent_path();
    ::chmod(home_.path().c_str(), 0755);
    ::chmod(folder.c_str(), 0555);
    auto seen = testing::runAsAnotherUser([&] {
        try {
            installer_.install(McpClient::cursor);
            return std::string("installed");
        } catch (const McpInstallError& error) {
            return std::string(error.kind() == McpInstallError::Kind::unwritable ? "unwritable: "
                                                                                 : "other: ") +
                   error.what();
        }
    });
    ::chmod(folder.c_str(), 0755);
    ASSERT_TRUE(seen);
    EXPECT_TRUE(seen->starts_with("unwritable: ")) << *seen;
    EXPECT_NE(seen->find("Permission denied"), std::string::npos) << *seen;
    EXPECT_EQ(readFile(path(cursor)), original);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
}

TEST_F(McpInstallerTest, ContinueGetsAFileOfItsOwn) {
    const std::string file = home_.file(".continue/mcpServers/kvillo.yaml");
    EXPECT_EQ(installer_.state(McpClient::continueApp).status, McpClientStatus::notInstalled);
    installer_.install(McpClient::continueApp);
    EXPECT_EQ(readFile(file), installer_.continueBlock());
    EXPECT_NE(readFile(file).find("\n    url: \"http://localhost:7384/mcp\"\n"), std::string::npos);
    EXPECT_TRUE(installer_.isInstalled(McpClient::continueApp));
    installer_.uninstall(McpClient::continueApp);
    EXPECT_FALSE(fs::exists(file));
    EXPECT_FALSE(fs::exists(backup(file)));

    // One the user wrote under that name is kept aside before it is replaced.
    writeFile(file, "name: mine\n");
    installer_.install(McpClient::continueApp);
    installer_.uninstall(McpClient::continueApp);
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(readFile(backup(file)), "name: mine\n");
}

TEST_F(McpInstallerTest, ClaudeCodeGoesThroughItsOwnCommandWhenOnThePath) {
    putClaudeOnPath();
    const std::string settings = home_.file(".claude/settings.json");
    installer_.install(McpClient::claudeCode);
    EXPECT_EQ(claudeCalls(),
              "mcp add --scope user --transport http kvillo " + std::string(kUrl) + "\n");
    EXPECT_FALSE(fs::exists(home_.file(".claude.json")));
    EXPECT_TRUE(ClaudeCodeHook::isIn(readFile(settings), installer_.hookCommandLine()));

    // What `claude mcp add` would have written: nothing left to run.
    writeFile(home_.file(".claude.json"),
              std::string(R"({"mcpServers": {"kvillo": )") + kJsonClients[1].entry + "}}");
    installer_.install(McpClient::claudeCode);
    installer_.uninstall(McpClient::claudeCode);
    EXPECT_EQ(claudeCalls(), "mcp add --scope user --transport http kvillo " + std::string(kUrl) +
                                 "\nmcp remove --scope user kvillo\n");
    EXPECT_FALSE(ClaudeCodeHook::isIn(readFile(settings), installer_.hookCommandLine()));

    // A failure is reported with what the command said, and the hook waits.
    fs::remove(home_.file(".claude.json"));
    fs::remove(settings);
    writeFile(home_.file("claude-fails"), "");
    try {
        installer_.install(McpClient::claudeCode);
        ADD_FAILURE() << "installed";
    } catch (const McpInstallError& error) {
        EXPECT_EQ(error.kind(), McpInstallError::Kind::commandFailed);
        EXPECT_STREQ(error.what(), "claude mcp add failed: kvillo already exists");
    }
    EXPECT_FALSE(fs::exists(settings));
}

TEST_F(McpInstallerTest, TheHookJoinsTheUsersHooksAndLeavesThemAlone) {
    const std::string settings = home_.file(".claude/settings.json");
    const std::string line = installer_.hookCommandLine();
    EXPECT_EQ(line, "/opt/kvillo/kvillo-mcp --hook");
    fs::create_directories(home_.file(".claude"));
    const std::string theirs =
        "{\n  // mine\n  \"hooks\": {\n    \"UserPromptSubmit\": [\n"
        "      {\"hooks\": [{\"type\": \"command\", \"command\": \"notify-send hi\"}]},\n"
        "      {\"hooks\": [{\"type\": \"command\", \"command\": \"/old/kvillo-mcp --hook\"},\n"
        "                 {\"type\": \"command\", \"command\": \"echo shared\"}]},\n"
        "    ],\n  },\n}\n";
    writeFile(settings, theirs);

    installer_.install(McpClient::claudeCode);  // the old place is pointed at this one
    std::string expected = theirs;
    expected.replace(expected.find("/old/kvillo-mcp --hook"), 22, line);
    EXPECT_EQ(readFile(settings), expected);

    installer_.uninstall(McpClient::claudeCode);
    const std::string oldHook = R"({"type": "command", "command": "/old/kvillo-mcp --hook"},)";
    std::string left = theirs;
    left.erase(left.find(oldHook), oldHook.size());
    EXPECT_EQ(readFile(settings), left);
    EXPECT_EQ(readFile(settings + kBackupSuffix), theirs);

    // A hook list of another shape: nothing is changed, neither file.
    writeFile(settings, R"({"hooks": {"UserPromptSubmit": {}}})");
    fs::remove(home_.file(".claude.json"));
    EXPECT_THROW(installer_.install(McpClient::claudeCode), McpInstallError);
    EXPECT_FALSE(fs::exists(home_.file(".claude.json")));
    EXPECT_EQ(readFile(settings), R"({"hooks": {"UserPromptSubmit": {}}})");
}

TEST(StdioCommand, TheBridgeBesideTheProgramTheInstalledOneOrTheAppImage) {
    testing::TempFolder folder;
    writeFile(folder.file("kvillo-mcp"), "");
    fs::permissions(folder.file("kvillo-mcp"), fs::perms(0755));
    EXPECT_EQ(StdioCommand::locate(folder.path(), "", "/usr/bin"),
              (StdioCommand{folder.file("kvillo-mcp"), {}}));
    EXPECT_EQ(StdioCommand::locate(folder.file("none"), "", "/usr/bin"),
              (StdioCommand{"/usr/bin/kvillo-mcp", {}}));
    StdioCommand appImage =
        StdioCommand::locate(folder.path(), "/home/kari/Kvillo x86.AppImage", "");
    EXPECT_EQ(appImage, (StdioCommand{"/home/kari/Kvillo x86.AppImage", {"mcp"}}));
    EXPECT_EQ(appImage.shellLine({"--hook"}), "'/home/kari/Kvillo x86.AppImage' mcp --hook");
    EXPECT_EQ((StdioCommand{"/it's/kvillo-mcp", {}}).shellLine(), R"('/it'\''s/kvillo-mcp')");
}

}  // namespace
}  // namespace kvillo
