#pragma once

#include <string>
#include <string_view>

#include "core/integrations/jsonc_document.h"

namespace kvillo {

// Reading a client's configuration as the JSON object it must be, with the
// refusals the installer reports. Each refusal carries `paste`: what the
// user could add by hand, and under which member.
struct PasteHint {
    std::string entry;
    std::string under;
};

namespace ConfigObject {

// Nothing but blank space (or nothing): the file can be written afresh.
bool isBlank(std::string_view text);

// The scan of `text`, the contents of `path`. Throws
// McpInstallError(notAnObject) when it is not a JSON object.
JsoncDocument scan(const std::string& path, std::string_view text, const PasteHint& paste);

// The member `key` of `object`, or null when absent. Throws
// McpInstallError(ambiguous) when there are several, and notAnObject or
// notAList when it is not of `kind`; `shownAs` names it in the message.
const JsoncDocument::Node* member(const std::string& path, const JsoncDocument& document,
                                  const JsoncDocument::Node& object, std::string_view key,
                                  JsoncDocument::Kind kind, const std::string& shownAs,
                                  const PasteHint& paste);

}  // namespace ConfigObject
}  // namespace kvillo
