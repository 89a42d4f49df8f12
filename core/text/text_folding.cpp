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
std::string foldedCodePoint(UChar32 c) {
    icu::UnicodeString text(c);
    text.foldCase(U_FOLD_CASE_DEFAULT);
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
    icu::UnicodeString decomposed = U_SUCCESS(status) ? nfd->normalize(text, status) : text;
    std::string out;
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
    return out;
}

}  // namespace

std::string foldForMatching(std::string_view utf8) {
    TextFolder folder;
    std::string out;
    folder.fold(utf8, out);
    return out;
}

std::string foldCase(std::string_view utf8) {
    auto text = icu::UnicodeString::fromUTF8(
        icu::StringPiece(utf8.data(), static_cast<int32_t>(utf8.size())));
    std::string out;
    text.foldCase(U_FOLD_CASE_DEFAULT).toUTF8String(out);
    return out;
}

void TextFolder::fold(std::string_view utf8, std::string& out) {
    out.clear();
    foldInto(utf8, [&out](unsigned char byte) { out += static_cast<char>(byte); });
}

const std::string& TextFolder::foldedCharacterAt(std::string_view utf8, size_t& i) {
    static const std::string kReplacement = "\xEF\xBF\xBD";
    const auto* bytes = reinterpret_cast<const uint8_t*>(utf8.data());
    auto index = static_cast<int32_t>(i);
    UChar32 c;
    U8_NEXT(bytes, index, static_cast<int32_t>(utf8.size()), c);
    i = static_cast<size_t>(index);
    if (c < 0) {
        return kReplacement;
    }
    auto found = folded_.find(static_cast<char32_t>(c));
    if (found == folded_.end()) {
        found = folded_.emplace(static_cast<char32_t>(c), foldedCodePoint(c)).first;
    }
    return found->second;
}

}  // namespace kvillo
