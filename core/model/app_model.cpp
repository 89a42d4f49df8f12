#include "core/model/app_model.h"

#include <algorithm>
#include <limits>

#include "core/analysis/fmt.h"
#include "core/analysis/project_matcher.h"
#include "core/analysis/project_search.h"
#include "core/localisation/l10n.h"
#include "core/text/text_folding.h"
#include "core/text/trim.h"
#include "core/time/calendar.h"

namespace kvillo {
namespace {

constexpr Duration kProjectEvidence = 3600;
// A pause from the menu lasts until the user resumes.
constexpr TimePoint kUntilResumed = std::numeric_limits<TimePoint>::infinity();

// A failed read shows as nothing rather than as an error.
template <typename Read>
auto readOr(Read&& read, decltype(read()) fallback) -> decltype(read()) {
    try {
        return read();
    } catch (const DatabaseError&) {
        return fallback;
    }
}

}  // namespace

AppModel::AppModel(Database& database, ActivityMonitor& monitor, Features& features,
                   AppModelServices services)
    : database_(database),
      monitor_(monitor),
      features_(features),
      services_(services),
      now_(services.clock.now()),
      ticker_(now_),
      today_{.from = now_, .to = now_},
      switchWatcher_(*this, services.notifications, services.uiThread) {
    writeStatus_ = monitor_.onWriteStatusChanged([this](const std::optional<DatabaseError>&) {
        assign(notice_, noticeNow(), Field::notice);
    });
    if (auto* updates = services_.updateChecker) {
        // Delivered on the UI thread, and no more once the model is gone.
        updates->setOnStateChange([this](const UpdateState& state) {
            Batch batch(*this);
            if (const auto* available = std::get_if<updates::Available>(&state)) {
                assign(latestRelease_, std::optional(available->release), Field::latestRelease);
            }
            assign(updateState_, state, Field::updateState);
        });
        updates->startPeriodicChecks();
    }
    refresh();
    services_.timer.start(kTickInterval, [this] { tick(); });
}

AppModel::~AppModel() {
    self_.reset();
    if (clientWork_.valid()) {
        clientWork_.wait();
    }
    services_.timer.stop();
    if (auto* updates = services_.updateChecker) {
        updates->setOnStateChange(nullptr);
    }
    for (const auto& change : pendingWrites_) {
        try {
            change(database_);
        } catch (const DatabaseError&) {
            break;  // the rest would land out of order
        }
    }
}

Subscription AppModel::onChange(std::function<void(Field)> observer) {
    return observers_.subscribe(std::move(observer));
}

// The per-second path: the clock and nothing else, unless a change is
// waiting for the store or the half-minute refresh is due.
void AppModel::tick() {
    ticker_.set(services_.clock.now());
    ++ticks_;
    const bool wrote = !pendingWrites_.empty() && ticks_ % kTicksPerRetry == 0 && retryWrites();
    if (ticks_ % kTicksPerRefresh == 0) {
        refresh();
        switchWatcher_.check();
    } else if (wrote) {
        refresh();
    }
}

bool AppModel::loggingPaused() const {
    const auto until = monitor_.pausedUntil();
    return until && *until > services_.clock.now();
}

void AppModel::announce(Field field) {
    if (batchDepth_ == 0) {
        observers_.notify(field);
    } else if (std::find(held_.begin(), held_.end(), field) == held_.end()) {
        held_.push_back(field);
    }
}

AppModel::Batch::~Batch() {
    if (--model_.batchDepth_ == 0) {
        for (Field field : std::exchange(model_.held_, {})) {
            model_.observers_.notify(field);
        }
    }
}

void AppModel::refresh() {
    Batch batch(*this);
    now_ = services_.clock.now();

    std::map<Features::Key, bool> switches;
    for (auto key : Features::allKeys()) {
        switches[key] = features_.isEnabled(key);
    }
    assign(enabled_, std::move(switches), Field::enabled);
    assign(isPaused_, loggingPaused(), Field::isPaused);
    assign(projects_, readOr([&] { return database_.fetchProjects(); }, {}), Field::projects);
    assign(currentAnnotation_,
           isOn(Features::Key::workingOn)
               ? readOr([&] { return database_.currentAnnotation(); }, std::nullopt)
               : std::nullopt,
           Field::currentAnnotation);
    // The day's notes are read once, for the task's time and for the day's
    // report, and the projects just read serve the report too: each read of
    // the notes goes through all notes begun before the range ends.
    const TimePoint dayStart = calendar::startOfDay(now_);
    const TimePoint dayEnd = calendar::addDays(dayStart, 1);
    const auto annotations =
        readOr([&] { return database_.fetchAnnotations(dayStart, dayEnd); }, {});
    loadTaskTime(dayStart, annotations);
    assign(today_,
           analyse(dayStart, dayEnd,
                   readOr([&] { return database_.fetchActivities(dayStart, dayEnd); }, {}),
                   annotations, projects_),
           Field::today);
    assign(currentProject_, projectForNow(), Field::currentProject);
    assign(notice_, noticeNow(), Field::notice);
}

void AppModel::loadTaskTime(TimePoint dayStart, const std::vector<Annotation>& today) {
    std::optional<std::string> label;
    if (currentAnnotation_) {
        label = currentAnnotation_->text;
    } else if (isPaused_) {
        label = pausedTask_;
    }
    assign(taskText_, label, Field::taskText);
    assign(taskRunningSince_,
           currentAnnotation_ ? std::optional(currentAnnotation_->startedAt) : std::nullopt,
           Field::taskRunningSince);
    Duration base = 0;
    if (label) {
        for (const auto& annotation : today) {
            // Only finished pieces begun before now; one that began before
            // midnight counts from midnight.
            if (annotation.startedAt < now_ && annotation.text == *label && annotation.endedAt) {
                base += *annotation.endedAt - std::max(annotation.startedAt, dayStart);
            }
        }
    }
    assign(taskBase_, base, Field::taskBase);
}

std::optional<std::string> AppModel::projectForNow() {
    if (!isOn(Features::Key::projects)) {
        return std::nullopt;
    }
    std::optional<std::string> label =
        currentAnnotation_ ? std::optional(currentAnnotation_->text) : pausedTask_;
    if (label) {
        if (auto found = ProjectSearch(projects_).find(*label)) {
            return projects_[*found].name;
        }
    }
    // What the windows of the last hour say.
    const TimePoint from = now_ - kProjectEvidence;
    auto activities = readOr([&] { return database_.fetchActivities(from, now_); }, {});
    auto annotations = readOr([&] { return database_.fetchAnnotations(from, now_); }, {});
    auto pairs = ProjectMatcher::assign(activities, projects_, annotations,
                                        ProjectMatcher::kDefaultCarryOver, now_);
    if (pairs.empty()) {
        return std::nullopt;
    }
    const auto& last = pairs.back();
    const TimePoint end = last.activity->endTime.value_or(now_);
    if (now_ - end >= kRecentWork || !last.project) {
        return std::nullopt;
    }
    return projects_[*last.project].name;
}

std::string AppModel::noticeNow() const {
    const auto language = L10n::language(features_);
    if (monitor_.writeFailure()) {
        return L10n::string(language, "Loggen kan ikke skrives, så ingenting blir logget.");
    }
    // Blindness matters only while there is logging to do.
    if (features_.isEnabled(Features::Key::activityLogging)) {
        const auto sight = monitor_.sight();
        if (!sight.frontApplication && sight.completeAfterLogin) {
            return L10n::string(
                language, "Kvillo ser hvilket program du bruker fra neste gang du logger inn.");
        }
        if (!sight.frontApplication) {
            return L10n::string(
                language,
                "Kvillo ser ikke hvilket program du bruker her, så ingenting blir logget.");
        }
        if (!sight.idleTime && features_.isEnabled(Features::Key::idleDetection)) {
            return L10n::string(language, "Kvillo ser ikke når du er borte fra maskinen her.");
        }
    }
    const auto settings = features_.settingsFileState();
    if (settings == SettingsStore::FileState::corrupt ||
        settings == SettingsStore::FileState::unreadable) {
        return L10n::string(language,
                            "Innstillingsfilen kan ikke leses, så AI-tilgang er slått av.");
    }
    return {};
}

bool AppModel::isOn(Features::Key key) const {
    auto found = enabled_.find(key);
    return found != enabled_.end() ? found->second : features_.isEnabled(key);
}

void AppModel::set(Features::Key key, bool on) {
    Batch batch(*this);
    features_.set(key, on);
    auto switches = enabled_;
    switches[key] = on;
    assign(enabled_, std::move(switches), Field::enabled);
    if (key == Features::Key::activityLogging || key == Features::Key::windowTitles) {
        monitor_.refresh();
    }
    refresh();
}

Duration AppModel::taskElapsed(TimePoint at) const {
    return taskBase_ + (taskRunningSince_ ? at - *taskRunningSince_ : 0);
}

std::string AppModel::taskClock() const {
    return taskText_ ? Fmt::clock(taskElapsed(ticker_.now())) : kNoTaskClock;
}

void AppModel::startTask(const std::optional<std::string>& project, const std::string& task,
                         TimePoint at) {
    const bool resumed = loggingPaused();
    if (resumed) {
        monitor_.resume();
    }
    pausedTask_.reset();
    std::string text(trim(task));
    if (project && !project->empty() &&
        foldCase(text).find(foldCase(*project)) == std::string::npos) {
        text = text.empty() ? *project : *project + " \u2013 " + text;
    }
    if (text.empty()) {
        // Nothing to start, but the pause did end.
        if (resumed) {
            refresh();
        }
        return;
    }
    // The store ends the running task at `at`, never before its own start.
    write([annotation = Annotation{.text = text, .startedAt = at}](Database& database) {
        database.insertAnnotation(annotation);
    });
    refresh();
}

void AppModel::togglePause() {
    const TimePoint now = services_.clock.now();
    if (loggingPaused()) {
        monitor_.resume();
        if (pausedTask_) {
            write([annotation = Annotation{.text = *pausedTask_, .startedAt = now}](
                      Database& database) { database.insertAnnotation(annotation); });
        }
        pausedTask_.reset();
    } else {
        pausedTask_ = currentAnnotation_ ? std::optional(currentAnnotation_->text) : std::nullopt;
        write([now](Database& database) { database.endCurrentAnnotation(now); });
        monitor_.pause(kUntilResumed);
    }
    refresh();
}

void AppModel::endTask() {
    pausedTask_.reset();
    write(
        [now = services_.clock.now()](Database& database) { database.endCurrentAnnotation(now); });
    refresh();
}

void AppModel::saveProject(const std::string& name, const std::string& keywords,
                           const std::optional<std::string>& replacing) {
    const std::string trimmed(trim(name));
    if (trimmed.empty()) {
        return;
    }
    // A rename that changes only letter case keeps the row, and its spelling.
    if (replacing && foldCase(*replacing) != foldCase(trimmed)) {
        write([old = *replacing](Database& database) { database.deleteProject(old); });
    }
    write([trimmed, list = Project::parseKeywords(keywords)](Database& database) {
        database.saveProject(trimmed, list);
    });
    refresh();
}

void AppModel::deleteProject(const std::string& name) {
    write([name](Database& database) { database.deleteProject(name); });
    refresh();
}

std::vector<AppModel::ClientRow> AppModel::clients() const {
    std::vector<ClientRow> rows;
    if (const auto* installer = services_.installer) {
        for (auto client : McpClients::allCases()) {
            rows.push_back({client, installer->state(client)});
        }
    }
    return rows;
}

void AppModel::connectClient(McpClient client, bool connect) {
    auto* installer = services_.installer;
    if (!installer) {
        return;
    }
    const auto language = L10n::language(features_);
    clientWork_ = std::async(std::launch::async, [=, this, before = clientWork_,
                                                  self = std::weak_ptr(self_)] {
                      if (before.valid()) {
                          before.wait();
                      }
                      std::string error;
                      try {
                          connect ? installer->install(client) : installer->uninstall(client);
                      } catch (const McpInstallError& failure) {
                          error = failure.description(language);
                      }
                      services_.uiThread.post([self, error] {
                          if (auto model = self.lock()) {
                              (*model)->clientError_ = error;
                              (*model)->announce(Field::clients);
                          }
                      });
                  }).share();
}

void AppModel::checkForUpdates() {
    if (auto* updates = services_.updateChecker) {
        updates->checkForUpdates();
    }
}

void AppModel::downloadUpdate() {
    if (auto* updates = services_.updateChecker; updates && latestRelease_) {
        updates->downloadAndInstall(*latestRelease_);
    }
}

void AppModel::installUpdate() {
    if (auto* updates = services_.updateChecker) {
        updates->openDownload();
    }
}

Report AppModel::report(TimePoint from, TimePoint to) {
    return analyse(from, to, readOr([&] { return database_.fetchActivities(from, to); }, {}),
                   readOr([&] { return database_.fetchAnnotations(from, to); }, {}),
                   readOr([&] { return database_.fetchProjects(); }, {}));
}

Report AppModel::analyse(TimePoint from, TimePoint to, const std::vector<Activity>& activities,
                         const std::vector<Annotation>& annotations,
                         const std::vector<Project>& projects) const {
    const TimePoint now = services_.clock.now();
    return PeriodReport::analyse(activities, annotations, projects, TimeRange{from, to},
                                 ReportSwitches{.focusSessions = isOn(Features::Key::focusSessions),
                                                .projects = isOn(Features::Key::projects),
                                                .workingOn = isOn(Features::Key::workingOn)},
                                 now);
}

// Changes go to the store in the order they were made: one waiting for the
// lock holds back those after it.
void AppModel::write(Write change) {
    if (pendingWrites_.empty()) {
        try {
            change(database_);
            return;
        } catch (const DatabaseError& error) {
            if (error.kind() != DatabaseError::Kind::busy) {
                return;
            }
        }
    }
    pendingWrites_.push_back(std::move(change));
}

bool AppModel::retryWrites() {
    while (!pendingWrites_.empty()) {
        try {
            pendingWrites_.front()(database_);
        } catch (const DatabaseError& error) {
            if (error.kind() == DatabaseError::Kind::busy) {
                return false;
            }
        }
        pendingWrites_.pop_front();
    }
    return true;
}

}  // namespace kvillo
