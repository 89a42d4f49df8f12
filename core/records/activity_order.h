#pragma once

#include <vector>

#include "core/records/activity.h"

namespace kvillo {

// The activities ordered by start time, stable for equal starts, as
// pointers into `activities`. Lists read from the store are sorted already
// and are only checked.
std::vector<const Activity*> byStartTime(const std::vector<Activity>& activities);

}  // namespace kvillo
