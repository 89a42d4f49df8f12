#pragma once

#include <QColor>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <vector>

#include "core/records/project.h"

namespace kvillo {

// The interface's named colours in their light or dark values, and the rule
// that gives each project its colour. Which of the two is in force is set
// from outside (DesktopColorScheme follows the desktop).
//
// Threads: the UI thread.
class Theme : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool dark READ dark NOTIFY changed)
    // Name ("ink", "menuBackground", ...) -> QColor, for the mode in force.
    Q_PROPERTY(QVariantMap colors READ colors NOTIFY changed)
    // The brand font's family, or the system font's where it is missing.
    Q_PROPERTY(QString fontFamily READ fontFamily CONSTANT)

public:
    Theme(QString fontFamily, QObject* parent = nullptr);

    bool dark() const { return dark_; }
    void setDark(bool dark);
    QVariantMap colors() const { return colors_; }
    QString fontFamily() const { return fontFamily_; }
    // A named colour in the mode in force; black for an unknown name.
    QColor color(const QString& name) const;

    // The colour of a bar for `name`: neutral for the time no project
    // claimed, else the eight project colours by the project's position in
    // `projects` (by a stable hash of the name when it is not there).
    static QColor projectColor(const QString& name, bool unmatched,
                               const std::vector<Project>& projects, bool dark);

signals:
    void changed();

private:
    bool dark_ = false;
    QVariantMap colors_;
    QString fontFamily_;
};

}  // namespace kvillo
