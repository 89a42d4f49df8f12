#pragma once

#include <string>
#include <variant>
#include <vector>

#include "app/front_end.h"

namespace kvillo {

// The file name of the graphical module, and the one symbol it exports:
// extern "C" GuiModule& kvilloGuiModule().
inline constexpr const char* kGuiModuleFileName = "libkvillo_gui.so";
inline constexpr const char* kGuiModuleSymbol = "kvilloGuiModule";

// Where the module is looked for, in order: the private library folder of
// an installed Kvillo (found from the running executable's folder by a path
// fixed when building, such as ../lib/x86_64-linux-gnu/kvillo), then the
// executable's own folder, where the build tree keeps it.
std::vector<std::string> guiModuleCandidates();

// Loads the first of `candidates` that exists (once; it is never
// unloaded) and gives its entry point, or why it could not be loaded.
// Main thread only.
std::variant<GuiModule*, std::string> loadGuiModule(
    const std::vector<std::string>& candidates = guiModuleCandidates());

}  // namespace kvillo
