#pragma once

#include <string>

namespace kvillo {

// The user's full name from the account database: the part of the GECOS
// field before the first comma, else the login name, else "".
std::string fullUserName();

}  // namespace kvillo
