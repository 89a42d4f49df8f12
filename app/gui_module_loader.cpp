#include "app/gui_module_loader.h"

#include <dlfcn.h>

#include <filesystem>

namespace kvillo {

std::vector<std::string> guiModuleCandidates() {
    std::error_code error;
    std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe", error);
    folder = folder.parent_path();
    return {(folder / KVILLO_GUI_MODULE_DIR_FROM_BINARY / kGuiModuleFileName).lexically_normal(),
            folder / kGuiModuleFileName};
}

std::variant<GuiModule*, std::string> loadGuiModule(const std::vector<std::string>& candidates) {
    std::string tried;
    for (const auto& path : candidates) {
        if (!std::filesystem::exists(path)) {
            tried += (tried.empty() ? "" : ", ") + path;
            continue;
        }
        // RTLD_LOCAL: the module's own symbols stay its own; what it shares
        // with the executable comes from libkvillo.so, loaded once.
        void* module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!module) {
            return std::string("cannot load the tray module: ") + ::dlerror();
        }
        using Entry = GuiModule& (*)();
        auto entry = reinterpret_cast<Entry>(::dlsym(module, kGuiModuleSymbol));
        if (!entry) {
            return "the tray module " + path + " lacks " + kGuiModuleSymbol;
        }
        return &entry();
    }
    return "the tray module is missing (looked for " + tried + ")";
}

}  // namespace kvillo
