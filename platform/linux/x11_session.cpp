#include "platform/linux/x11_session.h"

#include <QSocketNotifier>

#include <unicode/ucnv.h>
#include <unicode/unistr.h>
#include <xcb/dpms.h>
#include <xcb/screensaver.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <vector>

#include "core/environment/locale_environment.h"

namespace kvillo {
namespace {

constexpr int kDebounceMilliseconds = 150;
constexpr std::uint32_t kMaxPropertyWords = 16384;

template <typename Reply>
struct Freed {
    Reply* reply;
    ~Freed() { std::free(reply); }
    Reply* operator->() const { return reply; }
    explicit operator bool() const { return reply != nullptr; }
};

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

X11Session::X11Session() : applications_(localeEnvironment::messagesLocale().value_or("C")) {
    if (const char* type = std::getenv("XDG_SESSION_TYPE");
        type && std::string(type) == "wayland") {
        std::cerr << "kvillo: this is a Wayland session; only windows of X11 programs "
                     "(XWayland) can be seen and recorded\n";
    }
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
        Freed<xcb_intern_atom_reply_t> reply{xcb_intern_atom_reply(
            connection_, xcb_intern_atom(connection_, 0, std::strlen(name), name), nullptr)};
        return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
    };
    atoms_ = std::make_unique<Atoms>(Atoms{intern("_NET_ACTIVE_WINDOW"), intern("_NET_WM_NAME"),
                                           intern("UTF8_STRING"), intern("COMPOUND_TEXT"),
                                           intern("_NET_WM_PID"), intern("_GTK_APPLICATION_ID")});

    // A request to an extension the server lacks closes the connection, so
    // each is used only when present (Xvfb has no DPMS, for one).
    auto present = [this](xcb_extension_t* extension) {
        const xcb_query_extension_reply_t* data = xcb_get_extension_data(connection_, extension);
        return data && data->present;
    };
    hasScreenSaver_ = present(&xcb_screensaver_id);
    hasDpms_ = present(&xcb_dpms_id);

    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection_, root_, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(connection_);

    debounce_.setSingleShot(true);
    debounce_.setInterval(kDebounceMilliseconds);
    connect(&debounce_, &QTimer::timeout, this, &X11Session::settle);
    notifier_ =
        new QSocketNotifier(xcb_get_file_descriptor(connection_), QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &X11Session::readEvents);
    reportedWindow_ = activeWindow();
}

X11Session::~X11Session() {
    if (connection_) {
        xcb_disconnect(connection_);
    }
}

bool X11Session::isConnected() const {
    return connection_ && !xcb_connection_has_error(connection_) && atoms_;
}

void X11Session::readEvents() {
    while (xcb_generic_event_t* event = xcb_poll_for_event(connection_)) {
        if ((event->response_type & ~0x80) == XCB_PROPERTY_NOTIFY) {
            auto* property = reinterpret_cast<xcb_property_notify_event_t*>(event);
            if (property->window == root_ && property->atom == atoms_->activeWindow) {
                debounce_.start();
            }
        }
        std::free(event);  // errors of unchecked requests arrive here too and are dropped
    }
    if (xcb_connection_has_error(connection_)) {
        notifier_->setEnabled(false);  // the server went away; stay quiet
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
    if (!isConnected()) {
        return 0;
    }
    Freed<xcb_get_property_reply_t> reply{xcb_get_property_reply(
        connection_,
        xcb_get_property(connection_, 0, root_, atoms_->activeWindow, XCB_ATOM_WINDOW, 0, 1),
        nullptr)};
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.reply) < 4) {
        return 0;  // no window manager yet, or no active window
    }
    return *static_cast<std::uint32_t*>(xcb_get_property_value(reply.reply));
}

std::optional<std::string> X11Session::textProperty(std::uint32_t window, std::uint32_t atom) {
    Freed<xcb_get_property_reply_t> reply{
        xcb_get_property_reply(connection_,
                               xcb_get_property(connection_, 0, window, atom,
                                                XCB_GET_PROPERTY_TYPE_ANY, 0, kMaxPropertyWords),
                               nullptr)};
    if (!reply || reply->type == XCB_ATOM_NONE || reply->format != 8) {
        return std::nullopt;
    }
    std::string bytes(static_cast<const char*>(xcb_get_property_value(reply.reply)),
                      static_cast<size_t>(xcb_get_property_value_length(reply.reply)));
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
    if (window == cachedWindow_ && cachedApplication_) {
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
    Freed<xcb_get_property_reply_t> pid{xcb_get_property_reply(
        connection_,
        xcb_get_property(connection_, 0, window, atoms_->wmPid, XCB_ATOM_CARDINAL, 0, 1), nullptr)};
    if (pid && pid->format == 32 && xcb_get_property_value_length(pid.reply) >= 4) {
        application.processID =
            static_cast<int>(*static_cast<std::uint32_t*>(xcb_get_property_value(pid.reply)));
    }
    cachedWindow_ = window;
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
    if (!title || title->empty()) {
        return std::nullopt;
    }
    return title;
}

Duration X11Session::secondsSinceLastInput() {
    if (!isConnected() || !hasScreenSaver_) {
        return 0;
    }
    Freed<xcb_screensaver_query_info_reply_t> info{xcb_screensaver_query_info_reply(
        connection_, xcb_screensaver_query_info(connection_, root_), nullptr)};
    return info ? info->ms_since_user_input / 1000.0 : 0;
}

bool X11Session::isDisplayAsleep() {
    if (!isConnected()) {
        return false;
    }
    if (hasScreenSaver_) {
        Freed<xcb_screensaver_query_info_reply_t> saver{xcb_screensaver_query_info_reply(
            connection_, xcb_screensaver_query_info(connection_, root_), nullptr)};
        if (saver && saver->state == XCB_SCREENSAVER_STATE_ON) {
            return true;
        }
    }
    if (!hasDpms_) {
        return false;  // servers without DPMS (Xvfb) never sleep
    }
    Freed<xcb_dpms_capable_reply_t> capable{
        xcb_dpms_capable_reply(connection_, xcb_dpms_capable(connection_), nullptr)};
    if (!capable || !capable->capable) {
        return false;
    }
    Freed<xcb_dpms_info_reply_t> dpms{
        xcb_dpms_info_reply(connection_, xcb_dpms_info(connection_), nullptr)};
    return dpms && dpms->state && dpms->power_level != XCB_DPMS_DPMS_MODE_ON;
}

}  // namespace kvillo
