#pragma once

#include <stdexcept>
#include <string>

namespace kvillo {

// Why launch at login could not be changed; `what()` is shown to the user.
class LoginItemError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Launch at login through an XDG autostart entry. Enabled means the entry
// exists and is not `Hidden=true` (the desktops' way of switching an entry
// off without deleting it).
class LoginItemManager {
public:
    // `autostartFile` is the entry's path, `executable` the program the
    // desktop should start.
    LoginItemManager(std::string autostartFile, std::string executable);

    bool isEnabled() const;

    // Writes or removes the entry; does nothing when it is already in the
    // asked state. Throws LoginItemError when the file cannot be changed.
    void setEnabled(bool enabled);

private:
    std::string autostartFile_;
    std::string executable_;
};

}  // namespace kvillo
