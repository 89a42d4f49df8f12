#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvillo {

// A named set of keywords that window titles and tasks are matched against.
struct Project {
    std::optional<std::int64_t> id{};     // absent until stored
    std::string name{};                   // unique without regard to case in the database
    std::vector<std::string> keywords{};  // in the user's order, each non-empty and trimmed

    // The one rule that turns typed or stored keyword text into keywords:
    // split at commas, trim Unicode white space and line breaks, drop empty
    // pieces; order, case and duplicates are kept.
    static std::vector<std::string> parseKeywords(std::string_view text);

    // The stored form: keywords joined with "," and no space.
    static std::string joinKeywords(const std::vector<std::string>& keywords);

    bool operator==(const Project&) const = default;
};

}  // namespace kvillo
