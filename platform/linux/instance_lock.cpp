#include "platform/linux/instance_lock.h"

#include <QSocketNotifier>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "core/files/private_folder.h"

namespace kvillo {
namespace {

constexpr std::string_view kShowRequest = "show\n";
// A peer that sends more than this without a newline is not a Kvillo.
constexpr std::size_t kMaxRequestSize = 64;

std::string reason(int error) {
    return std::strerror(error);
}

// FNV-1a, 64 bits: stable across builds and runs, unlike std::hash.
std::string hashName(const std::string& text) {
    std::uint64_t hash = 14695981039346656037ull;
    for (unsigned char byte : text) {
        hash = (hash ^ byte) * 1099511628211ull;
    }
    char hex[17];
    std::snprintf(hex, sizeof hex, "%016llx", static_cast<unsigned long long>(hash));
    return hex;
}

// The files under `folder`, each named `stem` plus its role's suffix.
InstanceFiles filesIn(const std::string& folder, const std::string& stem) {
    std::string base = folder + "/" + stem;
    return {base + ".lock", base + ".port", base + ".socket"};
}

// The lock file, opened (and created) for flock; -1 with errno set when it
// cannot be.
int openLockFile(const std::string& path) {
    return ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
}

bool socketAddress(const std::string& path, sockaddr_un& address) {
    address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        return false;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return true;
}

std::optional<std::uint16_t> readPort(const std::string& path) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return std::nullopt;
    }
    char text[16];
    ssize_t size = ::read(fd, text, sizeof text);
    ::close(fd);
    unsigned port = 0;
    if (size <= 0) {
        return std::nullopt;
    }
    auto [end, error] = std::from_chars(text, text + size, port);
    if (error != std::errc() || port == 0 || port > 65535 || end == text + size || *end != '\n') {
        return std::nullopt;
    }
    return static_cast<std::uint16_t>(port);
}

// The data folder as the copies compare it: absolute and normalised, but
// not symlink-resolved, as the copies to tell apart read the same
// environment and the folder need not exist yet. A relative path with no
// working folder to resolve it against is taken as it is.
std::string absoluteFolder(const std::string& dataFolder) {
    std::error_code noWorkingFolder;
    auto resolved = std::filesystem::absolute(dataFolder, noWorkingFolder);
    std::string absolute = (noWorkingFolder ? std::filesystem::path(dataFolder) : resolved)
                               .lexically_normal()
                               .string();
    while (absolute.size() > 1 && absolute.back() == '/') {
        absolute.pop_back();
    }
    return absolute;
}

// The runtime folder's files, when that folder is usable at all.
std::optional<InstanceFiles> runtimeFiles(const std::string& runtimeFolder,
                                          const std::string& absolute) {
    if (runtimeFolder.empty() || runtimeFolder.front() != '/') {
        return std::nullopt;
    }
    return filesIn(runtimeFolder + "/kvillo", hashName(absolute));
}

const char* runtimeFolderOfEnvironment() {
    const char* folder = std::getenv("XDG_RUNTIME_DIR");
    return folder ? folder : "";
}

}  // namespace

std::string RunningInstance::describe() const {
    std::string text = "Kvillo is already running";
    if (mcpPort) {
        text += " (MCP server on http://localhost:" + std::to_string(*mcpPort) + "/mcp)";
    }
    return text;
}

bool RunningInstance::requestShow() const {
    sockaddr_un address;
    if (!socketAddress(files.socketFile, address)) {
        return false;
    }
    int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) {
        return false;
    }
    // Non-blocking: a local connect either completes into the backlog at
    // once or fails with EAGAIN, and the line fits any socket buffer.
    bool sent = ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
                ::send(fd, kShowRequest.data(), kShowRequest.size(), MSG_NOSIGNAL) ==
                    static_cast<ssize_t>(kShowRequest.size());
    ::close(fd);
    return sent;
}

InstanceLock::Outcome InstanceLock::acquire(const std::string& dataFolder) {
    return acquire(dataFolder, runtimeFolderOfEnvironment());
}

InstanceLock::Outcome InstanceLock::acquire(const std::string& dataFolder,
                                            const std::string& runtimeFolder) {
    std::string absolute = absoluteFolder(dataFolder);
    InstanceFiles files;
    int fd = -1;
    if (auto inRuntime = runtimeFiles(runtimeFolder, absolute)) {
        std::string folder = runtimeFolder + "/kvillo";
        if (::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST) {
            files = *inRuntime;
            fd = openLockFile(files.lockFile);
        }
    }
    if (fd < 0) {
        // Any failure shows up as the lock file failing to open.
        createPrivateFolder(absolute);
        files = filesIn(absolute, "instance");
        fd = openLockFile(files.lockFile);
        if (fd < 0) {
            return InstanceLockError{"cannot open the lock file " + files.lockFile + ": " +
                                     reason(errno)};
        }
    }

    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        int error = errno;
        ::close(fd);
        if (error == EWOULDBLOCK) {
            auto port = readPort(files.portFile);
            return RunningInstance{std::move(files), port};
        }
        return InstanceLockError{"cannot lock " + files.lockFile + ": " + reason(error)};
    }
    return std::unique_ptr<InstanceLock>(new InstanceLock(std::move(files), fd));
}

std::optional<std::uint16_t> InstanceLock::runningMcpPort(const std::string& dataFolder) {
    return runningMcpPort(dataFolder, runtimeFolderOfEnvironment());
}

std::optional<std::uint16_t> InstanceLock::runningMcpPort(const std::string& dataFolder,
                                                          const std::string& runtimeFolder) {
    std::string absolute = absoluteFolder(dataFolder);
    std::vector<InstanceFiles> candidates;
    if (auto inRuntime = runtimeFiles(runtimeFolder, absolute)) {
        candidates.push_back(*inRuntime);
    }
    candidates.push_back(filesIn(absolute, "instance"));
    for (const auto& files : candidates) {
        // Without a port file there is nothing to learn, and no reason to
        // touch the lock.
        auto port = readPort(files.portFile);
        int fd = port ? ::open(files.lockFile.c_str(), O_RDONLY | O_CLOEXEC) : -1;
        if (fd < 0) {
            continue;
        }
        bool held = ::flock(fd, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
        ::close(fd);  // drops the shared lock, if it was had
        if (held) {
            return port;
        }
    }
    return std::nullopt;
}

InstanceLock::InstanceLock(InstanceFiles files, int lockFd)
    : files_(std::move(files)), lockFd_(lockFd) {
    // Whatever is here was left by a holder that is gone: the port is no
    // longer true, and the socket has nobody behind it.
    ::unlink(files_.portFile.c_str());
    openSocket();
}

InstanceLock::~InstanceLock() {
    for (auto& [fd, connection] : connections_) {
        delete connection.notifier;
        ::close(fd);
    }
    delete listenNotifier_;
    if (listenFd_ >= 0) {
        ::close(listenFd_);
    }
    // Still holding the lock, so these are ours to remove.
    ::unlink(files_.socketFile.c_str());
    ::unlink(files_.portFile.c_str());
    ::close(lockFd_);
}

void InstanceLock::openSocket() {
    sockaddr_un address;
    if (!socketAddress(files_.socketFile, address)) {
        socketError_ = "the socket path " + files_.socketFile + " is too long";
        return;
    }
    ::unlink(files_.socketFile.c_str());
    int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) {
        socketError_ = "cannot make a socket: " + reason(errno);
        return;
    }
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::chmod(files_.socketFile.c_str(), 0600) != 0 || ::listen(fd, 8) != 0) {
        socketError_ = "cannot listen on " + files_.socketFile + ": " + reason(errno);
        ::close(fd);
        return;
    }
    listenFd_ = fd;
}

std::optional<std::string> InstanceLock::publishMcpPort(std::uint16_t port) {
    // Written aside and renamed over the old file, so that a reader sees
    // the old port, the new one or none, never a part.
    std::string temporary = files_.portFile + ".new";
    std::string text = std::to_string(port) + "\n";
    int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) {
        return "cannot write the MCP port to " + temporary + ": " + reason(errno);
    }
    bool published = ::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    int error = errno;
    ::close(fd);
    if (published) {
        published = ::rename(temporary.c_str(), files_.portFile.c_str()) == 0;
        error = errno;
    }
    if (published) {
        return std::nullopt;
    }
    ::unlink(temporary.c_str());
    return "cannot write the MCP port to " + files_.portFile + ": " + reason(error);
}

std::optional<std::string> InstanceLock::listenForShowRequests() {
    if (listenFd_ < 0) {
        return "other starts cannot ask this one to show itself: " + socketError_;
    }
    if (!listenNotifier_) {
        listenNotifier_ = new QSocketNotifier(listenFd_, QSocketNotifier::Read, this);
        connect(listenNotifier_, &QSocketNotifier::activated, this,
                &InstanceLock::acceptConnection);
    }
    return std::nullopt;
}

void InstanceLock::acceptConnection() {
    int fd = ::accept4(listenFd_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd < 0) {
        return;  // EAGAIN, or the peer gave up already
    }
    // The line may come after the connection: wait for it in the loop
    // rather than block the main thread on a peer.
    auto* notifier = new QSocketNotifier(fd, QSocketNotifier::Read, this);
    connections_.emplace(fd, Connection{notifier, {}});
    connect(notifier, &QSocketNotifier::activated, this, [this, fd] { readRequest(fd); });
}

void InstanceLock::readRequest(int fd) {
    auto& connection = connections_.at(fd);
    char chunk[kMaxRequestSize];
    ssize_t size = ::read(fd, chunk, sizeof chunk);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) {
        return;
    }
    if (size > 0) {
        connection.received.append(chunk, static_cast<std::size_t>(size));
        if (connection.received.find('\n') == std::string::npos &&
            connection.received.size() < kMaxRequestSize) {
            return;
        }
    }
    // One request per connection: the line, or an end or error before it.
    bool show = connection.received.rfind(kShowRequest, 0) == 0;
    closeConnection(fd);
    if (show) {
        emit showRequested();
    }
}

void InstanceLock::closeConnection(int fd) {
    auto found = connections_.find(fd);
    found->second.notifier->setEnabled(false);
    found->second.notifier->deleteLater();
    ::close(fd);
    connections_.erase(found);
}

}  // namespace kvillo
