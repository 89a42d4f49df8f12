#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/mcp/loopback_peer.h"

namespace kvillo {
namespace {

constexpr uid_t kNobody = 65534;

// A loopback listener, and a client in a child process (as `user` when
// given) that holds its connection open until the test is done.
class Connection {
public:
    // `closeFirst`: the client closes and exits before the connection is
    // accepted, as one that sends a request and hangs up at once.
    Connection(bool ipv6, std::optional<uid_t> user, bool closeFirst = false) {
        listener_ = ::socket(ipv6 ? AF_INET6 : AF_INET, SOCK_STREAM, 0);
        sockaddr_in v4{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
        sockaddr_in6 v6{AF_INET6, 0, 0, in6addr_loopback, 0};
        auto* address = ipv6 ? reinterpret_cast<sockaddr*>(&v6) : reinterpret_cast<sockaddr*>(&v4);
        socklen_t length = ipv6 ? sizeof v6 : sizeof v4;
        ::bind(listener_, address, length);
        ::listen(listener_, 1);
        ::getsockname(listener_, address, &length);
        int done[2];
        [[maybe_unused]] int piped = ::pipe(done);
        child_ = ::fork();
        if (child_ == 0) {
            ::close(done[1]);
            if (user && (::setgid(*user) != 0 || ::setuid(*user) != 0)) {
                ::_exit(1);
            }
            int client = ::socket(ipv6 ? AF_INET6 : AF_INET, SOCK_STREAM, 0);
            ::connect(client, address, length);
            if (closeFirst) {
                ::_exit(0);
            }
            char byte;
            [[maybe_unused]] auto ignored = ::read(done[0], &byte, 1);
            ::_exit(0);
        }
        ::close(done[0]);
        done_ = done[1];
        if (closeFirst) {
            ::waitpid(child_, nullptr, 0);
            child_ = -1;
        }
        accepted_ = ::accept(listener_, nullptr, nullptr);
    }
    ~Connection() {
        ::close(done_);
        if (child_ > 0) {
            ::waitpid(child_, nullptr, 0);
        }
        ::close(accepted_);
        ::close(listener_);
    }
    int accepted() const { return accepted_; }

private:
    int listener_ = -1;
    int accepted_ = -1;
    int done_ = -1;
    pid_t child_ = -1;
};

TEST(LoopbackPeer, NamesTheUserAtTheOtherEndOverBothAddressesAndBothSources) {
    struct Row {
        const char* name;
        bool ipv6;
        std::optional<uid_t> user;
    };
    std::vector<Row> rows = {{"own user, 127.0.0.1", false, std::nullopt},
                             {"own user, ::1", true, std::nullopt}};
    if (::geteuid() == 0) {
        rows.push_back({"another user, 127.0.0.1", false, kNobody});
        rows.push_back({"another user, ::1", true, kNobody});
    } else {
        std::cerr << "another user's client needs root to start; only the own user is tried\n";
    }
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Connection connection(row.ipv6, row.user);
        ASSERT_GE(connection.accepted(), 0);
        uid_t expected = row.user.value_or(::geteuid());
        EXPECT_EQ(loopbackPeerUser(connection.accepted()), expected);
        EXPECT_EQ(loopbackPeerUserFromProc(connection.accepted()), expected);
    }
}

// A socket its program has already closed belongs to nobody (the kernel
// says uid 0), so whatever it left to be read is nobody's either.
TEST(LoopbackPeer, AClientThatHungUpIsNobody) {
    Connection connection(false, std::nullopt, /*closeFirst=*/true);
    ASSERT_GE(connection.accepted(), 0);
    EXPECT_EQ(loopbackPeerUser(connection.accepted()), std::nullopt);
    EXPECT_EQ(loopbackPeerUserFromProc(connection.accepted()), std::nullopt);
}

}  // namespace
}  // namespace kvillo
