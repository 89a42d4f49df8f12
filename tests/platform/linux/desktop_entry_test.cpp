#include <gtest/gtest.h>

#include "platform/linux/desktop_entry.h"

namespace kvillo {
namespace {

constexpr const char* kEntry =
    "# A comment\n"
    "Stray=before any group\n"
    "[Desktop Entry]\n"
    "Type=Application\n"
    "Name=Files\n"
    "Name[nb]=Filer\n"
    "Name[fr_FR]=Fichiers (France)\n"
    "Name[sr@latin]=Datoteke\n"
    "Name = Duplicate ignored\n"
    "Keywords=folder;manager;explore;disk;filesystem,with,commas;\n"
    "Comment=Line one\\nline two\\sand\\ta \\\\ backslash\n"
    "Hidden=true\n"
    "NoDisplay=True\n"
    "not a key value line\n"
    "[Desktop Action new-window]\n"
    "Name=New Window\n";

TEST(DesktopEntry, ReadsGroupsEscapesAndCommasInValues) {
    auto entry = DesktopEntry::parse(kEntry);
    EXPECT_EQ(entry.value("Name"), "Files");
    EXPECT_EQ(entry.value("Keywords"), "folder;manager;explore;disk;filesystem,with,commas;");
    EXPECT_EQ(entry.value("Comment"), "Line one\nline two and\ta \\ backslash");
    EXPECT_EQ(entry.value("Name", "Desktop Action new-window"), "New Window");
    EXPECT_FALSE(entry.value("Stray"));
    EXPECT_FALSE(entry.value("Missing"));
    EXPECT_TRUE(entry.boolean("Hidden"));
    EXPECT_FALSE(entry.boolean("NoDisplay"));  // only the exact text "true"
}

TEST(DesktopEntry, LocalisedValuesFallBackFromCountryToLanguageToPlain) {
    auto entry = DesktopEntry::parse(kEntry);
    struct Row {
        const char* locale;
        const char* expected;
    };
    const Row rows[] = {
        {"nb_NO.UTF-8", "Filer"},
        {"nb", "Filer"},
        {"fr_FR.UTF-8", "Fichiers (France)"},
        {"fr_CA", "Files"},
        {"sr_RS.UTF-8@latin", "Datoteke"},
        {"C", "Files"},
        {"", "Files"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.locale);
        EXPECT_EQ(entry.localizedValue("Name", row.locale), row.expected);
    }
}

TEST(DesktopExecArgument, QuotesWhatTheDesktopWouldSplitOrExpand) {
    EXPECT_EQ(desktopExecArgument("/usr/bin/kvillo"), "/usr/bin/kvillo");
    EXPECT_EQ(desktopExecArgument("/home/kari/My Apps/kvillo"), "\"/home/kari/My Apps/kvillo\"");
    EXPECT_EQ(desktopExecArgument("/opt/$x/kvillo"), "\"/opt/\\\\$x/kvillo\"");
    EXPECT_EQ(desktopExecArgument("/opt/100%/kvillo"), "/opt/100%%/kvillo");
}

}  // namespace
}  // namespace kvillo
