#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/localisation/language.h"

namespace kvillo {

class Features;

// Every user-visible text is written in Norwegian and passed through here as
// the key. The language is an argument rather than looked up inside, so the
// same texts can be produced for any language from any thread; callers get
// the language in force from `language(features)`.
namespace L10n {

// An argument for a placeholder: "%@" takes a text, "%d" an integer.
using Argument = std::variant<std::string, std::int64_t>;

// The chosen language, or the system's when none (or an unknown code) is set.
// Read afresh at every call.
Language language(const Features& features);

// The text for `key` in `language`: the key itself in Norwegian or when the
// table has no such key. With arguments, "%@" and "%d" are filled in order
// and "%%" becomes "%"; without, the text comes back as it is.
std::string string(Language language, std::string_view key,
                   const std::vector<Argument>& arguments = {});

// The hour unit of short durations: "t" in Norwegian, "h" otherwise.
std::string_view hourUnit(Language language);

}  // namespace L10n
}  // namespace kvillo
