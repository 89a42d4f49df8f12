#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

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

private:
    Value value_;
};

}  // namespace kvillo
