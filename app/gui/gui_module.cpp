// The entry point of libkvillo_gui.so: everything that needs Qt's GUI
// libraries is reached from here.
#include <QApplication>

#include "app/front_end.h"
#include "app/gui/brand_font.h"
#include "app/gui/desktop_front_end.h"

namespace kvillo {
namespace {

class DesktopGuiModule final : public GuiModule {
public:
    std::unique_ptr<QCoreApplication> makeApplication(int& argc, char** argv) override {
        auto application = std::make_unique<QApplication>(argc, argv);
        // The tray program keeps running with no window open.
        application->setQuitOnLastWindowClosed(false);
        BrandFont::registerFonts();
        return application;
    }

    std::unique_ptr<FrontEnd> makeFrontEnd(const LiveObjects& objects) override {
        return std::make_unique<DesktopFrontEnd>(objects);
    }
};

}  // namespace
}  // namespace kvillo

extern "C" __attribute__((visibility("default"))) kvillo::GuiModule& kvilloGuiModule() {
    static kvillo::DesktopGuiModule module;
    return module;
}
