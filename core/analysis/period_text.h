#pragma once

#include <optional>
#include <string>

#include "core/analysis/period_report.h"
#include "core/localisation/language.h"

namespace kvillo {

// The overview's words for a period report, in the language given. Pure;
// safe from any thread.
namespace PeriodText {

// "Dag", "Uke", "Måned".
std::string label(Period period, Language language);

// What the time no project claimed is shown as: "Uten prosjekt".
std::string unmatchedName(Language language);

// A chart segment's name as shown: its project's name as it is, else
// unmatchedName or "Aktiv tid" translated.
std::string segmentName(const DaySegment& segment, Language language);

// "42 % av aktiv tid · ↑ 1t 05m fra forrige uke": the report's focus share,
// compared with `previousFocus`, the focus total of the period before (a
// change under a minute counts as the same). None when nothing was active.
std::optional<std::string> focusDetail(const Report& report, Duration previousFocus, Period period,
                                       Language language);

// The overview's heading for the period `range`: the day, "Uke 48 · 23. nov.
// – 29. nov.", or the month and year.
std::string subtitle(Period period, TimeRange range, Language language);

}  // namespace PeriodText
}  // namespace kvillo
