#include "app/gui/desktop_front_end.h"

#include <QApplication>

namespace kvillo {

DesktopFrontEnd::DesktopFrontEnd(const LiveObjects& objects)
    : objects_(objects), model_(objects.model), controller_(model_, objects.features) {}

void DesktopFrontEnd::show() {
    if (shown_) {
        controller_.present();
        return;
    }
    shown_ = true;
    controller_.start();
}

void DesktopFrontEnd::shutdown() {
    // Windows close before the objects they show stop.
    controller_.shutdown();
    QApplication::closeAllWindows();
}

}  // namespace kvillo
