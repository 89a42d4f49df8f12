#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kvillo::testing {

// A child process with its standard output and error captured to files.
// The child is killed if still running when the object goes.
class ChildProcess {
public:
    // `environment` entries are added to (or replace those of) this process's
    // environment; an empty value unsets the variable. The child reads
    // `standardInput`, then end of input.
    ChildProcess(const std::vector<std::string>& command,
                 const std::map<std::string, std::string>& environment = {},
                 const std::string& standardInput = "");
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return pid_; }
    void signal(int signalNumber) const;

    // The exit status, or none if it has not ended within `timeout`. A child
    // killed by a signal reports 128 + the signal number, as shells do.
    std::optional<int> wait(std::chrono::milliseconds timeout);

    // Whether the child has `path` open, as /proc lists its descriptors.
    bool holdsOpen(const std::string& path) const;

    std::string standardOutput() const;
    std::string standardError() const;

private:
    pid_t pid_ = -1;
    std::optional<int> status_;
    std::string inputFile_;
    std::string outputFile_;
    std::string errorFile_;
};

// Runs `command` to completion (killing it after 30 s).
struct ProcessResult {
    int status;
    std::string output;
    std::string error;
};
ProcessResult runProcess(const std::vector<std::string>& command,
                         const std::map<std::string, std::string>& environment = {},
                         const std::string& standardInput = "");

// Runs `body` in a forked child that is the user nobody (65534) when this
// process is root, and this user otherwise (file permissions bind it
// then), and gives back the text `body` returns; none when the child could
// not change user or did not end normally. For testing what another user
// may not do.
std::optional<std::string> runAsAnotherUser(const std::function<std::string()>& body);

// Polls `condition` every `step` until it holds or `timeout` passes.
template <typename Condition>
bool eventually(Condition condition, std::chrono::milliseconds timeout,
                std::chrono::milliseconds step = std::chrono::milliseconds(20)) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        struct timespec pause {
            static_cast<time_t>(step.count() / 1000),
                static_cast<long>(step.count() % 1000) * 1'000'000
        };
        ::nanosleep(&pause, nullptr);
    }
    return true;
}

}  // namespace kvillo::testing
