#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

#include "core/events/observer_list.h"
#include "core/model/app_model.h"

namespace kvillo {

// The app model as QML sees it: its fields as properties, each with a change
// signal raised when the model announces that field, and its operations as
// invokable methods. Values cross as plain Qt values; the decisions stay in
// the model.
//
// Threads: the UI thread. The model must outlive it.
class AppModelObject : public QObject {
    Q_OBJECT
    // Switch name (as in the settings file) -> on.
    Q_PROPERTY(QVariantMap enabled READ enabled NOTIFY enabledChanged)
    Q_PROPERTY(bool hasTask READ hasTask NOTIFY taskChanged)
    Q_PROPERTY(QString taskText READ taskText NOTIFY taskChanged)
    Q_PROPERTY(bool taskRunning READ taskRunning NOTIFY taskChanged)
    // The timer's text, moving every second.
    Q_PROPERTY(QString taskClock READ taskClock NOTIFY taskClockChanged)
    Q_PROPERTY(QString currentProject READ currentProject NOTIFY currentProjectChanged)
    // [{name, keywords: [..]}] in the store's order.
    Q_PROPERTY(QVariantList projects READ projects NOTIFY projectsChanged)
    Q_PROPERTY(bool isPaused READ isPaused NOTIFY isPausedChanged)
    Q_PROPERTY(QString notice READ notice NOTIFY noticeChanged)
    // Today's active seconds, and [{name, seconds}] per project (largest
    // first, the unmatched time apart) and per application.
    Q_PROPERTY(double todayActive READ todayActive NOTIFY todayChanged)
    Q_PROPERTY(double todayUnmatched READ todayUnmatched NOTIFY todayChanged)
    Q_PROPERTY(QVariantList todayProjects READ todayProjects NOTIFY todayChanged)
    Q_PROPERTY(QVariantList todayApps READ todayApps NOTIFY todayChanged)
    // The update control: whether there is one, what it shows ("idle",
    // "checking", "upToDate", "available", "downloading", "readyToInstall",
    // "error"), the download's progress (0 to 1), the error or install note,
    // and the newer release's tag.
    Q_PROPERTY(bool canUpdate READ canUpdate CONSTANT)
    Q_PROPERTY(QString updateStatus READ updateStatus NOTIFY updateChanged)
    Q_PROPERTY(double updateProgress READ updateProgress NOTIFY updateChanged)
    Q_PROPERTY(QString updateText READ updateText NOTIFY updateChanged)
    Q_PROPERTY(QString latestVersion READ latestVersion NOTIFY updateChanged)
    // The AI assistants: [{id, name, status ("connected", "notConnected",
    // "notInstalled", "unusable"), problem}], read when asked; and why the
    // last connection failed (empty when it did not).
    Q_PROPERTY(QVariantList clients READ clients NOTIFY clientsChanged)
    Q_PROPERTY(QString clientError READ clientError NOTIFY clientsChanged)
    // The chosen interface language's code ("nb", "en", "es", "fr"), empty
    // when the system's is followed. Setting it saves it; an unknown code is
    // none.
    Q_PROPERTY(QString language READ language WRITE setLanguage NOTIFY languageChanged)

public:
    explicit AppModelObject(AppModel& model, QObject* parent = nullptr);

    QVariantMap enabled() const;
    bool hasTask() const;
    QString taskText() const;
    bool taskRunning() const;
    QString taskClock() const;
    QString currentProject() const;
    QVariantList projects() const;
    bool isPaused() const;
    QString notice() const;
    double todayActive() const;
    double todayUnmatched() const;
    QVariantList todayProjects() const;
    QVariantList todayApps() const;
    bool canUpdate() const;
    QString updateStatus() const;
    double updateProgress() const;
    QString updateText() const;
    QString latestVersion() const;
    QVariantList clients() const;
    QString clientError() const;
    QString language() const;
    void setLanguage(const QString& code);

    // For the view models that compose the model's values into texts.
    AppModel& model() const { return model_; }

    Q_INVOKABLE void refresh();
    // `key` as in the settings file ("activityLogging"); an unknown key is
    // ignored.
    Q_INVOKABLE void setEnabled(const QString& key, bool on);
    // An empty project is none. Starts now.
    Q_INVOKABLE void startTask(const QString& project, const QString& task);
    Q_INVOKABLE void togglePause();
    Q_INVOKABLE void endTask();
    // An empty `replacing` creates a project.
    Q_INVOKABLE void saveProject(const QString& name, const QString& keywords,
                                 const QString& replacing);
    Q_INVOKABLE void deleteProject(const QString& name);
    Q_INVOKABLE void checkForUpdates();
    Q_INVOKABLE void downloadUpdate();
    Q_INVOKABLE void installUpdate();
    // `id` as on the command line ("claude-code"); an unknown one is ignored.
    Q_INVOKABLE void connectClient(const QString& id, bool connect);

signals:
    void enabledChanged();
    void taskChanged();
    void taskClockChanged();
    void currentProjectChanged();
    void projectsChanged();
    void isPausedChanged();
    void noticeChanged();
    void todayChanged();
    void updateChanged();
    void clientsChanged();
    void languageChanged();

private:
    void announce(AppModel::Field field);

    AppModel& model_;
    Subscription fields_;
    Subscription ticks_;
};

}  // namespace kvillo
