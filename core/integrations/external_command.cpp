#include "core/integrations/external_command.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

extern char** environ;

namespace kvillo {
namespace {

constexpr std::size_t kMaxOutput = 64 * 1024;

int waitFor(pid_t pid) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

}  // namespace

std::optional<std::string> findOnPath(const std::string& name) {
    const char* path = std::getenv("PATH");
    std::string_view folders = path ? path : "";
    while (!folders.empty()) {
        std::size_t colon = folders.find(':');
        std::string folder(folders.substr(0, colon));
        folders.remove_prefix(colon == std::string_view::npos ? folders.size() : colon + 1);
        if (folder.empty() || folder.front() != '/') {
            continue;
        }
        std::string candidate = folder + "/" + name;
        struct stat info {};
        if (::stat(candidate.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
            ::access(candidate.c_str(), X_OK) == 0) {
            return candidate;
        }
    }
    return std::nullopt;
}

CommandOutcome runExternalCommand(const std::vector<std::string>& arguments,
                                  std::chrono::milliseconds timeout) {
    CommandOutcome outcome;
    int pipe[2];
    if (arguments.empty() || ::pipe2(pipe, O_CLOEXEC) != 0) {
        return outcome;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, pipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, pipe[1], STDERR_FILENO);
    std::vector<char*> argv;
    for (const auto& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    pid_t pid = -1;
    int spawned = ::posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipe[1]);
    if (spawned != 0) {
        ::close(pipe[0]);
        return outcome;
    }

    auto deadline = std::chrono::steady_clock::now() + timeout;
    std::optional<int> status;
    bool open = true;
    char buffer[4096];
    // Reads until the child has ended and the pipe is drained. Something
    // the child started may keep the pipe open after it: the child's own
    // end is what counts, so it is looked for between reads.
    while (!status || open) {
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (!status && left.count() <= 0) {
            break;
        }
        int wait = status ? 0 : static_cast<int>(std::min<long long>(left.count(), 50));
        pollfd readable{pipe[0], POLLIN, 0};
        // Once the pipe is closed, the poll only paces the wait for the end.
        int ready = open ? ::poll(&readable, 1, wait) : ::poll(nullptr, 0, wait);
        if (ready < 0 && errno != EINTR) {
            open = false;
        }
        if (ready > 0) {
            ssize_t n = ::read(pipe[0], buffer, sizeof buffer);
            if (n > 0 && outcome.output.size() < kMaxOutput) {
                outcome.output.append(buffer, std::min(static_cast<std::size_t>(n),
                                                       kMaxOutput - outcome.output.size()));
            }
            open = n > 0 || (n < 0 && errno == EINTR);
            continue;
        }
        if (status && ready == 0) {
            break;  // ended, and nothing more waiting in the pipe
        }
        int ended = 0;
        if (!status && ::waitpid(pid, &ended, WNOHANG) == pid) {
            status = ended;
        }
    }
    ::close(pipe[0]);
    if (!status) {
        ::kill(pid, SIGKILL);
        waitFor(pid);
        return outcome;
    }
    if (WIFEXITED(*status)) {
        outcome.ran = true;
        outcome.status = WEXITSTATUS(*status);
    }
    return outcome;
}

}  // namespace kvillo
