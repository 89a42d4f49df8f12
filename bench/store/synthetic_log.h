// Synthetic activity logs in real files for the benchmarks: working days of
// activities with realistic titles, task notes, and projects whose keywords
// some titles carry.
#pragma once

#include <string>

#include "core/time/time_point.h"

namespace kvillo::bench {

struct LogShape {
    int days;
    int activitiesPerDay;
    int annotationsPerDay;
    int projects;  // at most 50
    int keywordsPerProject;
    // How long an application keeps the focus on average; a break lasts
    // three times that. A busier day needs shorter ones to fit in the day.
    int meanActivitySeconds = 100;
    // A note starts this often and lasts five sixths of it.
    int annotationEvery = 1440;
};

// The log begins on 1 January 2021 (UTC) and every day is a working day
// from 07:00 UTC; everything is closed except the last activity and the
// last note. The same shape always gives the same file. Keep
// activitiesPerDay * meanActivitySeconds * 1.15 and annotationsPerDay *
// annotationEvery under 17 hours, or one day's work runs into the next.
constexpr TimePoint kFirstDay = 1609459200;  // 2021-01-01 00:00 UTC
TimePoint lastDay(const LogShape& shape);

// A log of this shape, built once into the build folder and reused by later
// runs (building five years takes a while). Callers that write must work on
// a copy (see ScratchFolder::copyOf).
std::string cachedLog(const LogShape& shape);

// A folder in the temporary folder, removed with everything in it.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string file(const std::string& name) const { return path_ + "/" + name; }
    // Copies the store at `path` in as `name` and gives the copy's path.
    std::string copyOf(const std::string& path, const std::string& name);

private:
    std::string path_;
};

}  // namespace kvillo::bench
