#include "tests/support/port_blocker.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kvillo::testing {

PortBlocker::PortBlocker(bool alsoIpv6) {
    ipv4_ = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(ipv4_, reinterpret_cast<sockaddr*>(&address), sizeof address);
    ::listen(ipv4_, 1);
    socklen_t length = sizeof address;
    ::getsockname(ipv4_, reinterpret_cast<sockaddr*>(&address), &length);
    port_ = ntohs(address.sin_port);
    if (!alsoIpv6) {
        return;
    }
    ipv6_ = ::socket(AF_INET6, SOCK_STREAM, 0);
    sockaddr_in6 address6{};
    address6.sin6_family = AF_INET6;
    address6.sin6_addr = in6addr_loopback;
    address6.sin6_port = address.sin_port;
    int v6only = 1;
    ::setsockopt(ipv6_, IPPROTO_IPV6, IPV6_V6ONLY, &v6only, sizeof v6only);
    if (::bind(ipv6_, reinterpret_cast<sockaddr*>(&address6), sizeof address6) == 0) {
        ::listen(ipv6_, 1);
    }
}

PortBlocker::~PortBlocker() {
    ::close(ipv4_);
    if (ipv6_ >= 0) {
        ::close(ipv6_);
    }
}

}  // namespace kvillo::testing
