#include "core/integrations/installation.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "core/integrations/update_checker.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using testing::ScopedEnv;
using testing::TempFolder;
using Kind = Installation::Kind;

TEST(Installation, TheAppImageVariableThenDpkgsListOfOursDecide) {
    TempFolder dpkg;
    const std::string exe = "/usr/bin/kvillo";
    testing::writeFile(dpkg.file("other.list"), exe + "\n");
    struct Row {
        const char* name;
        const char* list;  // the file naming `exe`, if any
        const char* appImage;
        Installation expected;
    };
    const Row rows[] = {
        {"our list", "kvillo.list", nullptr, {Kind::debianPackage, {}}},
        {"our multi-arch list", "kvillo:amd64.list", nullptr, {Kind::debianPackage, {}}},
        {"another package's list", nullptr, nullptr, {Kind::tarball, {}}},
        {"an AppImage",
         nullptr,
         "/home/k/Kvillo.AppImage",
         {Kind::appImage, "/home/k/Kvillo.AppImage"}},
        {"a relative $APPIMAGE", nullptr, "Kvillo.AppImage", {Kind::tarball, {}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.list) {
            testing::writeFile(dpkg.file(row.list), "/.\n/usr/bin\n" + exe + "\n");
        }
        EXPECT_EQ(Installation::detect(exe, row.appImage, dpkg.path()), row.expected);
        if (row.list) {
            std::filesystem::remove(dpkg.file(row.list));
        }
    }
    // A list that names the folder, not the file, is no match.
    testing::writeFile(dpkg.file("kvillo.list"), "/usr/bin\n");
    EXPECT_EQ(Installation::detect(exe, nullptr, dpkg.path()).kind, Kind::tarball);
}

TEST(UpdateSource, TheEnvironmentOverridesTheBuiltBaseUrls) {
    const std::vector<std::string> built = {"https://a.example", ""};
    struct Row {
        const char* variable;  // null: unset
        std::vector<std::string> expected;
    };
    const Row rows[] = {
        {nullptr, {"https://a.example"}},
        {"https://127.0.0.1:8443, https://localhost:9/p,",
         {"https://127.0.0.1:8443", "https://localhost:9/p"}},
        {"", {}},
    };
    ScopedEnv cache("XDG_CACHE_HOME", "/tmp/cache");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.variable ? row.variable : "unset");
        std::optional<ScopedEnv> variable;
        if (row.variable) {
            variable.emplace("KVILLO_UPDATE_BASE_URLS", row.variable);
        }
        auto source = UpdateSource::fromEnvironment(built, "1.4.0");
        EXPECT_EQ(source.baseUrls, row.expected);
        EXPECT_EQ(source.downloadFolder, "/tmp/cache/Kvillo/Updates");
    }
    EXPECT_FALSE(UpdateSource::fromEnvironment(built, "").appVersion);
}

// A program started from another AppImage inherits its variables; only
// an image whose mount holds this executable is ours.
TEST(Installation, AnInheritedAppImageIsNotOurs) {
    const auto folder =
        std::filesystem::canonical("/proc/self/exe").parent_path().parent_path().string();
    ScopedEnv image("APPIMAGE", "/opt/Other.AppImage");
    {
        ScopedEnv mount("APPDIR", "/tmp/.mount_Other");
        EXPECT_EQ(Installation::appImageOfThisProcess(), nullptr);
    }
    ScopedEnv mount("APPDIR", folder);
    ASSERT_NE(Installation::appImageOfThisProcess(), nullptr);
    EXPECT_STREQ(Installation::appImageOfThisProcess(), "/opt/Other.AppImage");
}

}  // namespace
}  // namespace kvillo
