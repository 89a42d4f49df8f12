// Must not compile: the key is not in the translation table.
#include "core/localisation/l10n.h"

std::string text(kvillo::Language language) {
    return kvillo::L10n::string(language, "Ingen slik nøkkel");
}
