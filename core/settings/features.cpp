#include "core/settings/features.h"

#include <algorithm>
#include <limits>

namespace kvillo {
namespace {

constexpr const char* kIdleMinutes = "idleMinutes";
constexpr const char* kAnnotationIdleMinutes = "annotationIdleMinutes";
constexpr const char* kLanguage = "language";
constexpr const char* kTimesheetName = "timesheetName";
constexpr const char* kMainWindowFrame = "mainWindowFrame";
constexpr int kDefaultIdleMinutes = 5;
constexpr int kDefaultAnnotationIdleMinutes = 30;

bool isOffByDefault(Features::Key key) {
    return key == Features::Key::timesheets;
}

}  // namespace

std::string_view Features::rawValue(Key key) {
    switch (key) {
        case Key::activityLogging:
            return "activityLogging";
        case Key::windowTitles:
            return "windowTitles";
        case Key::idleDetection:
            return "idleDetection";
        case Key::workingOn:
            return "workingOn";
        case Key::projects:
            return "projects";
        case Key::focusSessions:
            return "focusSessions";
        case Key::timesheets:
            return "timesheets";
        case Key::switchNotifications:
            return "switchNotifications";
        case Key::aiAccess:
            return "aiAccess";
        case Key::claudeCodeHook:
            return "claudeCodeHook";
    }
    return {};
}

std::optional<Features::Key> Features::keyFromRawValue(std::string_view raw) {
    for (Key key : allKeys()) {
        if (rawValue(key) == raw) {
            return key;
        }
    }
    return std::nullopt;
}

Features::Features(std::string settingsFile, std::function<std::string()> fullUserName)
    // A user who turned AI access off keeps it off when the file breaks:
    // its default is on, and the log must not open up by accident.
    : store_(std::move(settingsFile), {{std::string(rawValue(Key::aiAccess)), false}}),
      fullUserName_(std::move(fullUserName)) {}

bool Features::isEnabled(Key key) const {
    auto stored = store_.value(std::string(rawValue(key)));
    if (stored && stored->is_boolean()) {
        return stored->get<bool>();
    }
    return !isOffByDefault(key);
}

void Features::set(Key key, bool on) {
    store_.set(std::string(rawValue(key)), on);
}

int Features::integer(const char* key, int fallback) const {
    auto stored = store_.value(key);
    if (!stored || !stored->is_number_integer()) {
        return fallback;
    }
    auto value = stored->get<long long>();
    if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max()) {
        return fallback;
    }
    return static_cast<int>(value);
}

int Features::idleMinutes() const {
    return integer(kIdleMinutes, kDefaultIdleMinutes);
}

void Features::setIdleMinutes(int minutes) {
    store_.set(kIdleMinutes, std::max(minutes, 1));
}

int Features::annotationIdleMinutes() const {
    return integer(kAnnotationIdleMinutes, kDefaultAnnotationIdleMinutes);
}

void Features::setAnnotationIdleMinutes(int minutes) {
    store_.set(kAnnotationIdleMinutes, std::max(minutes, 1));
}

std::optional<Language> Features::language() const {
    auto stored = store_.value(kLanguage);
    if (!stored || !stored->is_string()) {
        return std::nullopt;
    }
    return Language::fromCode(stored->get<std::string>());
}

void Features::setLanguage(std::optional<Language> language) {
    if (language) {
        store_.set(kLanguage, std::string(language->code()));
    } else {
        store_.remove(kLanguage);
    }
}

std::string Features::timesheetName() const {
    auto stored = store_.value(kTimesheetName);
    if (stored && stored->is_string()) {
        return stored->get<std::string>();
    }
    return fullUserName_();
}

void Features::setTimesheetName(const std::string& name) {
    store_.set(kTimesheetName, name);
}

std::optional<Features::WindowFrame> Features::mainWindowFrame() const {
    auto stored = store_.value(kMainWindowFrame);
    if (!stored || !stored->is_array() || stored->size() != 4) {
        return std::nullopt;
    }
    int parts[4];
    for (std::size_t i = 0; i < 4; ++i) {
        const auto& part = (*stored)[i];
        if (!part.is_number_integer() || part.get<long long>() < -(1 << 24) ||
            part.get<long long>() > (1 << 24)) {
            return std::nullopt;
        }
        parts[i] = part.get<int>();
    }
    if (parts[2] <= 0 || parts[3] <= 0) {
        return std::nullopt;
    }
    return WindowFrame{parts[0], parts[1], parts[2], parts[3]};
}

void Features::setMainWindowFrame(const WindowFrame& frame) {
    store_.set(kMainWindowFrame,
               nlohmann::json::array({frame.x, frame.y, frame.width, frame.height}));
}

}  // namespace kvillo
