#include "core/integrations/mcp_install_error.h"

#include "core/localisation/l10n.h"

namespace kvillo {

McpInstallError::McpInstallError(Kind kind, std::string path, std::string member,
                                 std::string detail, std::string entry, std::string pasteUnder)
    : kind_(kind),
      path_(std::move(path)),
      member_(std::move(member)),
      detail_(std::move(detail)),
      entry_(std::move(entry)),
      pasteUnder_(std::move(pasteUnder)),
      english_(description(Language::en)) {}

std::string McpInstallError::summary(Language language) const {
    switch (kind_) {
        case Kind::unreadable:
            return L10n::string(language, "%@ kan ikke leses: %@", {path_, detail_});
        case Kind::notAnObject:
            if (member_.empty()) {
                return L10n::string(
                    language, "Kvillo endrer ikke %@, for filen er ikke et JSON-objekt.", {path_});
            }
            return L10n::string(language, "Kvillo endrer ikke %@, for «%@» er ikke et objekt.",
                                {path_, member_});
        case Kind::notAList:
            return L10n::string(language, "Kvillo endrer ikke %@, for «%@» er ikke en liste.",
                                {path_, member_});
        case Kind::ambiguous:
            return L10n::string(language, "Kvillo endrer ikke %@, for «%@» står der flere ganger.",
                                {path_, member_});
        case Kind::unwritable:
            return L10n::string(language, "%@ kan ikke skrives: %@", {path_, detail_});
        case Kind::commandFailed:
            return L10n::string(language, "%@ mislyktes: %@", {path_, detail_});
    }
    return path_;
}

std::string McpInstallError::description(Language language) const {
    std::string text = summary(language);
    if (!entry_.empty()) {
        text += "\n" + L10n::string(language, "Legg inn dette selv under «%@»:", {pasteUnder_}) +
                "\n" + entry_;
    }
    return text;
}

}  // namespace kvillo
