#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/desktop_entry.h"

namespace kvillo {

// An application as its .desktop file describes it.
struct DesktopApplication {
    std::string id;    // the desktop file id without ".desktop": "org.gnome.Nautilus"
    std::string name;  // Name in the user's language
};

// Finds the .desktop file of a window the way desktops do, in the XDG
// application folders ($XDG_DATA_HOME first, then $XDG_DATA_DIRS). Files
// are parsed once each; the folders are scanned again when a window names
// an application not seen before, at most once a minute, so newly installed
// programs are found. Main thread only.
class DesktopFileIndex {
public:
    // `locale` picks the Name translation ("nb_NO.UTF-8").
    explicit DesktopFileIndex(std::string locale);

    // In order: the WM_CLASS instance or class equal to a StartupWMClass,
    // <instance>.desktop, <class>.desktop (lower-cased, blanks to "-"),
    // then the GTK application id.
    std::optional<DesktopApplication> find(const std::string& instance,
                                           const std::string& className,
                                           const std::string& gtkApplicationID);

    // The XDG application folders, most important first.
    static std::vector<std::string> applicationFolders();

private:
    std::optional<DesktopApplication> byID(const std::string& id);
    std::optional<DesktopApplication> byStartupClass(const std::string& wmClass);
    void scan();
    const DesktopEntry* entry(const std::string& path);

    std::string locale_;
    std::map<std::string, std::string> pathByID_;
    std::map<std::string, std::string> idByStartupClass_;
    std::map<std::string, std::optional<DesktopEntry>> parsed_;  // by path
    std::chrono::steady_clock::time_point scannedAt_{};
    bool scanned_ = false;
};

}  // namespace kvillo
