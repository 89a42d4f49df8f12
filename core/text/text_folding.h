#pragma once

#include <string>
#include <string_view>

namespace kvillo {

// The form in which texts are compared when matching projects: Unicode case
// folding with the diacritics removed, so "Skarvelin" and "SKÅRVELIN" both
// become "skarvelin" and "é" becomes "e". The result is UTF-8; a plain
// substring search on folded texts is a case- and diacritic-insensitive one.
// Invalid UTF-8 becomes U+FFFD. Pure; safe from any thread.
std::string foldForMatching(std::string_view utf8);

}  // namespace kvillo
