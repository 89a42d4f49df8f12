// Must not compile: a key assembled while running cannot be checked.
#include "core/localisation/l10n.h"

std::string text(kvillo::Language language, const std::string& word) {
    return kvillo::L10n::string(language, ("%@ fra " + word).c_str(), {std::string("1m")});
}
