#include "core/text/join.h"

namespace kvillo {

std::string join(std::span<const std::string> parts, std::string_view separator) {
    std::string text;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i > 0) {
            text += separator;
        }
        text += parts[i];
    }
    return text;
}

}  // namespace kvillo
