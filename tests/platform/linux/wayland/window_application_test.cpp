#include <gtest/gtest.h>

#include <filesystem>

#include "platform/linux/wayland/window_application.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

TEST(WindowApplication, NamesWindowsByTheirDesktopFilesAsTheDesktopsSendThem) {
    testing::TempFolder data;
    std::filesystem::create_directories(data.file("applications"));
    auto entry = [&](const std::string& id, const std::string& body) {
        testing::writeFile(data.file("applications/" + id + ".desktop"),
                           "[Desktop Entry]\nType=Application\nExec=x\n" + body);
    };
    entry("org.example.Editor", "Name=Editor\nName[nb]=Redigerer\n");
    entry("firefox-esr", "Name=Browser\nStartupWMClass=Firefox-esr\n");
    entry("gimp", "Name=Image Editor\n");
    testing::ScopedEnv home("XDG_DATA_HOME", data.path());
    testing::ScopedEnv dirs("XDG_DATA_DIRS", data.file("none"));
    DesktopFileIndex index("nb_NO.UTF-8");

    struct Row {
        const char* name;
        std::string appID, wmClass;
        std::optional<std::string> appName, bundleID;
    };
    const Row rows[] = {
        {"a reverse-DNS app id (GTK, Qt, GNOME)", "org.example.Editor", "", "Redigerer",
         "org.example.Editor"},
        {"a desktop file name as some Qt programs send it", "org.example.Editor.desktop", "",
         "Redigerer", "org.example.Editor"},
        {"an XWayland class matching StartupWMClass", "Firefox-esr", "", "Browser", "firefox-esr"},
        {"a class that is the lower-cased id", "", "GIMP", "Image Editor", "gimp"},
        {"an app id no file knows", "org.example.Unknown", "Unknown", "org.example.Unknown",
         std::nullopt},
        {"only a class", "", "Xterm", "Xterm", std::nullopt},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        FocusedWindow window;
        window.appID = row.appID;
        window.wmClass = row.wmClass;
        window.processID = 42;
        auto application = applicationOf(window, index);
        EXPECT_EQ(application.name, row.appName);
        EXPECT_EQ(application.bundleID, row.bundleID);
        EXPECT_EQ(application.processID, 42);
    }
}

}  // namespace
}  // namespace kvillo
