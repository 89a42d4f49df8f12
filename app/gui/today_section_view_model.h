#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>

#include "core/localisation/language.h"

namespace kvillo {

class AppModel;
class Theme;

// The menu's "today" list: per project (with the time no project claimed as
// a last row) when the projects switch is on and a project exists, else the
// first five applications. Each row is {name, duration, barWidth, color}:
// the bar is the row's share of the largest row over kTrackWidth, never
// shorter than kMinimumBar.
//
// Threads: the UI thread. `model` and `theme` must outlive it.
class TodaySectionViewModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool projectsMode READ projectsMode NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString emptyText READ emptyText NOTIFY changed)
    Q_PROPERTY(QVariantList rows READ rows NOTIFY changed)
    Q_PROPERTY(double trackWidth READ trackWidth CONSTANT)

public:
    // The menu's width less its padding.
    static constexpr double kTrackWidth = 320 - 2 * 14;
    static constexpr double kMinimumBar = 6;
    static constexpr int kMaximumApps = 5;

    TodaySectionViewModel(AppModel& model, const Theme& theme, QObject* parent = nullptr);

    void update(Language language);

    bool projectsMode() const { return projectsMode_; }
    QString title() const { return title_; }
    QString emptyText() const { return emptyText_; }
    QVariantList rows() const { return rows_; }
    double trackWidth() const { return kTrackWidth; }

signals:
    void changed();

private:
    AppModel& model_;
    const Theme& theme_;
    bool projectsMode_ = false;
    QString title_, emptyText_;
    QVariantList rows_;
};

}  // namespace kvillo
