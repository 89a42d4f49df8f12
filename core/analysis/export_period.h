#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "core/localisation/l10n.h"
#include "core/time/calendar.h"

namespace kvillo {

// The periods a timesheet can be exported for, in the order menus list them.
enum class ExportPeriod { thisMonth, lastMonth, thisQuarter, lastQuarter, thisYear };

inline constexpr std::array<ExportPeriod, 5> kExportPeriods{
    ExportPeriod::thisMonth, ExportPeriod::lastMonth, ExportPeriod::thisQuarter,
    ExportPeriod::lastQuarter, ExportPeriod::thisYear};

// [from, to) of the period as seen at `now`, in the current calendar.
TimeRange rangeOf(ExportPeriod period, TimePoint now);

// The menu label's key ("Denne måneden").
L10n::Key labelKey(ExportPeriod period);

// The command line's name for the period ("this-month") and back.
std::string_view commandLineName(ExportPeriod period);
std::optional<ExportPeriod> exportPeriodFromCommandLine(std::string_view name);

}  // namespace kvillo
