#include "tests/support/process.h"

#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <stdexcept>

#include "tests/support/temp_folder.h"

namespace kvillo::testing {
namespace {

std::string captureFile(const char* stream) {
    std::string pattern =
        (std::filesystem::temp_directory_path() / (std::string("kvillo-") + stream + "-XXXXXX"))
            .string();
    int fd = ::mkstemp(pattern.data());
    if (fd < 0) {
        throw std::runtime_error("mkstemp failed");
    }
    ::close(fd);
    return pattern;
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command,
                           const std::map<std::string, std::string>& environment,
                           const std::string& standardInput)
    : inputFile_(captureFile("stdin")),
      outputFile_(captureFile("stdout")),
      errorFile_(captureFile("stderr")) {
    writeFile(inputFile_, standardInput);
    pid_ = ::fork();
    if (pid_ < 0) {
        throw std::runtime_error("fork failed");
    }
    if (pid_ == 0) {
        int out = ::open(outputFile_.c_str(), O_WRONLY | O_TRUNC);
        int err = ::open(errorFile_.c_str(), O_WRONLY | O_TRUNC);
        int in = ::open(inputFile_.c_str(), O_RDONLY);
        ::dup2(in, 0);
        ::dup2(out, 1);
        ::dup2(err, 2);
        for (const auto& [name, value] : environment) {
            if (value.empty()) {
                ::unsetenv(name.c_str());
            } else {
                ::setenv(name.c_str(), value.c_str(), 1);
            }
        }
        std::vector<char*> argv;
        for (const auto& part : command) {
            argv.push_back(const_cast<char*>(part.c_str()));
        }
        argv.push_back(nullptr);
        ::execvp(argv[0], argv.data());
        ::_exit(127);
    }
}

ChildProcess::~ChildProcess() {
    if (!status_) {
        ::kill(pid_, SIGKILL);
        int ignored;
        ::waitpid(pid_, &ignored, 0);
    }
    ::unlink(inputFile_.c_str());
    ::unlink(outputFile_.c_str());
    ::unlink(errorFile_.c_str());
}

void ChildProcess::signal(int signalNumber) const {
    ::kill(pid_, signalNumber);
}

std::optional<int> ChildProcess::wait(std::chrono::milliseconds timeout) {
    if (status_) {
        return status_;
    }
    eventually(
        [this] {
            int raw = 0;
            if (::waitpid(pid_, &raw, WNOHANG) == pid_) {
                status_ = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
            }
            return status_.has_value();
        },
        timeout);
    return status_;
}

bool ChildProcess::holdsOpen(const std::string& path) const {
    std::error_code error;
    std::filesystem::path wanted = std::filesystem::weakly_canonical(path, error);
    std::filesystem::directory_iterator fds("/proc/" + std::to_string(pid_) + "/fd", error);
    for (; !error && fds != std::filesystem::directory_iterator(); fds.increment(error)) {
        if (std::filesystem::read_symlink(fds->path(), error) == wanted) {
            return true;
        }
    }
    return false;
}

std::string ChildProcess::standardOutput() const {
    return readFile(outputFile_);
}

std::string ChildProcess::standardError() const {
    return readFile(errorFile_);
}

ProcessResult runProcess(const std::vector<std::string>& command,
                         const std::map<std::string, std::string>& environment,
                         const std::string& standardInput) {
    ChildProcess child(command, environment, standardInput);
    auto status = child.wait(std::chrono::seconds(30));
    return {status.value_or(-1), child.standardOutput(), child.standardError()};
}

std::optional<std::string> runAsAnotherUser(const std::function<std::string()>& body) {
    int channel[2];
    if (::pipe(channel) != 0) {
        return std::nullopt;
    }
    pid_t child = ::fork();
    if (child == 0) {
        ::close(channel[0]);
        if (::geteuid() == 0 &&
            (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0)) {
            ::_exit(1);
        }
        std::string text = body();
        bool written =
            ::write(channel[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
        ::_exit(written ? 0 : 1);
    }
    ::close(channel[1]);
    std::string text;
    char buffer[4096];
    for (ssize_t n; child > 0 && (n = ::read(channel[0], buffer, sizeof buffer)) > 0;) {
        text.append(buffer, static_cast<size_t>(n));
    }
    ::close(channel[0]);
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status) ||
        WEXITSTATUS(status) != 0) {
        return std::nullopt;
    }
    return text;
}

}  // namespace kvillo::testing
