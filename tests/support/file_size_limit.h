#pragma once

#include <sys/resource.h>

#include <csignal>

namespace kvillo::testing {

// Runs `write` with files limited to `bytes`, so that a write fails part-way
// as on a full disk; unlike permissions, the limit binds root too.
template <typename Write>
auto withFileSizeLimit(rlim_t bytes, Write write) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit old{};
    ::getrlimit(RLIMIT_FSIZE, &old);
    rlimit tiny = old;
    tiny.rlim_cur = bytes;
    ::setrlimit(RLIMIT_FSIZE, &tiny);
    auto result = write();
    ::setrlimit(RLIMIT_FSIZE, &old);
    return result;
}

}  // namespace kvillo::testing
