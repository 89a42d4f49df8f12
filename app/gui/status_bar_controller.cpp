#include "app/gui/status_bar_controller.h"

#include <QAction>
#include <QApplication>
#include <QCursor>
#include <QDir>
#include <QEvent>
#include <QIcon>
#include <QMenu>
#include <QScreen>
#include <QSystemTrayIcon>

#include <chrono>
#include <iostream>

#include "app/gui/mark.h"
#include "app/gui/popup_placement.h"
#include "core/localisation/l10n.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;

// How long a tray may take to come up after the program (both start with
// the session).
constexpr auto kTrayPatience = 10s;

const QString kOverview = QStringLiteral("overview");
const QString kSettings = QStringLiteral("settings");

// An uninstalled build keeps its icons in <build>/share/icons, beside the
// folder of the executable, as an installed one has them in
// <prefix>/share/icons.
void findOwnIcons() {
    const QString own =
        QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../share/icons"));
    QStringList paths = QIcon::themeSearchPaths();
    if (QDir(own).exists() && !paths.contains(own)) {
        paths.append(own);
        QIcon::setThemeSearchPaths(paths);
    }
}

// No program can see the panel's colour. GNOME's top bar is dark in light
// and dark mode alike; elsewhere panels follow the desktop's colour scheme,
// where a dark window colour means a dark panel. A dark panel needs the
// white form of the mark.
bool panelIsDark() {
    const auto desktop = qEnvironmentVariable("XDG_CURRENT_DESKTOP");
    if (desktop.split(QLatin1Char(':')).contains(QStringLiteral("GNOME"), Qt::CaseInsensitive)) {
        return true;
    }
    return QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
}

// The mark by its theme name, so that a StatusNotifierItem host gets a name
// to look up; painted here when the theme lacks it.
QIcon markIcon() {
    const bool dark = panelIsDark();
    QIcon painted;
    for (int size : {16, 22, 24, 32, 48}) {
        painted.addPixmap(
            QPixmap::fromImage(mark::image(size, dark ? QColor(Qt::white) : QColor(Qt::black))));
    }
    return QIcon::fromTheme(
        dark ? QStringLiteral("io.kvillo.Kvillo-on-dark") : QStringLiteral("io.kvillo.Kvillo"),
        painted);
}

QString text(Features& features, L10n::Key key) {
    return QString::fromStdString(L10n::string(L10n::language(features), key));
}

}  // namespace

StatusBarController::StatusBarController(AppModelObject& model, Features& features, QObject* parent)
    : QObject(parent), model_(model), features_(features), popup_(model) {
    connect(&popup_, &MenuPopup::openWindowRequested, this, &StatusBarController::showWindow);
    connect(&popup_, &MenuPopup::quitRequested, QCoreApplication::instance(),
            &QCoreApplication::quit, Qt::QueuedConnection);
    connect(&watch_, &TrayHostWatch::found, this, &StatusBarController::makeTrayIcon);
    connect(&watch_, &TrayHostWatch::absent, this, [this](const QString& reason) {
        std::cerr << "kvillo: " << reason.toStdString() << "; showing the main window instead\n";
        showWindow(kOverview);
    });
}

StatusBarController::~StatusBarController() = default;

void StatusBarController::start() {
    findOwnIcons();
    QApplication::setWindowIcon(markIcon());
    watch_.start(kTrayPatience);
}

void StatusBarController::present() {
    if (window_ || !trayIcon_) {
        showWindow(window_ ? window_->page() : kOverview);
    } else {
        showPopup();
    }
}

void StatusBarController::makeTrayIcon() {
    menu_ = std::make_unique<QMenu>();
    openPopup_ = menu_->addAction(QString(), this, &StatusBarController::showPopup);
    menu_->addSeparator();
    overview_ = menu_->addAction(QString(), this, [this] { showWindow(kOverview); });
    settings_ = menu_->addAction(QString(), this, [this] { showWindow(kSettings); });
    menu_->addSeparator();
    pause_ = menu_->addAction(QString(), &model_, &AppModelObject::togglePause);
    endTask_ = menu_->addAction(QString(), &model_, &AppModelObject::endTask);
    menu_->addSeparator();
    // Queued, so that the menu has closed before the program takes its
    // windows down.
    quit_ = menu_->addAction(QString());
    connect(quit_, &QAction::triggered, QCoreApplication::instance(), &QCoreApplication::quit,
            Qt::QueuedConnection);
    connect(menu_.get(), &QMenu::aboutToShow, this, &StatusBarController::updateMenu);
    for (auto signal : {&AppModelObject::isPausedChanged, &AppModelObject::taskChanged,
                        &AppModelObject::enabledChanged}) {
        connect(&model_, signal, this, &StatusBarController::updateMenu);
    }
    updateMenu();

    trayIcon_ = new QSystemTrayIcon(this);
    trayIcon_->setToolTip(QStringLiteral("Kvillo"));
    trayIcon_->setContextMenu(menu_.get());
    updateIcon();
    connect(trayIcon_, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger) {
                    togglePopover();
                }
            });
    qApp->installEventFilter(this);
    trayIcon_->show();
}

void StatusBarController::updateIcon() {
    trayIcon_->setIcon(markIcon());
}

// The texts follow the chosen language, and the timer entries what the
// popup's task card would offer.
void StatusBarController::updateMenu() {
    if (!menu_) {
        return;
    }
    openPopup_->setText(text(features_, "Åpne menyen"));
    overview_->setText(text(features_, "Oversikt"));
    settings_->setText(text(features_, "Innstillinger"));
    pause_->setText(model_.isPaused() ? text(features_, "Fortsett logging")
                                      : text(features_, "Sett logging på pause"));
    pause_->setVisible(model_.enabled().value(QStringLiteral("activityLogging")).toBool());
    endTask_->setText(text(features_, "Avslutt oppgaven"));
    endTask_->setVisible(model_.hasTask());
    quit_->setText(text(features_, "Avslutt Kvillo"));
}

bool StatusBarController::eventFilter(QObject* watched, QEvent* event) {
    if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange && trayIcon_) {
        updateIcon();
    }
    return QObject::eventFilter(watched, event);
}

void StatusBarController::togglePopover() {
    if (popup_.isVisible()) {
        popup_.close();
    } else if (!popup_.lostFocusJustNow()) {
        showPopup();
    }
}

void StatusBarController::showPopup() {
    model_.refresh();
    if (QGuiApplication::platformName() == QLatin1String("wayland")) {
        // Neither the pointer nor a window's place is ours to know there.
        popup_.showAt(std::nullopt);
        return;
    }
    const QPoint click = QCursor::pos();
    QScreen* screen = QGuiApplication::screenAt(click);
    if (!screen) {
        screen = QGuiApplication::primaryScreen();
    }
    popup_.showAt(screen ? popupPosition(click, popup_.sizeHint(), screen->availableGeometry())
                         : click);
}

void StatusBarController::showWindow(const QString& page) {
    popup_.close();
    model_.refresh();
    if (!window_) {
        window_ = std::make_unique<MainWindow>(features_);
    }
    window_->showPage(page);
}

void StatusBarController::shutdown() {
    popup_.close();
    if (window_) {
        window_->close();
    }
    if (trayIcon_) {
        trayIcon_->hide();
    }
}

}  // namespace kvillo
