#pragma once

#include <string>

#include "core/time/time_point.h"

namespace kvillo {

// How a record writes its length: "1h 2m", "2m 5s" or "42s". The length is
// truncated toward zero to whole seconds first, so 59.9 s is "59s" and a
// negative length keeps its minus sign.
enum class MinuteForm {
    withSeconds,     // 125 s is "2m 5s"
    withoutSeconds,  // 125 s is "2m"
};
std::string durationText(Duration duration, MinuteForm minuteForm);

}  // namespace kvillo
