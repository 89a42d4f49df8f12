#pragma once

#include <QApplication>

#include <cstdlib>

namespace kvillo::testing {

// The offscreen QApplication the GUI tests draw on, made on first use and
// kept for the rest of the binary. Gives whether this call made it.
inline bool ensureOffscreenApplication() {
    if (QApplication::instance()) {
        return false;
    }
    // Offscreen unless told otherwise (the screenshots are made on Xvfb).
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    static int argc = 1;
    static char name[] = "gui_tests";
    static char* argv[] = {name, nullptr};
    new QApplication(argc, argv);  // lives as long as the binary
    QApplication::setQuitOnLastWindowClosed(false);
    return true;
}

}  // namespace kvillo::testing
