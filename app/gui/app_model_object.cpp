#include "app/gui/app_model_object.h"

#include "core/localisation/l10n.h"

namespace kvillo {
namespace {

QString qt(const std::string& text) {
    return QString::fromStdString(text);
}

QString qt(const std::optional<std::string>& text) {
    return text ? qt(*text) : QString();
}

QVariantList namedTimes(const std::vector<NamedTime>& times) {
    QVariantList out;
    for (const auto& time : times) {
        out.push_back(QVariantMap{{"name", qt(time.name)}, {"seconds", time.seconds}});
    }
    return out;
}

}  // namespace

AppModelObject::AppModelObject(AppModel& model, QObject* parent)
    : QObject(parent),
      model_(model),
      fields_(model.onChange([this](AppModel::Field field) { announce(field); })),
      ticks_(model.ticker().onTick([this] { emit taskClockChanged(); })) {}

void AppModelObject::announce(AppModel::Field field) {
    using Field = AppModel::Field;
    switch (field) {
        case Field::enabled:
            emit enabledChanged();
            break;
        case Field::taskText:
        case Field::taskBase:
        case Field::taskRunningSince:
        case Field::currentAnnotation:
            emit taskChanged();
            emit taskClockChanged();
            break;
        case Field::currentProject:
            emit currentProjectChanged();
            break;
        case Field::today:
            emit todayChanged();
            break;
        case Field::projects:
            emit projectsChanged();
            break;
        case Field::isPaused:
            emit isPausedChanged();
            break;
        case Field::notice:
            emit noticeChanged();
            break;
        case Field::updateState:
        case Field::latestRelease:
            emit updateChanged();
            break;
        case Field::clients:
            emit clientsChanged();
            break;
    }
}

QVariantMap AppModelObject::enabled() const {
    QVariantMap out;
    for (auto key : Features::allKeys()) {
        out.insert(qt(std::string(Features::rawValue(key))), model_.isOn(key));
    }
    return out;
}

bool AppModelObject::hasTask() const {
    return model_.taskText().has_value();
}

QString AppModelObject::taskText() const {
    return qt(model_.taskText());
}

bool AppModelObject::taskRunning() const {
    return model_.taskRunningSince().has_value();
}

QString AppModelObject::taskClock() const {
    return qt(model_.taskClock());
}

QString AppModelObject::currentProject() const {
    return qt(model_.currentProject());
}

QVariantList AppModelObject::projects() const {
    QVariantList out;
    for (const auto& project : model_.projects()) {
        QStringList keywords;
        for (const auto& keyword : project.keywords) {
            keywords.push_back(qt(keyword));
        }
        out.push_back(QVariantMap{{"name", qt(project.name)}, {"keywords", keywords}});
    }
    return out;
}

bool AppModelObject::isPaused() const {
    return model_.isPaused();
}

QString AppModelObject::notice() const {
    return qt(model_.notice());
}

double AppModelObject::todayActive() const {
    return model_.today().active;
}

double AppModelObject::todayUnmatched() const {
    return model_.today().unmatched;
}

QVariantList AppModelObject::todayProjects() const {
    return namedTimes(model_.today().projects);
}

QVariantList AppModelObject::todayApps() const {
    return namedTimes(model_.today().apps);
}

bool AppModelObject::canUpdate() const {
    return model_.canUpdate();
}

QString AppModelObject::updateStatus() const {
    struct Name {
        const char* operator()(const updates::Idle&) const { return "idle"; }
        const char* operator()(const updates::Checking&) const { return "checking"; }
        const char* operator()(const updates::UpToDate&) const { return "upToDate"; }
        const char* operator()(const updates::Available&) const { return "available"; }
        const char* operator()(const updates::Downloading&) const { return "downloading"; }
        const char* operator()(const updates::ReadyToInstall&) const { return "readyToInstall"; }
        const char* operator()(const updates::Error&) const { return "error"; }
    };
    return QString::fromLatin1(std::visit(Name{}, model_.updateState()));
}

double AppModelObject::updateProgress() const {
    const auto* downloading = std::get_if<updates::Downloading>(&model_.updateState());
    return downloading ? downloading->fraction : 0;
}

QString AppModelObject::updateText() const {
    if (const auto* error = std::get_if<updates::Error>(&model_.updateState())) {
        return qt(error->text);
    }
    if (const auto* ready = std::get_if<updates::ReadyToInstall>(&model_.updateState())) {
        return qt(ready->note);
    }
    return {};
}

QString AppModelObject::latestVersion() const {
    return model_.latestRelease() ? qt(model_.latestRelease()->tag) : QString();
}

QVariantList AppModelObject::clients() const {
    const auto language = L10n::language(model_.features());
    QVariantList out;
    for (const auto& row : model_.clients()) {
        static constexpr const char* kStatus[] = {"connected", "notConnected", "notInstalled",
                                                  "unusable"};
        out.push_back(QVariantMap{
            {"id", qt(std::string(McpClients::commandLineName(row.client)))},
            {"name", qt(std::string(McpClients::displayName(row.client)))},
            {"status", QString::fromLatin1(kStatus[static_cast<int>(row.state.status)])},
            {"problem", row.state.problem ? qt(row.state.problem->summary(language)) : QString()},
        });
    }
    return out;
}

QString AppModelObject::clientError() const {
    return qt(model_.clientError());
}

QString AppModelObject::language() const {
    const auto language = model_.features().language();
    return language ? qt(std::string(language->code())) : QString();
}

void AppModelObject::setLanguage(const QString& code) {
    const auto before = language();
    model_.features().setLanguage(Language::fromCode(code.toStdString()));
    if (language() != before) {
        emit languageChanged();
        // The model's own texts (the notice) follow at once, not at the
        // next refresh.
        model_.refresh();
    }
}

void AppModelObject::refresh() {
    model_.refresh();
}

void AppModelObject::setEnabled(const QString& key, bool on) {
    if (auto found = Features::keyFromRawValue(key.toStdString())) {
        model_.set(*found, on);
    }
}

void AppModelObject::startTask(const QString& project, const QString& task) {
    model_.startTask(project.isEmpty() ? std::nullopt : std::optional(project.toStdString()),
                     task.toStdString(), model_.clock().now());
}

void AppModelObject::togglePause() {
    model_.togglePause();
}

void AppModelObject::endTask() {
    model_.endTask();
}

void AppModelObject::saveProject(const QString& name, const QString& keywords,
                                 const QString& replacing) {
    model_.saveProject(name.toStdString(), keywords.toStdString(),
                       replacing.isEmpty() ? std::nullopt : std::optional(replacing.toStdString()));
}

void AppModelObject::deleteProject(const QString& name) {
    model_.deleteProject(name.toStdString());
}

void AppModelObject::checkForUpdates() {
    model_.checkForUpdates();
}

void AppModelObject::downloadUpdate() {
    model_.downloadUpdate();
}

void AppModelObject::installUpdate() {
    model_.installUpdate();
}

void AppModelObject::connectClient(const QString& id, bool connect) {
    if (auto client = McpClients::fromCommandLineName(id.toStdString())) {
        model_.connectClient(*client, connect);
    }
}

}  // namespace kvillo
