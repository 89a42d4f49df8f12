#pragma once

#include <QObject>

#include <initializer_list>
#include <vector>

class QSocketNotifier;

namespace kvillo {

// Turns the given signals (SIGTERM, SIGINT, SIGHUP) into a Qt signal on the
// main thread, so that a signal runs the same orderly shutdown as quitting
// from the menu. The handler only writes a byte to a pipe; all work happens
// in the event loop.
// One instance per process.
class UnixSignalWatcher : public QObject {
    Q_OBJECT
public:
    explicit UnixSignalWatcher(std::initializer_list<int> signalNumbers, QObject* parent = nullptr);
    ~UnixSignalWatcher() override;

signals:
    void received(int signalNumber);

private:
    void readPipe();

    std::vector<int> signalNumbers_;
    QSocketNotifier* notifier_ = nullptr;
};

}  // namespace kvillo
