#include "core/environment/locale_environment.h"

#include <cstdlib>
#include <string_view>

namespace kvillo::localeEnvironment {

std::optional<std::string> messagesLocale() {
    // POSIX precedence: only the first that is set counts.
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (const char* value = std::getenv(variable); value && *value) {
            return value;
        }
    }
    return std::nullopt;
}

std::vector<std::string> preferredLanguages() {
    std::vector<std::string> preferred;
    if (const char* list = std::getenv("LANGUAGE")) {
        std::string_view rest = list;
        while (!rest.empty()) {
            size_t colon = rest.find(':');
            if (std::string_view tag = rest.substr(0, colon); !tag.empty()) {
                preferred.emplace_back(tag);
            }
            rest = colon == std::string_view::npos ? std::string_view() : rest.substr(colon + 1);
        }
    }
    if (auto locale = messagesLocale()) {
        preferred.push_back(std::move(*locale));
    }
    return preferred;
}

}  // namespace kvillo::localeEnvironment
