#pragma once

#include <string>
#include <string_view>

namespace kvillo {

// The user's full name from the account database: the part of the GECOS
// field before the first comma, else the login name, else "".
std::string fullUserName();

// The rule above for one account entry.
std::string fullNameFrom(std::string_view gecos, std::string_view login);

}  // namespace kvillo
