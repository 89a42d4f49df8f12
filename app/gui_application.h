#pragma once

class QCoreApplication;

namespace kvillo {

// The graphical half of the program lives in a module of its own
// (libkvillo_gui.so beside the executable), so that `kvillo --headless`
// never loads Qt's GUI libraries and their dependencies, several megabytes
// of a process meant to sit in the background.

// Makes the QApplication for the tray (no window, not ending when the last
// window closes) and registers the brand font. `argc` must outlive it.
extern "C" QCoreApplication* kvilloMakeGuiApplication(int& argc, char** argv);

// The symbol main() looks up in the module.
inline constexpr const char* kMakeGuiApplicationSymbol = "kvilloMakeGuiApplication";
inline constexpr const char* kGuiModuleName = "libkvillo_gui.so";

}  // namespace kvillo
