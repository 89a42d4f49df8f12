#pragma once

#include <QObject>
#include <QPoint>
#include <QSize>
#include <QString>

#include <memory>
#include <optional>

#include "app/gui/app_model_object.h"

class QWidget;

namespace kvillo {

// The tray's popup: a frameless window over the model that closes when it
// loses focus or on Escape. UI thread.
//
// This one is a stand-in with no content yet, so that the tray around it
// can be built and tested; the menu's view replaces it behind the same
// interface.
class MenuPopup : public QObject {
    Q_OBJECT
public:
    MenuPopup(AppModelObject& model, QObject* parent = nullptr);
    ~MenuPopup() override;

    bool isVisible() const;
    // Shows it with its top-left at `topLeft` (X11) or wherever the
    // compositor puts it (pass std::nullopt), takes keyboard focus.
    void showAt(std::optional<QPoint> topLeft);
    void close();
    QSize sizeHint() const;  // for placement, 320 px wide

signals:
    void openWindowRequested(const QString& page);  // "overview" or "settings"
    void quitRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    AppModelObject& model_;
    std::unique_ptr<QWidget> window_;
};

}  // namespace kvillo
