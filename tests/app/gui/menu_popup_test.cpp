#include "app/gui/menu_popup.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>

#include <dlfcn.h>
#include <chrono>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "app/gui/app_model_object.h"
#include "app/gui/brand_font.h"
#include "app/gui/icon_provider.h"
#include "app/gui/theme.h"
#include "tests/core/model/model_fixture.h"
#include "tests/support/qt_events.h"

#include "tests/app/gui/offscreen_application.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;
using testing::act;
using testing::kHour;
using testing::kMinute;
using testing::processEventsUntil;

QStringList warnings;

// What the QML engine reports: its own categories, or a message that names a
// QML file. The platform's notes (offscreen cannot raise) are not the QML's.
void collectWarnings(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    const QLatin1String category(context.category ? context.category : "");
    const bool qml = category == QLatin1String("qml") || category == QLatin1String("js") ||
                     text.contains(QLatin1String("qrc:/")) || text.contains(QLatin1String(".qml"));
    if (qml && type != QtDebugMsg && type != QtInfoMsg) {
        warnings.push_back(text);
        std::fprintf(stderr, "%s\n", qPrintable(text));
    }
}

void ensureApplication() {
    if (!testing::ensureOffscreenApplication()) {
        return;
    }
    BrandFont::registerFonts();
    // The QML module and the icons come with the GUI module, as in the
    // program; kept loaded for the rest of the binary.
    if (!::dlopen(KVILLO_GUI_MODULE, RTLD_NOW | RTLD_GLOBAL)) {
        std::fprintf(stderr, "%s\n", ::dlerror());
    }
}

// The popup's QML loaded offscreen over a model on a real store: any
// warning while it loads or runs fails the test.
class MenuPopupTest : public testing::ModelFixture {
protected:
    MenuPopupTest() {
        ensureApplication();
        features_.setLanguage(Language::nb);
        warnings.clear();
        previous_ = qInstallMessageHandler(collectWarnings);
    }
    ~MenuPopupTest() override {
        popup_.reset();
        qInstallMessageHandler(previous_);
    }
    void TearDown() override {
        EXPECT_TRUE(warnings.isEmpty()) << warnings.join('\n').toStdString();
    }

    MenuPopup& popup() {
        if (!popup_) {
            object_ = std::make_unique<AppModelObject>(model());
            popup_ = std::make_unique<MenuPopup>(*object_);
        }
        return *popup_;
    }
    QQuickWindow& window() { return *popup().window(); }
    // Through the visual tree: a Repeater's items have no QObject parent.
    QQuickItem* item(const char* name, QQuickItem* from = nullptr) {
        for (QQuickItem* child : (from ? from : window().contentItem())->childItems()) {
            if (child->objectName() == QLatin1String(name)) {
                return child;
            }
            if (QQuickItem* found = item(name, child)) {
                return found;
            }
        }
        return nullptr;
    }
    void show() {
        popup().showAt(QPoint(0, 0));
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window()));
        ASSERT_TRUE(processEventsUntil([&] { return window().isActive(); }, 5s));
    }
    void click(const char* name) {
        QQuickItem* target = item(name);
        ASSERT_NE(target, nullptr) << name;
        const QPointF centre =
            target->mapToScene(QPointF(target->width() / 2, target->height() / 2));
        QTest::mouseClick(&window(), Qt::LeftButton, {}, centre.toPoint());
    }
    // A morning with a running task and three projects' worth of time.
    void seedDay() {
        db_.saveProject("Skarvelin", {"login"});
        db_.saveProject("Kraftnod", {"kraftnod"});
        db_.saveProject("Beta", {"beta"});
        db_.insert(act("Firefox", start_ - 3 * kHour, start_ - 1.5 * kHour, "Skarvelin login"));
        db_.insert(act("Code", start_ - 1.5 * kHour, start_ - 0.9 * kHour, "kraftnod.cpp"));
        db_.insert(act("Firefox", start_ - 0.9 * kHour, start_ - 0.8 * kHour, "beta docs"));
        db_.insert(act("Mail", start_ - 0.5 * kHour, start_ - 0.2 * kHour, "Inbox"));
        db_.insertAnnotation(
            testing::note("Skarvelin \u2013 fix login", start_ - 3 * kHour, start_ - 2 * kHour));
        db_.insertAnnotation(
            testing::note("Skarvelin \u2013 fix login", start_ - 25 * kMinute, std::nullopt));
    }

    QtMessageHandler previous_ = nullptr;
    std::unique_ptr<AppModelObject> object_;
    std::unique_ptr<MenuPopup> popup_;
};

TEST_F(MenuPopupTest, LoadsAndShowsEveryPartWithoutWarnings) {
    seedDay();
    show();
    EXPECT_EQ(window().width(), 320);
    EXPECT_EQ(popup().sizeHint().width(), 320);
    EXPECT_EQ(item("taskTimer")->property("text").toString(), "1:25:00");
    tick(1);
    EXPECT_EQ(item("taskTimer")->property("text").toString(), "1:25:01");
    EXPECT_TRUE(item("stopButton")->isVisible());

    // Every state the QML has to draw: dark, English, editing, paused,
    // logging off, an update to fetch.
    popup().theme().setDark(true);
    object_->setLanguage("en");
    click("editButton");
    EXPECT_TRUE(item("projectPicker")->isVisible());
    click("cancelButton");
    click("pauseButton");
    EXPECT_TRUE(model().isPaused());
    model().set(Features::Key::activityLogging, false);
    QTest::qWait(50);
}

TEST_F(MenuPopupTest, TypingATaskAndPressingReturnStartsIt) {
    show();
    click("editButton");
    QQuickItem* field = item("taskField");
    ASSERT_NE(field, nullptr);
    ASSERT_TRUE(processEventsUntil([&] { return field->hasActiveFocus(); }, 5s));
    for (char key : std::string("skrive rapport")) {  // keyClicks takes widgets only
        QTest::keyClick(&window(), key);
    }
    QTest::keyClick(&window(), Qt::Key_Return);
    const auto open = db_.currentAnnotation();
    ASSERT_TRUE(open);
    EXPECT_EQ(open->text, "skrive rapport");
    EXPECT_FALSE(field->isVisible());
    EXPECT_TRUE(item("editButton")->isVisible());

    // An editor left open when the popup closed fills in afresh: the task
    // ended meanwhile.
    click("editButton");
    ASSERT_TRUE(processEventsUntil([&] { return field->hasActiveFocus(); }, 5s));
    popup().close();
    model().endTask();
    show();
    EXPECT_TRUE(field->isVisible());
    EXPECT_EQ(field->property("text").toString(), "");
    QTest::keyClick(&window(), Qt::Key_Escape);

    // Escape leaves the editor, and only a second one the popup.
    click("editButton");
    ASSERT_TRUE(processEventsUntil([&] { return field->hasActiveFocus(); }, 5s));
    QTest::keyClick(&window(), Qt::Key_Escape);
    EXPECT_FALSE(field->isVisible());
    EXPECT_TRUE(popup().isVisible());
}

TEST_F(MenuPopupTest, EscapeAndTheFooterCloseIt) {
    QSignalSpy pages(&popup(), &MenuPopup::openWindowRequested);
    QSignalSpy quits(&popup(), &MenuPopup::quitRequested);
    show();
    QTest::keyClick(&window(), Qt::Key_Escape);
    EXPECT_FALSE(popup().isVisible());

    show();
    click("row-settings");
    EXPECT_FALSE(popup().isVisible());
    ASSERT_EQ(pages.size(), 1);
    EXPECT_EQ(pages[0][0].toString(), "settings");

    show();
    click("row-quit");
    EXPECT_EQ(quits.size(), 1);

    // Another window taking the focus closes it, and says so for an instant
    // (the click on the tray icon that took it must not reopen it).
    EXPECT_FALSE(popup().lostFocusJustNow());
    show();
    bool saidSo = false;
    QObject::connect(&window(), &QWindow::visibleChanged,
                     [&](bool visible) { saidSo = !visible && popup().lostFocusJustNow(); });
    QWindow other;
    other.show();
    other.requestActivate();
    ASSERT_TRUE(processEventsUntil([&] { return !popup().isVisible(); }, 5s));
    EXPECT_TRUE(saidSo);
}

TEST_F(MenuPopupTest, IconsArePaintedInTheColourAsked) {
    IconProvider icons;
    QSize size;
    const QImage stop = icons.requestImage("stop/bc72f7", &size, QSize(24, 24));
    EXPECT_EQ(size, QSize(24, 24));
    EXPECT_EQ(stop.pixelColor(12, 12), QColor(0xBC72F7));
    EXPECT_EQ(stop.pixelColor(1, 1).alpha(), 0);
    EXPECT_EQ(icons.requestImage("no such icon/000000", &size, {}).pixelColor(12, 12).alpha(), 0);
}

// Remakes the screenshots in docs/ when KVILLO_SCREENSHOTS is set:
// KVILLO_SCREENSHOTS=1 ./gui_tests --gtest_filter='*Screenshots*'
TEST_F(MenuPopupTest, Screenshots) {
    if (!std::getenv("KVILLO_SCREENSHOTS")) {
        GTEST_SKIP() << "set KVILLO_SCREENSHOTS to write docs/menu-*.png";
    }
    seedDay();
    show();
    for (const bool dark : {false, true}) {
        for (const char* language : {"nb", "en"}) {
            popup().theme().setDark(dark);
            object_->setLanguage(language);
            QTest::qWait(100);
            const QString file = QStringLiteral(KVILLO_DOCS_DIR "/menu-%1-%2.png")
                                     .arg(dark ? "dark" : "light", language);
            EXPECT_TRUE(window().grabWindow().save(file)) << file.toStdString();
        }
    }
    // The longest notice text, in the language that makes it longest.
    desktop_.seen.frontApplication = false;
    desktop_.seen.completeAfterLogin = true;
    model().refresh();
    object_->setLanguage("fr");
    QTest::qWait(100);
    EXPECT_TRUE(window().grabWindow().save(KVILLO_DOCS_DIR "/menu-dark-fr-notice.png"));
}

}  // namespace
}  // namespace kvillo
