#include <dlfcn.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QWidget>

#include <cstdlib>
#include <string>
#include <vector>

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

// Without a session bus no desktop notification can ask: the module's own
// window does, and its answer comes back.
TEST(GuiModule, QuestionsFallBackToAWindowOfOurOwn) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    testing::ScopedEnv noBus("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    auto loaded = loadGuiModule({KVILLO_GUI_MODULE});
    ASSERT_TRUE(std::holds_alternative<GuiModule*>(loaded)) << std::get<std::string>(loaded);
    int argc = 1;
    char name[] = "gui_tests";
    char* argv[] = {name, nullptr};
    auto application = std::get<GuiModule*>(loaded)->makeApplication(argc, argv);
    auto questions = std::get<GuiModule*>(loaded)->makeNotificationCenter();
    std::vector<std::string> answers;
    questions->setAnswerHandler([&](const std::string& request, const std::string& action) {
        answers.push_back(request + " " + action);
    });

    questions->post({"r1", "Working on Beta?", "", {{"SWITCH", "Switch"}, {"KEEP", "Keep"}}});
    QWidget* window = nullptr;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->isVisible() && widget->windowTitle() == "Working on Beta?") {
            window = widget;
        }
    }
    ASSERT_TRUE(window);
    window->close();
    EXPECT_EQ(answers, std::vector<std::string>{"r1 dismiss"});
}

}  // namespace
}  // namespace kvillo
