#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>

#include "core/files/atomic_file.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

namespace fs = std::filesystem;
using testing::readFile;
using testing::TempFolder;
using testing::writeFile;

mode_t modeOf(const std::string& path) {
    struct stat info {};
    ::stat(path.c_str(), &info);
    return info.st_mode & 07777;
}

// Temporary files left behind would show up here.
long entriesIn(const std::string& folder) {
    return std::distance(fs::directory_iterator(folder), {});
}

TEST(WriteFileAtomically, LinksAreFollowedAndTheTargetsModeKept) {
    struct Row {
        const char* name;
        void (*layout)(const TempFolder&);  // `path` is "at", the written file "file"
        const char* path;
        mode_t mode;  // of "file" afterwards
    };
    const Row rows[] = {
        {"a new file gets the given mode", [](const TempFolder&) {}, "file", 0640},
        {"an existing file keeps its mode",
         [](const TempFolder& f) {
             writeFile(f.file("file"), "old");
             fs::permissions(f.file("file"), fs::perms(0604));
         },
         "file", 0604},
        {"a relative link is kept and its target replaced",
         [](const TempFolder& f) {
             fs::create_directory(f.file("sub"));
             writeFile(f.file("file"), "old");
             fs::permissions(f.file("file"), fs::perms(0600));
             fs::create_symlink("../file", f.file("sub/at"));
         },
         "sub/at", 0600},
        {"a chain of links, absolute then relative",
         [](const TempFolder& f) {
             writeFile(f.file("file"), "old");
             fs::permissions(f.file("file"), fs::perms(0644));
             fs::create_symlink("file", f.file("middle"));
             fs::create_symlink(f.file("middle"), f.file("at"));
         },
         "at", 0644},
        {"a dangling link creates its target",
         [](const TempFolder& f) { fs::create_symlink("file", f.file("at")); }, "at", 0640},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        TempFolder folder;
        row.layout(folder);
        long entries = entriesIn(folder.path()) + (fs::exists(folder.file("file")) ? 0 : 1);
        bool link = fs::is_symlink(folder.file(row.path));

        ASSERT_FALSE(writeFileAtomically(folder.file(row.path), "new\n", 0640));
        EXPECT_EQ(readFile(folder.file("file")), "new\n");
        EXPECT_EQ(modeOf(folder.file("file")), row.mode);
        EXPECT_EQ(fs::is_symlink(folder.file(row.path)), link);
        EXPECT_EQ(entriesIn(folder.path()), entries);
    }
}

TEST(WriteFileAtomically, FailuresNameThePathAndLeaveTheOldFile) {
    TempFolder folder;
    fs::create_directory(folder.file("folder"));
    fs::create_symlink("loop", folder.file("loop"));
    EXPECT_EQ(writeFileAtomically(folder.file("folder"), "x", 0644)->error().value(), EISDIR);
    EXPECT_EQ(writeFileAtomically(folder.file("loop"), "x", 0644)->error().value(), ELOOP);
    auto missing = writeFileAtomically(folder.file("none/file"), "x", 0644);
    ASSERT_TRUE(missing);
    EXPECT_EQ(missing->message(),
              "cannot write " + folder.file("none/file") + ": No such file or directory");

    // A write cut short, as by a full disk: a file size limit binds root too.
    std::string file = folder.file("file");
    writeFile(file, "old");
    auto cutShort = testing::withFileSizeLimit(
        16, [&] { return writeFileAtomically(file, std::string(4096, 'x'), 0644); });
    ASSERT_TRUE(cutShort);
    EXPECT_EQ(cutShort->error().value(), EFBIG);
    EXPECT_EQ(readFile(file), "old");
    EXPECT_EQ(entriesIn(folder.path()), 3);
}

TEST(WriteFileAtomically, AnotherUserWithoutWriteAccessGetsAnErrorNamingTheLink) {
    TempFolder folder;
    writeFile(folder.file("file"), "old");
    fs::create_symlink("file", folder.file("link"));
    fs::permissions(folder.path(), fs::perms(0555));
    auto message = testing::runAsAnotherUser([&] {
        auto error = writeFileAtomically(folder.file("link"), "new", 0644);
        return error ? error->message() : "written";
    });
    fs::permissions(folder.path(), fs::perms(0700));

    EXPECT_EQ(message, "cannot write " + folder.file("link") + ": Permission denied");
    EXPECT_EQ(readFile(folder.file("file")), "old");
    EXPECT_TRUE(fs::is_symlink(folder.file("link")));
    EXPECT_EQ(entriesIn(folder.path()), 2);
}

}  // namespace
}  // namespace kvillo
