#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace kvillo {

// The first executable regular file named `name` in the folders of $PATH
// (read now); none when there is none. Relative folders are skipped.
std::optional<std::string> findOnPath(const std::string& name);

struct CommandOutcome {
    bool ran = false;    // false: it could not be started, or was killed at the time limit
    int status = -1;     // the exit status when it ran to its end
    std::string output;  // standard output and error, as they came (at most 64 KiB)
};

// Runs `arguments[0]` (a path) with the rest as its arguments, directly,
// with no shell between: input from /dev/null, this process's environment.
// Blocks until it ends, or kills it after `timeout`. Safe from any thread;
// it waits for its own child only.
CommandOutcome runExternalCommand(const std::vector<std::string>& arguments,
                                  std::chrono::milliseconds timeout);

}  // namespace kvillo
