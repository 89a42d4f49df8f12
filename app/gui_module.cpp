#include "app/gui_module.h"

#include <dlfcn.h>

#include <filesystem>

#include "app/gui_application.h"

namespace kvillo {

std::variant<std::unique_ptr<QCoreApplication>, std::string> makeGuiApplication(int& argc,
                                                                                char** argv) {
    std::error_code error;
    auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    std::string path = (folder / kGuiModuleName).string();
    // The module stays loaded for the life of the process.
    void* module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module) {
        return std::string("cannot load the tray module: ") + ::dlerror();
    }
    using Make = QCoreApplication* (*)(int&, char**);
    auto make = reinterpret_cast<Make>(::dlsym(module, kMakeGuiApplicationSymbol));
    if (!make) {
        return std::string("the tray module ") + path + " lacks " + kMakeGuiApplicationSymbol;
    }
    return std::unique_ptr<QCoreApplication>(make(argc, argv));
}

}  // namespace kvillo
