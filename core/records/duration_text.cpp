#include "core/records/duration_text.h"

#include <cstdint>

namespace kvillo {

std::string durationText(Duration duration, MinuteForm minuteForm) {
    auto s = static_cast<std::int64_t>(duration);
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
