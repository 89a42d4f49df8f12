#include <gtest/gtest.h>

#include "core/analysis/export_period.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using testing::localTime;

// Periods are looked up by their command-line names, which users type.
TEST(ExportPeriod, NamedPeriodsAreWholeCalendarPeriodsAroundNow) {
    struct Row {
        const char* period;
        double now;
        double from;
        double to;
    };
    const Row rows[] = {
        {"last-month", localTime(2025, 3, 10, 12), localTime(2025, 2, 1), localTime(2025, 3, 1)},
        {"this-month", localTime(2026, 1, 31, 23, 59), localTime(2026, 1, 1),
         localTime(2026, 2, 1)},
        {"last-month", localTime(2026, 1, 2), localTime(2025, 12, 1), localTime(2026, 1, 1)},
        {"this-quarter", localTime(2026, 11, 23), localTime(2026, 10, 1), localTime(2027, 1, 1)},
        {"last-quarter", localTime(2026, 2, 15), localTime(2025, 10, 1), localTime(2026, 1, 1)},
        // Across the spring clock change.
        {"this-quarter", localTime(2026, 3, 29, 12), localTime(2026, 1, 1), localTime(2026, 4, 1)},
        {"this-year", localTime(2026, 6, 30), localTime(2026, 1, 1), localTime(2027, 1, 1)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.period + std::string(" at ") + calendar::format(row.now, "yyyy-MM-dd"));
        auto period = exportPeriodFromCommandLine(row.period);
        ASSERT_TRUE(period);
        EXPECT_EQ(rangeOf(*period, row.now), (TimeRange{row.from, row.to}));
    }
    EXPECT_FALSE(exportPeriodFromCommandLine("next-month"));
}

}  // namespace
}  // namespace kvillo
