#pragma once

#include <chrono>
#include <functional>

namespace kvillo::testing {

// The QCoreApplication that tests with sockets, timers or D-Bus need, made
// on first use and kept for the rest of the test binary.
void ensureCoreApplication();

// Runs the event loop until `condition` holds (checked every 10 ms) or
// `timeout` passes; gives whether it held.
bool processEventsUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout);

// Runs the event loop for `time`, for when the test is that nothing happens.
void processEventsFor(std::chrono::milliseconds time);

}  // namespace kvillo::testing
