#include "core/mcp/answer_caps.h"

#include <algorithm>

#include "core/text/trim.h"

namespace kvillo::AnswerCaps {
namespace {

bool continuationByte(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

}  // namespace

size_t codePoints(std::string_view utf8) {
    return static_cast<size_t>(
        std::count_if(utf8.begin(), utf8.end(), [](char c) { return !continuationByte(c); }));
}

bool tooLong(std::string_view utf8) {
    // A long text has more bytes than code points, so most never get counted.
    std::string_view text = trim(utf8);
    return text.size() > kMaxTextCodePoints && codePoints(text) > kMaxTextCodePoints;
}

std::string capAnswer(std::string text) {
    if (text.size() <= kMaxAnswerBytes) {
        return text;
    }
    const size_t room = kMaxAnswerBytes - kCutLine.size() - 1;  // 1: the line break before it
    size_t end = text.rfind('\n', room);
    if (end == std::string::npos) {
        // One line fills the cap: no line boundary to keep, so end at a
        // code point rather than inside one.
        end = room;
        while (end > 0 && continuationByte(text[end])) {
            --end;
        }
    }
    text.resize(end);
    text += '\n';
    text += kCutLine;
    return text;
}

}  // namespace kvillo::AnswerCaps
