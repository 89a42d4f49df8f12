#include "app/gui/task_card_view_model.h"

#include "app/gui/ui_text.h"
#include "core/analysis/timesheet.h"
#include "core/model/app_model.h"

namespace kvillo {

QString taskDetail(const std::optional<std::string>& project,
                   const std::optional<std::string>& taskText) {
    if (!taskText) {
        return {};
    }
    if (project) {
        const std::string prefix = *project + " \u2013 ";
        if (taskText->starts_with(prefix)) {
            return QString::fromStdString(taskText->substr(prefix.size()));
        }
        if (*taskText == *project) {
            return {};
        }
    }
    return QString::fromStdString(Timesheet::displayTask(*taskText));
}

TaskCardViewModel::TaskCardViewModel(AppModel& model, QObject* parent)
    : QObject(parent), model_(model) {}

void TaskCardViewModel::update(Language language) {
    const auto& project = model_.currentProject();
    const auto& task = model_.taskText();
    State next;
    next.paused = model_.isPaused();
    next.label = next.paused ? uiText(language, "Pause") : uiText(language, "Jobber med");
    if (project) {
        next.headline = QString::fromStdString(*project);
    } else if (task) {
        next.headline = QString::fromStdString(Timesheet::displayTask(*task));
    } else {
        next.headline = uiText(language, "Hva jobber du med?");
        next.headlineIsQuestion = true;
    }
    next.editTooltip = uiText(language, "Endre prosjekt og oppgave");
    if (project && task) {
        next.subtitle = taskDetail(project, task);
    }
    next.showStop = task.has_value();
    next.stopTooltip = uiText(language, "Avslutt oppgaven");
    next.showPause = model_.isOn(Features::Key::activityLogging);
    next.pauseTooltip = next.paused ? uiText(language, "Fortsett logging")
                                    : uiText(language, "Sett logging på pause");
    if (!(next == state_)) {
        state_ = std::move(next);
        emit changed();
    }
}

QString TaskCardViewModel::clock() const {
    return QString::fromStdString(model_.taskClock());
}

void TaskCardViewModel::endTask() {
    model_.endTask();
}

void TaskCardViewModel::togglePause() {
    model_.togglePause();
}

}  // namespace kvillo
