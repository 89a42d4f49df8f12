#include "core/records/annotation.h"

#include "core/records/duration_text.h"

namespace kvillo {

std::optional<Duration> Annotation::duration() const {
    if (!endedAt) {
        return std::nullopt;
    }
    return *endedAt - startedAt;
}

std::string Annotation::formattedDuration(TimePoint now) const {
    return durationText(endedAt.value_or(now) - startedAt, MinuteForm::withSeconds);
}

}  // namespace kvillo
