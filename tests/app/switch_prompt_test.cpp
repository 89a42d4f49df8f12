#include <gtest/gtest.h>

#include <csignal>
#include <ctime>
#include <filesystem>

#include "core/store/database.h"
#include "tests/support/process.h"
#include "tests/support/records.h"
#include "tests/support/session_bus.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;
using testing::eventually;

constexpr const char* kService = "org.freedesktop.Notifications";
constexpr const char* kPath = "/org/freedesktop/Notifications";

// The whole program: a task on Alpha while the windows of the last minutes
// were Beta's. At the model's half-minute check a desktop notification asks,
// and its SWITCH button starts Beta where that work began.
TEST(SwitchPrompt, TheProgramAsksOnTheDesktopAndTheAnswerSwitchesTheTask) {
    testing::SessionBus bus;
    ASSERT_EQ(bus.error(), "");
    ASSERT_EQ(bus.startMock(kService, {"--template", "notification_daemon", "-p",
                                       "{\"capabilities\": \"body actions\"}"}),
              "");
    testing::TempFolder home;
    std::filesystem::create_directories(home.file("data/Kvillo"));
    const std::string path = home.file("data/Kvillo/activities.db");
    const double now = static_cast<double>(std::time(nullptr));
    const double betaSince = now - 480;
    {
        Database db(path);
        db.saveProject("Alpha", {"alpha"});
        db.saveProject("Beta", {"beta"});
        db.insertAnnotation(testing::note("Alpha \u2013 plan", now - 600, std::nullopt));
        db.insert(testing::act("Editor", betaSince, now - 60, "beta.cpp"));
    }
    auto environment = testing::homeEnvironment(home);
    environment["QT_QPA_PLATFORM"] = "offscreen";
    testing::ChildProcess kvillo({KVILLO_BINARY, "--port", "0"}, environment);

    auto notifyCalls = [&] {
        return bus.call(kService, kPath, "org.freedesktop.DBus.Mock.GetMethodCalls", "'Notify'")
            .output;
    };
    ASSERT_TRUE(eventually([&] { return notifyCalls().find("Beta") != std::string::npos; }, 60s))
        << kvillo.standardError();
    EXPECT_NE(notifyCalls().find("SWITCH"), std::string::npos) << notifyCalls();
    ASSERT_EQ(bus.call(kService, kPath, "org.freedesktop.DBus.Mock.EmitSignal",
                       "'org.freedesktop.Notifications', 'ActionInvoked', 'us', [1, 'SWITCH']")
                  .status,
              0);

    Database db(path);
    ASSERT_TRUE(eventually([&] { return db.fetchAnnotations(0, 4e9).size() == 2; }, 10s))
        << kvillo.standardError();
    const auto notes = db.fetchAnnotations(0, 4e9);
    EXPECT_EQ(notes[0].endedAt, betaSince);
    EXPECT_EQ(notes[1].text, "Beta");
    EXPECT_EQ(notes[1].startedAt, betaSince);
    EXPECT_FALSE(notes[1].endedAt);
    kvillo.signal(SIGTERM);
    EXPECT_EQ(kvillo.wait(10s), 0) << kvillo.standardError();
}

}  // namespace
}  // namespace kvillo
