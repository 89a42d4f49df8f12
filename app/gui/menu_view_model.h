#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>

#include "app/gui/task_card_view_model.h"
#include "app/gui/task_editor_view_model.h"
#include "app/gui/today_section_view_model.h"
#include "core/integrations/update_checker.h"
#include "core/localisation/language.h"

namespace kvillo {

class AppModelObject;
class Theme;

// Everything the tray's popup shows, display-ready and in the chosen
// language: the header's day total, the model's notice, the logging-off
// notice, whether the task area shows, the card, the editor, the today
// section and the footer rows. It reads the model again at every change the
// model announces, and at every change of the language or the theme, so the
// popup follows the language setting while it is open.
//
// Footer rows are {action, icon, title}; activate(action) carries one out:
// "overview" and "settings" ask for the main window, "download" and
// "install" go to the model, "quit" asks the program to end.
//
// Threads: the UI thread. `model` and `theme` must outlive it.
class MenuViewModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString todayText READ todayText NOTIFY changed)
    Q_PROPERTY(QString notice READ notice NOTIFY changed)
    Q_PROPERTY(bool loggingOff READ loggingOff NOTIFY changed)
    Q_PROPERTY(QString loggingOffText READ loggingOffText NOTIFY changed)
    Q_PROPERTY(QString turnOnText READ turnOnText NOTIFY changed)
    Q_PROPERTY(bool showTask READ showTask NOTIFY changed)
    Q_PROPERTY(QVariantList footerRows READ footerRows NOTIFY changed)
    Q_PROPERTY(QObject* card READ card CONSTANT)
    Q_PROPERTY(QObject* editor READ editor CONSTANT)
    Q_PROPERTY(QObject* today READ today CONSTANT)

public:
    MenuViewModel(AppModelObject& model, Theme& theme, QObject* parent = nullptr);

    // The footer's rows for an update state: at most one update row.
    static QVariantList footerRows(const UpdateState& state, Language language);

    QString todayText() const { return state_.todayText; }
    QString notice() const { return state_.notice; }
    bool loggingOff() const { return state_.loggingOff; }
    QString loggingOffText() const { return state_.loggingOffText; }
    QString turnOnText() const { return state_.turnOnText; }
    bool showTask() const { return state_.showTask; }
    QVariantList footerRows() const { return state_.footerRows; }
    TaskCardViewModel* card() { return &card_; }
    TaskEditorViewModel* editor() { return &editor_; }
    TodaySectionViewModel* today() { return &today_; }

    // Reads the model and the language setting again.
    Q_INVOKABLE void update();
    Q_INVOKABLE void turnOnLogging();
    Q_INVOKABLE void activate(const QString& action);

signals:
    void changed();
    // "overview" or "settings".
    void openWindowRequested(const QString& page);
    void quitRequested();

private:
    struct State {
        QString todayText, notice;
        bool loggingOff = false;
        QString loggingOffText, turnOnText;
        bool showTask = false;
        QVariantList footerRows;
        bool operator==(const State&) const = default;
    };

    AppModelObject& object_;
    AppModel& model_;
    TaskCardViewModel card_;
    TaskEditorViewModel editor_;
    TodaySectionViewModel today_;
    State state_;
};

}  // namespace kvillo
