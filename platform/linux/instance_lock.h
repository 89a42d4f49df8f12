#pragma once

#include <QObject>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <variant>

class QSocketNotifier;

namespace kvillo {

// The files through which the copies recording into one data folder find
// each other.
struct InstanceFiles {
    std::string lockFile;    // flock-ed by the recording copy; never removed
    std::string portFile;    // its MCP server's port, one decimal line
    std::string socketFile;  // AF_UNIX stream socket it takes requests on
};

// Another copy holds the lock: what a later start learns of it.
struct RunningInstance {
    InstanceFiles files;
    // The port its MCP server listens on, when it has said so yet.
    std::optional<std::uint16_t> mcpPort;

    // "Kvillo is already running (MCP server on http://localhost:7384/mcp)",
    // without the part in brackets when the port is not known.
    std::string describe() const;

    // Asks it to show itself with one line on its socket. Never blocks:
    // false when it cannot be reached (no socket, or a backlog so full that
    // it is clearly not answering). A request that arrives before its event
    // loop runs waits in the socket's backlog.
    bool requestShow() const;
};

// The lock could not be taken; the message names the file and the reason.
struct InstanceLockError {
    std::string message;
};

// Keeps one recording copy per data folder. The first copy holds an
// exclusive flock on the lock file for its whole life; the kernel drops it
// however the process ends, so a crash leaves nothing to clean up, and a
// socket or port file left by one is replaced by the next holder.
//
// The files live in $XDG_RUNTIME_DIR/kvillo/, named after a hash of the
// data folder's absolute path (so two data folders never share a lock, and
// the socket path stays short); in the data folder itself when
// XDG_RUNTIME_DIR is unset, relative or unusable.
//
// Threads: made, used and destroyed on the main thread. acquire() needs no
// QCoreApplication, so it can run before anything else is built; requests
// sent meanwhile wait in the socket's backlog until listenForShowRequests(),
// which needs the application, and are handled in its event loop. Destroy
// the lock before the application. All descriptors are close-on-exec, so a
// program started from Kvillo never inherits the lock.
class InstanceLock : public QObject {
    Q_OBJECT
public:
    using Outcome = std::variant<std::unique_ptr<InstanceLock>, RunningInstance, InstanceLockError>;

    // Takes the lock for `dataFolder`, with the files in `runtimeFolder`
    // (normally $XDG_RUNTIME_DIR) or, failing that, in the data folder;
    // creates the folder it uses. Does not block: a held lock gives
    // RunningInstance at once.
    static Outcome acquire(const std::string& dataFolder, const std::string& runtimeFolder);
    static Outcome acquire(const std::string& dataFolder);

    // The port published by the copy that holds the lock for `dataFolder`
    // (with the files where acquire() would look), for commands that run
    // beside it; none when no copy runs or it has not said. Creates nothing
    // and takes no lock, but for an instant's shared lock when a port file
    // is there (a crash leaves one behind): a copy starting at that instant
    // would take this for a running one.
    static std::optional<std::uint16_t> runningMcpPort(const std::string& dataFolder,
                                                       const std::string& runtimeFolder);
    static std::optional<std::uint16_t> runningMcpPort(const std::string& dataFolder);

    // Removes the socket and the port file, then lets the lock go.
    ~InstanceLock() override;
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;

    const InstanceFiles& files() const { return files_; }

    // Tells later starts where the MCP server listens. The file is
    // replaced atomically, so a reader never sees half a number. Returns
    // the reason when it cannot be written.
    std::optional<std::string> publishMcpPort(std::uint16_t port);

    // From now on each show request emits showRequested() in the event
    // loop. Returns why later starts cannot reach this copy when the socket
    // could not be made (the lock holds regardless). Call once.
    std::optional<std::string> listenForShowRequests();

signals:
    void showRequested();

private:
    InstanceLock(InstanceFiles files, int lockFd);
    void openSocket();
    void acceptConnection();
    void readRequest(int fd);
    void closeConnection(int fd);

    InstanceFiles files_;
    int lockFd_;
    int listenFd_ = -1;
    std::string socketError_;  // why listenFd_ is -1
    QSocketNotifier* listenNotifier_ = nullptr;

    // Accepted connections whose line has not come in whole yet.
    struct Connection {
        QSocketNotifier* notifier;
        std::string received;
    };
    std::unordered_map<int, Connection> connections_;
};

}  // namespace kvillo
