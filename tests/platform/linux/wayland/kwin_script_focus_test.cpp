#include "platform/linux/wayland/kwin_script_focus.h"

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QString>
#include <QtGlobal>

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/kwin_compositor.h"
#include "tests/support/qt_events.h"
#include "tests/support/session_bus.h"

namespace kvillo {

void PrintTo(const FocusedWindow& window, std::ostream* out) {
    *out << "{" << window.appID << ", " << window.wmClass << ", \"" << window.title << "\", "
         << window.processID << "}";
}

namespace {

using namespace std::chrono_literals;
constexpr auto kWait = 20s;
constexpr const char* kPluginName = "kvillo-capture";

TEST(KWinFocusReport, BecomesTheFocusedWindow) {
    struct Row {
        const char* name;
        const char* desktopFileName;
        const char* resourceClass;
        const char* caption;
        const char* processID;
        std::optional<FocusedWindow> expected;
    };
    const Row rows[] = {
        {"WaylandWindow", "org.kvillo.Mail", "org.kvillo.Mail", "Inbox", "4242",
         FocusedWindow{"org.kvillo.Mail", "org.kvillo.Mail", "Inbox", 4242}},
        {"NoActiveWindow", "", "", "", "0", std::nullopt},
        {"NoClassIsNoWindowWhateverElseComes", "org.kvillo.Mail", "", "Inbox", "4242",
         std::nullopt},
        {"X11WindowWithoutDesktopFileKeepsItsClass", "", "xterm", "bash", "17",
         FocusedWindow{"xterm", "xterm", "bash", 17}},
        {"DesktopFileNameWinsOverTheClass", "org.kvillo.Editor", "kvillo-editor", "", "3",
         FocusedWindow{"org.kvillo.Editor", "kvillo-editor", "", 3}},
        {"ProcessIDThatIsNoNumber", "a", "a", "t", "12ab", FocusedWindow{"a", "a", "t", 0}},
        {"NegativeProcessID", "a", "a", "t", "-1", FocusedWindow{"a", "a", "t", 0}},
        {"UnicodeTitle", "a", "a", "Grüße — 日本", "5", FocusedWindow{"a", "a", "Grüße — 日本", 5}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(kwinFocusedWindow(
                      QString::fromUtf8(row.desktopFileName), QString::fromUtf8(row.resourceClass),
                      QString::fromUtf8(row.caption), QString::fromUtf8(row.processID)),
                  row.expected);
    }
}

TEST(KWinScriptFocusWithoutKWin, IsNotReadyAndSaysNothing) {
    testing::SessionBus bus;
    ASSERT_EQ(bus.error(), "");
    testing::ensureCoreApplication();
    static std::vector<std::string> printed;
    QtMessageHandler previous =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) {
            printed.push_back(text.toStdString());
        });
    {
        KWinScriptFocus source(QDBusConnection::sessionBus());
        EXPECT_FALSE(source.isReady());
        EXPECT_EQ(source.focused(), std::nullopt);
    }
    qInstallMessageHandler(previous);
    EXPECT_EQ(printed, std::vector<std::string>());
}

// Against a real headless KWin. Each test runs as its own process (Qt's
// session bus is the first one it meets).
class KWinScriptFocusTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(kwin_.error(), "");
        testing::ensureCoreApplication();
    }

    // Opens a GTK test window and gives what the source should report for
    // it: GTK's app id is both KWin's desktop file name and its class.
    FocusedWindow open(const std::string& appID, const std::string& title) {
        std::string failed = kwin_.openWindow(appID, title);
        EXPECT_EQ(failed, "");
        return {appID, appID, title, static_cast<int>(kwin_.windowProcess(appID))};
    }

    // Builds the source and records every value focused() takes, as
    // changed() announces it.
    KWinScriptFocus& makeSource() {
        source_.emplace(QDBusConnection::sessionBus());
        QObject::connect(&*source_, &FocusSource::changed,
                         [this] { seen_.push_back(source_->focused()); });
        return *source_;
    }

    ::testing::AssertionResult sees(const std::optional<FocusedWindow>& expected) {
        if (testing::processEventsUntil([&] { return source_->focused() == expected; }, kWait)) {
            return ::testing::AssertionSuccess();
        }
        return ::testing::AssertionFailure()
               << "focused() is " << ::testing::PrintToString(source_->focused());
    }

    testing::KWinCompositor kwin_;
    std::optional<KWinScriptFocus> source_;
    std::vector<std::optional<FocusedWindow>> seen_;
};

TEST_F(KWinScriptFocusTest, FollowsTheActiveWindowBetweenTwoWindows) {
    FocusedWindow alpha = open("org.kvillo.TestA", "Alpha one");
    ASSERT_TRUE(makeSource().isReady());
    ASSERT_TRUE(sees(alpha));
    FocusedWindow beta = open("org.kvillo.TestB", "Beta one");
    ASSERT_TRUE(sees(beta));
    ASSERT_TRUE(kwin_.activate("org.kvillo.TestA"));
    ASSERT_TRUE(sees(alpha));

    std::vector<FocusedWindow> windows;
    for (size_t i = 0; i < seen_.size(); ++i) {
        // changed() only when focused() changed
        EXPECT_TRUE(i == 0 || seen_[i] != seen_[i - 1]) << "repeated at " << i;
        if (seen_[i]) {
            windows.push_back(*seen_[i]);
        }
    }
    EXPECT_EQ(windows, (std::vector<FocusedWindow>{alpha, beta, alpha}));
}

TEST_F(KWinScriptFocusTest, FollowsTheTitleOfTheActiveWindow) {
    FocusedWindow alpha = open("org.kvillo.TestA", "Alpha one");
    makeSource();
    ASSERT_TRUE(sees(alpha));
    // The window was active before the script came: no activation since.
    ASSERT_TRUE(kwin_.retitle("org.kvillo.TestA", "Alpha two"));
    alpha.title = "Alpha two";
    EXPECT_TRUE(sees(alpha));
    // KWin 5 calls a second window of the same title "Alpha two <2>".
    FocusedWindow beta = open("org.kvillo.TestB", "Alpha two");
    EXPECT_TRUE(sees(beta));
    ASSERT_TRUE(kwin_.retitle("org.kvillo.TestB", "Beta two"));
    beta.title = "Beta two";
    EXPECT_TRUE(sees(beta));
}

TEST_F(KWinScriptFocusTest, ReplacesALeftoverScriptAndUnloadsItsOwn) {
    ASSERT_TRUE(kwin_.loadScript(kPluginName, "// left behind by a crashed run\n"));
    FocusedWindow alpha = open("org.kvillo.TestA", "Alpha one");
    ASSERT_TRUE(makeSource().isReady());
    EXPECT_TRUE(sees(alpha));
    EXPECT_TRUE(kwin_.isScriptLoaded(kPluginName));
    source_.reset();
    EXPECT_FALSE(kwin_.isScriptLoaded(kPluginName));
}

TEST_F(KWinScriptFocusTest, RefusesReportsFromOtherClients) {
    FocusedWindow alpha = open("org.kvillo.TestA", "Alpha one");
    makeSource();
    ASSERT_TRUE(sees(alpha));
    QDBusConnection intruder = QDBusConnection::connectToBus(
        QString::fromStdString(kwin_.environment().at("DBUS_SESSION_BUS_ADDRESS")), "intruder");
    auto report = QDBusMessage::createMethodCall(QDBusConnection::sessionBus().baseService(),
                                                 "/io/kvillo/KWinBridge", "io.kvillo.KWinBridge",
                                                 "activeWindow");
    report << QString("org.kvillo.Fake") << QString("org.kvillo.Fake") << QString("Fake")
           << QString("1");
    QDBusPendingCall call = intruder.asyncCall(report);
    ASSERT_TRUE(testing::processEventsUntil([&] { return call.isFinished(); }, kWait));
    EXPECT_EQ(call.error().type(), QDBusError::AccessDenied);
    EXPECT_EQ(source_->focused(), alpha);
    QDBusConnection::disconnectFromBus("intruder");
}

TEST_F(KWinScriptFocusTest, KeepsReportingAfterTheScreenWasLocked) {
    FocusedWindow alpha = open("org.kvillo.TestA", "Alpha one");
    makeSource();
    ASSERT_TRUE(sees(alpha));
    ASSERT_TRUE(kwin_.lock());
    ASSERT_TRUE(kwin_.unlock());
    EXPECT_TRUE(kwin_.simulateUserActivity());
    ASSERT_TRUE(kwin_.retitle("org.kvillo.TestA", "Alpha two"));
    alpha.title = "Alpha two";
    EXPECT_TRUE(sees(alpha));
    EXPECT_TRUE(kwin_.isScriptLoaded(kPluginName));
}

TEST_F(KWinScriptFocusTest, ForgetsTheWindowWhenKWinGoes) {
    FocusedWindow alpha = open("org.kvillo.TestA", "Alpha one");
    makeSource();
    ASSERT_TRUE(sees(alpha));
    kwin_.kill();
    EXPECT_TRUE(sees(std::nullopt));
}

}  // namespace
}  // namespace kvillo
