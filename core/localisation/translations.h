#pragma once

#include <span>
#include <string_view>

namespace kvillo {

// One row of the translation table: the Norwegian source text, which is the
// key, and its English, Spanish and French texts with the same placeholders
// ("%@" a text, "%d" an integer, "%%" a percent sign) in the same order.
struct Translation {
    std::string_view key;
    std::string_view en;
    std::string_view es;
    std::string_view fr;
};

// The whole table, in the order it was written.
std::span<const Translation> translations();

}  // namespace kvillo
