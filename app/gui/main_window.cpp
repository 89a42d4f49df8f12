#include "app/gui/main_window.h"

#include <QGuiApplication>
#include <QHideEvent>
#include <QLabel>
#include <QScreen>
#include <QVBoxLayout>

namespace kvillo {
namespace {

constexpr QSize kDefaultSize{1040, 760};

}  // namespace

MainWindow::MainWindow(Features& features) : features_(features), pageLabel_(new QLabel(this)) {
    setWindowTitle(QStringLiteral("Kvillo"));
    auto* layout = new QVBoxLayout(this);
    pageLabel_->setAlignment(Qt::AlignCenter);
    layout->addWidget(pageLabel_);
    restoreFrame();
}

void MainWindow::showPage(const QString& page) {
    page_ = page;
    pageLabel_->setText(page);
    show();
    raise();
    activateWindow();
}

// A frame saved on a screen that is gone no longer counts; the window is
// centred on the primary screen then, as on the first launch.
void MainWindow::restoreFrame() {
    if (auto frame = features_.mainWindowFrame()) {
        const QRect saved(frame->x, frame->y, frame->width, frame->height);
        for (QScreen* screen : QGuiApplication::screens()) {
            if (screen->availableGeometry().intersects(saved)) {
                setGeometry(saved);
                return;
            }
        }
    }
    QSize size = kDefaultSize;
    if (QScreen* screen = QGuiApplication::primaryScreen()) {
        const QRect available = screen->availableGeometry();
        size = size.boundedTo(available.size());
        setGeometry(
            QRect(QPoint(), size).translated(available.center() - QRect(QPoint(), size).center()));
        return;
    }
    resize(size);
}

void MainWindow::hideEvent(QHideEvent* event) {
    // A spontaneous hide is the window being minimised: it stays where it is.
    if (!event->spontaneous()) {
        const QRect frame = geometry();
        features_.setMainWindowFrame({frame.x(), frame.y(), frame.width(), frame.height()});
    }
    QWidget::hideEvent(event);
}

}  // namespace kvillo
