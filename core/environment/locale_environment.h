#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kvillo {

// The user's language and locale as a POSIX desktop gives them, read from
// the environment at each call.
namespace localeEnvironment {

// The locale messages are shown in: the first of LC_ALL, LC_MESSAGES and
// LANG that is set and not empty ("nb_NO.UTF-8"); none when none is.
std::optional<std::string> messagesLocale();

// The preferred languages, most preferred first: LANGUAGE's colon-separated
// list, then the messages locale.
std::vector<std::string> preferredLanguages();

}  // namespace localeEnvironment
}  // namespace kvillo
