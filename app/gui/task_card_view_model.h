#pragma once

#include <QObject>
#include <QString>

#include <optional>
#include <string>

#include "core/localisation/language.h"

namespace kvillo {

class AppModel;

// What the task is called beside its project: `taskText` without the
// "project – " prefix that starting a task adds, empty when the text is the
// project name alone, else the text's display form. Without a project, the
// display form; without a task, empty.
QString taskDetail(const std::optional<std::string>& project,
                   const std::optional<std::string>& taskText);

// The menu's task card, display-ready: the label, the headline (the current
// project, else the task, else the question, shown dimmed), the subtitle,
// the timer's text and which buttons show with their tooltips.
//
// Threads: the UI thread. `model` must outlive it.
class TaskCardViewModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString label READ label NOTIFY changed)
    Q_PROPERTY(QString headline READ headline NOTIFY changed)
    Q_PROPERTY(bool headlineIsQuestion READ headlineIsQuestion NOTIFY changed)
    Q_PROPERTY(QString editTooltip READ editTooltip NOTIFY changed)
    Q_PROPERTY(QString subtitle READ subtitle NOTIFY changed)
    Q_PROPERTY(QString clock READ clock NOTIFY clockChanged)
    Q_PROPERTY(bool paused READ paused NOTIFY changed)
    Q_PROPERTY(bool showStop READ showStop NOTIFY changed)
    Q_PROPERTY(QString stopTooltip READ stopTooltip NOTIFY changed)
    Q_PROPERTY(bool showPause READ showPause NOTIFY changed)
    Q_PROPERTY(QString pauseTooltip READ pauseTooltip NOTIFY changed)

public:
    explicit TaskCardViewModel(AppModel& model, QObject* parent = nullptr);

    // Reads the model again; `changed` only when something shown differs.
    void update(Language language);

    QString label() const { return state_.label; }
    QString headline() const { return state_.headline; }
    bool headlineIsQuestion() const { return state_.headlineIsQuestion; }
    QString editTooltip() const { return state_.editTooltip; }
    QString subtitle() const { return state_.subtitle; }
    QString clock() const;
    bool paused() const { return state_.paused; }
    bool showStop() const { return state_.showStop; }
    QString stopTooltip() const { return state_.stopTooltip; }
    bool showPause() const { return state_.showPause; }
    QString pauseTooltip() const { return state_.pauseTooltip; }

    Q_INVOKABLE void endTask();
    Q_INVOKABLE void togglePause();

signals:
    void changed();
    void clockChanged();

private:
    struct State {
        QString label, headline;
        bool headlineIsQuestion = false;
        QString editTooltip, subtitle;
        bool paused = false, showStop = false;
        QString stopTooltip;
        bool showPause = false;
        QString pauseTooltip;
        bool operator==(const State&) const = default;
    };

    AppModel& model_;
    State state_;
};

}  // namespace kvillo
