#include "core/capture/activity_monitor.h"

#include <algorithm>

namespace kvillo {
namespace {

// What a row records of an application; another window of it, or another
// process of it, is the same application.
bool sameApplication(const FrontApplication& a, const FrontApplication& b) {
    return a.name == b.name && a.bundleID == b.bundleID;
}

}  // namespace

ActivityMonitor::ActivityMonitor(Database& database, const Features& features, Desktop& desktop,
                                 const Clock& clock, RepeatingTimer& timer)
    : database_(database),
      features_(features),
      desktop_(desktop),
      clock_(clock),
      timer_(timer),
      aliveMarker_(database.path()) {}

ActivityMonitor::~ActivityMonitor() {
    stop();
}

Subscription ActivityMonitor::onWriteStatusChanged(WriteStatusObserver observer) {
    return writeStatusObservers_.subscribe(std::move(observer));
}

template <typename Write>
bool ActivityMonitor::write(Write&& write) {
    std::optional<DatabaseError> failure;
    try {
        write();
    } catch (const DatabaseError& error) {
        failure = error;
    }
    if (failure.has_value() != writeFailure_.has_value()) {
        writeFailure_ = failure;
        writeStatusObservers_.notify(failure);
    } else if (failure) {
        writeFailure_ = failure;  // the latest reason
    }
    return !failure;
}

void ActivityMonitor::start() {
    if (running_) {
        return;
    }
    running_ = true;
    write([&] {
        std::optional<Database::SignOfLife> lastAlive;
        if (auto at = aliveMarker_.read()) {
            // Noted at every tick a minute after the last note while a row
            // is open.
            lastAlive = Database::SignOfLife{*at, AliveMarker::kInterval + kTickInterval};
        }
        database_.closeDanglingActivities(kMaxLeftoverDuration, clock_.now(), lastAlive);
    });
    write([&] { database_.repairOverlaps(); });
    desktop_.subscribe(DesktopEvents{
        .activated =
            [this](std::optional<FrontApplication> application) {
                handleDesktopActivation(application);
            },
        .willSleep =
            [this] {
                machineAsleep_ = true;
                enterIdle(clock_.now());
            },
        .displaySlept =
            [this] {
                displayAsleep_ = true;
                enterIdle(clock_.now());
            },
        .woke =
            [this] {
                machineAsleep_ = false;
                wake();
            },
        .locked =
            [this] {
                screenLocked_ = true;
                handleActivation(front());
            },
        .unlocked =
            [this] {
                screenLocked_ = false;
                machineAsleep_ = false;  // someone is back, whatever was missed
                handleActivation(front());
            },
        // The subscription stays until stop(): this runs inside it.
        .ended =
            [this] {
                sessionEnded_ = true;
                timer_.stop();
                endOpenActivity(clock_.now());
            },
    });
    // Desktops that time the absence themselves start counting now.
    desktop_.setIdleThreshold(static_cast<Duration>(features_.idleMinutes()) * 60);
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
    // The last input can lie before the row began (a window that came up on
    // its own); the row then ends where it began.
    TimePoint end = std::max(at, currentStart_);
    write([&] { database_.updateEndTime(*currentActivityID_, end); });
    // On failure the row stays open; the repair at the next start closes it.
    currentActivityID_.reset();
    currentApplication_.reset();
}

void ActivityMonitor::handleDesktopActivation(const std::optional<FrontApplication>& application) {
    // A window that takes the focus under the locker (a dialog, a closing
    // program) is not the user coming back.
    if (screenLocked_) {
        handleActivation(front());
        return;
    }
    if (application && currentActivityID_ && currentApplication_ &&
        sameApplication(*application, *currentApplication_)) {
        updateCurrentTitle();
        return;
    }
    handleActivation(application);
}

void ActivityMonitor::handleActivation(const std::optional<FrontApplication>& application) {
    const TimePoint now = clock_.now();
    endOpenActivity(now);
    if (!application) {
        return;
    }
    // Between "about to sleep" and waking, the machine may run a few seconds
    // more (logind waits for every delay); nothing that happens then is work.
    if (application->bundleID == kLoginWindowBundleID || machineAsleep_ || sessionEnded_) {
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
    write([&] {
        currentActivityID_ = database_.insert(Activity{
            .appName = application->name.value_or(kUnknownAppName),
            .bundleID = application->bundleID,
            .startTime = now,
        });
    });
    if (currentActivityID_) {
        currentStart_ = now;
        currentApplication_ = application;
        lastTitle_.reset();
        aliveMarker_.note(now);
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

void ActivityMonitor::wake() {
    displayAsleep_ = false;
    if (isIdle_) {
        handleActivation(front());
    }
}

void ActivityMonitor::tick() {
    if (pausedUntil_ && clock_.now() >= *pausedUntil_) {
        pausedUntil_.reset();
        handleActivation(front());
    }
    followDisplaySleep();
    checkIdle();
    updateCurrentTitle();
    if (currentActivityID_) {
        aliveMarker_.note(clock_.now());
    }
}

void ActivityMonitor::followDisplaySleep() {
    // Not every display says when it sleeps (DPMS has no events), so the
    // tick asks; a display that woke starts from the front window again,
    // whether or not idle detection is on.
    bool asleep = desktop_.isDisplayAsleep();
    if (asleep == displayAsleep_) {
        return;
    }
    if (asleep) {
        displayAsleep_ = true;
        enterIdle(clock_.now());
    } else {
        wake();
    }
}

void ActivityMonitor::checkIdle() {
    endAnnotationIfAwayLong();
    if (!features_.isEnabled(Features::Key::idleDetection)) {
        return;
    }
    Duration threshold = static_cast<Duration>(features_.idleMinutes()) * 60;
    desktop_.setIdleThreshold(threshold);
    Duration idle = desktop_.secondsSinceLastInput();
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
    write([&] { database_.endCurrentAnnotation(*idleSince_); });
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
    write([&] { database_.updateTitle(*currentActivityID_, *title); });
}

}  // namespace kvillo
