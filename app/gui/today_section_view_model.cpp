#include "app/gui/today_section_view_model.h"

#include <algorithm>
#include <vector>

#include "app/gui/theme.h"
#include "app/gui/ui_text.h"
#include "core/analysis/fmt.h"
#include "core/analysis/period_text.h"
#include "core/model/app_model.h"

namespace kvillo {

TodaySectionViewModel::TodaySectionViewModel(AppModel& model, const Theme& theme, QObject* parent)
    : QObject(parent), model_(model), theme_(theme) {}

void TodaySectionViewModel::update(Language language) {
    struct Row {
        QString name;
        Duration seconds;
        bool unmatched;
    };
    const auto& today = model_.today();
    const bool projectsMode = model_.isOn(Features::Key::projects) && !model_.projects().empty();
    std::vector<Row> rows;
    if (projectsMode) {
        for (const auto& project : today.projects) {
            rows.push_back({QString::fromStdString(project.name), project.seconds, false});
        }
        if (today.unmatched > 0) {
            rows.push_back({QString::fromStdString(PeriodText::unmatchedName(language)),
                            today.unmatched, true});
        }
    } else {
        for (const auto& app : today.apps) {
            if (rows.size() == kMaximumApps) {
                break;
            }
            rows.push_back({QString::fromStdString(app.name), app.seconds, false});
        }
    }
    Duration largest = 0;
    for (const auto& row : rows) {
        largest = std::max(largest, row.seconds);
    }
    if (largest <= 0) {
        largest = 1;
    }

    QVariantList shown;
    for (const auto& row : rows) {
        const QColor color = projectsMode ? Theme::projectColor(row.name, row.unmatched,
                                                                model_.projects(), theme_.dark())
                                          : theme_.color("lavender");
        shown.push_back(QVariantMap{
            {"name", row.name},
            {"duration", QString::fromStdString(Fmt::duration(row.seconds, language))},
            {"barWidth", std::max(kMinimumBar, row.seconds / largest * kTrackWidth)},
            {"color", color},
        });
    }
    const QString title =
        projectsMode ? uiText(language, "Prosjekter i dag") : uiText(language, "Apper i dag");
    const QString emptyText = uiText(language, "Ingenting logget ennå");
    if (projectsMode != projectsMode_ || title != title_ || emptyText != emptyText_ ||
        shown != rows_) {
        projectsMode_ = projectsMode;
        title_ = title;
        emptyText_ = emptyText;
        rows_ = std::move(shown);
        emit changed();
    }
}

}  // namespace kvillo
