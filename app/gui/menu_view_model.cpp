#include "app/gui/menu_view_model.h"

#include <variant>

#include "app/gui/app_model_object.h"
#include "app/gui/theme.h"
#include "app/gui/ui_text.h"
#include "core/analysis/fmt.h"

namespace kvillo {
namespace {

QVariantMap row(const char* action, const char* icon, const QString& title) {
    return {{"action", action}, {"icon", icon}, {"title", title}};
}

}  // namespace

MenuViewModel::MenuViewModel(AppModelObject& model, Theme& theme, QObject* parent)
    : QObject(parent),
      object_(model),
      model_(model.model()),
      card_(model_, this),
      editor_(model_, this),
      today_(model_, theme, this) {
    for (auto signal : {&AppModelObject::enabledChanged, &AppModelObject::taskChanged,
                        &AppModelObject::currentProjectChanged, &AppModelObject::projectsChanged,
                        &AppModelObject::isPausedChanged, &AppModelObject::noticeChanged,
                        &AppModelObject::todayChanged, &AppModelObject::updateChanged,
                        &AppModelObject::languageChanged}) {
        connect(&object_, signal, this, &MenuViewModel::update);
    }
    connect(&object_, &AppModelObject::taskClockChanged, &card_, &TaskCardViewModel::clockChanged);
    connect(&theme, &Theme::changed, this, &MenuViewModel::update);
    update();
}

void MenuViewModel::update() {
    const Language language = L10n::language(model_.features());
    card_.update(language);
    editor_.update(language);
    today_.update(language);

    State next;
    next.todayText = uiText(language, "I dag %@", {Fmt::duration(model_.today().active, language)});
    next.notice = QString::fromStdString(model_.notice());
    next.loggingOff = !model_.isOn(Features::Key::activityLogging);
    next.loggingOffText = uiText(language, "Logging er slått av");
    next.turnOnText = uiText(language, "Slå på");
    next.showTask = model_.isOn(Features::Key::workingOn);
    next.footerRows = footerRows(model_.updateState(), language);
    if (!(next == state_)) {
        state_ = std::move(next);
        emit changed();
    }
}

QVariantList MenuViewModel::footerRows(const UpdateState& state, Language language) {
    QVariantList rows{row("overview", "chart", uiText(language, "Oversikt"))};
    if (const auto* available = std::get_if<updates::Available>(&state)) {
        rows.push_back(row("download", "download",
                           uiText(language, "Last ned oppdatering %@", {available->release.tag})));
    } else if (std::holds_alternative<updates::ReadyToInstall>(state)) {
        rows.push_back(row("install", "download", uiText(language, "Installer oppdatering")));
    }
    rows.push_back(row("settings", "gear", uiText(language, "Innstillinger")));
    rows.push_back(row("quit", "power", uiText(language, "Avslutt Kvillo")));
    return rows;
}

void MenuViewModel::turnOnLogging() {
    model_.set(Features::Key::activityLogging, true);
}

void MenuViewModel::activate(const QString& action) {
    if (action == "overview" || action == "settings") {
        emit openWindowRequested(action);
    } else if (action == "download") {
        model_.downloadUpdate();
    } else if (action == "install") {
        model_.installUpdate();
    } else if (action == "quit") {
        emit quitRequested();
    }
}

}  // namespace kvillo
