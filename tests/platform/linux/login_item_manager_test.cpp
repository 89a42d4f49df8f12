#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>

#include "platform/linux/desktop_entry.h"
#include "platform/linux/login_item_manager.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using testing::TempFolder;

TEST(LoginItemManager, EnablingWritesAnAutostartEntryAndDisablingRemovesIt) {
    TempFolder folder;
    std::string file = folder.file("config/autostart/kvillo.desktop");
    LoginItemManager manager(file, "/opt/Kvillo Apps/kvillo");
    EXPECT_FALSE(manager.isEnabled());

    manager.setEnabled(true);
    EXPECT_TRUE(manager.isEnabled());
    auto entry = DesktopEntry::load(file);
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->value("Type"), "Application");
    EXPECT_EQ(entry->value("Exec"), "\"/opt/Kvillo Apps/kvillo\"");
    auto entries =
        std::distance(std::filesystem::directory_iterator(folder.file("config/autostart")),
                      std::filesystem::directory_iterator());
    EXPECT_EQ(entries, 1);  // no temporary file left behind

    auto written = std::filesystem::last_write_time(file);
    manager.setEnabled(true);  // already enabled: the file is left alone
    EXPECT_EQ(std::filesystem::last_write_time(file), written);

    manager.setEnabled(false);
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_NO_THROW(manager.setEnabled(false));
}

TEST(LoginItemManager, AHiddenEntryCountsAsDisabledAndIsRewrittenThroughItsLink) {
    TempFolder folder;
    std::string file = folder.file("kvillo.desktop");
    std::string target = folder.file("dotfiles.desktop");
    testing::writeFile(target, "[Desktop Entry]\nType=Application\nExec=kvillo\nHidden=true\n");
    std::filesystem::permissions(target, std::filesystem::perms(0600));
    std::filesystem::create_symlink(target, file);
    LoginItemManager manager(file, "/usr/bin/kvillo");
    EXPECT_FALSE(manager.isEnabled());
    manager.setEnabled(true);
    EXPECT_TRUE(manager.isEnabled());
    EXPECT_EQ(DesktopEntry::load(target)->value("Exec"), "/usr/bin/kvillo");
    EXPECT_TRUE(std::filesystem::is_symlink(file)) << "the user's link is kept";
    EXPECT_EQ(std::filesystem::status(target).permissions(), std::filesystem::perms(0600));
}

TEST(LoginItemManager, AnUnwritableFolderIsReportedToTheCaller) {
    TempFolder folder;
    testing::writeFile(folder.file("autostart"), "a file where the folder should be");
    LoginItemManager manager(folder.file("autostart/kvillo.desktop"), "/usr/bin/kvillo");
    EXPECT_THROW(manager.setEnabled(true), LoginItemError);
    EXPECT_FALSE(manager.isEnabled());
}

}  // namespace
}  // namespace kvillo
