#include "app/gui/desktop_front_end.h"

#include <QApplication>

namespace kvillo {

DesktopFrontEnd::DesktopFrontEnd(const LiveObjects& objects)
    : objects_(objects), model_(objects.model) {}

void DesktopFrontEnd::show() {}

void DesktopFrontEnd::shutdown() {
    // Windows close before the objects they show stop.
    QApplication::closeAllWindows();
}

}  // namespace kvillo
