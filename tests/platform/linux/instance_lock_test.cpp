#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "platform/linux/instance_lock.h"
#include "tests/support/qt_events.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using namespace std::chrono_literals;
using testing::TempFolder;

InstanceLock* held(InstanceLock::Outcome& outcome) {
    auto* lock = std::get_if<std::unique_ptr<InstanceLock>>(&outcome);
    return lock ? lock->get() : nullptr;
}

// A socket file with nobody behind it, as a crashed holder leaves.
void leaveStaleSocket(const std::string& path) {
    int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, path.c_str());
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ::close(fd);
}

TEST(InstanceLock, OneHolderPerDataFolderWhereverTheFilesLive) {
    TempFolder temp;
    testing::writeFile(temp.file("a-file"), "");
    struct Row {
        const char* name;
        std::string runtimeFolder;
        bool filesInRuntimeFolder;
    };
    const Row rows[] = {
        {"runtime folder", temp.path(), true},
        {"no runtime folder", "", false},
        {"relative runtime folder", "run/user", false},
        {"runtime folder is a file", temp.file("a-file"), false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::string data = temp.file(std::string(row.name) + "/Kvillo");
        std::string otherData = temp.file(std::string(row.name) + "/other/Kvillo");

        auto first = InstanceLock::acquire(data, row.runtimeFolder);
        ASSERT_TRUE(held(first)) << std::get<InstanceLockError>(first).message;
        const auto& files = held(first)->files();
        EXPECT_EQ(files.lockFile.rfind(row.filesInRuntimeFolder ? temp.file("kvillo/") : data, 0),
                  0u)
            << files.lockFile;
        EXPECT_LT(files.socketFile.size(), sizeof(sockaddr_un::sun_path));

        // flock conflicts between open file descriptions, even in one process.
        auto second = InstanceLock::acquire(data + "/", row.runtimeFolder);
        ASSERT_TRUE(std::holds_alternative<RunningInstance>(second));
        EXPECT_EQ(std::get<RunningInstance>(second).files.lockFile, files.lockFile);

        auto other = InstanceLock::acquire(otherData, row.runtimeFolder);
        EXPECT_TRUE(held(other));

        std::get<std::unique_ptr<InstanceLock>>(first).reset();
        auto afterFirst = InstanceLock::acquire(data, row.runtimeFolder);
        EXPECT_TRUE(held(afterFirst));
    }
}

TEST(InstanceLock, LaterStartsAndCommandsReadThePortOfTheHolderOnly) {
    TempFolder temp;
    std::string data = temp.file("Kvillo");
    auto portSeen = [&] {
        auto outcome = InstanceLock::acquire(data, temp.path());
        return std::get<RunningInstance>(outcome).mcpPort;
    };
    std::string portFile;
    {
        auto first = InstanceLock::acquire(data, temp.path());
        ASSERT_TRUE(held(first));
        portFile = held(first)->files().portFile;
        EXPECT_EQ(portSeen(), std::nullopt);
        EXPECT_EQ(held(first)->publishMcpPort(4321), std::nullopt);
        EXPECT_EQ(portSeen(), 4321);
        EXPECT_EQ(InstanceLock::runningMcpPort(data, temp.path()), 4321);
        EXPECT_EQ(held(first)->publishMcpPort(4322), std::nullopt);
        auto outcome = InstanceLock::acquire(data, temp.path());
        EXPECT_EQ(std::get<RunningInstance>(outcome).describe(),
                  "Kvillo is already running (MCP server on http://localhost:4322/mcp)");
    }
    // As a holder killed before it could remove the file leaves it.
    testing::writeFile(portFile, "4321\n");
    EXPECT_EQ(InstanceLock::runningMcpPort(data, temp.path()), std::nullopt);
    {
        auto probe = InstanceLock::acquire(data, temp.path());
        EXPECT_TRUE(held(probe));  // the look left the lock free
    }
    testing::writeFile(portFile, "4321\n");
    auto next = InstanceLock::acquire(data, temp.path());
    ASSERT_TRUE(held(next));
    EXPECT_EQ(portSeen(), std::nullopt);
    auto outcome = InstanceLock::acquire(data, temp.path());
    EXPECT_EQ(std::get<RunningInstance>(outcome).describe(), "Kvillo is already running");
}

TEST(InstanceLock, ShowRequestsArriveAsTheSignalEvenOverAStaleSocket) {
    testing::ensureCoreApplication();
    TempFolder temp;
    std::string data = temp.file("Kvillo");
    std::string socketFile;
    {
        auto gone = InstanceLock::acquire(data, temp.path());
        ASSERT_TRUE(held(gone));
        socketFile = held(gone)->files().socketFile;
    }
    leaveStaleSocket(socketFile);

    auto first = InstanceLock::acquire(data, temp.path());
    ASSERT_TRUE(held(first));
    int requests = 0;
    QObject::connect(held(first), &InstanceLock::showRequested, [&] { ++requests; });
    auto second = InstanceLock::acquire(data, temp.path());
    const auto& running = std::get<RunningInstance>(second);

    // One sent while the holder is still starting waits for its event loop.
    EXPECT_TRUE(running.requestShow());
    EXPECT_EQ(held(first)->listenForShowRequests(), std::nullopt);
    EXPECT_TRUE(testing::processEventsUntil([&] { return requests == 1; }, 5s));
    EXPECT_TRUE(running.requestShow());
    EXPECT_TRUE(testing::processEventsUntil([&] { return requests == 2; }, 5s));

    std::get<std::unique_ptr<InstanceLock>>(first).reset();
    EXPECT_FALSE(std::filesystem::exists(socketFile));
    EXPECT_FALSE(running.requestShow());
}

TEST(InstanceLock, AFolderThatCannotBeMadeIsAnError) {
    TempFolder temp;
    testing::writeFile(temp.file("data"), "not a folder");
    auto outcome = InstanceLock::acquire(temp.file("data/Kvillo"), "");
    ASSERT_TRUE(std::holds_alternative<InstanceLockError>(outcome));
    EXPECT_EQ(std::get<InstanceLockError>(outcome).message,
              "cannot open the lock file " + temp.file("data/Kvillo/instance.lock") +
                  ": Not a directory");
}

}  // namespace
}  // namespace kvillo
