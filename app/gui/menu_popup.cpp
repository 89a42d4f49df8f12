#include "app/gui/menu_popup.h"

#include <QEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QVBoxLayout>
#include <QWidget>

namespace kvillo {

MenuPopup::MenuPopup(AppModelObject& model, QObject* parent)
    : QObject(parent), model_(model), window_(std::make_unique<QWidget>()) {
    // A tool window rather than a Qt::Popup: a popup grabs the pointer, so
    // the click on the tray icon that should close it would reopen it.
    window_->setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    window_->setWindowTitle(QStringLiteral("Kvillo"));
    window_->setFixedSize(320, 240);
    auto* layout = new QVBoxLayout(window_.get());
    layout->addWidget(new QLabel(QStringLiteral("Kvillo")));
    window_->installEventFilter(this);
}

MenuPopup::~MenuPopup() = default;

bool MenuPopup::isVisible() const {
    return window_->isVisible();
}

void MenuPopup::showAt(std::optional<QPoint> topLeft) {
    if (topLeft) {
        window_->move(*topLeft);
    }
    window_->show();
    window_->raise();
    window_->activateWindow();
}

void MenuPopup::close() {
    window_->hide();
}

QSize MenuPopup::sizeHint() const {
    return window_->size();
}

bool MenuPopup::eventFilter(QObject* watched, QEvent* event) {
    if (watched == window_.get()) {
        if (event->type() == QEvent::KeyPress &&
            static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
            close();
            return true;
        }
        if (event->type() == QEvent::WindowDeactivate) {
            close();
        }
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace kvillo
