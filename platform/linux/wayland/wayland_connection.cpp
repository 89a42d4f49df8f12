#include "platform/linux/wayland/wayland_connection.h"

#include <QAbstractEventDispatcher>
#include <QSocketNotifier>

#include <wayland-client.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <iostream>

namespace kvillo {

namespace {

void logToStderr(const char* format, va_list arguments) {
    char message[512];
    std::vsnprintf(message, sizeof message, format, arguments);
    std::string text(message);
    while (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    std::cerr << "kvillo: wayland: " << text << "\n";
}

}  // namespace

WaylandConnection::WaylandConnection() {
    wl_log_set_handler_client(&logToStderr);
    errno = 0;
    display_ = wl_display_connect(nullptr);
    if (!display_) {
        connectError_ = errno ? std::strerror(errno) : "no compositor";
        return;
    }
    registry_ = wl_display_get_registry(display_);
    static const wl_registry_listener listener = {&WaylandConnection::onGlobal,
                                                  &WaylandConnection::onGlobalRemove};
    wl_registry_add_listener(registry_, &listener, this);
    if (wl_display_roundtrip(display_) < 0) {
        lost_ = true;
        return;
    }
    auto* notifier = new QSocketNotifier(wl_display_get_fd(display_), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &WaylandConnection::readEvents);
    connect(this, &WaylandConnection::lost, notifier, [notifier] { notifier->setEnabled(false); });
    // libwayland only buffers requests; nothing reaches the compositor
    // unless it is flushed, and the loop is about to wait for an answer.
    if (auto* dispatcher = QAbstractEventDispatcher::instance()) {
        flushBeforeSleep_ =
            connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, [this] {
                if (isConnected() && wl_display_flush(display_) < 0 && errno != EAGAIN) {
                    lose();
                }
            });
    }
}

WaylandConnection::~WaylandConnection() {
    disconnect(flushBeforeSleep_);
    if (!display_) {
        return;
    }
    for (wl_output* output : outputs_) {
        wl_output_destroy(output);
    }
    if (seat_) {
        wl_seat_destroy(seat_);
    }
    if (registry_) {
        wl_registry_destroy(registry_);
    }
    wl_display_disconnect(display_);
}

void WaylandConnection::onGlobal(void* data, wl_registry*, std::uint32_t name,
                                 const char* interface, std::uint32_t version) {
    static_cast<WaylandConnection*>(data)->globals_.push_back(Global{name, interface, version});
}

void WaylandConnection::onGlobalRemove(void* data, wl_registry*, std::uint32_t name) {
    auto* self = static_cast<WaylandConnection*>(data);
    std::erase_if(self->globals_, [name](const Global& global) { return global.name == name; });
}

void* WaylandConnection::bind(const wl_interface& interface, std::uint32_t maxVersion) {
    if (!isConnected()) {
        return nullptr;
    }
    for (const Global& global : globals_) {
        if (global.interface == interface.name) {
            return wl_registry_bind(registry_, global.name, &interface,
                                    std::min(global.version, maxVersion));
        }
    }
    return nullptr;
}

wl_seat* WaylandConnection::seat() {
    if (!seatBound_) {
        seatBound_ = true;
        seat_ = static_cast<wl_seat*>(bind(wl_seat_interface, 1));
    }
    return seat_;
}

const std::vector<wl_output*>& WaylandConnection::outputs() {
    if (!outputsBound_ && isConnected()) {
        outputsBound_ = true;
        for (const Global& global : globals_) {
            if (global.interface == wl_output_interface.name) {
                outputs_.push_back(static_cast<wl_output*>(
                    wl_registry_bind(registry_, global.name, &wl_output_interface, 1)));
            }
        }
    }
    return outputs_;
}

void WaylandConnection::flush() {
    // A full socket (EAGAIN) keeps the rest queued for the next flush.
    if (isConnected() && wl_display_flush(display_) < 0 && errno != EAGAIN) {
        lose();
    }
}

bool WaylandConnection::roundtrip() {
    if (!isConnected()) {
        return false;
    }
    if (wl_display_roundtrip(display_) < 0) {
        lose();
        return false;
    }
    return true;
}

void WaylandConnection::readEvents() {
    if (!isConnected()) {
        return;
    }
    // Another reader (a roundtrip) may have queued events already; those
    // are dispatched first, as libwayland requires before reading.
    while (wl_display_prepare_read(display_) != 0) {
        if (wl_display_dispatch_pending(display_) < 0) {
            lose();
            return;
        }
    }
    if (wl_display_read_events(display_) < 0 || wl_display_dispatch_pending(display_) < 0) {
        lose();
    }
}

void WaylandConnection::lose() {
    if (lost_) {
        return;
    }
    lost_ = true;
    // A protocol error is a request of ours the compositor refused: it ends
    // the connection, not the session.
    const bool refused = wl_display_get_error(display_) == EPROTO;
    if (refused) {
        std::cerr << "kvillo: wayland: the compositor refused a request and closed the "
                     "connection; its windows are no longer followed\n";
    }
    // Queued: this can be found inside a listener or a query, whose caller
    // should not be re-entered.
    QMetaObject::invokeMethod(
        this, [this, refused] { emit lost(!refused); }, Qt::QueuedConnection);
}

}  // namespace kvillo
