#include "core/localisation/language.h"

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

}  // namespace kvillo
