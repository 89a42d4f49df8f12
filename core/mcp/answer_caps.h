#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kvillo {

// The sizes the MCP endpoint holds its texts to, so that no caller can make
// it build, hold or send an answer big enough to stall every other client.
// Pure functions.
namespace AnswerCaps {

// Texts a tool stores or matches (a note, a project's name or keyword, a
// search): at most this many Unicode code points once trimmed.
inline constexpr size_t kMaxTextCodePoints = 1000;
inline constexpr std::string_view kTextTooLong = "Error: the text is longer than 1000 characters.";

// One tool answer or resource text: at most this many bytes of UTF-8.
inline constexpr size_t kMaxAnswerBytes = 4 * 1024 * 1024;
inline constexpr std::string_view kCutLine = "(Cut at 4 MB: ask for a shorter range.)";

// Code points in UTF-8 text (its bytes other than continuation bytes; what
// JSON reading lets through is valid UTF-8).
size_t codePoints(std::string_view utf8);

bool tooLong(std::string_view utf8);

// The text itself within kMaxAnswerBytes; else its leading whole lines that
// fit with a last line kCutLine, all within kMaxAnswerBytes. A first line
// longer than that is cut at a code point instead.
std::string capAnswer(std::string text);

}  // namespace AnswerCaps
}  // namespace kvillo
