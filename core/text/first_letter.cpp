#include "core/text/first_letter.h"

#include <unicode/unistr.h>

namespace kvillo {

std::string withCapitalFirstLetter(std::string_view utf8) {
    auto text = icu::UnicodeString::fromUTF8(icu::StringPiece(utf8.data(), utf8.size()));
    if (text.isEmpty()) {
        return {};
    }
    int32_t firstLength = U16_LENGTH(text.char32At(0));
    icu::UnicodeString first(text, 0, firstLength);
    first.toUpper();
    std::string out;
    first.append(text, firstLength, text.length() - firstLength).toUTF8String(out);
    return out;
}

}  // namespace kvillo
