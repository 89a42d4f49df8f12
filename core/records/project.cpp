#include "core/records/project.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace kvillo {
namespace {

// Trims whole code points; invalid UTF-8 bytes are kept as they are.
std::string_view trimmed(std::string_view text) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    int32_t length = static_cast<int32_t>(text.size());
    int32_t start = 0;
    while (start < length) {
        int32_t next = start;
        UChar32 c;
        U8_NEXT(bytes, next, length, c);
        if (c < 0 || !u_isUWhiteSpace(c)) {
            break;
        }
        start = next;
    }
    int32_t end = length;
    while (end > start) {
        int32_t previous = end;
        UChar32 c;
        U8_PREV(bytes, start, previous, c);
        if (c < 0 || !u_isUWhiteSpace(c)) {
            break;
        }
        end = previous;
    }
    return text.substr(start, end - start);
}

}  // namespace

std::vector<std::string> Project::parseKeywords(std::string_view text) {
    std::vector<std::string> keywords;
    size_t pieceStart = 0;
    while (pieceStart <= text.size()) {
        size_t comma = text.find(',', pieceStart);
        size_t pieceEnd = comma == std::string_view::npos ? text.size() : comma;
        std::string_view piece = trimmed(text.substr(pieceStart, pieceEnd - pieceStart));
        if (!piece.empty()) {
            keywords.emplace_back(piece);
        }
        if (comma == std::string_view::npos) {
            break;
        }
        pieceStart = comma + 1;
    }
    return keywords;
}

std::string Project::joinKeywords(const std::vector<std::string>& keywords) {
    std::string joined;
    for (size_t i = 0; i < keywords.size(); ++i) {
        if (i > 0) {
            joined += ',';
        }
        joined += keywords[i];
    }
    return joined;
}

}  // namespace kvillo
