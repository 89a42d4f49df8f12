#include "app/gui/menu_popup.h"

#include <QFont>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QQmlEngine>
#include <QQuickView>

#include "app/gui/app_model_object.h"
#include "app/gui/brand_font.h"
#include "app/gui/desktop_color_scheme.h"
#include "app/gui/icon_provider.h"
#include "app/gui/menu_view_model.h"
#include "app/gui/theme.h"

namespace kvillo {

// The window: Escape that no item took closes it, and so does losing the
// focus to another window.
class MenuPopup::View : public QQuickView {
public:
    explicit View(MenuPopup& popup) : popup_(popup) {
        connect(this, &QWindow::activeChanged, this, [this] {
            if (!isActive() && isVisible()) {
                popup_.closeOnFocusLoss();
            }
        });
    }

protected:
    void keyPressEvent(QKeyEvent* event) override {
        QQuickView::keyPressEvent(event);
        if (!event->isAccepted() && event->key() == Qt::Key_Escape) {
            popup_.close();
        }
    }

private:
    MenuPopup& popup_;
};

MenuPopup::MenuPopup(AppModelObject& model, QObject* parent)
    : QObject(parent),
      theme_(std::make_unique<Theme>(BrandFont::isAvailable() ? QStringLiteral("Archivo")
                                                              : QGuiApplication::font().family())),
      scheme_(std::make_unique<DesktopColorScheme>(*theme_)),
      menu_(std::make_unique<MenuViewModel>(model, *theme_)),
      view_(std::make_unique<View>(*this)) {
    connect(menu_.get(), &MenuViewModel::openWindowRequested, this, [this](const QString& page) {
        close();
        emit openWindowRequested(page);
    });
    connect(menu_.get(), &MenuViewModel::quitRequested, this, [this] {
        close();
        emit quitRequested();
    });
    view_->setTitle(QStringLiteral("Kvillo"));
    view_->setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    view_->setResizeMode(QQuickView::SizeViewToRootObject);
    view_->engine()->addImageProvider(QStringLiteral("kvillo-icon"), new IconProvider);
    view_->setInitialProperties({{"menu", QVariant::fromValue<QObject*>(menu_.get())},
                                 {"theme", QVariant::fromValue<QObject*>(theme_.get())}});
    view_->setSource(
        QUrl(QStringLiteral("qrc:/qt-project.org/imports/Kvillo/Ui/menu/MenuView.qml")));
}

MenuPopup::~MenuPopup() {
    // The view's items hold the view models: they go first.
    view_.reset();
}

bool MenuPopup::isVisible() const {
    return view_->isVisible();
}

void MenuPopup::showAt(std::optional<QPoint> topLeft) {
    menu_->update();
    if (topLeft) {
        view_->setPosition(*topLeft);
    }
    view_->show();
    view_->raise();
    view_->requestActivate();
}

void MenuPopup::close() {
    view_->hide();
}

void MenuPopup::closeOnFocusLoss() {
    focusLost_.start();
    close();
}

bool MenuPopup::lostFocusJustNow() const {
    // Long enough for the click's way from the panel to the icon, short
    // enough that a deliberate second click opens it again.
    constexpr qint64 kClickMilliseconds = 300;
    return focusLost_.isValid() && focusLost_.elapsed() < kClickMilliseconds;
}

QSize MenuPopup::sizeHint() const {
    return view_->size();
}

QQuickWindow* MenuPopup::window() const {
    return view_.get();
}

}  // namespace kvillo
