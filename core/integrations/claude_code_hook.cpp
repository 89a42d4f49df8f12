#include "core/integrations/claude_code_hook.h"

#include <algorithm>
#include <cctype>
#include <vector>

#include "core/environment/xdg_folders.h"
#include "core/integrations/jsonc_edit.h"
#include "core/integrations/mcp_install_error.h"

namespace kvillo::ClaudeCodeHook {
namespace {

using Json = nlohmann::ordered_json;
using Kind = JsoncDocument::Kind;
using Node = JsoncDocument::Node;

constexpr std::string_view kEvent = "UserPromptSubmit";
const std::string kShownAs = "hooks → UserPromptSubmit";

// Claude Code waits this long at most; the hook itself is done in well
// under a second, so this only bounds a hook stuck on a sick disk.
constexpr int kTimeoutSeconds = 5;

struct Found {
    std::size_t group;    // index in the event's list
    std::size_t hook;     // index in the group's `hooks`
    const Node* command;  // the command's string
    bool wholeGroup;      // every hook of the group is Kvillo's
};

// The event's list: the last `hooks` member, then its last event member.
const Node* eventList(const JsoncDocument& document) {
    const Node* hooks = document.member(document.root(), "hooks");
    const Node* list = hooks ? document.member(*hooks, kEvent) : nullptr;
    return list && list->kind == Kind::array ? list : nullptr;
}

const Node* commandOf(const JsoncDocument& document, const Node& hook) {
    const Node* type = document.member(hook, "type");
    const Node* command = document.member(hook, "command");
    bool isCommand = type && type->kind == Kind::string && type->text == "command" && command &&
                     command->kind == Kind::string;
    return isCommand ? command : nullptr;
}

std::vector<Found> kvilloHooks(const JsoncDocument& document, const Node& list) {
    std::vector<Found> found;
    for (std::size_t g = 0; g < list.items.size(); ++g) {
        const Node* hooks = document.member(document.node(list.items[g].value), "hooks");
        if (!hooks || hooks->kind != Kind::array) {
            continue;
        }
        std::size_t first = found.size();
        for (std::size_t h = 0; h < hooks->items.size(); ++h) {
            const Node* command = commandOf(document, document.node(hooks->items[h].value));
            if (command && isKvilloCommand(command->text)) {
                found.push_back({g, h, command, false});
            }
        }
        bool whole = found.size() - first == hooks->items.size();
        for (std::size_t i = first; i < found.size(); ++i) {
            found[i].wholeGroup = whole;
        }
    }
    return found;
}

}  // namespace

std::string settingsPath() {
    return xdg::homeFolder() + "/.claude/settings.json";
}

Json group(const std::string& commandLine) {
    return Json{{"hooks", Json::array({Json{{"type", "command"},
                                            {"command", commandLine},
                                            {"timeout", kTimeoutSeconds}}})}};
}

PasteHint paste(const std::string& commandLine) {
    return {group(commandLine).dump(2), kShownAs};
}

bool isKvilloCommand(std::string_view command) {
    std::string lower(command);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower.find("kvillo") != std::string::npos && command.ends_with("--hook");
}

std::string freshText(const std::string& commandLine) {
    Json document{{"hooks", {{std::string(kEvent), Json::array({group(commandLine)})}}}};
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

bool isIn(std::string_view text, const std::string& commandLine) {
    auto document = JsoncDocument::scan(text);
    const Node* list = document ? eventList(*document) : nullptr;
    if (!list) {
        return false;
    }
    auto found = kvilloHooks(*document, *list);
    return std::any_of(found.begin(), found.end(),
                       [&](const Found& hook) { return hook.command->text == commandLine; });
}

std::string addTo(const std::string& path, std::string_view text, const std::string& commandLine) {
    if (ConfigObject::isBlank(text)) {
        return freshText(commandLine);
    }
    PasteHint hint = paste(commandLine);
    JsoncDocument document = ConfigObject::scan(path, text, hint);
    const Node* hooks =
        ConfigObject::member(path, document, document.root(), "hooks", Kind::object, "hooks", hint);
    std::string edited;
    if (!hooks) {
        edited =
            JsoncEdit::setMember(text, document, document.root(), "hooks",
                                 Json{{std::string(kEvent), Json::array({group(commandLine)})}});
    } else if (const Node* list = ConfigObject::member(path, document, *hooks, kEvent, Kind::array,
                                                       kShownAs, hint)) {
        auto found = kvilloHooks(document, *list);
        if (std::any_of(found.begin(), found.end(),
                        [&](const Found& hook) { return hook.command->text == commandLine; })) {
            return std::string(text);
        }
        // A hook left by Kvillo from another place (a moved AppImage, a new
        // build folder) is pointed at this one rather than doubled.
        edited = found.empty()
                     ? JsoncEdit::appendElement(text, document, *list, group(commandLine))
                     : JsoncEdit::replaceValue(text, document, *found.front().command, commandLine);
    } else {
        edited =
            JsoncEdit::setMember(text, document, *hooks, kEvent, Json::array({group(commandLine)}));
    }
    if (!isIn(edited, commandLine)) {
        throw McpInstallError(McpInstallError::Kind::unwritable, path, {},
                              "the edited text did not read back as intended");
    }
    return edited;
}

std::string removeFrom(std::string_view original) {
    std::string text(original);
    // One hook at a time, from the last, each edit scanned afresh.
    for (;;) {
        auto document = JsoncDocument::scan(text);
        const Node* list = document ? eventList(*document) : nullptr;
        auto found = list ? kvilloHooks(*document, *list) : std::vector<Found>{};
        if (found.empty()) {
            return text;
        }
        const Found& last = found.back();
        std::string edited;
        if (last.wholeGroup) {
            edited = JsoncEdit::removeItem(text, *document, *list, last.group);
        } else {
            const Node& group = document->node(list->items[last.group].value);
            edited = JsoncEdit::removeItem(text, *document, *document->member(group, "hooks"),
                                           last.hook);
        }
        auto after = JsoncDocument::scan(edited);
        const Node* listAfter = after ? eventList(*after) : nullptr;
        if (!listAfter || kvilloHooks(*after, *listAfter).size() >= found.size()) {
            return text;  // never expected: stop rather than loop or break the file
        }
        text = std::move(edited);
    }
}

}  // namespace kvillo::ClaudeCodeHook
