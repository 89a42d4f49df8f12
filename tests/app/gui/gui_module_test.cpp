#include <dlfcn.h>
#include <gtest/gtest.h>

#include <QFontDatabase>
#include <QGuiApplication>

#include <cstdlib>

#include "app/gui_module_loader.h"
#include "core/time/calendar.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

TEST(GuiModule, TheGuiSideSharesTheCoreOfTheProgram) {
    void* probe = ::dlopen(KVILLO_ZONE_PROBE_MODULE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_TRUE(probe) << ::dlerror();
    using Generation = unsigned (*)();
    auto seenByGui = reinterpret_cast<Generation>(::dlsym(probe, "kvilloProbeZoneGeneration"));
    ASSERT_TRUE(seenByGui);
    for (const char* zone : {"America/Santiago", "Asia/Tokyo"}) {
        testing::ScopedTimeZone changed(zone);  // reloads the zone on the core side
        EXPECT_EQ(seenByGui(), calendar::zoneGeneration());
    }
    EXPECT_GE(calendar::zoneGeneration(), 2u);
}

TEST(GuiModule, MakesATrayApplicationWithTheBrandFont) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    EXPECT_EQ(std::get<std::string>(loadGuiModule({"/nonexistent/libkvillo_gui.so"})),
              "the tray module is missing (looked for /nonexistent/libkvillo_gui.so)");
    auto loaded = loadGuiModule({"/nonexistent/libkvillo_gui.so", KVILLO_GUI_MODULE});
    ASSERT_TRUE(std::holds_alternative<GuiModule*>(loaded)) << std::get<std::string>(loaded);

    int argc = 1;
    char name[] = "gui_tests";
    char* argv[] = {name, nullptr};
    auto application = std::get<GuiModule*>(loaded)->makeApplication(argc, argv);
    ASSERT_TRUE(qobject_cast<QGuiApplication*>(application.get()));
    EXPECT_FALSE(QGuiApplication::quitOnLastWindowClosed());
    auto styles = QFontDatabase::styles(QStringLiteral("Archivo"));
    EXPECT_GE(styles.size(), 5) << styles.join(", ").toStdString();
}

}  // namespace
}  // namespace kvillo
