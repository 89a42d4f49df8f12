#include "core/integrations/config_object.h"

#include "core/integrations/mcp_install_error.h"

namespace kvillo::ConfigObject {

bool isBlank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

JsoncDocument scan(const std::string& path, std::string_view text, const PasteHint& paste) {
    auto document = JsoncDocument::scan(text);
    if (!document || document->root().kind != JsoncDocument::Kind::object) {
        throw McpInstallError(McpInstallError::Kind::notAnObject, path, {}, {}, paste.entry,
                              paste.under);
    }
    return std::move(*document);
}

const JsoncDocument::Node* member(const std::string& path, const JsoncDocument& document,
                                  const JsoncDocument::Node& object, std::string_view key,
                                  JsoncDocument::Kind kind, const std::string& shownAs,
                                  const PasteHint& paste) {
    using Kind = McpInstallError::Kind;
    if (document.count(object, key) > 1) {
        throw McpInstallError(Kind::ambiguous, path, shownAs, {}, paste.entry, paste.under);
    }
    const JsoncDocument::Node* found = document.member(object, key);
    if (found && found->kind != kind) {
        throw McpInstallError(
            kind == JsoncDocument::Kind::array ? Kind::notAList : Kind::notAnObject, path, shownAs,
            {}, paste.entry, paste.under);
    }
    return found;
}

}  // namespace kvillo::ConfigObject
