#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/localisation/language.h"
#include "core/localisation/translations.h"

namespace kvillo {

class Features;

// Every user-visible text is written in Norwegian and passed through here as
// the key. The language is an argument rather than looked up inside, so the
// same texts can be produced for any language from any thread; callers get
// the language in force from `language(features)`.
namespace L10n {

// Stands in, at compile time, for a key that the table lacks: its name is
// what the compiler's error shows. Never defined.
void keyMissingFromTheTranslationTable();

// A key of the translation table, found while compiling: a key that is not
// in the table, or one assembled at run time, does not build. Pass the
// Norwegian text as a literal ("Aktiv tid"); a function may return a Key
// made from literals.
class Key {
public:
    consteval Key(const char* text) : row_(rowOf(text)) {}

    const Translation& translation() const { return kTranslations[row_]; }

private:
    static consteval std::size_t rowOf(std::string_view text) {
        for (std::size_t row = 0; row < std::size(kTranslations); ++row) {
            if (kTranslations[row].key == text) {
                return row;
            }
        }
        keyMissingFromTheTranslationTable();
        return 0;
    }

    std::size_t row_;
};

// An argument for a placeholder: "%@" takes a text, "%d" an integer.
using Argument = std::variant<std::string, std::int64_t>;

// The chosen language, or the system's when none (or an unknown code) is set.
// Read afresh at every call.
Language language(const Features& features);

// The text for `key` in `language`. With arguments, "%@" and "%d" are filled
// in order and "%%" becomes "%"; without, the text comes back as it is.
std::string string(Language language, Key key, const std::vector<Argument>& arguments = {});

// The hour unit of short durations: "t" in Norwegian, "h" otherwise.
std::string_view hourUnit(Language language);

}  // namespace L10n
}  // namespace kvillo
