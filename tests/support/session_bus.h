#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/support/process.h"

namespace kvillo::testing {

// A private D-Bus daemon standing in for the session bus, the system bus or
// both (the bus variables point at it for the life of the object), with
// python3-dbusmock services started on it. Tests that need it carry the
// CTest label "dbus". Qt connects to each bus once per process and never
// again, so only the first bus of a process reaches Qt code: CTest runs
// every test case as its own process, a bare run of a binary with several
// cases does not work.
class SessionBus {
public:
    // Which of the bus variables point at the daemon.
    enum class Serves { sessionAndSystem, session, system };
    // Who may connect: this process's user, or any user (for a program the
    // test runs as another user, say because it refuses to run as root).
    // A bus open to any user has no activatable services, so everything on
    // it was started by the test.
    enum class Users { thisOne, any };

    explicit SessionBus(Serves serves = Serves::sessionAndSystem, Users users = Users::thisOne);
    ~SessionBus();
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;

    // Empty when the bus runs; else what failed.
    const std::string& error() const { return error_; }
    const std::string& address() const { return address_; }

    // Starts `python3 -m dbusmock` with these arguments ("--system",
    // "--template", "logind", say) on this bus, whichever of the two the
    // arguments name; it runs as long as the bus. Gives its
    // standard error when it does not come up on the bus as `service`.
    std::string startMock(const std::string& service, const std::vector<std::string>& arguments);

    // Calls `interface.method` on `path` of `service` with arguments written
    // as Python literals ("'c1', True"); the output is the reply as Python
    // prints it.
    ProcessResult call(const std::string& service, const std::string& path,
                       const std::string& interfaceAndMethod, const std::string& arguments) const;

private:
    std::unique_ptr<ChildProcess> daemon_;
    std::vector<std::unique_ptr<ChildProcess>> mocks_;
    std::string address_;
    std::string error_;
    Serves serves_;
};

}  // namespace kvillo::testing
