#include <gtest/gtest.h>

#include "platform/linux/app_paths.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using testing::ScopedEnv;

TEST(AppPaths, FollowTheXdgVariables) {
    ScopedEnv data("XDG_DATA_HOME", "/srv/data");
    ScopedEnv config("XDG_CONFIG_HOME", "/srv/config");
    auto paths = AppPaths::fromEnvironment();
    EXPECT_EQ(paths.dataFolder, "/srv/data/Kvillo");
    EXPECT_EQ(paths.databaseFile, "/srv/data/Kvillo/activities.db");
    EXPECT_EQ(paths.settingsFile, "/srv/config/kvillo/app.kvillo.shared.json");
    EXPECT_EQ(paths.autostartFile, "/srv/config/autostart/kvillo.desktop");
}

TEST(AppPaths, FallBackToHomeWhenUnsetEmptyOrRelative) {
    ScopedEnv home("HOME", "/home/kari");
    for (const char* value : {"", "relative/path"}) {
        SCOPED_TRACE(value);
        ScopedEnv data("XDG_DATA_HOME", value);
        ScopedEnv config("XDG_CONFIG_HOME", value);
        auto paths = AppPaths::fromEnvironment();
        EXPECT_EQ(paths.databaseFile, "/home/kari/.local/share/Kvillo/activities.db");
        EXPECT_EQ(paths.settingsFile, "/home/kari/.config/kvillo/app.kvillo.shared.json");
    }
}

}  // namespace
}  // namespace kvillo
