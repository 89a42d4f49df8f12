#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

namespace kvillo {

// The form in which texts are compared when matching projects: Unicode case
// folding with the diacritics removed, so "Skarvelin" and "SKÅRVELIN" both
// become "skarvelin" and "é" becomes "e". The result is UTF-8; a plain
// substring search on folded texts is a case- and diacritic-insensitive one.
// Invalid UTF-8 becomes U+FFFD. Pure; safe from any thread.
std::string foldForMatching(std::string_view utf8);

// Unicode case folding alone: accents stay, so "Å" and "å" become equal but
// not "å" and "a". Pure; safe from any thread.
std::string foldCase(std::string_view utf8);

// The same folding for many texts in a row: it remembers how each non-ASCII
// character folds, so a batch of titles asks ICU once per distinct
// character. One thread at a time.
class TextFolder {
public:
    // Replaces `out` with the folded text; reusing `out` saves allocations.
    void fold(std::string_view utf8, std::string& out);

    // Hands the folded text's bytes to `sink` one at a time, without
    // building it: the search reads it as it is made.
    template <typename Sink>
    void foldInto(std::string_view utf8, Sink&& sink) {
        for (size_t i = 0; i < utf8.size();) {
            auto byte = static_cast<unsigned char>(utf8[i]);
            if (byte < 0x80) {
                sink(static_cast<unsigned char>(byte >= 'A' && byte <= 'Z' ? byte + 32 : byte));
                ++i;
                continue;
            }
            for (unsigned char folded : foldedCharacterAt(utf8, i)) {
                sink(folded);
            }
        }
    }

private:
    // Folds the non-ASCII character starting at `i` and moves `i` past it.
    const std::string& foldedCharacterAt(std::string_view utf8, size_t& i);

    std::unordered_map<char32_t, std::string> folded_;
};

}  // namespace kvillo
