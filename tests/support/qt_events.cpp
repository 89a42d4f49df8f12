#include "tests/support/qt_events.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>

namespace kvillo::testing {

void ensureCoreApplication() {
    if (QCoreApplication::instance()) {
        return;
    }
    static int argc = 1;
    static char name[] = "kvillo-test";
    static char* argv[] = {name, nullptr};
    new QCoreApplication(argc, argv);  // lives as long as the binary
}

bool processEventsUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(10);
    }
    return true;
}

void processEventsFor(std::chrono::milliseconds time) {
    processEventsUntil([] { return false; }, time);
}

}  // namespace kvillo::testing
