#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/linux/wayland/gnome_extension_focus.h"

namespace kvillo {
namespace {

TEST(GnomeExtensionFocus, ShellReportsMapToFocusedWindows) {
    struct Row {
        const char* name;
        std::string appID, wmClass, title;
        unsigned processID;
        std::optional<FocusedWindow> expected;
    };
    const std::vector<Row> rows = {
        {"desktop id loses its suffix", "org.gnome.Nautilus.desktop", "org.gnome.Nautilus", "Home",
         812, FocusedWindow{"org.gnome.Nautilus", "org.gnome.Nautilus", "Home", 812}},
        {"only the final suffix goes", "a.desktop.desktop", "A", "t", 1,
         FocusedWindow{"a.desktop", "A", "t", 1}},
        {"no .desktop file: class only", "", "org.kvillo.NoFile", "Other", 3180,
         FocusedWindow{"", "org.kvillo.NoFile", "Other", 3180}},
        {"the Shell's made-up app is no id", "window:12", "xterm", "bash", 7,
         FocusedWindow{"", "xterm", "bash", 7}},
        {"id without a class", "org.kvillo.A.desktop", "", "", 0,
         FocusedWindow{"org.kvillo.A", "", "", 0}},
        {"unknown process", "x.desktop", "X", "t", 0, FocusedWindow{"x", "X", "t", 0}},
        {"process beyond int", "x.desktop", "X", "t", 4294967295u, FocusedWindow{"x", "X", "t", 0}},
        {"no window", "", "", "", 0, std::nullopt},
        {"a title alone is no window", "", "", "Stray", 5, std::nullopt},
        {"a made-up app alone is no window", "window:3", "", "t", 5, std::nullopt},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(focusedWindowFromShell(row.appID, row.wmClass, row.title, row.processID),
                  row.expected);
    }
}

}  // namespace
}  // namespace kvillo
