#include "app/gui/task_editor_view_model.h"

#include "app/gui/task_card_view_model.h"
#include "app/gui/ui_text.h"
#include "core/model/app_model.h"

namespace kvillo {

TaskEditorViewModel::TaskEditorViewModel(AppModel& model, QObject* parent)
    : QObject(parent), model_(model) {}

void TaskEditorViewModel::update(Language language) {
    State next;
    next.title = uiText(language, "Hva jobber du med?");
    next.showProjects = model_.isOn(Features::Key::projects) && !model_.projects().empty();
    next.projectLabel = uiText(language, "Prosjekt");
    next.projectChoices.push_back(uiText(language, "Uten prosjekt"));
    for (const auto& project : model_.projects()) {
        next.projectChoices.push_back(QString::fromStdString(project.name));
    }
    next.placeholder = uiText(language, "Oppgave, f.eks. Kraftnod-integrasjon");
    next.cancelText = uiText(language, "Avbryt");
    next.startText = uiText(language, "Start");
    if (!(next == state_)) {
        state_ = std::move(next);
        emit changed();
    }
}

void TaskEditorViewModel::setProjectIndex(int index) {
    if (index != projectIndex_) {
        projectIndex_ = index;
        emit projectIndexChanged();
    }
}

void TaskEditorViewModel::setTask(const QString& task) {
    if (task != task_) {
        task_ = task;
        emit taskChanged();
    }
}

void TaskEditorViewModel::begin() {
    const auto& project = model_.currentProject();
    int index = 0;
    if (project) {
        const auto& projects = model_.projects();
        for (std::size_t i = 0; i < projects.size(); ++i) {
            if (projects[i].name == *project) {
                index = static_cast<int>(i) + 1;
            }
        }
    }
    setProjectIndex(index);
    setTask(taskDetail(project, model_.taskText()));
}

void TaskEditorViewModel::save() {
    std::optional<std::string> project;
    const auto& projects = model_.projects();
    if (state_.showProjects && projectIndex_ > 0 &&
        projectIndex_ <= static_cast<int>(projects.size())) {
        project = projects[projectIndex_ - 1].name;
    }
    model_.startTask(project, task_.toStdString(), model_.clock().now());
}

}  // namespace kvillo
