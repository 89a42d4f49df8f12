#include "app/app_delegate.h"

#include <filesystem>

#include "app/brand_font.h"
#include "platform/linux/user_account.h"

namespace kvillo {

AppDelegate::AppDelegate(RunProgram options)
    : options_(options), paths_(AppPaths::fromEnvironment()) {}

AppDelegate::~AppDelegate() = default;

std::optional<std::string> AppDelegate::launch() {
    if (!options_.headless) {
        BrandFont::registerFonts();
    }

    // An existing folder is fine, and any other failure shows up as the
    // database failing to open, which is reported with its path.
    std::error_code ignored;
    std::filesystem::create_directories(paths_.dataFolder, ignored);

    try {
        database_ = std::make_unique<Database>(paths_.databaseFile);
    } catch (const DatabaseError& error) {
        return "kvillo: cannot open the database " + paths_.databaseFile + ": " +
               error.message();
    }

    features_ = std::make_unique<Features>(paths_.settingsFile, fullUserName);
    return std::nullopt;
}

void AppDelegate::shutdown() {}

}  // namespace kvillo
