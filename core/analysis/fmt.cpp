#include "core/analysis/fmt.h"

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>

#include "core/localisation/l10n.h"
#include "core/text/first_letter.h"
#include "core/time/calendar.h"

namespace kvillo::Fmt {

std::string duration(Duration seconds, Language language) {
    auto s = static_cast<std::int64_t>(seconds);
    char text[64];
    if (s < 3600) {
        std::snprintf(text, sizeof text, "%" PRId64 "m", s / 60);
    } else {
        std::snprintf(text, sizeof text, "%" PRId64 "%s %02" PRId64 "m", s / 3600,
                      std::string(L10n::hourUnit(language)).c_str(), (s % 3600) / 60);
    }
    return text;
}

std::string clock(Duration seconds) {
    auto s = std::max<std::int64_t>(0, static_cast<std::int64_t>(seconds));
    char text[64];
    std::snprintf(text, sizeof text, "%" PRId64 ":%02" PRId64 ":%02" PRId64, s / 3600,
                  (s / 60) % 60, s % 60);
    return text;
}

std::string day(TimePoint date, Language language) {
    return withCapitalFirstLetter(calendar::formatSkeleton(date, "EEEEdMMMM", language.locale()));
}

std::string dayShort(TimePoint date, Language language) {
    return calendar::formatSkeleton(date, "EEEd", language.locale());
}

std::string axis(TimePoint date, bool month, Language language) {
    return calendar::formatSkeleton(date, month ? "dMMM" : "EEE", language.locale());
}

std::string timeRange(TimePoint start, std::optional<TimePoint> end, Language language) {
    return calendar::format(start, "HH:mm") + "\u2013" +
           (end ? calendar::format(*end, "HH:mm") : L10n::string(language, "nå"));
}

}  // namespace kvillo::Fmt
