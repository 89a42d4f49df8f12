#pragma once

#include <string_view>

namespace kvillo {

// The text without the Unicode white space (ICU's White_Space property:
// blanks, line breaks, U+00A0, U+3000, ...) at either end. Every text a user
// or an assistant types is trimmed with this before it is judged or stored.
// Invalid UTF-8 is not white space and stays. Pure.
std::string_view trim(std::string_view utf8);

}  // namespace kvillo
