#include "core/records/duration_text.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace kvillo {

std::string durationText(Duration duration, MinuteForm minuteForm) {
    // Out-of-range and non-finite lengths cannot come from real records;
    // they are clamped rather than allowed to be undefined.
    constexpr double kLimit = 1e15;
    double bounded = std::isfinite(duration) ? std::clamp(duration, -kLimit, kLimit) : 0;
    auto s = static_cast<std::int64_t>(bounded);
    if (s >= 3600) {
        return std::to_string(s / 3600) + "h " + std::to_string((s / 60) % 60) + "m";
    }
    if (s >= 60) {
        std::string minutes = std::to_string(s / 60) + "m";
        if (minuteForm == MinuteForm::withoutSeconds) {
            return minutes;
        }
        return minutes + " " + std::to_string(s % 60) + "s";
    }
    return std::to_string(s) + "s";
}

}  // namespace kvillo
