#include "core/integrations/stdio_command.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "core/integrations/installation.h"

namespace kvillo {
namespace {

constexpr const char* kBridgeName = "kvillo-mcp";

bool isExecutableFile(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error) && ::access(path.c_str(), X_OK) == 0;
}

// Words made only of these need no quotes in any POSIX shell.
bool needsQuotes(const std::string& word) {
    if (word.empty()) {
        return true;
    }
    for (char c : word) {
        bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                     std::string_view("_-./+:@%=,").find(c) != std::string_view::npos;
        if (!plain) {
            return true;
        }
    }
    return false;
}

std::string quoted(const std::string& word) {
    if (!needsQuotes(word)) {
        return word;
    }
    std::string text = "'";
    for (char c : word) {
        text += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return text + "'";
}

}  // namespace

StdioCommand StdioCommand::forThisProgram() {
    std::error_code error;
    auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    const char* appImage = Installation::appImageOfThisProcess();
    return locate(error ? std::string() : executable.parent_path().string(),
                  appImage ? appImage : "", KVILLO_INSTALL_BINDIR);
}

StdioCommand StdioCommand::locate(const std::string& executableFolder, const std::string& appImage,
                                  const std::string& installedFolder) {
    if (!appImage.empty()) {
        return {appImage, {"mcp"}};
    }
    if (!executableFolder.empty()) {
        std::string beside = executableFolder + "/" + kBridgeName;
        if (isExecutableFile(beside)) {
            return {beside, {}};
        }
    }
    return {installedFolder + "/" + kBridgeName, {}};
}

std::string StdioCommand::shellLine(const std::vector<std::string>& extra) const {
    std::string line = quoted(command);
    for (const auto& word : args) {
        line += " " + quoted(word);
    }
    for (const auto& word : extra) {
        line += " " + quoted(word);
    }
    return line;
}

}  // namespace kvillo
