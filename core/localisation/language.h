#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvillo {

// The four interface languages, in the order they are listed to the user.
// Norwegian (bokmål) is the source language of every text.
class Language {
public:
    enum Value : std::uint8_t { nb, en, es, fr };

    constexpr Language(Value value) : value_(value) {}
    constexpr operator Value() const { return value_; }

    static constexpr std::array<Value, 4> allCases() { return {nb, en, es, fr}; }

    // Only the exact codes "nb", "en", "es" and "fr" name a language.
    static std::optional<Language> fromCode(std::string_view code);

    // "nb", "en", "es", "fr": the stored form.
    std::string_view code() const;

    // The language's own name, as the language menu lists it ("Norsk").
    std::string_view name() const;

    // The ICU locale whose formats go with it ("nb_NO").
    std::string_view locale() const;

    // The first of the preferred languages (tags such as "nb-NO", "fr" or
    // POSIX locales such as "nb_NO.UTF-8") that is one of the four, where
    // "no" and "nn" count as Norwegian; English when none is.
    static Language fromPreferred(const std::vector<std::string>& preferred);

    // fromPreferred of the languages the environment prefers.
    static Language system();

private:
    Value value_;
};

}  // namespace kvillo
