#include "core/localisation/language.h"

#include "core/environment/locale_environment.h"

namespace kvillo {

std::optional<Language> Language::fromCode(std::string_view code) {
    for (Language language : allCases()) {
        if (language.code() == code) {
            return language;
        }
    }
    return std::nullopt;
}

std::string_view Language::code() const {
    switch (value_) {
        case nb:
            return "nb";
        case en:
            return "en";
        case es:
            return "es";
        case fr:
            return "fr";
    }
    return "nb";
}

std::string_view Language::name() const {
    switch (value_) {
        case nb:
            return "Norsk";
        case en:
            return "English";
        case es:
            return "Español";
        case fr:
            return "Français";
    }
    return "Norsk";
}

std::string_view Language::locale() const {
    switch (value_) {
        case nb:
            return "nb_NO";
        case en:
            return "en_GB";
        case es:
            return "es_ES";
        case fr:
            return "fr_FR";
    }
    return "nb_NO";
}

Language Language::fromPreferred(const std::vector<std::string>& preferred) {
    for (const auto& tag : preferred) {
        std::string_view prefix = std::string_view(tag).substr(0, 2);
        if (prefix == "nb" || prefix == "no" || prefix == "nn") {
            return nb;
        }
        if (auto language = fromCode(prefix); language && *language != nb) {
            return *language;
        }
    }
    return en;
}

Language Language::system() {
    return fromPreferred(localeEnvironment::preferredLanguages());
}

}  // namespace kvillo
