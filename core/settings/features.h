#pragma once

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "core/localisation/language.h"
#include "core/settings/settings_store.h"

namespace kvillo {

// The program's one settings object: ten feature switches and four user
// settings in the "app.kvillo.shared" store. Nothing is cached here: every
// read asks the store afresh, so a change is seen by the monitor at its next
// event and by the server at its next request.
//
// Threads: read from the UI thread and the server thread; writes come from
// the UI. The store serialises both.
class Features {
public:
    // The settings domain; the store's file is named after it.
    static constexpr std::string_view kDomain = "app.kvillo.shared";

    // The switches, in the order the interface lists them. The raw value of a
    // key is its name, which is also its key in the store.
    enum class Key {
        activityLogging,
        windowTitles,
        idleDetection,
        workingOn,
        projects,
        focusSessions,
        timesheets,
        switchNotifications,
        aiAccess,
        claudeCodeHook,
    };
    static constexpr std::array<Key, 10> allKeys() {
        return {
            Key::activityLogging, Key::windowTitles,  Key::idleDetection, Key::workingOn,
            Key::projects,        Key::focusSessions, Key::timesheets,    Key::switchNotifications,
            Key::aiAccess,        Key::claudeCodeHook};
    }
    static std::string_view rawValue(Key key);
    // An unknown text gives no key.
    static std::optional<Key> keyFromRawValue(std::string_view raw);

    // `fullUserName` gives the default of `timesheetName`; it is asked only
    // when no name is stored.
    Features(std::string settingsFile, std::function<std::string()> fullUserName);

    // A stored boolean, else on for every switch but `timesheets`; but
    // `aiAccess` reads off while the settings file is broken (corrupt or
    // unreadable), until the user turns it on again.
    bool isEnabled(Key key) const;
    void set(Key key, bool on);

    // Minutes without input after which the user counts as away (default 5).
    // Reads return what is stored, unchecked; writes store at least 1.
    int idleMinutes() const;
    void setIdleMinutes(int minutes);

    // Length of an absence, in minutes, that ends the open task (default 30).
    int annotationIdleMinutes() const;
    void setAnnotationIdleMinutes(int minutes);

    // The chosen interface language; none follows the system. Setting none
    // removes the stored key.
    std::optional<Language> language() const;
    void setLanguage(std::optional<Language> language);

    // The name printed on timesheets; the user's full name until one is set.
    // An empty text is kept as empty.
    std::string timesheetName() const;
    void setTimesheetName(const std::string& name);

    // The main window's place and size on the desktop, in pixels, as it was
    // when last hidden. None until one is stored, or when what is stored is
    // not four integers with a positive width and height.
    struct WindowFrame {
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
        bool operator==(const WindowFrame&) const = default;
    };
    std::optional<WindowFrame> mainWindowFrame() const;
    void setMainWindowFrame(const WindowFrame& frame);

    // Whether the settings file could be read, for the notice that says why
    // AI access is off.
    SettingsStore::FileState settingsFileState() const { return store_.fileState(); }

private:
    int integer(const char* key, int fallback) const;

    SettingsStore store_;
    std::function<std::string()> fullUserName_;
};

}  // namespace kvillo
