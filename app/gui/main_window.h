#pragma once

#include <QString>
#include <QWidget>

#include "core/settings/features.h"

class QLabel;

namespace kvillo {

// The main window: made once, then shown and hidden. Closing it only hides
// it; its place and size when hidden are kept in the settings and given
// back on the next launch. For now its pages are placeholders naming
// themselves. UI thread; `features` must outlive it.
class MainWindow : public QWidget {
public:
    explicit MainWindow(Features& features);

    // "overview" or "settings".
    void showPage(const QString& page);
    const QString& page() const { return page_; }

protected:
    void hideEvent(QHideEvent* event) override;

private:
    void restoreFrame();

    Features& features_;
    QString page_;
    QLabel* pageLabel_;
};

}  // namespace kvillo
