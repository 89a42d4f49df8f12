#include "core/localisation/l10n.h"

#include "core/settings/features.h"

namespace kvillo::L10n {
namespace {

std::string_view translated(Language language, const Translation& row) {
    switch (language) {
        case Language::nb:
            return row.key;
        case Language::en:
            return row.en;
        case Language::es:
            return row.es;
        case Language::fr:
            return row.fr;
    }
    return row.key;
}

// All four languages write integers with ASCII digits and, in these short
// texts, without grouping, so "%d" needs no locale beyond that.
std::string filled(std::string_view format, const std::vector<Argument>& arguments) {
    std::string out;
    out.reserve(format.size() + 16);
    size_t next = 0;
    for (size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%' || i + 1 == format.size()) {
            out += format[i];
            continue;
        }
        char kind = format[i + 1];
        if (kind == '%') {
            out += '%';
            ++i;
        } else if ((kind == '@' || kind == 'd') && next < arguments.size()) {
            const Argument& argument = arguments[next++];
            if (const auto* text = std::get_if<std::string>(&argument)) {
                out += *text;
            } else {
                out += std::to_string(std::get<std::int64_t>(argument));
            }
            ++i;
        } else {
            out += '%';
        }
    }
    return out;
}

}  // namespace

Language language(const Features& features) {
    if (auto chosen = features.language()) {
        return *chosen;
    }
    return Language::system();
}

std::string string(Language language, Key key, const std::vector<Argument>& arguments) {
    std::string_view text = translated(language, key.translation());
    if (arguments.empty()) {
        return std::string(text);
    }
    return filled(text, arguments);
}

std::string_view hourUnit(Language language) {
    return language == Language::nb ? "t" : "h";
}

}  // namespace kvillo::L10n
