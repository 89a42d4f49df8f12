#pragma once

#include <QString>

#include <optional>
#include <string>
#include <vector>

#include "core/localisation/l10n.h"

namespace kvillo {

// A translated text as Qt holds it.
inline QString uiText(Language language, L10n::Key key,
                      const std::vector<L10n::Argument>& arguments = {}) {
    return QString::fromStdString(L10n::string(language, key, arguments));
}

inline QString qtText(const std::optional<std::string>& text) {
    return text ? QString::fromStdString(*text) : QString();
}

}  // namespace kvillo
