#include "tests/support/session_bus.h"

#include <cstdlib>

namespace kvillo::testing {
namespace {

using namespace std::chrono_literals;
// Generous, as a loaded CI machine can be slow to start programs; waiting
// ends as soon as they are up.
constexpr auto kStartTimeout = 30s;

// python3-dbusmock is Debian's, installed for /usr/bin/python3 only.
constexpr const char* kPython = "/usr/bin/python3";

}  // namespace

SessionBus::SessionBus(Serves serves, Users users) : serves_(serves) {
    std::string configuration = users == Users::any ? "--config-file=" KVILLO_TEST_SUPPORT_DIR
                                                      "/any_user_bus.conf"
                                                    : "--session";
    daemon_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"dbus-daemon", configuration, "--nofork", "--print-address=1"});
    if (!eventually([&] { return daemon_->standardOutput().find('\n') != std::string::npos; },
                    kStartTimeout)) {
        error_ = "dbus-daemon did not start: " + daemon_->standardError();
        return;
    }
    address_ = daemon_->standardOutput().substr(0, daemon_->standardOutput().find('\n'));
    if (serves_ != Serves::session) {
        ::setenv("DBUS_SYSTEM_BUS_ADDRESS", address_.c_str(), 1);
    }
    if (serves_ != Serves::system) {
        ::setenv("DBUS_SESSION_BUS_ADDRESS", address_.c_str(), 1);
    }
}

SessionBus::~SessionBus() {
    mocks_.clear();
    daemon_.reset();
    if (serves_ != Serves::session) {
        ::unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    }
    if (serves_ != Serves::system) {
        ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
    }
}

std::string SessionBus::startMock(const std::string& service,
                                  const std::vector<std::string>& arguments) {
    std::vector<std::string> command{kPython, "-m", "dbusmock"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    auto& mock = mocks_.emplace_back(std::make_unique<ChildProcess>(
        command, std::map<std::string, std::string>{{"DBUS_SESSION_BUS_ADDRESS", address_},
                                                    {"DBUS_SYSTEM_BUS_ADDRESS", address_}}));
    bool up = eventually(
        [&] { return call(service, "/", "org.freedesktop.DBus.Peer.Ping", "").status == 0; },
        kStartTimeout);
    return up ? std::string() : mock->standardError();
}

ProcessResult SessionBus::call(const std::string& service, const std::string& path,
                               const std::string& interfaceAndMethod,
                               const std::string& arguments) const {
    size_t dot = interfaceAndMethod.rfind('.');
    std::string script =
        "import dbus\n"
        "bus = dbus.bus.BusConnection('" +
        address_ +
        "')\n"
        "o = bus.get_object('" +
        service + "', '" + path +
        "')\n"
        "print(dbus.Interface(o, '" +
        interfaceAndMethod.substr(0, dot) + "')." + interfaceAndMethod.substr(dot + 1) + "(" +
        arguments + "))\n";
    return runProcess({kPython, "-c", script});
}

}  // namespace kvillo::testing
