#pragma once

#include <functional>

namespace kvillo {

// The thread that owns the program's state and draws it (the Qt event
// loop's); work found on another thread is handed to it here.
class UiThread {
public:
    virtual ~UiThread() = default;

    // Runs `work` on the UI thread later, after the caller's own work there
    // has returned, never inside this call. Safe from any thread.
    virtual void post(std::function<void()> work) = 0;
};

}  // namespace kvillo
