#include "core/records/app_usage_summary.h"

#include "core/records/duration_text.h"

namespace kvillo {

std::string AppUsageSummary::formattedDuration() const {
    return durationText(totalDuration, MinuteForm::withoutSeconds);
}

}  // namespace kvillo
