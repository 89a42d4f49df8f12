#include "core/capture/activity_monitor.h"

namespace kvillo {

ActivityMonitor::ActivityMonitor(Database& database, const Features& features, Desktop& desktop,
                                 const Clock& clock, RepeatingTimer& timer)
    : database_(database), features_(features), desktop_(desktop), clock_(clock), timer_(timer) {}

ActivityMonitor::~ActivityMonitor() {
    stop();
}

void ActivityMonitor::start() {
    if (running_) {
        return;
    }
    running_ = true;
    try {
        database_.closeDanglingActivities(kMaxLeftoverDuration, clock_.now());
    } catch (const DatabaseError&) {
    }
    try {
        database_.repairOverlaps();
    } catch (const DatabaseError&) {
    }
    desktop_.subscribe(DesktopEvents{
        .activated =
            [this](std::optional<FrontApplication> application) { handleActivation(application); },
        .willSleep = [this] { enterIdle(clock_.now()); },
        .locked =
            [this] {
                screenLocked_ = true;
                handleActivation(front());
            },
        .unlocked =
            [this] {
                screenLocked_ = false;
                handleActivation(front());
            },
    });
    timer_.start(kTickInterval, [this] { tick(); });
    if (auto application = front()) {
        handleActivation(application);
    }
}

void ActivityMonitor::stop() {
    if (!running_) {
        return;
    }
    running_ = false;
    desktop_.unsubscribe();
    timer_.stop();
    endOpenActivity(clock_.now());
}

std::optional<FrontApplication> ActivityMonitor::front() {
    // While the screen is locked the login window is in front, whatever
    // window the desktop still reports behind it.
    if (screenLocked_) {
        return FrontApplication{.name = "loginwindow", .bundleID = kLoginWindowBundleID};
    }
    return desktop_.frontApplication();
}

void ActivityMonitor::refresh() {
    handleActivation(front());
}

void ActivityMonitor::pause(TimePoint until) {
    pausedUntil_ = until;
    endOpenActivity(clock_.now());
}

void ActivityMonitor::resume() {
    pausedUntil_.reset();
    handleActivation(front());
}

bool ActivityMonitor::isPaused() {
    return pausedUntil_ && *pausedUntil_ > clock_.now();
}

void ActivityMonitor::endOpenActivity(TimePoint at) {
    if (!currentActivityID_) {
        return;
    }
    try {
        database_.updateEndTime(*currentActivityID_, at);
    } catch (const DatabaseError&) {
        // The row stays open; the repair at the next start closes it.
    }
    currentActivityID_.reset();
}

void ActivityMonitor::handleActivation(const std::optional<FrontApplication>& application) {
    const TimePoint now = clock_.now();
    endOpenActivity(now);
    if (!application) {
        return;
    }
    if (application->bundleID == kLoginWindowBundleID) {
        enterIdle(now);
        return;
    }
    if (desktop_.isDisplayAsleep()) {
        return;
    }
    endAnnotationIfAwayLong();
    isIdle_ = false;
    idleSince_.reset();
    if (pausedUntil_ && *pausedUntil_ > now) {
        return;
    }
    if (!features_.isEnabled(Features::Key::activityLogging)) {
        return;
    }
    try {
        currentActivityID_ = database_.insert(Activity{
            .appName = application->name.value_or(kUnknownAppName),
            .bundleID = application->bundleID,
            .startTime = now,
        });
        lastTitle_.reset();
    } catch (const DatabaseError&) {
    }
}

void ActivityMonitor::enterIdle(TimePoint since) {
    if (isIdle_) {
        return;
    }
    isIdle_ = true;
    idleSince_ = since;
    endOpenActivity(since);
}

void ActivityMonitor::tick() {
    if (pausedUntil_ && clock_.now() >= *pausedUntil_) {
        pausedUntil_.reset();
        handleActivation(front());
    }
    checkIdle();
    updateCurrentTitle();
}

void ActivityMonitor::checkIdle() {
    endAnnotationIfAwayLong();
    if (!features_.isEnabled(Features::Key::idleDetection)) {
        return;
    }
    Duration idle = desktop_.secondsSinceLastInput();
    Duration threshold = static_cast<Duration>(features_.idleMinutes()) * 60;
    if (!isIdle_) {
        if (idle >= threshold) {
            enterIdle(clock_.now() - idle);
        }
        return;
    }
    if (idle < threshold && !desktop_.isDisplayAsleep()) {
        handleActivation(front());
    }
}

void ActivityMonitor::endAnnotationIfAwayLong() {
    if (!isIdle_ || !idleSince_) {
        return;
    }
    Duration limit = static_cast<Duration>(features_.annotationIdleMinutes()) * 60;
    if (clock_.now() - *idleSince_ < limit) {
        return;
    }
    try {
        database_.endCurrentAnnotation(*idleSince_);
    } catch (const DatabaseError&) {
    }
    idleSince_.reset();
}

void ActivityMonitor::updateCurrentTitle() {
    if (isIdle_ || !currentActivityID_ || !features_.isEnabled(Features::Key::windowTitles)) {
        return;
    }
    auto application = front();
    if (!application || application->bundleID == kLoginWindowBundleID) {
        return;
    }
    auto title = desktop_.windowTitle(*application);
    if (title && title->empty()) {
        title.reset();  // an empty title keeps the row's last one
    }
    if (title == lastTitle_) {
        return;
    }
    lastTitle_ = title;
    if (!title) {
        return;
    }
    try {
        database_.updateTitle(*currentActivityID_, *title);
    } catch (const DatabaseError&) {
    }
}

}  // namespace kvillo
