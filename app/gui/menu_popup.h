#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPoint>
#include <QSize>
#include <QString>

#include <memory>
#include <optional>

class QQuickWindow;

namespace kvillo {

class AppModelObject;
class DesktopColorScheme;
class MenuViewModel;
class Theme;

// The tray's popup: a frameless window over the model that closes when it
// loses focus or on Escape. Its content is built once, at construction, so
// that showing it is quick. UI thread; needs a QGuiApplication and the
// brand font registered. `model` must outlive it.
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
    // Whether it closed an instant ago because it lost the focus: a click
    // on the tray icon does that before the icon hears the click, which
    // must then not open it again.
    bool lostFocusJustNow() const;

    // For tests and screenshots.
    QQuickWindow* window() const;
    Theme& theme() { return *theme_; }

signals:
    void openWindowRequested(const QString& page);  // "overview" or "settings"
    void quitRequested();

private:
    class View;
    void closeOnFocusLoss();

    QElapsedTimer focusLost_;

    std::unique_ptr<Theme> theme_;
    std::unique_ptr<DesktopColorScheme> scheme_;
    std::unique_ptr<MenuViewModel> menu_;
    std::unique_ptr<View> view_;
};

}  // namespace kvillo
