#include "core/text/trim.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace kvillo {

std::string_view trim(std::string_view utf8) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(utf8.data());
    auto length = static_cast<int32_t>(utf8.size());
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
    return utf8.substr(start, end - start);
}

}  // namespace kvillo
