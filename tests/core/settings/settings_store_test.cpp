#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "core/settings/settings_store.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using testing::TempFolder;

// Temporary files left behind would show up here.
long entriesIn(const std::string& folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

TEST(SettingsStore, CorruptFileReadsEmptyAndIsKeptAsideBeforeTheNextWrite) {
    for (const char* bad : {"{\"idleMinutes\": 5", "[1, 2]", "\xff\xfe"}) {
        SCOPED_TRACE(bad);
        TempFolder folder;
        std::string file = folder.file("settings.json");
        testing::writeFile(file, bad);
        SettingsStore store(file);
        EXPECT_FALSE(store.value("idleMinutes"));
        EXPECT_EQ(testing::readFile(file), bad);  // reading alone moves nothing

        ASSERT_TRUE(store.set("language", "fr"));
        EXPECT_EQ(testing::readFile(file + ".corrupt"), bad);
        EXPECT_EQ(nlohmann::json::parse(testing::readFile(file)),
                  nlohmann::json::parse(R"({"language": "fr"})"));
    }
}

TEST(SettingsStore, WritesReplaceTheFileWholeAndLeaveNoTemporaries) {
    TempFolder folder;
    std::string file = folder.file("deep/er/settings.json");
    SettingsStore store(file);
    ASSERT_TRUE(store.set("a", 1));
    auto permissions = std::filesystem::status(file).permissions();
    ASSERT_TRUE(store.set("b", true));
    ASSERT_TRUE(store.remove("a"));
    ASSERT_TRUE(store.remove("never-there"));
    EXPECT_EQ(nlohmann::json::parse(testing::readFile(file)),
              nlohmann::json::parse(R"({"b":true})"));
    EXPECT_EQ(std::filesystem::status(file).permissions(), permissions);
    EXPECT_EQ(entriesIn(folder.file("deep/er")), 1);
}

TEST(SettingsStore, ALinkedFileKeepsItsLinkAndMode) {
    TempFolder folder;
    testing::writeFile(folder.file("dotfiles.json"), "{}");
    std::filesystem::permissions(folder.file("dotfiles.json"), std::filesystem::perms(0640));
    std::filesystem::create_symlink("dotfiles.json", folder.file("settings.json"));
    SettingsStore store(folder.file("settings.json"));
    ASSERT_TRUE(store.set("language", "fr"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("settings.json")));
    EXPECT_EQ(std::filesystem::status(folder.file("dotfiles.json")).permissions(),
              std::filesystem::perms(0640));
    EXPECT_EQ(SettingsStore(folder.file("dotfiles.json")).value("language"), "fr");
}

TEST(SettingsStore, UnwritableLocationFailsWithoutAFile) {
    TempFolder folder;
    testing::writeFile(folder.file("blocker"), "a file where a folder should be");
    SettingsStore blocked(folder.file("blocker/settings.json"));
    EXPECT_FALSE(blocked.set("a", 1));
    EXPECT_FALSE(blocked.value("a"));
}

TEST(SettingsStore, AWriteThatFailsHalfwayLeavesTheOldFileWhole) {
    TempFolder folder;
    std::string file = folder.file("settings.json");
    SettingsStore store(file);
    ASSERT_TRUE(store.set("language", "nb"));
    std::string before = testing::readFile(file);

    bool written = testing::withFileSizeLimit(
        16, [&] { return store.set("timesheetName", std::string(4096, 'x')); });

    EXPECT_FALSE(written);
    EXPECT_EQ(testing::readFile(file), before);
    EXPECT_EQ(store.value("language"), "nb");
    EXPECT_FALSE(store.value("timesheetName"));
    EXPECT_EQ(entriesIn(folder.path()), 1);
}

TEST(SettingsStore, TwoThreadsWritingDifferentKeysLoseNothing) {
    TempFolder folder;
    SettingsStore store(folder.file("settings.json"));
    SettingsStore reader(folder.file("settings.json"));
    constexpr int kWrites = 100;
    auto writer = [&](const std::string& prefix) {
        for (int i = 0; i < kWrites; ++i) {
            store.set(prefix + std::to_string(i), i);
            reader.value(prefix + "0");  // a reader in the middle never sees a torn file
        }
    };
    std::thread first(writer, "x");
    std::thread second(writer, "y");
    first.join();
    second.join();
    for (int i = 0; i < kWrites; ++i) {
        EXPECT_EQ(reader.value("x" + std::to_string(i)), i);
        EXPECT_EQ(reader.value("y" + std::to_string(i)), i);
    }
    EXPECT_FALSE(std::filesystem::exists(folder.file("settings.json.corrupt")));
}

}  // namespace
}  // namespace kvillo
