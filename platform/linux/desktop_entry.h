#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace kvillo {

// A freedesktop.org desktop entry (".desktop" file): groups of key=value
// lines. Values are kept whole (they may contain commas and semicolons) with
// the escapes \s \n \t \r \\ resolved.
class DesktopEntry {
public:
    static constexpr std::string_view kMainGroup = "Desktop Entry";

    // Lines that are neither groups, comments nor key=value are skipped, as
    // desktops do. Keys before the first group are ignored.
    static DesktopEntry parse(std::string_view text);

    // None when the file cannot be read.
    static std::optional<DesktopEntry> load(const std::string& path);

    std::optional<std::string> value(std::string_view key,
                                     std::string_view group = kMainGroup) const;

    // The value for the best-matching locale of `locale` ("fr_FR.UTF-8@euro"):
    // key[ll_CC@MOD], key[ll_CC], key[ll@MOD], key[ll], then key.
    std::optional<std::string> localizedValue(std::string_view key, std::string_view locale,
                                              std::string_view group = kMainGroup) const;

    // True only for the text "true".
    bool boolean(std::string_view key, std::string_view group = kMainGroup) const;

private:
    std::map<std::string, std::map<std::string, std::string, std::less<>>, std::less<>> groups_;
};

// `argument` quoted for an Exec line where it needs it, and escaped for the
// value level, so the desktop splits it back into the same argument.
std::string desktopExecArgument(std::string_view argument);

}  // namespace kvillo
