#include "core/records/activity.h"

#include "core/records/duration_text.h"

namespace kvillo {

std::optional<Duration> Activity::duration() const {
    if (!endTime) {
        return std::nullopt;
    }
    return *endTime - startTime;
}

std::string Activity::formattedDuration() const {
    if (!endTime) {
        return "ongoing";
    }
    return durationText(*duration(), MinuteForm::withSeconds);
}

}  // namespace kvillo
