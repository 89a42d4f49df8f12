#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvillo {

// A JSON text as people and editors write configuration files: `//` and
// `/* */` comments and a comma after the last member or element are
// allowed, as are a leading UTF-8 byte order mark and surrounding blank
// space. Everything else follows JSON strictly.
//
// The scan keeps where each value sits in the text, so that an edit can
// change one value and leave every other byte as it was (JsoncEdit). The
// document holds offsets only: the text it was scanned from must be kept
// (unchanged) for as long as they are used.
class JsoncDocument {
public:
    enum class Kind { object, array, string, number, literal };

    // A member of an object, or an element of an array.
    struct Item {
        std::size_t begin = 0;  // the key's opening quote; for an element, its value's first byte
        std::string key;        // decoded; empty for an element
        int value = -1;         // index of the value's node
        std::optional<std::size_t> comma;  // the comma that follows the item, if any
    };

    struct Node {
        Kind kind = Kind::literal;
        std::size_t begin = 0;    // first byte of the value
        std::size_t end = 0;      // one past its last byte
        std::string text;         // a string's decoded text
        std::vector<Item> items;  // an object's members or an array's elements, in order
    };

    // Values nested deeper than this (the whole document counting as one)
    // are refused rather than followed.
    static constexpr int kMaxDepth = 256;

    // The document in `text`, or none when `text` is not one JSON value as
    // described above (or nests too deeply).
    static std::optional<JsoncDocument> scan(std::string_view text);

    const Node& root() const { return nodes_.front(); }
    const Node& node(int index) const { return nodes_[static_cast<std::size_t>(index)]; }

    // The value of the last member named `key` of `object` (which later
    // JSON readers keep), or null; null too when `object` is no object.
    const Node* member(const Node& object, std::string_view key) const;

    // How many members of `object` are named `key`.
    int count(const Node& object, std::string_view key) const;

private:
    std::vector<Node> nodes_;
    friend class JsoncScanner;
};

}  // namespace kvillo
