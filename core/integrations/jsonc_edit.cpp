#include "core/integrations/jsonc_edit.h"

#include <algorithm>
#include <vector>

namespace kvillo::JsoncEdit {
namespace {

using Json = nlohmann::ordered_json;
using Node = JsoncDocument::Node;

struct Change {
    std::size_t begin;
    std::size_t end;
    std::string replacement;
};

// Changes must not overlap; they are applied from the back so that each
// one's offsets still hold.
std::string apply(std::string_view text, std::vector<Change> changes) {
    std::sort(changes.begin(), changes.end(),
              [](const Change& a, const Change& b) { return a.begin > b.begin; });
    std::string result(text);
    for (const auto& change : changes) {
        result.replace(change.begin, change.end - change.begin, change.replacement);
    }
    return result;
}

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

std::size_t lineStart(std::string_view text, std::size_t at) {
    std::size_t newline = at == 0 ? std::string_view::npos : text.rfind('\n', at - 1);
    return newline == std::string_view::npos ? 0 : newline + 1;
}

// Where the line holding `at` ends: at its "\n", or the "\r" of its "\r\n".
std::size_t lineEnd(std::string_view text, std::size_t at) {
    std::size_t newline = text.find('\n', at);
    if (newline == std::string_view::npos) {
        return text.size();
    }
    return newline > at && text[newline - 1] == '\r' ? newline - 1 : newline;
}

// Past the line break that starts at `end` (a lineEnd).
std::size_t pastLineBreak(std::string_view text, std::size_t end) {
    if (end >= text.size()) {
        return text.size();
    }
    return text[end] == '\r' ? end + 2 : end + 1;
}

// The spaces and tabs that begin the line holding `at`.
std::string indentOf(std::string_view text, std::size_t at) {
    std::size_t start = lineStart(text, at);
    std::size_t end = start;
    while (end < text.size() && isBlank(text[end])) {
        ++end;
    }
    return std::string(text.substr(start, end - start));
}

bool onlyBlank(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return isBlank(c) || c == '\r'; });
}

bool hasNewline(std::string_view text, std::size_t from, std::size_t to) {
    return text.substr(from, to - from).find('\n') != std::string_view::npos;
}

// Past the comments that follow `at` on its own line, so that an insertion
// there does not take a comment away from the item it belongs to.
std::size_t afterCommentsOnTheLine(std::string_view text, std::size_t at) {
    for (;;) {
        std::size_t next = at;
        while (next < text.size() && isBlank(text[next])) {
            ++next;
        }
        if (text.substr(next, 2) == "//") {
            return lineEnd(text, next);
        }
        if (text.substr(next, 2) != "/*") {
            return at;
        }
        std::size_t close = text.find("*/", next + 2);
        if (close == std::string_view::npos || hasNewline(text, next, close)) {
            return at;
        }
        at = close + 2;
    }
}

// How the document lays out its values.
struct Layout {
    bool oneLine = false;        // the whole document is on one line
    std::string unit = "  ";     // one level of indentation
    std::string newline = "\n";  // "\r\n" in a file that has any
};

Layout layoutOf(std::string_view text, const JsoncDocument& document) {
    Layout layout;
    const Node& root = document.root();
    layout.oneLine = !hasNewline(text, root.begin, root.end);
    if (text.find("\r\n") != std::string_view::npos) {
        layout.newline = "\r\n";
    }
    // The first container written over several lines tells the unit: its
    // first item's indentation beyond the container's own line.
    std::vector<const Node*> pending{&root};
    while (!pending.empty()) {
        const Node* node = pending.back();
        pending.pop_back();
        if (node->items.empty()) {
            continue;
        }
        std::size_t first = node->items.front().begin;
        std::string outer = indentOf(text, node->begin);
        std::string inner = indentOf(text, first);
        if (hasNewline(text, node->begin, first) && inner.size() > outer.size() &&
            inner.starts_with(outer) && lineStart(text, first) + inner.size() == first) {
            layout.unit = inner.substr(outer.size());
            break;
        }
        for (auto item = node->items.rbegin(); item != node->items.rend(); ++item) {
            pending.push_back(&document.node(item->value));
        }
    }
    return layout;
}

// Whether the items of `container` go on lines of their own.
bool spreadsOverLines(std::string_view text, const Layout& layout, const Node& container) {
    if (layout.oneLine) {
        return false;
    }
    return container.items.empty() || hasNewline(text, container.begin, container.items[0].begin);
}

// `value` as it is to be written at a line indented by `indent`.
std::string render(const Json& value, const Layout& layout, const std::string& indent,
                   bool spread) {
    if (!spread || !value.is_structured()) {
        return value.dump(-1, ' ', false, Json::error_handler_t::replace);
    }
    bool tabs =
        std::all_of(layout.unit.begin(), layout.unit.end(), [](char c) { return c == '\t'; });
    bool spaces =
        std::all_of(layout.unit.begin(), layout.unit.end(), [](char c) { return c == ' '; });
    int width = tabs || spaces ? static_cast<int>(layout.unit.size()) : 2;
    std::string text = value.dump(width, tabs ? '\t' : ' ', false, Json::error_handler_t::replace);
    std::string result;
    for (char c : text) {
        if (c == '\n') {
            result += layout.newline + indent;
        } else {
            result += c;
        }
    }
    return result;
}

std::string itemText(const std::optional<std::string_view>& key, const std::string& value) {
    if (!key) {
        return value;
    }
    return Json(std::string(*key)).dump(-1, ' ', false, Json::error_handler_t::replace) + ": " +
           value;
}

std::string insertItem(std::string_view text, const JsoncDocument& document, const Node& container,
                       std::optional<std::string_view> key, const Json& value) {
    Layout layout = layoutOf(text, document);
    bool spread = spreadsOverLines(text, layout, container);
    std::vector<Change> changes;
    if (container.items.empty()) {
        std::size_t inside = container.begin + 1;
        std::size_t close = container.end - 1;
        bool blankInside = text.substr(inside, close - inside).find_first_not_of(" \t\r\n") ==
                           std::string_view::npos;
        if (!spread) {
            std::string item = itemText(key, render(value, layout, "", false));
            changes.push_back(blankInside ? Change{inside, close, item}
                                          : Change{inside, inside, item});
        } else {
            std::string outer = indentOf(text, container.begin);
            std::string indent = outer + layout.unit;
            std::string item =
                layout.newline + indent + itemText(key, render(value, layout, indent, true));
            if (blankInside) {
                changes.push_back({inside, close, item + layout.newline + outer});
            } else {
                // Comments inside stay below the new item.
                std::size_t at = afterCommentsOnTheLine(text, inside);
                changes.push_back({at, at, item});
            }
        }
        return apply(text, std::move(changes));
    }

    const auto& last = container.items.back();
    std::size_t lastEnd = document.node(last.value).end;
    if (!spread) {
        std::string item = itemText(key, render(value, layout, "", false));
        if (last.comma) {
            changes.push_back({*last.comma + 1, *last.comma + 1, " " + item + ","});
        } else {
            changes.push_back({lastEnd, lastEnd, ", " + item});
        }
        return apply(text, std::move(changes));
    }
    std::string indent = indentOf(text, last.begin);
    std::size_t at = afterCommentsOnTheLine(text, last.comma ? *last.comma + 1 : lastEnd);
    // A file that ends its items with a comma gets one after the new item too.
    std::string item = layout.newline + indent +
                       itemText(key, render(value, layout, indent, true)) + (last.comma ? "," : "");
    if (!last.comma) {
        if (at == lastEnd) {
            item = "," + item;
        } else {
            changes.push_back({lastEnd, lastEnd, ","});
        }
    }
    changes.push_back({at, at, item});
    return apply(text, std::move(changes));
}

}  // namespace

std::string setMember(std::string_view text, const JsoncDocument& document, const Node& object,
                      std::string_view key, const Json& value) {
    for (auto item = object.items.rbegin(); item != object.items.rend(); ++item) {
        if (item->key != key) {
            continue;
        }
        const Node& old = document.node(item->value);
        Layout layout = layoutOf(text, document);
        std::string replacement = render(value, layout, indentOf(text, item->begin),
                                         spreadsOverLines(text, layout, object));
        return apply(text, {{old.begin, old.end, replacement}});
    }
    return insertItem(text, document, object, key, value);
}

std::string appendElement(std::string_view text, const JsoncDocument& document, const Node& array,
                          const Json& value) {
    return insertItem(text, document, array, std::nullopt, value);
}

std::string replaceValue(std::string_view text, const JsoncDocument& document, const Node& node,
                         const Json& value) {
    Layout layout = layoutOf(text, document);
    bool spread = !layout.oneLine && hasNewline(text, node.begin, node.end);
    return apply(
        text, {{node.begin, node.end, render(value, layout, indentOf(text, node.begin), spread)}});
}

std::string removeItem(std::string_view text, const JsoncDocument& document, const Node& container,
                       std::size_t index) {
    const auto& item = container.items.at(index);
    std::size_t begin = item.begin;
    std::size_t end = item.comma ? *item.comma + 1 : document.node(item.value).end;
    std::vector<Change> changes;
    if (!item.comma && index > 0) {
        // The last item without a comma of its own: the one before gives up
        // its comma, together with the blank space between, if no comment
        // stands there.
        std::size_t comma = *container.items[index - 1].comma;
        if (text.substr(comma + 1, begin - comma - 1).find_first_not_of(" \t\r\n") ==
            std::string_view::npos) {
            return apply(text, {{comma, end, ""}});
        }
        changes.push_back({comma, comma + 1, ""});
    }
    std::size_t start = lineStart(text, begin);
    std::size_t stop = lineEnd(text, end);
    if (onlyBlank(text.substr(start, begin - start)) && onlyBlank(text.substr(end, stop - end))) {
        begin = start;
        end = pastLineBreak(text, stop);
    } else {
        while (end < text.size() && isBlank(text[end])) {
            ++end;
        }
    }
    changes.push_back({begin, end, ""});
    return apply(text, std::move(changes));
}

}  // namespace kvillo::JsoncEdit
