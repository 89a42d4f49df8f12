#pragma once

#include <span>
#include <string>
#include <string_view>

namespace kvillo {

// The parts with `separator` between them: "a, b, c".
std::string join(std::span<const std::string> parts, std::string_view separator);

}  // namespace kvillo
