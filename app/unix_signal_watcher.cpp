#include "app/unix_signal_watcher.h"

#include <QSocketNotifier>

#include <sys/socket.h>
#include <unistd.h>
#include <cerrno>
#include <csignal>

namespace kvillo {
namespace {

// The handler may touch nothing but this descriptor.
int writeEnd = -1;
int readEnd = -1;

void onSignal(int signalNumber) {
    // The interrupted code may be about to read errno.
    int savedErrno = errno;
    const unsigned char byte = static_cast<unsigned char>(signalNumber);
    [[maybe_unused]] ssize_t written = ::write(writeEnd, &byte, 1);
    errno = savedErrno;
}

}  // namespace

UnixSignalWatcher::UnixSignalWatcher(std::initializer_list<int> signalNumbers, QObject* parent)
    : QObject(parent), signalNumbers_(signalNumbers) {
    int fds[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0) {
        // Without the pipe the default disposition stays: the signal still
        // ends the process, only without the orderly shutdown.
        return;
    }
    writeEnd = fds[0];
    readEnd = fds[1];
    notifier_ = new QSocketNotifier(readEnd, QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &UnixSignalWatcher::readPipe);

    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int signalNumber : signalNumbers) {
        ::sigaction(signalNumber, &action, nullptr);
    }
}

UnixSignalWatcher::~UnixSignalWatcher() {
    if (!notifier_) {
        return;
    }
    for (int signalNumber : signalNumbers_) {
        ::signal(signalNumber, SIG_DFL);
    }
    notifier_->setEnabled(false);
    ::close(writeEnd);
    ::close(readEnd);
    writeEnd = readEnd = -1;
}

void UnixSignalWatcher::readPipe() {
    unsigned char byte = 0;
    if (::read(readEnd, &byte, 1) == 1) {
        emit received(byte);
    }
}

}  // namespace kvillo
