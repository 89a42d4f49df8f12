#include "app/gui_application.h"

#include <QApplication>

#include "app/brand_font.h"

namespace kvillo {

extern "C" QCoreApplication* kvilloMakeGuiApplication(int& argc, char** argv) {
    auto* application = new QApplication(argc, argv);
    application->setQuitOnLastWindowClosed(false);
    BrandFont::registerFonts();
    return application;
}

}  // namespace kvillo
