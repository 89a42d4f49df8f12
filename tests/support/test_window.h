#pragma once

#include <sys/types.h>

#include <map>
#include <memory>
#include <string>

#include "tests/support/process.h"

namespace kvillo::testing {

// A GTK window (test_window.py, run by /usr/bin/python3) with a chosen app
// id and title, whose title the test changes through a FIFO made in
// `folder`. `environment` says which display it opens on. The window goes
// with the object.
class TestWindow {
public:
    TestWindow(const std::string& folder, const std::string& appID, const std::string& title,
               const std::map<std::string, std::string>& environment);
    ~TestWindow();
    TestWindow(const TestWindow&) = delete;
    TestWindow& operator=(const TestWindow&) = delete;

    // The window takes the title when it reads it; false if it cannot be
    // sent.
    bool retitle(const std::string& title) const;
    // Asks the window to close and waits until its process has ended.
    bool close();
    pid_t pid() const { return process_->pid(); }
    std::string standardError() const { return process_->standardError(); }

private:
    // Held open for reading and writing, so that sending never waits and a
    // line waits in the pipe until the window reads it.
    int commands_ = -1;
    std::unique_ptr<ChildProcess> process_;
};

}  // namespace kvillo::testing
