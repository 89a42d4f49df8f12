#include "tests/support/test_window.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>

namespace kvillo::testing {

TestWindow::TestWindow(const std::string& folder, const std::string& appID,
                       const std::string& title,
                       const std::map<std::string, std::string>& environment) {
    // Several windows may share an app id: the first free name is theirs.
    std::string fifo;
    for (int n = 0;; ++n) {
        fifo = folder + "/window-" + appID + "-" + std::to_string(n);
        if (::mkfifo(fifo.c_str(), 0600) == 0 || errno != EEXIST) {
            break;
        }
    }
    commands_ = ::open(fifo.c_str(), O_RDWR | O_CLOEXEC);
    process_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"/usr/bin/python3", KVILLO_TEST_SUPPORT_DIR "/test_window.py",
                                 appID, title, fifo},
        environment);
}

TestWindow::~TestWindow() {
    process_.reset();
    if (commands_ >= 0) {
        ::close(commands_);
    }
}

bool TestWindow::retitle(const std::string& title) const {
    const std::string line = title + "\n";
    return commands_ >= 0 &&
           ::write(commands_, line.data(), line.size()) == static_cast<ssize_t>(line.size());
}

bool TestWindow::close() {
    using namespace std::chrono_literals;
    return retitle("quit") && process_->wait(10s) == 0;
}

}  // namespace kvillo::testing
