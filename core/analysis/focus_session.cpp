#include "core/analysis/focus_session.h"

#include <algorithm>
#include <limits>
#include "core/records/activity_order.h"

namespace kvillo {
namespace {

FocusSession sessionOf(const std::vector<const Activity*>& run, TimePoint lastEnd, TimePoint now) {
    FocusSession session;
    session.start = run.front()->startTime;
    session.end = lastEnd;
    session.switches = static_cast<int>(run.size()) - 1;
    for (const Activity* activity : run) {
        Duration seconds = activity->endTime.value_or(now) - activity->startTime;
        auto found = std::find_if(session.apps.begin(), session.apps.end(),
                                  [&](const auto& app) { return app.first == activity->appName; });
        if (found == session.apps.end()) {
            session.apps.emplace_back(activity->appName, seconds);
        } else {
            found->second += seconds;
        }
    }
    std::stable_sort(session.apps.begin(), session.apps.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    return session;
}

}  // namespace

std::vector<FocusSession> FocusSession::detect(const std::vector<Activity>& activities,
                                               Duration minDuration, Duration maxGap,
                                               TimePoint now) {
    std::vector<const Activity*> ordered = byStartTime(activities);

    std::vector<FocusSession> sessions;
    std::vector<const Activity*> run;
    TimePoint lastEnd = std::numeric_limits<double>::lowest();
    auto closeRun = [&] {
        if (run.empty()) {
            return;
        }
        if (lastEnd - run.front()->startTime >= minDuration) {
            sessions.push_back(sessionOf(run, lastEnd, now));
        }
        run.clear();
    };
    for (const Activity* activity : ordered) {
        if (!run.empty() && activity->startTime - lastEnd > maxGap) {
            closeRun();
        }
        run.push_back(activity);
        lastEnd = std::max(lastEnd, activity->endTime.value_or(now));
    }
    closeRun();
    return sessions;
}

}  // namespace kvillo
