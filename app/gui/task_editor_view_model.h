#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include "core/localisation/language.h"

namespace kvillo {

class AppModel;

// The task editor that replaces the card: its texts, the project choices
// ("Uten prosjekt" first, then the projects in the store's order, shown only
// with the projects switch on and at least one project), and the project and
// task being edited. begin() fills them from the model; save() starts the
// task now.
//
// Threads: the UI thread. `model` must outlive it.
class TaskEditorViewModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(bool showProjects READ showProjects NOTIFY changed)
    Q_PROPERTY(QString projectLabel READ projectLabel NOTIFY changed)
    Q_PROPERTY(QStringList projectChoices READ projectChoices NOTIFY changed)
    Q_PROPERTY(QString placeholder READ placeholder NOTIFY changed)
    Q_PROPERTY(QString cancelText READ cancelText NOTIFY changed)
    Q_PROPERTY(QString startText READ startText NOTIFY changed)
    // 0 is no project; n is the n-th project.
    Q_PROPERTY(int projectIndex READ projectIndex WRITE setProjectIndex NOTIFY projectIndexChanged)
    Q_PROPERTY(QString task READ task WRITE setTask NOTIFY taskChanged)

public:
    explicit TaskEditorViewModel(AppModel& model, QObject* parent = nullptr);

    void update(Language language);

    QString title() const { return state_.title; }
    bool showProjects() const { return state_.showProjects; }
    QString projectLabel() const { return state_.projectLabel; }
    QStringList projectChoices() const { return state_.projectChoices; }
    QString placeholder() const { return state_.placeholder; }
    QString cancelText() const { return state_.cancelText; }
    QString startText() const { return state_.startText; }
    int projectIndex() const { return projectIndex_; }
    void setProjectIndex(int index);
    QString task() const { return task_; }
    void setTask(const QString& task);

    // The current project and the task as the card names it.
    Q_INVOKABLE void begin();
    // Starts the edited task now (the project chosen, if any).
    Q_INVOKABLE void save();

signals:
    void changed();
    void projectIndexChanged();
    void taskChanged();

private:
    struct State {
        QString title;
        bool showProjects = false;
        QString projectLabel;
        QStringList projectChoices;
        QString placeholder, cancelText, startText;
        bool operator==(const State&) const = default;
    };

    AppModel& model_;
    State state_;
    int projectIndex_ = 0;
    QString task_;
};

}  // namespace kvillo
