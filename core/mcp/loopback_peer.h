#pragma once

#include <sys/types.h>

#include <optional>

namespace kvillo {

// The user that owns the other end of an accepted loopback TCP connection,
// as the kernel's socket table says (a sock_diag netlink lookup by the
// connection's address pair, else /proc/net/tcp and tcp6). None when the
// peer is not found (it already went, or the connection is not local): a
// caller that admits only its own user refuses it then.
// `connectedSocket` is the accepted socket's descriptor; any thread.
std::optional<uid_t> loopbackPeerUser(int connectedSocket);

// The same from /proc alone: the fallback where netlink is not allowed (some
// sandboxes), and what tests compare the netlink answer with.
std::optional<uid_t> loopbackPeerUserFromProc(int connectedSocket);

}  // namespace kvillo
