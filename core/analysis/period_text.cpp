#include "core/analysis/period_text.h"

#include <cmath>
#include <cstdint>

#include "core/analysis/fmt.h"
#include "core/localisation/l10n.h"
#include "core/text/first_letter.h"

namespace kvillo::PeriodText {
namespace {

// The keys of one period's words, each whole, so that every one is checked
// when compiling.
struct PeriodKeys {
    L10n::Key label;
    L10n::Key sameAs;
    L10n::Key changeFrom;
};

PeriodKeys keysOf(Period period) {
    switch (period) {
        case Period::day:
            return {"Dag", "som i går", "%@ fra i går"};
        case Period::week:
            return {"Uke", "som forrige uke", "%@ fra forrige uke"};
        case Period::month:
            return {"Måned", "som forrige måned", "%@ fra forrige måned"};
    }
    return {"Dag", "som i går", "%@ fra i går"};
}

}  // namespace

std::string label(Period period, Language language) {
    return L10n::string(language, keysOf(period).label);
}

std::string unmatchedName(Language language) {
    return L10n::string(language, "Uten prosjekt");
}

std::string segmentName(const DaySegment& segment, Language language) {
    switch (segment.kind) {
        case DaySegment::Kind::project:
            return segment.project;
        case DaySegment::Kind::unmatched:
            return unmatchedName(language);
        case DaySegment::Kind::active:
            return L10n::string(language, "Aktiv tid");
    }
    return segment.project;
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
        comparison = L10n::string(language, keysOf(period).changeFrom, {change});
    } else {
        comparison = L10n::string(language, keysOf(period).sameAs);
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
