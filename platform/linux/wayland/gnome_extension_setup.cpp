#include "platform/linux/wayland/gnome_extension_setup.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QVariantMap>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>

#include "core/environment/xdg_folders.h"
#include "core/files/atomic_file.h"
#include "platform/linux/app_paths.h"

namespace kvillo {
namespace {

namespace fs = std::filesystem;

using Files = std::map<std::string, QByteArray>;

// gsettings and gnome-extensions answer at once; dconf may first have to be
// started on the bus.
constexpr int kProgramTimeoutMs = 5000;
constexpr int kAnswerTimeoutMs = 2000;

const std::string kUUID = kGnomeExtensionUUID;

std::optional<std::string> run(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(kProgramTimeoutMs) ||
        process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        process.kill();
        process.waitForFinished();
        return std::nullopt;
    }
    return process.readAllStandardOutput().toStdString();
}

std::optional<std::string> shellSetting(const char* key) {
    return run(
        QStringLiteral("gsettings"),
        {QStringLiteral("get"), QStringLiteral("org.gnome.shell"), QString::fromLatin1(key)});
}

// The extension's files (a flat folder), by name.
Files readFolder(const QString& folder) {
    Files files;
    const QStringList names = QDir(folder).entryList(QDir::Files);
    for (const QString& name : names) {
        QFile file(folder + QLatin1Char('/') + name);
        if (file.open(QIODevice::ReadOnly)) {
            files[name.toStdString()] = file.readAll();
        }
    }
    return files;
}

bool installedIn(const std::string& dataDir) {
    return fs::exists(dataDir + "/gnome-shell/extensions/" + kUUID + "/metadata.json");
}

// Writes `files` as the folder `target`, replacing what was there. The new
// folder is filled beside the extensions folder (which the Shell scans) and
// renamed into place, so the Shell never finds half a copy.
std::optional<std::string> replaceFolder(const fs::path& target, const Files& files) {
    std::error_code error;
    fs::path staging = target.parent_path().parent_path() / ("." + kUUID + ".new");
    fs::remove_all(staging, error);
    fs::create_directories(staging, error);
    if (error) {
        return "cannot create " + staging.string() + ": " + error.message();
    }
    for (const auto& [name, bytes] : files) {
        std::string path = (staging / name).string();
        // Extension files are read by the Shell only; 0644 like a package's.
        if (auto failed = writeFileAtomically(path, bytes.toStdString(), 0644)) {
            fs::remove_all(staging, error);
            return failed->message();
        }
    }
    fs::remove_all(target, error);
    fs::create_directories(target.parent_path(), error);
    fs::rename(staging, target, error);
    if (error) {
        fs::remove_all(staging, error);
        return "cannot create " + target.string() + ": " + error.message();
    }
    return std::nullopt;
}

// Makes the per-user copy the files of this program where one is needed;
// gives why it could not.
std::optional<std::string> install(const GnomeExtensionPlaces& places, const Files& files) {
    if (files.empty()) {
        return "this program carries no copy of it";
    }
    fs::path target = places.dataHome + "/gnome-shell/extensions/" + kUUID;
    bool systemWide = false;
    for (const std::string& dir : places.dataDirs) {
        systemWide = systemWide || installedIn(dir);
    }
    // The Shell prefers a per-user copy to a system-wide one, so one that is
    // there must be current too.
    if (systemWide && !fs::exists(target)) {
        return std::nullopt;
    }
    if (readFolder(QString::fromStdString(target.string())) == files) {
        return std::nullopt;
    }
    return replaceFolder(target, files);
}

const std::string kNamed = "Kvillo's GNOME Shell extension (" + kUUID + ")";
const std::string kBlind = "Kvillo cannot see which application is in front";

}  // namespace

GnomeExtensionPlaces GnomeExtensionPlaces::fromEnvironment() {
    GnomeExtensionPlaces places;
    places.dataDirs = xdg::dataDirs();
    places.dataHome = xdg::dataHome();
    places.markerFile = (fs::path(AppPaths::fromEnvironment().settingsFile).parent_path() /
                         "gnome-extension-enabled")
                            .string();
    return places;
}

std::optional<std::vector<std::string>> parseStringArray(const std::string& text) {
    size_t at = 0;
    auto skipSpace = [&] {
        while (at < text.size() && (text[at] == ' ' || text[at] == '\n')) {
            ++at;
        }
    };
    skipSpace();
    // GVariant's text form types an empty array, which has no element to
    // tell its type by.
    if (text.compare(at, 3, "@as") == 0) {
        at += 3;
        skipSpace();
    }
    if (at >= text.size() || text[at++] != '[') {
        return std::nullopt;
    }
    std::vector<std::string> strings;
    skipSpace();
    if (at < text.size() && text[at] == ']') {
        ++at;
    } else {
        while (true) {
            if (at >= text.size() || (text[at] != '\'' && text[at] != '"')) {
                return std::nullopt;
            }
            char quote = text[at++];
            std::string value;
            while (at < text.size() && text[at] != quote) {
                // A backslash takes the next character as it is; uuids need
                // no more of GVariant's escapes than \' and \\.
                if (text[at] == '\\' && at + 1 < text.size()) {
                    ++at;
                }
                value += text[at++];
            }
            if (at++ >= text.size()) {
                return std::nullopt;
            }
            strings.push_back(std::move(value));
            skipSpace();
            if (at < text.size() && text[at] == ',') {
                ++at;
                skipSpace();
                continue;
            }
            if (at < text.size() && text[at] == ']') {
                ++at;
                break;
            }
            return std::nullopt;
        }
    }
    skipSpace();
    return at == text.size() ? std::optional(strings) : std::nullopt;
}

std::optional<bool> GSettingsShellExtensions::isEnabled(const std::string& uuid) {
    auto enabled = shellSetting("enabled-extensions");
    auto disabled = shellSetting("disabled-extensions");
    auto enabledList = enabled ? parseStringArray(*enabled) : std::nullopt;
    auto disabledList = disabled ? parseStringArray(*disabled) : std::nullopt;
    if (!enabledList || !disabledList) {
        return std::nullopt;
    }
    auto has = [&](const std::vector<std::string>& list) {
        return std::find(list.begin(), list.end(), uuid) != list.end();
    };
    return has(*enabledList) && !has(*disabledList);
}

bool GSettingsShellExtensions::extensionsOff() {
    return shellSetting("disable-user-extensions") == "true\n";
}

// gnome-extensions edits both lists the way GNOME's Extensions app does,
// leaving the other extensions as they are.
bool GSettingsShellExtensions::enable(const std::string& uuid) {
    return run(QStringLiteral("gnome-extensions"),
               {QStringLiteral("enable"), QString::fromStdString(uuid)})
        .has_value();
}

GnomeExtensionStatus setUpGnomeExtension(const GnomeExtensionPlaces& places,
                                         const std::string& embedded,
                                         ShellExtensionSettings& settings,
                                         std::optional<ShellExtensionState> shellState,
                                         std::ostream& log) {
    using Status = GnomeExtensionStatus;
    if (auto failed = install(places, readFolder(QString::fromStdString(embedded)))) {
        log << "kvillo: could not install " << kNamed << ": " << *failed << "; " << kBlind << "\n";
        return Status::unavailable;
    }
    bool enabledNow = false;
    if (!fs::exists(places.markerFile)) {
        if (!settings.enable(kUUID)) {
            log << "kvillo: could not switch on " << kNamed
                << " (`gnome-extensions enable` failed); " << kBlind << "\n";
            return Status::unavailable;
        }
        enabledNow = true;
        std::error_code error;
        fs::create_directories(fs::path(places.markerFile).parent_path(), error);
        // Unwritten, the marker only makes the next start switch the
        // extension on again, which changes nothing while it is on.
        writeFileAtomically(places.markerFile, kUUID + "\n", 0644);
    } else if (shellState != ShellExtensionState::enabled && settings.isEnabled(kUUID) == false) {
        log << "kvillo: " << kNamed << " is switched off; switch it on in GNOME's Extensions "
            << "app, or " << kBlind << "\n";
        return Status::disabledByUser;
    }
    if (shellState != ShellExtensionState::enabled && settings.extensionsOff()) {
        log << "kvillo: GNOME Shell extensions are switched off; switch them on in GNOME's "
            << "Extensions app so that " << kNamed << " can run, or " << kBlind << "\n";
        return Status::extensionsOff;
    }
    if (!shellState) {
        log << "kvillo: " << (enabledNow ? "enabled " : "") << kNamed
            << "; it takes effect at your next login, until then " << kBlind << "\n";
        return Status::nextLogin;
    }
    switch (*shellState) {
        case ShellExtensionState::enabled:
            return Status::running;
        case ShellExtensionState::error:
            log << "kvillo: GNOME Shell could not run " << kNamed
                << " (its log in the journal says why); " << kBlind << "\n";
            return Status::failed;
        case ShellExtensionState::outOfDate:
            log << "kvillo: this GNOME Shell refuses " << kNamed
                << " as made for other versions of GNOME; " << kBlind << "\n";
            return Status::outOfDate;
        case ShellExtensionState::disabled:
        case ShellExtensionState::downloading:
        case ShellExtensionState::initialized:
            // The Shell follows the settings: what was just switched on is
            // enabled at once. Switched on before, it is only held back by
            // the lock screen, during which the Shell disables extensions.
            if (enabledNow) {
                log << "kvillo: enabled " << kNamed << "\n";
                return Status::enabledNow;
            }
            return Status::running;
    }
    return Status::running;
}

GnomeExtensionStatus setUpGnomeExtension(const QDBusConnection& bus) {
    auto ask = QDBusMessage::createMethodCall(
        QStringLiteral("org.gnome.Shell"), QStringLiteral("/org/gnome/Shell"),
        QStringLiteral("org.gnome.Shell.Extensions"), QStringLiteral("GetExtensionInfo"));
    ask << QString::fromStdString(kUUID);
    QDBusMessage reply = bus.call(ask, QDBus::Block, kAnswerTimeoutMs);
    std::optional<ShellExtensionState> state;
    if (reply.type() == QDBusMessage::ReplyMessage && reply.arguments().size() == 1) {
        QVariantMap info = qdbus_cast<QVariantMap>(reply.arguments()[0]);
        // The Shell sends the state as a double; unknown extensions as {}.
        if (info.contains(QStringLiteral("state"))) {
            int value = qRound(info.value(QStringLiteral("state")).toDouble());
            if (value >= 1 && value <= 6) {
                state = static_cast<ShellExtensionState>(value);
            }
        }
    }
    GSettingsShellExtensions settings;
    return setUpGnomeExtension(GnomeExtensionPlaces::fromEnvironment(), kEmbeddedGnomeExtension,
                               settings, state, std::cerr);
}

}  // namespace kvillo
