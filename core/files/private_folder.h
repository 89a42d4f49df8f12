#pragma once

#include <string>
#include <system_error>

namespace kvillo {

// Creates `path` for the user's eyes only (0700), with any missing parents
// made as usual. A folder that exists keeps its mode: the user may have
// chosen it. Returns the error when the folder is not there afterwards.
std::error_code createPrivateFolder(const std::string& path);

}  // namespace kvillo
