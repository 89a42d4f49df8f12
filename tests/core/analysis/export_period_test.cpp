#include <gtest/gtest.h>

#include "core/analysis/export_period.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using testing::localTime;

TEST(ExportPeriod, RangesAreWholeCalendarPeriodsAroundNow) {
    struct Row {
        const char* name;
        ExportPeriod period;
        double now;
        double from;
        double to;
    };
    const Row rows[] = {
        {"last month seen in March", ExportPeriod::lastMonth, localTime(2025, 3, 10, 12),
         localTime(2025, 2, 1), localTime(2025, 3, 1)},
        {"this month in January", ExportPeriod::thisMonth, localTime(2026, 1, 31, 23, 59),
         localTime(2026, 1, 1), localTime(2026, 2, 1)},
        {"last month in January is December", ExportPeriod::lastMonth, localTime(2026, 1, 2),
         localTime(2025, 12, 1), localTime(2026, 1, 1)},
        {"this quarter in November", ExportPeriod::thisQuarter, localTime(2026, 11, 23),
         localTime(2026, 10, 1), localTime(2027, 1, 1)},
        {"last quarter in February", ExportPeriod::lastQuarter, localTime(2026, 2, 15),
         localTime(2025, 10, 1), localTime(2026, 1, 1)},
        {"this quarter across the spring clock change", ExportPeriod::thisQuarter,
         localTime(2026, 3, 29, 12), localTime(2026, 1, 1), localTime(2026, 4, 1)},
        {"this year", ExportPeriod::thisYear, localTime(2026, 6, 30), localTime(2026, 1, 1),
         localTime(2027, 1, 1)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(rangeOf(row.period, row.now), (TimeRange{row.from, row.to}));
    }
}

TEST(ExportPeriod, CommandLineNamesRoundTrip) {
    for (ExportPeriod period : kExportPeriods) {
        EXPECT_EQ(exportPeriodFromCommandLine(commandLineName(period)), period);
    }
    EXPECT_FALSE(exportPeriodFromCommandLine("next-month"));
}

}  // namespace
}  // namespace kvillo
