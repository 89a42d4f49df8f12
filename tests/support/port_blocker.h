#pragma once

#include <cstdint>

namespace kvillo::testing {

// Another program holding a loopback port: listens on 127.0.0.1 at a free
// port, and on ::1 at the same port too when asked and possible. Closes
// both when it goes.
class PortBlocker {
public:
    explicit PortBlocker(bool alsoIpv6);
    ~PortBlocker();
    PortBlocker(const PortBlocker&) = delete;
    PortBlocker& operator=(const PortBlocker&) = delete;

    std::uint16_t port() const { return port_; }

private:
    int ipv4_ = -1;
    int ipv6_ = -1;
    std::uint16_t port_ = 0;
};

}  // namespace kvillo::testing
