#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <string>
#include <string_view>

#include "core/integrations/jsonc_document.h"

namespace kvillo {

// Minimal textual edits of a scanned JSON text: each returns the whole new
// text, in which only the bytes of the one member or element concerned (and
// the comma beside it) differ. Comments, blank space, trailing commas and
// the spelling of every other value stay as they were. New values are
// written in the file's own indentation (two spaces when it has none to go
// by) below the line they start on, or on one line in a file written on
// one line; their members keep the order they have in `value`.
//
// `document` must be the scan of `text`, and the nodes passed must be its
// own. An edit invalidates the document: scan the result again before the
// next one. Pure functions; they never fail.
namespace JsoncEdit {

// Sets the member `key` of `object`: the last one of that name gets
// `value`, or a new member is added after the last one.
std::string setMember(std::string_view text, const JsoncDocument& document,
                      const JsoncDocument::Node& object, std::string_view key,
                      const nlohmann::ordered_json& value);

// Adds `value` after the last element of `array`.
std::string appendElement(std::string_view text, const JsoncDocument& document,
                          const JsoncDocument::Node& array, const nlohmann::ordered_json& value);

// Replaces the value `node` (a string, say) by `value`, written on one line
// when it is a string, number or literal.
std::string replaceValue(std::string_view text, const JsoncDocument& document,
                         const JsoncDocument::Node& node, const nlohmann::ordered_json& value);

// Removes the member or element `index` of `container` with its comma, and
// its line when it had the line to itself.
std::string removeItem(std::string_view text, const JsoncDocument& document,
                       const JsoncDocument::Node& container, std::size_t index);

}  // namespace JsoncEdit
}  // namespace kvillo
