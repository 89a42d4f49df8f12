#include "platform/linux/desktop_entry.h"

#include <fstream>
#include <sstream>
#include <vector>

#include "core/text/trim.h"

namespace kvillo {
namespace {

std::string unescaped(std::string_view value) {
    std::string result;
    result.reserve(value.size());
    for (size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            result += value[i];
            continue;
        }
        switch (value[++i]) {
            case 's':
                result += ' ';
                break;
            case 'n':
                result += '\n';
                break;
            case 't':
                result += '\t';
                break;
            case 'r':
                result += '\r';
                break;
            case '\\':
                result += '\\';
                break;
            default:
                result += '\\';
                result += value[i];
        }
    }
    return result;
}

}  // namespace

DesktopEntry DesktopEntry::parse(std::string_view text) {
    DesktopEntry entry;
    std::map<std::string, std::string, std::less<>>* group = nullptr;
    size_t lineStart = 0;
    while (lineStart < text.size()) {
        size_t lineEnd = text.find('\n', lineStart);
        if (lineEnd == std::string_view::npos) {
            lineEnd = text.size();
        }
        std::string_view line = trim(text.substr(lineStart, lineEnd - lineStart));
        lineStart = lineEnd + 1;
        if (line.empty() || line.front() == '#') {
            continue;
        }
        if (line.front() == '[' && line.back() == ']') {
            group = &entry.groups_[std::string(line.substr(1, line.size() - 2))];
            continue;
        }
        size_t equals = line.find('=');
        if (!group || equals == std::string_view::npos) {
            continue;
        }
        std::string key(trim(line.substr(0, equals)));
        // The first occurrence wins, as in the desktops' own parsers.
        group->try_emplace(std::move(key), unescaped(trim(line.substr(equals + 1))));
    }
    return entry;
}

std::optional<DesktopEntry> DesktopEntry::load(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return std::nullopt;
    }
    std::stringstream contents;
    contents << file.rdbuf();
    return parse(contents.str());
}

std::optional<std::string> DesktopEntry::value(std::string_view key, std::string_view group) const {
    auto foundGroup = groups_.find(group);
    if (foundGroup == groups_.end()) {
        return std::nullopt;
    }
    auto found = foundGroup->second.find(key);
    if (found == foundGroup->second.end()) {
        return std::nullopt;
    }
    return found->second;
}

std::optional<std::string> DesktopEntry::localizedValue(std::string_view key,
                                                        std::string_view locale,
                                                        std::string_view group) const {
    std::string_view modifier;
    if (size_t at = locale.find('@'); at != std::string_view::npos) {
        modifier = locale.substr(at);
        locale = locale.substr(0, at);
    }
    locale = locale.substr(0, locale.find('.'));
    std::string_view language = locale.substr(0, locale.find('_'));
    bool hasCountry = language.size() != locale.size();

    std::vector<std::string> candidates;
    if (!language.empty() && locale != "C" && locale != "POSIX") {
        if (hasCountry && !modifier.empty()) {
            candidates.push_back(std::string(locale) + std::string(modifier));
        }
        if (hasCountry) {
            candidates.emplace_back(locale);
        }
        if (!modifier.empty()) {
            candidates.push_back(std::string(language) + std::string(modifier));
        }
        candidates.emplace_back(language);
    }
    for (const auto& candidate : candidates) {
        if (auto found = value(std::string(key) + "[" + candidate + "]", group)) {
            return found;
        }
    }
    return value(key, group);
}

bool DesktopEntry::boolean(std::string_view key, std::string_view group) const {
    return value(key, group) == "true";
}

std::string desktopExecArgument(std::string_view argument) {
    constexpr std::string_view kReserved = " \t\n\"'\\><~|&;$*?#()`";
    bool needsQuotes = argument.empty() || argument.find_first_of(kReserved) != std::string::npos;
    std::string quoted;
    if (needsQuotes) {
        quoted += '"';
        for (char c : argument) {
            if (c == '"' || c == '`' || c == '$' || c == '\\') {
                quoted += '\\';
            }
            quoted += c;
        }
        quoted += '"';
    } else {
        quoted = argument;
    }
    // The Exec value is itself a string value, whose backslashes are escaped
    // once more; a literal percent sign is a field code unless doubled.
    std::string escaped;
    for (char c : quoted) {
        if (c == '\\') {
            escaped += "\\\\";
        } else if (c == '%') {
            escaped += "%%";
        } else {
            escaped += c;
        }
    }
    return escaped;
}

}  // namespace kvillo
