#include "core/text/text_folding.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

namespace kvillo {
namespace {

// Folding and canonical decomposition of a single code point do not depend
// on its neighbours, so a text can be folded one code point at a time and
// the common ASCII case needs no ICU call at all.
void appendFolded(UChar32 c, std::string& out) {
    icu::UnicodeString text(c);
    text.foldCase(U_FOLD_CASE_DEFAULT);
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
    icu::UnicodeString decomposed = U_SUCCESS(status) ? nfd->normalize(text, status) : text;
    for (int32_t i = 0; i < decomposed.length();) {
        UChar32 part = decomposed.char32At(i);
        i += U16_LENGTH(part);
        if (u_charType(part) == U_NON_SPACING_MARK) {
            continue;
        }
        char bytes[U8_MAX_LENGTH];
        int32_t length = 0;
        U8_APPEND_UNSAFE(bytes, length, part);
        out.append(bytes, length);
    }
}

}  // namespace

std::string foldForMatching(std::string_view utf8) {
    std::string out;
    out.reserve(utf8.size());
    const auto* bytes = reinterpret_cast<const uint8_t*>(utf8.data());
    int32_t length = static_cast<int32_t>(utf8.size());
    for (int32_t i = 0; i < length;) {
        uint8_t byte = bytes[i];
        if (byte < 0x80) {
            out += static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte);
            ++i;
            continue;
        }
        UChar32 c;
        U8_NEXT(bytes, i, length, c);
        if (c < 0) {
            out += "\xEF\xBF\xBD";
            continue;
        }
        appendFolded(c, out);
    }
    return out;
}

}  // namespace kvillo
