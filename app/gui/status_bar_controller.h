#pragma once

#include <QObject>
#include <QString>

#include <memory>

#include "app/gui/app_model_object.h"
#include "app/gui/main_window.h"
#include "app/gui/menu_popup.h"
#include "app/gui/tray_host_watch.h"
#include "core/settings/features.h"

class QAction;
class QMenu;
class QSystemTrayIcon;

namespace kvillo {

// The program's place on the desktop: the tray icon with its context menu,
// the popup it opens, and the one main window. UI thread; the model and the
// features must outlive it.
class StatusBarController : public QObject {
    Q_OBJECT
public:
    StatusBarController(AppModelObject& model, Features& features, QObject* parent = nullptr);
    ~StatusBarController() override;

    // Puts the icon in the tray once there is one, waiting up to ten
    // seconds; without a tray it shows the main window instead and says why
    // on stderr. Call once.
    void start();

    // Another start of the program asks to be seen: the main window when
    // one has been made, else the popup (the main window without a tray).
    void present();

    // The icon's click: closes the popup when it is open, else refreshes the
    // model and opens it by the pointer (where the compositor puts it on
    // Wayland).
    void togglePopover();

    // Closes the popup, refreshes the model and shows the main window on
    // `page` ("overview" or "settings"), made on first use.
    void showWindow(const QString& page);

    // Takes everything off the screen, the window saving its frame.
    void shutdown();

    bool hasTrayIcon() const { return trayIcon_ != nullptr; }
    const MenuPopup& popup() const { return popup_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void makeTrayIcon();
    void showPopup();
    void updateIcon();
    void updateMenu();

    AppModelObject& model_;
    Features& features_;
    MenuPopup popup_;
    std::unique_ptr<MainWindow> window_;
    TrayHostWatch watch_;
    std::unique_ptr<QMenu> menu_;
    QSystemTrayIcon* trayIcon_ = nullptr;
    QAction* openPopup_ = nullptr;
    QAction* overview_ = nullptr;
    QAction* settings_ = nullptr;
    QAction* pause_ = nullptr;
    QAction* endTask_ = nullptr;
    QAction* quit_ = nullptr;
};

}  // namespace kvillo
