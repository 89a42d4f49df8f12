#include "core/records/activity_order.h"

#include <algorithm>

namespace kvillo {

std::vector<const Activity*> byStartTime(const std::vector<Activity>& activities) {
    std::vector<const Activity*> ordered;
    ordered.reserve(activities.size());
    for (const auto& activity : activities) {
        ordered.push_back(&activity);
    }
    auto earlier = [](const Activity* a, const Activity* b) { return a->startTime < b->startTime; };
    if (!std::is_sorted(ordered.begin(), ordered.end(), earlier)) {
        std::stable_sort(ordered.begin(), ordered.end(), earlier);
    }
    return ordered;
}

}  // namespace kvillo
