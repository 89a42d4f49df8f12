#pragma once

#include <functional>
#include <string>
#include <vector>

#include "core/records/activity.h"

namespace kvillo::testing {

// What the end-to-end tests of every desktop share: the same day on a real
// compositor with a real `kvillo --headless`, driven through hands each
// desktop gives in its own way.
struct DesktopHands {
    std::function<bool()> lock;
    std::function<bool()> unlock;
    std::function<bool()> input;  // as a key press would
};

// Kvillo's settings under `configHome` with the shortest idle threshold the
// settings allow, a minute.
void useShortestIdleThreshold(const std::string& configHome);

// With a row open: a lock ends it and an unlock opens another; then one
// input, a minute and more without any (the row ends at that input), and
// input again (a new row). `rows` reads the log. Fails the test (fatally)
// where the log does not follow.
void lockThenStayAway(const std::function<std::vector<Activity>()>& rows,
                      const DesktopHands& hands);

// Checks the log of that day after two switches (A to B, back to A) and a
// title change: one row per name in `names` (A, B, A, A, A), each ended,
// the first three touching, the third retitled to `title`, and gaps for
// the lock and the absence.
void expectTheDay(const std::vector<Activity>& rows, const std::vector<std::string>& names,
                  const std::string& title);

}  // namespace kvillo::testing
