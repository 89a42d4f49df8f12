#include "app/claude_code_hook_command.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>

#include "core/mcp/mcp_dispatcher.h"
#include "core/records/annotation.h"
#include "core/text/trim.h"
#include "core/time/system_clock.h"
#include "platform/linux/user_account.h"

namespace kvillo {
namespace {

// Claude Code writes the event and closes the pipe at once; these only
// bound a caller that does not.
constexpr std::size_t kMaxEventBytes = 16 * 1024 * 1024;
constexpr std::chrono::milliseconds kReadTime{500};

// The whole of standard input, or none when it is too long or does not end
// in time.
std::optional<std::string> readEvent() {
    std::string input;
    char buffer[64 * 1024];
    auto deadline = std::chrono::steady_clock::now() + kReadTime;
    for (;;) {
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd readable{STDIN_FILENO, POLLIN, 0};
        int ready = ::poll(&readable, 1, static_cast<int>(std::max<long long>(left.count(), 0)));
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready <= 0) {
            return std::nullopt;
        }
        ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            return std::nullopt;
        }
        if (n == 0) {
            return input;
        }
        input.append(buffer, static_cast<std::size_t>(n));
        if (input.size() > kMaxEventBytes) {
            return std::nullopt;
        }
    }
}

// "Claude Code: /home/kari/src/kraftnod", or none for anything but an
// event with a folder.
std::optional<std::string> taskOf(const std::string& event) {
    auto json = nlohmann::json::parse(event, nullptr, false);
    if (!json.is_object()) {
        return std::nullopt;
    }
    auto cwd = json.find("cwd");
    if (cwd == json.end() || !cwd->is_string() || cwd->get_ref<const std::string&>().empty()) {
        return std::nullopt;
    }
    return std::string(kClaudeCodePrefix) + " " + cwd->get<std::string>();
}

void annotate(const AppPaths& paths, const std::string& task) {
    Database database(paths.databaseFile, kHookBusyWait);
    // Every prompt in the same folder would otherwise end the task and
    // start it again, and its timer with it.
    if (auto current = database.currentAnnotation(); current && current->text == trim(task)) {
        return;
    }
    Features features(paths.settingsFile, fullUserName);
    SystemClock clock;
    McpDispatcher dispatcher(database, features, clock);
    JsonRpcRequest request{"2.0", JsonRpcId(std::int64_t{1}), "tools/call",
                           Json{{"name", "annotate"}, {"arguments", Json{{"text", task}}}}};
    dispatcher.handle(request);  // a refusal or an error is an answer nobody reads
}

}  // namespace

int runClaudeCodeHook(const AppPaths& paths) {
    auto event = readEvent();
    auto task = event ? taskOf(*event) : std::nullopt;
    std::error_code error;
    if (!task || !std::filesystem::is_regular_file(paths.databaseFile, error)) {
        return 0;
    }
    try {
        annotate(paths, *task);
    } catch (...) {
        // A locked, damaged or unreadable log: this prompt goes unnoted.
    }
    return 0;
}

}  // namespace kvillo
