#include "core/analysis/period_text.h"

#include <cmath>
#include <cstdint>

#include "core/analysis/fmt.h"
#include "core/localisation/l10n.h"
#include "core/text/first_letter.h"

namespace kvillo::PeriodText {
namespace {

// Whole keys, one per period, so that every one is checked when compiling.
L10n::Key sameAsKey(Period period) {
    switch (period) {
        case Period::day:
            return "som i går";
        case Period::week:
            return "som forrige uke";
        case Period::month:
            return "som forrige måned";
    }
    return "som i går";
}

L10n::Key changeFromKey(Period period) {
    switch (period) {
        case Period::day:
            return "%@ fra i går";
        case Period::week:
            return "%@ fra forrige uke";
        case Period::month:
            return "%@ fra forrige måned";
    }
    return "%@ fra i går";
}

}  // namespace

std::string label(Period period, Language language) {
    switch (period) {
        case Period::day:
            return L10n::string(language, "Dag");
        case Period::week:
            return L10n::string(language, "Uke");
        case Period::month:
            return L10n::string(language, "Måned");
    }
    return L10n::string(language, "Dag");
}

std::string displayName(std::string_view name, Language language) {
    if (name == PeriodReport::kUnmatched) {
        return L10n::string(language, "Uten prosjekt");
    }
    if (name == PeriodReport::kActiveTime) {
        return L10n::string(language, "Aktiv tid");
    }
    return std::string(name);
}

std::optional<std::string> focusDetail(const Report& report, Duration previousFocus, Period period,
                                       Language language) {
    if (report.active <= 0) {
        return std::nullopt;
    }
    auto percent = static_cast<std::int64_t>(std::lround(report.focus / report.active * 100));
    Duration difference = report.focus - previousFocus;
    std::string comparison;
    if (std::abs(difference) >= 60) {
        std::string change = std::string(difference > 0 ? "\u2191" : "\u2193") + " " +
                             Fmt::duration(std::abs(difference), language);
        comparison = L10n::string(language, changeFromKey(period), {change});
    } else {
        comparison = L10n::string(language, sameAsKey(period));
    }
    return L10n::string(language, "%d %% av aktiv tid", {percent}) + " \u00b7 " + comparison;
}

std::string subtitle(Period period, TimeRange range, Language language) {
    switch (period) {
        case Period::day:
            return Fmt::day(range.start, language);
        case Period::week: {
            TimePoint lastDay = calendar::addDays(range.end, -1);
            return L10n::string(language, "Uke %d · %@ – %@",
                                {std::int64_t{calendar::isoWeek(range.start)},
                                 calendar::formatSkeleton(range.start, "dMMM", language.locale()),
                                 calendar::formatSkeleton(lastDay, "dMMM", language.locale())});
        }
        case Period::month:
            return withCapitalFirstLetter(
                calendar::formatSkeleton(range.start, "LLLLyyyy", language.locale()));
    }
    return {};
}

}  // namespace kvillo::PeriodText
