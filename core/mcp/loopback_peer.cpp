#include "core/mcp/loopback_peer.h"

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

namespace kvillo {
namespace {

// The connection as the peer sees it: its own address is our remote one.
struct AddressPair {
    sockaddr_storage peer{};
    sockaddr_storage local{};
};

// Only a TCP connection over IPv4 or IPv6 has a peer in the socket tables.
std::optional<AddressPair> addressesOf(int fd) {
    AddressPair pair;
    socklen_t length = sizeof pair.peer;
    if (::getpeername(fd, reinterpret_cast<sockaddr*>(&pair.peer), &length) != 0) {
        return std::nullopt;
    }
    length = sizeof pair.local;
    if (::getsockname(fd, reinterpret_cast<sockaddr*>(&pair.local), &length) != 0 ||
        (pair.peer.ss_family != AF_INET && pair.peer.ss_family != AF_INET6)) {
        return std::nullopt;
    }
    return pair;
}

// Copies the address and port of `address` into the diag socket id fields.
void fill(const sockaddr_storage& address, __be16& port, __be32 (&bytes)[4]) {
    if (address.ss_family == AF_INET) {
        const auto& v4 = reinterpret_cast<const sockaddr_in&>(address);
        port = v4.sin_port;
        std::memcpy(bytes, &v4.sin_addr, sizeof v4.sin_addr);
    } else {
        const auto& v6 = reinterpret_cast<const sockaddr_in6&>(address);
        port = v6.sin6_port;
        std::memcpy(bytes, &v6.sin6_addr, sizeof v6.sin6_addr);
    }
}

// A client that closed at once leaves a TIME_WAIT socket, which belongs to
// nobody: the kernel reports it as uid 0 with no inode. It is no proof of
// who sent what is still waiting to be read.
bool isOwned(unsigned state, unsigned long inode) {
    constexpr unsigned kTimeWait = 6;  // TCP_TIME_WAIT
    return state != kTimeWait && inode != 0;
}

std::optional<uid_t> askSockDiag(const AddressPair& pair) {
    int fd = ::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_SOCK_DIAG);
    if (fd < 0) {
        return std::nullopt;
    }
    struct {
        nlmsghdr header;
        inet_diag_req_v2 request;
    } message{};
    message.header.nlmsg_len = sizeof message;
    message.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    message.header.nlmsg_flags = NLM_F_REQUEST;
    message.request.sdiag_family = static_cast<__u8>(pair.peer.ss_family);
    message.request.sdiag_protocol = IPPROTO_TCP;
    message.request.idiag_states = ~0u;
    message.request.id.idiag_cookie[0] = INET_DIAG_NOCOOKIE;
    message.request.id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    fill(pair.peer, message.request.id.idiag_sport, message.request.id.idiag_src);
    fill(pair.local, message.request.id.idiag_dport, message.request.id.idiag_dst);

    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    std::optional<uid_t> user;
    if (::sendto(fd, &message, sizeof message, 0, reinterpret_cast<sockaddr*>(&kernel),
                 sizeof kernel) == static_cast<ssize_t>(sizeof message)) {
        alignas(nlmsghdr) char buffer[8192];
        ssize_t received = ::recv(fd, buffer, sizeof buffer, 0);
        auto* reply = reinterpret_cast<nlmsghdr*>(buffer);
        if (received > 0 && NLMSG_OK(reply, static_cast<unsigned>(received)) &&
            reply->nlmsg_type == SOCK_DIAG_BY_FAMILY &&
            reply->nlmsg_len >= NLMSG_LENGTH(sizeof(inet_diag_msg))) {
            const auto* socket = static_cast<const inet_diag_msg*>(NLMSG_DATA(reply));
            if (isOwned(socket->idiag_state, socket->idiag_inode)) {
                user = socket->idiag_uid;
            }
        }
    }
    ::close(fd);
    return user;
}

// /proc/net/tcp writes each address as the hex of its bytes in memory order
// (IPv6 in four 32-bit words), then ':' and the port in plain hex.
std::string procAddress(const sockaddr_storage& address) {
    __be16 port = 0;
    __be32 words[4] = {};
    fill(address, port, words);
    int count = address.ss_family == AF_INET ? 1 : 4;
    std::string text;
    char hex[16];
    for (int i = 0; i < count; ++i) {
        std::snprintf(hex, sizeof hex, "%08X", words[i]);
        text += hex;
    }
    std::snprintf(hex, sizeof hex, ":%04X", ntohs(port));
    return text + hex;
}

std::optional<uid_t> readProcTable(const AddressPair& pair) {
    std::ifstream table(pair.peer.ss_family == AF_INET ? "/proc/net/tcp" : "/proc/net/tcp6");
    const std::string peer = procAddress(pair.peer);
    const std::string local = procAddress(pair.local);
    std::string line;
    std::getline(table, line);  // the column names
    while (std::getline(table, line)) {
        std::istringstream fields(line);
        std::string slot, localColumn, remoteColumn, state, queues, timer, retransmits;
        uid_t user = 0;
        unsigned long timeout = 0, inode = 0;
        if (fields >> slot >> localColumn >> remoteColumn >> state >> queues >> timer >>
                retransmits >> user >> timeout >> inode &&
            localColumn == peer && remoteColumn == local) {
            return isOwned(std::stoul(state, nullptr, 16), inode) ? std::optional(user)
                                                                  : std::nullopt;
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<uid_t> loopbackPeerUser(int connectedSocket) {
    auto pair = addressesOf(connectedSocket);
    if (!pair) {
        return std::nullopt;
    }
    if (auto user = askSockDiag(*pair)) {
        return user;
    }
    return readProcTable(*pair);
}

std::optional<uid_t> loopbackPeerUserFromProc(int connectedSocket) {
    auto pair = addressesOf(connectedSocket);
    return pair ? readProcTable(*pair) : std::nullopt;
}

}  // namespace kvillo
