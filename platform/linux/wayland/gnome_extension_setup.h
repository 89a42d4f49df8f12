#pragma once

#include <QDBusConnection>

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace kvillo {

// Kvillo's GNOME Shell extension (resources/gnome-shell), which tells
// GnomeExtensionFocus which window has the focus.
inline constexpr const char* kGnomeExtensionUUID = "focus-bridge@kvillo.io";
// Where the program carries a copy of the extension's files (a Qt resource).
inline constexpr const char* kEmbeddedGnomeExtension = ":/gnome-shell/focus-bridge@kvillo.io";

// Where the extension stands once set up.
enum class GnomeExtensionStatus {
    // The Shell runs it, or will as soon as the screen is unlocked (the Shell
    // disables extensions while it is locked).
    running,
    // The Shell knew it and enables it now that it was switched on: a focus
    // source made a moment later finds it.
    enabledNow,
    // Installed and switched on; GNOME loads new extensions only when a
    // session starts, so it works from the user's next login.
    nextLogin,
    // Kvillo switched it on once and the user has switched it off since;
    // Kvillo leaves that alone.
    disabledByUser,
    // The user has switched off all extensions (disable-user-extensions).
    extensionsOff,
    // The Shell refuses it: made for other GNOME versions.
    outOfDate,
    // The Shell could not run it (an error when loading or enabling it).
    failed,
    // It could not be installed or switched on (no gnome-extensions program,
    // a folder that cannot be written).
    unavailable,
};

// Whether what the extension gives comes with the user's next login.
inline bool completesAfterLogin(GnomeExtensionStatus status) {
    return status == GnomeExtensionStatus::nextLogin;
}

// The extension's state in the running Shell, as GetExtensionInfo gives it
// (ExtensionState in the Shell's extensionUtils.js); none when the Shell
// does not know it (the answer {}), or does not answer.
enum class ShellExtensionState {
    enabled = 1,
    disabled = 2,
    error = 3,
    outOfDate = 4,
    downloading = 5,
    initialized = 6,
};

// The folders that decide where the extension is and where a copy goes.
struct GnomeExtensionPlaces {
    // The Shell's system-wide data folders ($XDG_DATA_DIRS): an extension in
    // <dir>/gnome-shell/extensions/<uuid> is installed for everyone (a
    // package puts it in /usr/share).
    std::vector<std::string> dataDirs;
    // $XDG_DATA_HOME: the per-user copy goes to
    // <dataHome>/gnome-shell/extensions/<uuid>.
    std::string dataHome;
    // Exists once Kvillo has switched the extension on for this user.
    std::string markerFile;

    // From the environment: $XDG_DATA_DIRS, $XDG_DATA_HOME, and the marker
    // beside Kvillo's settings under $XDG_CONFIG_HOME.
    static GnomeExtensionPlaces fromEnvironment();
};

// The user's extension settings in org.gnome.shell.
class ShellExtensionSettings {
public:
    virtual ~ShellExtensionSettings() = default;
    // Whether `uuid` is in enabled-extensions and not in disabled-extensions;
    // none when the settings cannot be read.
    virtual std::optional<bool> isEnabled(const std::string& uuid) = 0;
    // Whether the user has switched off all extensions.
    virtual bool extensionsOff() = 0;
    // Adds `uuid` to enabled-extensions (and takes it out of
    // disabled-extensions), leaving the other extensions as they are. False
    // when that failed.
    virtual bool enable(const std::string& uuid) = 0;
};

// ShellExtensionSettings through the `gsettings` and `gnome-extensions`
// programs (GNOME's own, so the settings go wherever the user's GSettings
// keep them: dconf in a session). Each call runs a program and waits for
// it, for at most a few seconds.
class GSettingsShellExtensions : public ShellExtensionSettings {
public:
    std::optional<bool> isEnabled(const std::string& uuid) override;
    bool extensionsOff() override;
    bool enable(const std::string& uuid) override;
};

// The strings of a GVariant string array as `gsettings get` prints it
// ("['a', \"b'c\"]", "@as []"); none when it is not one.
std::optional<std::vector<std::string>> parseStringArray(const std::string& text);

// Makes sure the extension is installed and, once per user, switched on.
//
// Installed: when no system-wide copy exists (Kvillo runs from a build
// folder, or was installed where the Shell does not look), the files in
// `embedded` are copied to the per-user folder, replacing an older copy; a
// per-user copy that exists is kept like the files in `embedded` too, as
// it hides a system-wide one from the Shell.
// Switched on: when `places.markerFile` does not exist, the extension is
// switched on and the marker written; with the marker there, a user who
// switched the extension off is not overridden.
// `shellState` is what the running Shell says of the extension; while it
// runs the settings are not read. One line saying what was done or what
// stands in the way goes to `log`, none when the extension runs. Cheap
// enough for every start on GNOME, also when the extension answers: that
// way a user who had switched it on before Kvillo first looked is still
// remembered as having it on.
GnomeExtensionStatus setUpGnomeExtension(const GnomeExtensionPlaces& places,
                                         const std::string& embedded,
                                         ShellExtensionSettings& settings,
                                         std::optional<ShellExtensionState> shellState,
                                         std::ostream& log);

// The above for this user's session: the Shell on `bus` (the session bus)
// is asked for the extension's state (waiting at most about 2 s), the files
// come from the program, the line goes to standard error. For a GNOME
// session (org.gnome.Shell has an owner). Main thread.
GnomeExtensionStatus setUpGnomeExtension(const QDBusConnection& bus);

}  // namespace kvillo
