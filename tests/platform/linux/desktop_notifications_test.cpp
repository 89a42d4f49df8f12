#include "platform/linux/desktop_notifications.h"

#include <gtest/gtest.h>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QStringList>
#include <QVariantMap>

#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/qt_events.h"
#include "tests/support/session_bus.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;
using Answers = std::vector<std::pair<std::string, std::string>>;

constexpr const char* kService = "org.freedesktop.Notifications";
constexpr const char* kPath = "/org/freedesktop/Notifications";

const Question kQuestion{"project-switch",
                         "Working on Beta?",
                         "Your windows have been Beta's for 5 minutes.",
                         {{"SWITCH", "Switch to Beta"}, {"KEEP", "Keep Alpha"}}};

// The fallback, recording what reaches it.
struct RecordingCenter : NotificationCenter {
    void setAnswerHandler(AnswerHandler handler) override { answer = std::move(handler); }
    void post(const Question& question) override { posted.push_back(question); }

    AnswerHandler answer;
    std::vector<Question> posted;
};

std::string startServer(testing::SessionBus& bus, const std::string& capabilities) {
    if (!bus.error().empty()) {
        return bus.error();
    }
    return bus.startMock(kService, {"--template", "notification_daemon", "-p",
                                    "{\"capabilities\": \"" + capabilities + "\"}"});
}

// ActionInvoked (id, key) or NotificationClosed (id, reason) from the server.
int emitSignal(const testing::SessionBus& bus, const std::string& name, const std::string& args) {
    const char* signature = name == "ActionInvoked" ? "us" : "uu";
    return bus
        .call(
            kService, kPath, "org.freedesktop.DBus.Mock.EmitSignal",
            "'org.freedesktop.Notifications', '" + name + "', '" + signature + "', [" + args + "]")
        .status;
}

// The Notify calls the server received, each as the fields but the hints
// joined by '|', and their hints.
struct NotifyCall {
    std::string fields;
    QVariantMap hints;
};
std::vector<NotifyCall> notifyCalls() {
    QDBusMessage ask = QDBusMessage::createMethodCall(kService, kPath, "org.freedesktop.DBus.Mock",
                                                      "GetMethodCalls");
    ask << QStringLiteral("Notify");
    QDBusMessage reply = QDBusConnection::sessionBus().call(ask);
    std::vector<NotifyCall> calls;
    const auto list = reply.arguments().value(0).value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        quint64 time = 0;
        QVariantList args;
        list.beginStructure();
        list >> time >> args;
        list.endStructure();
        QStringList fields;
        for (int i : {0, 1, 2, 3, 4, 5, 7}) {
            fields << (args.value(i).metaType().id() == QMetaType::QStringList
                           ? args.value(i).toStringList().join(',')
                           : args.value(i).toString());
        }
        calls.push_back({fields.join('|').toStdString(),
                         qdbus_cast<QVariantMap>(args.value(6).value<QDBusArgument>())});
    }
    list.endArray();
    return calls;
}

// With a server that shows buttons: the question as a notification that
// waits; a repost replaces it; each notification answers once, by its own id.
TEST(DesktopNotifications, AsksWithButtonsAndTakesOneAnswerPerNotification) {
    testing::SessionBus bus;
    ASSERT_EQ(startServer(bus, "body actions persistence"), "");
    testing::ensureCoreApplication();
    RecordingCenter fallback;
    DesktopNotifications notifications(fallback);
    Answers answers;
    notifications.setAnswerHandler([&](const std::string& request, const std::string& action) {
        answers.emplace_back(request, action);
    });
    auto postAndWait = [&](size_t calls) {
        notifications.post(kQuestion);
        return testing::processEventsUntil([&] { return notifyCalls().size() == calls; }, 5s);
    };

    // Posted before the capabilities came: it waits for them.
    ASSERT_TRUE(postAndWait(1));
    std::vector<NotifyCall> calls = notifyCalls();
    EXPECT_EQ(calls[0].fields,
              "Kvillo|0|io.kvillo.Kvillo|Working on Beta?|Your windows have been Beta's for 5 "
              "minutes.|default,Switch to Beta,SWITCH,Switch to Beta,KEEP,Keep Alpha|0");
    EXPECT_EQ(calls[0].hints.value("urgency").metaType().id(), QMetaType::UChar);
    EXPECT_EQ(calls[0].hints.value("urgency").toInt(), 1);
    EXPECT_EQ(calls[0].hints.value("desktop-entry").toString(), "io.kvillo.Kvillo");

    ASSERT_TRUE(postAndWait(2));
    EXPECT_EQ(notifyCalls()[1].fields.substr(0, 9), "Kvillo|1|");
    // Another program's signal, even with our id, is not the server's.
    ASSERT_EQ(bus.startMock("org.example.Impostor",
                            {"org.example.Impostor", kPath, "org.freedesktop.Notifications"}),
              "");
    ASSERT_EQ(bus.call("org.example.Impostor", kPath, "org.freedesktop.DBus.Mock.EmitSignal",
                       "'org.freedesktop.Notifications', 'ActionInvoked', 'us', [1, 'default']")
                  .status,
              0);
    // Another client's id is not ours; the close that follows an action is
    // no second answer.
    ASSERT_EQ(emitSignal(bus, "ActionInvoked", "2, 'KEEP'"), 0);
    ASSERT_EQ(emitSignal(bus, "ActionInvoked", "1, 'SWITCH'"), 0);
    ASSERT_EQ(emitSignal(bus, "NotificationClosed", "1, 2"), 0);
    ASSERT_TRUE(testing::processEventsUntil([&] { return answers.size() == 1; }, 5s));

    // Answered, so nothing is left to replace: the server gives id 2.
    ASSERT_TRUE(postAndWait(3));
    EXPECT_EQ(notifyCalls()[2].fields.substr(0, 9), "Kvillo|0|");
    ASSERT_EQ(emitSignal(bus, "ActionInvoked", "2, 'default'"), 0);
    ASSERT_TRUE(testing::processEventsUntil([&] { return answers.size() == 2; }, 5s));

    ASSERT_TRUE(postAndWait(4));
    ASSERT_EQ(emitSignal(bus, "NotificationClosed", "3, 2"), 0);
    ASSERT_TRUE(testing::processEventsUntil([&] { return answers.size() == 3; }, 5s));
    testing::processEventsFor(200ms);
    EXPECT_EQ(answers, (Answers{{"project-switch", "SWITCH"},
                                {"project-switch", NotificationCenter::kDefaultAction},
                                {"project-switch", NotificationCenter::kDismissAction}}));
    EXPECT_TRUE(fallback.posted.empty());
}

struct Unusable {
    const char* name;
    bool sessionBus;
    const char* capabilities;  // none: no notification server
    const char* notifyError;   // Python raising from Notify, if it fails
};

void PrintTo(const Unusable& row, std::ostream* out) {
    *out << row.name;
}

class DesktopNotificationsFallback : public ::testing::TestWithParam<Unusable> {};

// Wherever no notification with buttons can be shown, the question goes to
// the fallback, whose answers come out of the notifications' handler.
TEST_P(DesktopNotificationsFallback, TakesTheQuestion) {
    const Unusable& row = GetParam();
    std::optional<testing::SessionBus> bus;
    std::optional<testing::ScopedEnv> noBus;
    if (row.sessionBus) {
        bus.emplace();
        if (row.capabilities) {
            ASSERT_EQ(startServer(*bus, row.capabilities), "");
        }
        if (row.notifyError) {
            ASSERT_EQ(bus->call(kService, kPath, "org.freedesktop.DBus.Mock.AddMethod",
                                std::string("'', 'Notify', 'susssasa{sv}i', 'u', '") +
                                    row.notifyError + "'")
                          .status,
                      0);
        }
    } else {
        noBus.emplace("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    }
    testing::ensureCoreApplication();
    RecordingCenter fallback;
    DesktopNotifications notifications(fallback);
    Answers answers;
    notifications.setAnswerHandler([&](const std::string& request, const std::string& action) {
        answers.emplace_back(request, action);
    });

    notifications.post(kQuestion);
    ASSERT_TRUE(testing::processEventsUntil([&] { return !fallback.posted.empty(); }, 5s));
    testing::processEventsFor(200ms);
    EXPECT_EQ(fallback.posted, std::vector<Question>{kQuestion});
    ASSERT_TRUE(fallback.answer);
    fallback.answer("project-switch", "KEEP");
    EXPECT_EQ(answers, (Answers{{"project-switch", "KEEP"}}));
}

INSTANTIATE_TEST_SUITE_P(
    Desktops, DesktopNotificationsFallback,
    ::testing::Values(Unusable{"ServerWithoutActions", true, "body persistence", nullptr},
                      Unusable{"NoServer", true, nullptr, nullptr},
                      Unusable{"NotifyFails", true, "body actions",
                               "raise dbus.exceptions.DBusException(\"full\", "
                               "name=\"org.freedesktop.DBus.Error.LimitsExceeded\")"},
                      Unusable{"NoSessionBus", false, nullptr, nullptr}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace kvillo
