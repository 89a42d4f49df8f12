#include <gtest/gtest.h>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

#include <filesystem>
#include <iostream>
#include <optional>
#include <sstream>
#include <vector>

#include "platform/linux/wayland/gnome_extension_focus.h"
#include "platform/linux/wayland/gnome_extension_setup.h"
#include "platform/linux/wayland/mutter_idle.h"
#include "platform/linux/wayland/mutter_power_save.h"
#include "tests/support/gnome_shell.h"
#include "tests/support/qt_events.h"
#include "tests/support/temp_folder.h"

// Kvillo's GNOME sources against a real, headless GNOME Shell 43 with the
// extension installed. Each test starts its own Shell.
namespace kvillo {
namespace {

using namespace std::chrono_literals;
using testing::GnomeShell;

constexpr auto kPatience = 10s;
const std::string kWithDesktopFile = "org.kvillo.GnomeA";
const std::string kWithout = "org.kvillo.GnomeB";

class GnomeSession : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(shell_.error(), "");
        std::cout << "gnome-shell answered after " << shell_.startTime().count() << " ms\n";
        testing::ensureCoreApplication();
    }

    QDBusConnection bus() const { return QDBusConnection::sessionBus(); }

    GnomeShell shell_{{kWithDesktopFile}};
};

// Every report a source makes, as focused() gave it on each changed().
class Reports : public QObject {
public:
    explicit Reports(FocusSource& source) : source_(source) {
        connect(&source, &FocusSource::changed, this,
                [this] { seen.push_back(source_.focused()); });
    }
    bool last(const std::optional<FocusedWindow>& window) const {
        return !seen.empty() && seen.back() == window;
    }
    // The windows reported, without the brief "none" between two and
    // without repeats.
    std::vector<FocusedWindow> windows() const {
        std::vector<FocusedWindow> windows;
        for (const auto& report : seen) {
            if (report && (windows.empty() || windows.back() != *report)) {
                windows.push_back(*report);
            }
        }
        return windows;
    }
    std::vector<std::optional<FocusedWindow>> seen;

private:
    FocusSource& source_;
};

TEST_F(GnomeSession, TheShellRunsTheExtensionAndSetupLeavesItSo) {
    auto ask = QDBusMessage::createMethodCall("org.gnome.Shell", "/org/gnome/Shell",
                                              "org.gnome.Shell.Extensions", "GetExtensionInfo");
    ask << QString::fromLatin1(kGnomeExtensionUUID);
    QDBusMessage info = bus().call(ask);
    ASSERT_EQ(info.type(), QDBusMessage::ReplyMessage) << info.errorMessage().toStdString();
    EXPECT_EQ(qdbus_cast<QVariantMap>(info.arguments().value(0)).value("state").toDouble(), 1.0);

    // The Shell's settings and folders are the user's here.
    auto environment = shell_.clientEnvironment();
    testing::ScopedEnv home("HOME", environment["HOME"]);
    testing::ScopedEnv data("XDG_DATA_HOME", environment["XDG_DATA_HOME"]);
    testing::ScopedEnv config("XDG_CONFIG_HOME", environment["XDG_CONFIG_HOME"]);
    EXPECT_EQ(setUpGnomeExtension(bus()), GnomeExtensionStatus::running);
    EXPECT_TRUE(std::filesystem::exists(GnomeExtensionPlaces::fromEnvironment().markerFile));
}

TEST_F(GnomeSession, FocusAndTitlesOfTwoWindowsReachTheSource) {
    GnomeExtensionFocus focus(bus());
    ASSERT_TRUE(focus.isReady());
    EXPECT_EQ(focus.focused(), std::nullopt);
    Reports reports(focus);

    int a = shell_.openWindow(kWithDesktopFile, "Alpha one");
    FocusedWindow alpha{kWithDesktopFile, kWithDesktopFile, "Alpha one",
                        static_cast<int>(shell_.windowProcess(a))};
    ASSERT_TRUE(testing::processEventsUntil([&] { return reports.last(alpha); }, kPatience));
    ASSERT_TRUE(shell_.retitleWindow(a, "Ålesund — 東京"));
    alpha.title = "Ålesund — 東京";
    ASSERT_TRUE(testing::processEventsUntil([&] { return reports.last(alpha); }, kPatience));

    int b = shell_.openWindow(kWithout, "Beta one");
    FocusedWindow beta{"", kWithout, "Beta one", static_cast<int>(shell_.windowProcess(b))};
    ASSERT_TRUE(testing::processEventsUntil([&] { return reports.last(beta); }, kPatience));
    ASSERT_TRUE(shell_.retitleWindow(b, "Beta two"));
    FocusedWindow betaTwo = beta;
    betaTwo.title = "Beta two";
    ASSERT_TRUE(testing::processEventsUntil([&] { return reports.last(betaTwo); }, kPatience));

    ASSERT_TRUE(shell_.closeWindow(b));
    ASSERT_TRUE(testing::processEventsUntil([&] { return reports.last(alpha); }, kPatience));
    FocusedWindow alphaOne = alpha;
    alphaOne.title = "Alpha one";
    EXPECT_EQ(reports.windows(),
              (std::vector<FocusedWindow>{alphaOne, alpha, beta, betaTwo, alpha}));
    EXPECT_EQ(focus.focused(), alpha);
}

TEST_F(GnomeSession, LockingHidesTheFocusAndUnlockingBringsItBack) {
    GnomeExtensionFocus focus(bus());
    ASSERT_TRUE(focus.isReady());
    Reports reports(focus);
    int a = shell_.openWindow(kWithDesktopFile, "Alpha");
    FocusedWindow alpha{kWithDesktopFile, kWithDesktopFile, "Alpha",
                        static_cast<int>(shell_.windowProcess(a))};
    ASSERT_TRUE(testing::processEventsUntil([&] { return reports.last(alpha); }, kPatience));

    ASSERT_TRUE(shell_.lock());
    ASSERT_TRUE(testing::processEventsUntil([&] { return reports.last(std::nullopt); }, kPatience));
    EXPECT_EQ(focus.focused(), std::nullopt);
    // Made while locked, a source finds no extension: not ready, no window.
    GnomeExtensionFocus whileLocked(bus());
    EXPECT_FALSE(whileLocked.isReady());
    EXPECT_EQ(whileLocked.focused(), std::nullopt);

    ASSERT_TRUE(shell_.unlock());
    EXPECT_TRUE(testing::processEventsUntil([&] { return reports.last(alpha); }, kPatience));
    EXPECT_TRUE(
        testing::processEventsUntil([&] { return whileLocked.focused() == alpha; }, kPatience));
}

TEST_F(GnomeSession, IdleTimeGrowsUntilInput) {
    MutterIdle idle(bus());
    double first = idle.secondsSinceLastInput();
    double later = first;
    ASSERT_TRUE(testing::processEventsUntil(
        [&] { return (later = idle.secondsSinceLastInput()) >= first + 0.5; }, kPatience))
        << first;
    ASSERT_TRUE(shell_.resetIdleTime());
    // Counted afresh from the input, not on.
    EXPECT_LT(idle.secondsSinceLastInput(), later);
}

TEST_F(GnomeSession, DisplaysAreAwakeAndTheirPowerSavingIsFollowed) {
    MutterPowerSave power(bus());
    EXPECT_FALSE(power.isAsleep());
    std::vector<bool> reported;
    QObject::connect(&power, &MutterPowerSave::changed,
                     [&](bool asleep) { reported.push_back(asleep); });
    auto setMode = [&](int mode) {
        return shell_
                   .call("org.gnome.Mutter.DisplayConfig", "/org/gnome/Mutter/DisplayConfig",
                         "org.freedesktop.DBus.Properties.Set",
                         {"org.gnome.Mutter.DisplayConfig", "PowerSaveMode",
                          "<" + std::to_string(mode) + ">"})
                   .status == 0;
    };
    ASSERT_TRUE(setMode(3));
    ASSERT_TRUE(testing::processEventsUntil([&] { return power.isAsleep(); }, kPatience));
    ASSERT_TRUE(setMode(0));
    ASSERT_TRUE(testing::processEventsUntil([&] { return !power.isAsleep(); }, kPatience));
    EXPECT_EQ(reported, (std::vector<bool>{true, false}));
}

// The user's settings through GNOME's own programs, kept in a key file
// instead of dconf; no Shell needed.
TEST(GSettingsShellExtensions, SwitchingOnKeepsTheUsersOtherExtensions) {
    testing::TempFolder folder;
    testing::ScopedEnv backend("GSETTINGS_BACKEND", "keyfile");
    testing::ScopedEnv config("XDG_CONFIG_HOME", folder.file("config"));
    testing::ScopedEnv noBus("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + folder.file("no-bus"));
    auto gsettings = [](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"gsettings"});
        arguments.insert(arguments.begin() + 2, "org.gnome.shell");
        return testing::runProcess(arguments).output;
    };
    const std::string uuid = kGnomeExtensionUUID;
    gsettings({"set", "enabled-extensions", "['other@example.org']"});
    gsettings({"set", "disabled-extensions", "['" + uuid + "', 'third@example.org']"});

    GSettingsShellExtensions settings;
    EXPECT_EQ(settings.isEnabled(uuid), false);
    EXPECT_FALSE(settings.extensionsOff());
    GnomeExtensionPlaces places{.dataDirs = {},
                                .dataHome = folder.file("data"),
                                .markerFile = folder.file("config/kvillo/marker")};
    std::ostringstream log;
    EXPECT_EQ(setUpGnomeExtension(places, kEmbeddedGnomeExtension, settings, std::nullopt, log),
              GnomeExtensionStatus::nextLogin);
    EXPECT_EQ(gsettings({"get", "enabled-extensions"}), "['other@example.org', '" + uuid + "']\n");
    EXPECT_EQ(gsettings({"get", "disabled-extensions"}), "['third@example.org']\n");
    EXPECT_EQ(settings.isEnabled(uuid), true);

    // The user switches it off again, the way the Extensions app does.
    gsettings({"set", "enabled-extensions", "['other@example.org']"});
    EXPECT_EQ(setUpGnomeExtension(places, kEmbeddedGnomeExtension, settings, std::nullopt, log),
              GnomeExtensionStatus::disabledByUser);
    EXPECT_EQ(gsettings({"get", "enabled-extensions"}), "['other@example.org']\n");

    gsettings({"set", "disable-user-extensions", "true"});
    EXPECT_TRUE(settings.extensionsOff());
}

}  // namespace
}  // namespace kvillo
