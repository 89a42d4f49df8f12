#pragma once

#include <optional>
#include <string>

#include "core/time/time_point.h"

namespace kvillo {

// When the recording program was last known to run, kept in a small file
// beside the database, so that after a crash or a power cut the row left
// open ends near the moment the program stopped rather than up to half an
// hour later. Written at most once a minute and never synced: it is a hint,
// and it must not wake a disk of its own. Main thread only.
class AliveMarker {
public:
    static constexpr Duration kInterval = 60;

    // The file beside the database whose path is given.
    explicit AliveMarker(const std::string& databasePath);

    // The time last written, by this run or an earlier one; none when the
    // file is missing or unreadable.
    std::optional<TimePoint> read() const;

    // Writes `now` unless this run wrote less than kInterval ago. A failed
    // write is ignored: the repair then falls back to its half hour.
    void note(TimePoint now);

private:
    std::string path_;
    std::optional<TimePoint> written_;
};

}  // namespace kvillo
