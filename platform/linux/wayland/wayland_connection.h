#pragma once

#include <QObject>

#include <cstdint>
#include <string>
#include <vector>

struct wl_display;
struct wl_interface;
struct wl_output;
struct wl_registry;
struct wl_seat;

namespace kvillo {

// Kvillo's own connection to the Wayland compositor ($WAYLAND_DISPLAY),
// separate from any the GUI toolkit has: capture must work under the xcb
// platform and headless too. Events are read on the Qt event loop through a
// socket notifier and requests are flushed before the loop sleeps, so the
// protocol objects' listeners run on the main thread like everything else.
//
// The registry is read once at connection; globals that come later (a new
// output) are not followed.
//
// libwayland's own complaints go to stderr marked as Kvillo's.
//
// Failure: a lost compositor, or one that closes the connection over a
// request it refused, is reported once through lost(); the connection then
// reads nothing more. Nothing here aborts the process.
// Main thread only.
class WaylandConnection : public QObject {
    Q_OBJECT
public:
    struct Global {
        std::uint32_t name;
        std::string interface;
        std::uint32_t version;
    };

    // Connects and reads the registry; check isConnected().
    WaylandConnection();
    ~WaylandConnection() override;

    bool isConnected() const { return display_ != nullptr && !lost_; }
    // Why connecting failed; empty when it did not.
    const std::string& connectError() const { return connectError_; }
    const std::vector<Global>& globals() const { return globals_; }

    // Binds the first global of `interface` at its version, but no higher
    // than `maxVersion`; null when the compositor offers none. The caller
    // owns the proxy and destroys it before this connection.
    void* bind(const wl_interface& interface, std::uint32_t maxVersion);
    // The first seat, bound once and owned here; null without one.
    wl_seat* seat();
    // Every output, bound once and owned here.
    const std::vector<wl_output*>& outputs();

    // Sends what is queued now rather than when the event loop next waits;
    // for requests whose answer matters soon.
    void flush();

    // Sends what is queued and waits until the compositor has answered it,
    // dispatching the events that came meanwhile. False when the
    // connection is lost.
    bool roundtrip();

signals:
    // The connection ended: the compositor went away (`compositorGone`), or
    // it closed the connection over a request it refused. Emitted once,
    // from the event loop.
    void lost(bool compositorGone);

private:
    static void onGlobal(void* data, wl_registry* registry, std::uint32_t name,
                         const char* interface, std::uint32_t version);
    static void onGlobalRemove(void* data, wl_registry* registry, std::uint32_t name);
    void readEvents();
    void lose();

    wl_display* display_ = nullptr;
    wl_registry* registry_ = nullptr;
    std::vector<Global> globals_;
    wl_seat* seat_ = nullptr;
    bool seatBound_ = false;
    std::vector<wl_output*> outputs_;
    bool outputsBound_ = false;
    bool lost_ = false;
    std::string connectError_;
    QMetaObject::Connection flushBeforeSleep_;
};

}  // namespace kvillo
