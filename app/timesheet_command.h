#pragma once

#include <ostream>

#include "app/command_line.h"
#include "core/time/clock.h"
#include "platform/linux/app_paths.h"

namespace kvillo {

// Runs `kvillo timesheet`: builds the period's timesheet from the store at
// `paths` and writes it as CSV in the language in force, to the output file
// (with a byte order mark, replacing it whole) or to `out` (without).
// Problems go to `err` as one line. Returns the exit status: 0, 2 for a
// request that cannot be met (unknown project), 1 when the store cannot be
// read or the file cannot be written. Nothing is written on failure.
int runTimesheetCommand(const ExportTimesheet& request, const AppPaths& paths, const Clock& clock,
                        std::ostream& out, std::ostream& err);

}  // namespace kvillo
