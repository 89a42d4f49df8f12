#include "core/integrations/server_entry.h"

#include "core/integrations/jsonc_edit.h"
#include "core/integrations/mcp_install_error.h"

namespace kvillo::ServerEntry {
namespace {

using Json = nlohmann::ordered_json;
using Kind = JsoncDocument::Kind;

// The value's text read as JSON (comments allowed), or discarded; compared
// without regard to member order.
nlohmann::json valueOf(std::string_view text, const JsoncDocument::Node& node) {
    return nlohmann::json::parse(text.substr(node.begin, node.end - node.begin), nullptr, false,
                                 true);
}

std::string shown(std::string_view servers) {
    return std::string(servers) + " → " + std::string(kName);
}

// An edit that does not read back as intended is never written.
void check(const std::string& path, std::string_view edited, std::string_view servers,
           bool present) {
    if (isIn(edited, servers) != present) {
        throw McpInstallError(McpInstallError::Kind::unwritable, path, {},
                              "the edited text did not read back as intended");
    }
}

}  // namespace

PasteHint paste(std::string_view servers, const Json& entry) {
    return {Json(std::string(kName)).dump() + ": " + entry.dump(2), std::string(servers)};
}

std::string freshText(std::string_view servers, const Json& entry) {
    Json document = Json::object();
    document[std::string(servers)][std::string(kName)] = entry;
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

bool isIn(std::string_view text, std::string_view servers) {
    auto document = JsoncDocument::scan(text);
    if (!document) {
        return false;
    }
    const auto* object = document->member(document->root(), servers);
    return object && document->member(*object, kName);
}

std::string setIn(const std::string& path, std::string_view text, std::string_view servers,
                  const Json& entry) {
    if (ConfigObject::isBlank(text)) {
        return freshText(servers, entry);
    }
    PasteHint hint = paste(servers, entry);
    JsoncDocument document = ConfigObject::scan(path, text, hint);
    const auto* object = ConfigObject::member(path, document, document.root(), servers,
                                              Kind::object, std::string(servers), hint);
    std::string edited;
    if (!object) {
        edited = JsoncEdit::setMember(text, document, document.root(), servers,
                                      Json{{std::string(kName), entry}});
    } else {
        if (document.count(*object, kName) > 1) {
            throw McpInstallError(McpInstallError::Kind::ambiguous, path, shown(servers), {},
                                  hint.entry, hint.under);
        }
        const auto* existing = document.member(*object, kName);
        if (existing && valueOf(text, *existing) == nlohmann::json(entry)) {
            return std::string(text);
        }
        edited = JsoncEdit::setMember(text, document, *object, kName, entry);
    }
    check(path, edited, servers, true);
    return edited;
}

std::string removeFrom(const std::string& path, std::string_view text, std::string_view servers) {
    auto document = JsoncDocument::scan(text);
    if (!document) {
        return std::string(text);
    }
    const auto& root = document->root();
    int holders = 0;
    for (const auto& item : root.items) {
        holders += item.key == servers && document->member(document->node(item.value), kName);
    }
    if (holders == 0) {
        return std::string(text);
    }
    bool severalHolders = document->count(root, servers) > 1;
    const auto* object = document->member(root, servers);
    if (severalHolders || document->count(*object, kName) > 1) {
        throw McpInstallError(McpInstallError::Kind::ambiguous, path,
                              severalHolders ? std::string(servers) : shown(servers));
    }
    std::size_t index = 0;
    while (object->items[index].key != kName) {
        ++index;
    }
    std::string edited = JsoncEdit::removeItem(text, *document, *object, index);
    check(path, edited, servers, false);
    return edited;
}

}  // namespace kvillo::ServerEntry
