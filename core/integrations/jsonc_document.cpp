#include "core/integrations/jsonc_document.h"

namespace kvillo {

// Recursive descent over the text. Any failure ends the scan: a file that
// is not what it seems is never edited.
class JsoncScanner {
public:
    explicit JsoncScanner(std::string_view text) : text_(text) {}

    std::optional<JsoncDocument> scan() {
        if (text_.starts_with("\xEF\xBB\xBF")) {
            at_ = 3;
        }
        if (!skipBlank() || value(0) < 0 || !skipBlank() || at_ != text_.size()) {
            return std::nullopt;
        }
        return std::move(document_);
    }

private:
    bool atEnd() const { return at_ >= text_.size(); }
    char peek() const { return atEnd() ? '\0' : text_[at_]; }

    // Blank space and comments; false for a comment left open.
    bool skipBlank() {
        while (!atEnd()) {
            char c = text_[at_];
            if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
                ++at_;
            } else if (text_.substr(at_, 2) == "//") {
                std::size_t newline = text_.find('\n', at_);
                at_ = newline == std::string_view::npos ? text_.size() : newline + 1;
            } else if (text_.substr(at_, 2) == "/*") {
                std::size_t close = text_.find("*/", at_ + 2);
                if (close == std::string_view::npos) {
                    return false;
                }
                at_ = close + 2;
            } else {
                break;
            }
        }
        return true;
    }

    // The node index of the value at the current position, or -1.
    int value(int depth) {
        if (depth >= JsoncDocument::kMaxDepth) {
            return -1;
        }
        int index = static_cast<int>(document_.nodes_.size());
        document_.nodes_.emplace_back();
        JsoncDocument::Node node;
        node.begin = at_;
        bool ok = false;
        switch (peek()) {
            case '{':
                node.kind = JsoncDocument::Kind::object;
                ok = container(depth, '}', true, node.items);
                break;
            case '[':
                node.kind = JsoncDocument::Kind::array;
                ok = container(depth, ']', false, node.items);
                break;
            case '"':
                node.kind = JsoncDocument::Kind::string;
                ok = string(node.text);
                break;
            case 't':
            case 'f':
            case 'n':
                node.kind = JsoncDocument::Kind::literal;
                ok = literal("true") || literal("false") || literal("null");
                break;
            default:
                node.kind = JsoncDocument::Kind::number;
                ok = number();
        }
        if (!ok) {
            return -1;
        }
        node.end = at_;
        document_.nodes_[static_cast<std::size_t>(index)] = std::move(node);
        return index;
    }

    // An object or array from its opening bracket to its closing one; a
    // comma after the last item is allowed, an empty item is not.
    bool container(int depth, char close, bool hasKeys, std::vector<JsoncDocument::Item>& items) {
        ++at_;
        if (!skipBlank()) {
            return false;
        }
        while (peek() != close) {
            JsoncDocument::Item item;
            item.begin = at_;
            if (hasKeys) {
                if (peek() != '"' || !string(item.key) || !skipBlank() || peek() != ':') {
                    return false;
                }
                ++at_;
                if (!skipBlank()) {
                    return false;
                }
            }
            item.value = value(depth + 1);
            if (item.value < 0 || !skipBlank()) {
                return false;
            }
            bool more = peek() == ',';
            if (more) {
                item.comma = at_++;
                if (!skipBlank()) {
                    return false;
                }
            }
            items.push_back(std::move(item));
            if (!more && peek() != close) {
                return false;
            }
        }
        ++at_;
        return true;
    }

    bool literal(std::string_view word) {
        if (text_.substr(at_, word.size()) != word) {
            return false;
        }
        at_ += word.size();
        return true;
    }

    bool digits() {
        std::size_t start = at_;
        while (peek() >= '0' && peek() <= '9') {
            ++at_;
        }
        return at_ > start;
    }

    bool number() {
        if (peek() == '-') {
            ++at_;
        }
        if (peek() == '0') {
            ++at_;
        } else if (!digits()) {
            return false;
        }
        if (peek() == '.') {
            ++at_;
            if (!digits()) {
                return false;
            }
        }
        if (peek() == 'e' || peek() == 'E') {
            ++at_;
            if (peek() == '+' || peek() == '-') {
                ++at_;
            }
            if (!digits()) {
                return false;
            }
        }
        return true;
    }

    std::optional<unsigned> hex4() {
        if (at_ + 4 > text_.size()) {
            return std::nullopt;
        }
        unsigned value = 0;
        for (int i = 0; i < 4; ++i) {
            char c = text_[at_++];
            value <<= 4;
            if (c >= '0' && c <= '9') {
                value |= static_cast<unsigned>(c - '0');
            } else if (c >= 'a' && c <= 'f') {
                value |= static_cast<unsigned>(c - 'a' + 10);
            } else if (c >= 'A' && c <= 'F') {
                value |= static_cast<unsigned>(c - 'A' + 10);
            } else {
                return std::nullopt;
            }
        }
        return value;
    }

    static void appendUtf8(std::string& out, unsigned code) {
        if (code < 0x80) {
            out += static_cast<char>(code);
        } else if (code < 0x800) {
            out += static_cast<char>(0xC0 | (code >> 6));
            out += static_cast<char>(0x80 | (code & 0x3F));
        } else if (code < 0x10000) {
            out += static_cast<char>(0xE0 | (code >> 12));
            out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (code & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (code >> 18));
            out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (code & 0x3F));
        }
    }

    // A string with its escapes decoded into `out`. Control characters
    // must be escaped; a lone surrogate is kept as the replacement
    // character, as keys are only compared.
    bool string(std::string& out) {
        ++at_;
        for (;;) {
            if (atEnd()) {
                return false;
            }
            char c = text_[at_++];
            if (c == '"') {
                return true;
            }
            if (static_cast<unsigned char>(c) < 0x20) {
                return false;
            }
            if (c != '\\') {
                out += c;
                continue;
            }
            char escape = peek();
            ++at_;
            switch (escape) {
                case '"':
                case '\\':
                case '/':
                    out += escape;
                    break;
                case 'b':
                    out += '\b';
                    break;
                case 'f':
                    out += '\f';
                    break;
                case 'n':
                    out += '\n';
                    break;
                case 'r':
                    out += '\r';
                    break;
                case 't':
                    out += '\t';
                    break;
                case 'u': {
                    auto code = hex4();
                    if (!code) {
                        return false;
                    }
                    if (*code >= 0xD800 && *code < 0xDC00 && text_.substr(at_, 2) == "\\u") {
                        std::size_t back = at_;
                        at_ += 2;
                        auto low = hex4();
                        if (low && *low >= 0xDC00 && *low < 0xE000) {
                            *code = 0x10000 + ((*code - 0xD800) << 10) + (*low - 0xDC00);
                        } else {
                            at_ = back;
                        }
                    }
                    appendUtf8(out, *code >= 0xD800 && *code < 0xE000 ? 0xFFFD : *code);
                    break;
                }
                default:
                    return false;
            }
        }
    }

    std::string_view text_;
    std::size_t at_ = 0;
    JsoncDocument document_;
};

std::optional<JsoncDocument> JsoncDocument::scan(std::string_view text) {
    return JsoncScanner(text).scan();
}

const JsoncDocument::Node* JsoncDocument::member(const Node& object, std::string_view key) const {
    if (object.kind != Kind::object) {
        return nullptr;
    }
    for (auto item = object.items.rbegin(); item != object.items.rend(); ++item) {
        if (item->key == key) {
            return &node(item->value);
        }
    }
    return nullptr;
}

int JsoncDocument::count(const Node& object, std::string_view key) const {
    int found = 0;
    for (const auto& item : object.items) {
        found += item.key == key ? 1 : 0;
    }
    return found;
}

}  // namespace kvillo
