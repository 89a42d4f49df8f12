#include "core/analysis/export_period.h"

namespace kvillo {
namespace {

TimeRange shifted(calendar::Unit unit, TimePoint now, int count) {
    TimePoint from = calendar::add(unit, calendar::startOf(unit, now), count);
    return {from, calendar::add(unit, from, 1)};
}

}  // namespace

TimeRange rangeOf(ExportPeriod period, TimePoint now) {
    switch (period) {
        case ExportPeriod::thisMonth:
            return shifted(calendar::Unit::month, now, 0);
        case ExportPeriod::lastMonth:
            return shifted(calendar::Unit::month, now, -1);
        case ExportPeriod::thisQuarter:
            return shifted(calendar::Unit::quarter, now, 0);
        case ExportPeriod::lastQuarter:
            return shifted(calendar::Unit::quarter, now, -1);
        case ExportPeriod::thisYear:
            return shifted(calendar::Unit::year, now, 0);
    }
    return {};
}

L10n::Key labelKey(ExportPeriod period) {
    switch (period) {
        case ExportPeriod::thisMonth:
            return "Denne måneden";
        case ExportPeriod::lastMonth:
            return "Forrige måned";
        case ExportPeriod::thisQuarter:
            return "Dette kvartalet";
        case ExportPeriod::lastQuarter:
            return "Forrige kvartal";
        case ExportPeriod::thisYear:
            return "I år";
    }
    return "Denne måneden";
}

std::string_view commandLineName(ExportPeriod period) {
    switch (period) {
        case ExportPeriod::thisMonth:
            return "this-month";
        case ExportPeriod::lastMonth:
            return "last-month";
        case ExportPeriod::thisQuarter:
            return "this-quarter";
        case ExportPeriod::lastQuarter:
            return "last-quarter";
        case ExportPeriod::thisYear:
            return "this-year";
    }
    return {};
}

std::optional<ExportPeriod> exportPeriodFromCommandLine(std::string_view name) {
    for (ExportPeriod period : kExportPeriods) {
        if (commandLineName(period) == name) {
            return period;
        }
    }
    return std::nullopt;
}

}  // namespace kvillo
