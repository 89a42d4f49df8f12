#include "platform/linux/x11_session.h"

#include <QSocketNotifier>

#include <unicode/ucnv.h>
#include <unicode/unistr.h>
#include <xcb/dpms.h>
#include <xcb/screensaver.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "core/environment/locale_environment.h"

namespace kvillo {
namespace {

constexpr int kDebounceMilliseconds = 150;
constexpr std::uint32_t kMaxPropertyWords = 16384;

struct Free {
    void operator()(void* reply) const { std::free(reply); }
};

template <typename Reply>
std::unique_ptr<Reply, Free> freed(Reply* reply) {
    return std::unique_ptr<Reply, Free>(reply);
}

std::string latin1ToUtf8(std::string_view text) {
    std::string out;
    for (unsigned char c : text) {
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

// COMPOUND_TEXT (ISO 2022 with X11's charset switches), through ICU's
// converter for it.
std::string compoundTextToUtf8(const std::string& bytes) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open("COMPOUND_TEXT", &status);
    if (U_FAILURE(status)) {
        return latin1ToUtf8(bytes);
    }
    icu::UnicodeString text(bytes.data(), static_cast<int32_t>(bytes.size()), converter, status);
    ucnv_close(converter);
    std::string out;
    text.toUTF8String(out);
    return out;
}

}  // namespace

struct X11Session::Atoms {
    xcb_atom_t activeWindow, netWmName, utf8String, compoundText, wmPid, gtkApplicationId;
};

void X11Session::FreeReply::operator()(void* reply) const {
    std::free(reply);
}

X11Session::X11Session() : applications_(localeEnvironment::messagesLocale().value_or("C")) {
    // Plain xcb: a lost server shows as a connection error, never as an
    // exit from inside a library.
    int screenNumber = 0;
    connection_ = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(connection_)) {
        return;
    }
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
    for (int i = 0; i < screenNumber && screens.rem > 0; ++i) {
        xcb_screen_next(&screens);
    }
    root_ = screens.data->root;

    auto intern = [this](const char* name) -> xcb_atom_t {
        auto reply = freed(xcb_intern_atom_reply(
            connection_, xcb_intern_atom(connection_, 0, std::strlen(name), name), nullptr));
        return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
    };
    atoms_ = std::make_unique<Atoms>(Atoms{intern("_NET_ACTIVE_WINDOW"), intern("_NET_WM_NAME"),
                                           intern("UTF8_STRING"), intern("COMPOUND_TEXT"),
                                           intern("_NET_WM_PID"), intern("_GTK_APPLICATION_ID")});

    // A request to an extension the server lacks closes the connection, so
    // each is used only when present (Xvfb has no DPMS, for one).
    const xcb_query_extension_reply_t* screenSaver =
        xcb_get_extension_data(connection_, &xcb_screensaver_id);
    hasScreenSaver_ = screenSaver && screenSaver->present;
    if (hasScreenSaver_) {
        screenSaverNotify_ = screenSaver->first_event + XCB_SCREENSAVER_NOTIFY;
        xcb_screensaver_select_input(connection_, root_, XCB_SCREENSAVER_EVENT_NOTIFY_MASK);
    }
    const xcb_query_extension_reply_t* dpms = xcb_get_extension_data(connection_, &xcb_dpms_id);
    if (dpms && dpms->present) {
        // Whether the screen can do DPMS does not change while the server
        // runs; asked once, it saves a round trip on every sleep check.
        auto capable =
            freed(xcb_dpms_capable_reply(connection_, xcb_dpms_capable(connection_), nullptr));
        hasDpms_ = capable && capable->capable;
    }

    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection_, root_, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(connection_);
    if (xcb_connection_has_error(connection_)) {
        return;
    }

    debounce_.setSingleShot(true);
    debounce_.setInterval(kDebounceMilliseconds);
    connect(&debounce_, &QTimer::timeout, this, &X11Session::settle);
    notifier_ =
        new QSocketNotifier(xcb_get_file_descriptor(connection_), QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &X11Session::takeEvents);
    connected_ = true;
    displayAsleep_ = screenSaverOn() || dpmsAsleep();
    reportedWindow_ = activeWindow();
}

X11Session::~X11Session() {
    if (connection_) {
        xcb_disconnect(connection_);
    }
}

bool X11Session::isConnected() const {
    return connected_ && !xcb_connection_has_error(connection_);
}

bool X11Session::usable() {
    if (connected_ && xcb_connection_has_error(connection_)) {
        lose();
    }
    return connected_;
}

void X11Session::lose() {
    connected_ = false;
    notifier_->setEnabled(false);  // a dead socket would read as ready forever
    debounce_.stop();
    watchedWindow_ = 0;
    watchedAlive_ = false;
    cachedApplication_.reset();
    // Queued: this can be noticed inside a query, whose caller should not
    // be re-entered.
    QMetaObject::invokeMethod(this, &X11Session::connectionLost, Qt::QueuedConnection);
}

// Every round trip can pull events off the socket into xcb's queue, where the
// socket notifier no longer sees them; so each query ends here, as does the
// notifier. Nothing here emits directly (see the header).
void X11Session::takeEvents() {
    if (!connected_) {
        return;
    }
    while (xcb_generic_event_t* event = xcb_poll_for_event(connection_)) {
        std::uint8_t type = event->response_type & ~0x80;
        if (type == XCB_PROPERTY_NOTIFY) {
            auto* property = reinterpret_cast<xcb_property_notify_event_t*>(event);
            if (property->window == root_ && property->atom == atoms_->activeWindow) {
                debounce_.start();
            }
        } else if (type == XCB_DESTROY_NOTIFY) {
            if (reinterpret_cast<xcb_destroy_notify_event_t*>(event)->window == watchedWindow_) {
                windowGone();
            }
        } else if (hasScreenSaver_ && type == screenSaverNotify_) {
            // Cycle is the saver changing its picture while on. The server
            // repeats On and Off when forced to a state it is already in.
            auto state = reinterpret_cast<xcb_screensaver_notify_event_t*>(event)->state;
            bool asleep = state == XCB_SCREENSAVER_STATE_ON ||
                          state == XCB_SCREENSAVER_STATE_CYCLE || dpmsAsleep();
            if (asleep != displayAsleep_) {
                displayAsleep_ = asleep;
                QMetaObject::invokeMethod(
                    this, [this, asleep] { emit displaySleepChanged(asleep); },
                    Qt::QueuedConnection);
            }
        }
        std::free(event);  // errors of unchecked requests arrive here too and are dropped
    }
    if (xcb_connection_has_error(connection_)) {
        lose();
    }
}

void X11Session::settle() {
    std::uint32_t window = activeWindow();
    if (window == reportedWindow_) {
        return;  // it passed through nothing and came back
    }
    reportedWindow_ = window;
    emit activeWindowChanged();
}

std::uint32_t X11Session::activeWindow() {
    if (!usable()) {
        return 0;
    }
    auto reply = freed(xcb_get_property_reply(
        connection_,
        xcb_get_property(connection_, 0, root_, atoms_->activeWindow, XCB_ATOM_WINDOW, 0, 1),
        nullptr));
    std::uint32_t window = 0;  // no window manager yet, or no active window
    if (reply && reply->format == 32 && xcb_get_property_value_length(reply.get()) >= 4) {
        window = *static_cast<std::uint32_t*>(xcb_get_property_value(reply.get()));
    }
    // A DestroyNotify sent before this reply came with it and must count
    // before the cache is trusted.
    takeEvents();
    if (!connected_) {
        return 0;
    }
    if (window != watchedWindow_) {
        watch(window);
    }
    return watchedAlive_ ? watchedWindow_ : 0;
}

// StructureNotify on the client window itself: once the window manager has
// reparented it into a frame, the root's SubstructureNotify no longer
// reports its destruction.
void X11Session::watch(std::uint32_t window) {
    if (watchedAlive_) {
        const std::uint32_t none = XCB_EVENT_MASK_NO_EVENT;
        xcb_change_window_attributes(connection_, watchedWindow_, XCB_CW_EVENT_MASK, &none);
    }
    watchedWindow_ = window;
    watchedAlive_ = false;
    cachedApplication_.reset();
    if (window == 0) {
        return;
    }
    // Checked: a window already gone sends no DestroyNotify, only BadWindow.
    const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_generic_error_t* error = xcb_request_check(
        connection_,
        xcb_change_window_attributes_checked(connection_, window, XCB_CW_EVENT_MASK, &mask));
    watchedAlive_ = error == nullptr && !xcb_connection_has_error(connection_);
    std::free(error);
}

void X11Session::windowGone() {
    if (!watchedAlive_) {
        return;
    }
    watchedAlive_ = false;
    cachedApplication_.reset();
    debounce_.start();  // the window manager may name the next window meanwhile
}

X11Session::PropertyReply X11Session::property(std::uint32_t window, std::uint32_t atom,
                                               std::uint32_t type, std::uint32_t words) {
    xcb_generic_error_t* error = nullptr;
    PropertyReply reply(xcb_get_property_reply(
        connection_, xcb_get_property(connection_, 0, window, atom, type, 0, words), &error));
    if (error) {
        if (error->error_code == XCB_WINDOW && window == watchedWindow_) {
            windowGone();  // destroyed since it became active; its DestroyNotify is on its way
        }
        std::free(error);
    }
    return reply;
}

std::optional<std::string> X11Session::textProperty(std::uint32_t window, std::uint32_t atom) {
    auto reply = property(window, atom, XCB_GET_PROPERTY_TYPE_ANY, kMaxPropertyWords);
    if (!reply || reply->type == XCB_ATOM_NONE || reply->format != 8) {
        return std::nullopt;
    }
    std::string bytes(static_cast<const char*>(xcb_get_property_value(reply.get())),
                      static_cast<size_t>(xcb_get_property_value_length(reply.get())));
    if (atom != XCB_ATOM_WM_NAME || reply->type == atoms_->utf8String) {
        return bytes;  // _NET_WM_NAME is UTF-8 whatever type it claims
    }
    if (reply->type == XCB_ATOM_STRING) {
        return latin1ToUtf8(bytes);
    }
    if (reply->type == atoms_->compoundText) {
        return compoundTextToUtf8(bytes);
    }
    return std::nullopt;
}

std::optional<FrontApplication> X11Session::frontApplication() {
    std::uint32_t window = activeWindow();
    if (window == 0) {
        return std::nullopt;
    }
    if (cachedApplication_) {
        return cachedApplication_;
    }
    FrontApplication application;
    auto wmClass = textProperty(window, XCB_ATOM_WM_CLASS).value_or("");
    std::string instance = wmClass.substr(0, wmClass.find('\0'));
    std::string className;
    if (size_t split = wmClass.find('\0'); split != std::string::npos) {
        className = wmClass.substr(split + 1);
        className = className.substr(0, className.find('\0'));
    }
    auto gtkID = textProperty(window, atoms_->gtkApplicationId).value_or("");
    if (auto desktopApplication = applications_.find(instance, className, gtkID)) {
        application.name = desktopApplication->name;
        application.bundleID = desktopApplication->id;
    } else if (!className.empty()) {
        application.name = className;
    }
    auto pid = property(window, atoms_->wmPid, XCB_ATOM_CARDINAL, 1);
    if (pid && pid->format == 32 && xcb_get_property_value_length(pid.get()) >= 4) {
        application.processID =
            static_cast<int>(*static_cast<std::uint32_t*>(xcb_get_property_value(pid.get())));
    }
    takeEvents();
    if (!connected_ || !watchedAlive_ || watchedWindow_ != window) {
        return std::nullopt;  // it went while being read: what was read is partial
    }
    cachedApplication_ = application;
    return application;
}

std::optional<std::string> X11Session::activeWindowTitle() {
    std::uint32_t window = activeWindow();
    if (window == 0) {
        return std::nullopt;
    }
    auto title = textProperty(window, atoms_->netWmName);
    if (!title || title->empty()) {
        title = textProperty(window, XCB_ATOM_WM_NAME);
    }
    takeEvents();
    if (!title || title->empty() || !connected_ || !watchedAlive_) {
        return std::nullopt;
    }
    return title;
}

Duration X11Session::secondsSinceLastInput() {
    if (!usable() || !hasScreenSaver_) {
        return 0;
    }
    auto info = freed(xcb_screensaver_query_info_reply(
        connection_, xcb_screensaver_query_info(connection_, root_), nullptr));
    takeEvents();
    return info && connected_ ? info->ms_since_user_input / 1000.0 : 0;
}

bool X11Session::screenSaverOn() {
    if (!hasScreenSaver_) {
        return false;
    }
    auto saver = freed(xcb_screensaver_query_info_reply(
        connection_, xcb_screensaver_query_info(connection_, root_), nullptr));
    return saver && saver->state == XCB_SCREENSAVER_STATE_ON;
}

bool X11Session::dpmsAsleep() {
    if (!hasDpms_) {
        return false;  // servers without DPMS (Xvfb) never sleep through it
    }
    auto dpms = freed(xcb_dpms_info_reply(connection_, xcb_dpms_info(connection_), nullptr));
    return dpms && dpms->state && dpms->power_level != XCB_DPMS_DPMS_MODE_ON;
}

bool X11Session::isDisplayAsleep() {
    if (!usable()) {
        return false;
    }
    bool asleep = screenSaverOn() || dpmsAsleep();
    takeEvents();
    return asleep && connected_;
}

}  // namespace kvillo
