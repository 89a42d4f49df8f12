#pragma once

#include <string>
#include <string_view>

namespace kvillo {

// The text with its first letter upper-cased ("mandag 3. mars" becomes
// "Mandag 3. mars"); the rest is left as it is.
std::string withCapitalFirstLetter(std::string_view utf8);

}  // namespace kvillo
