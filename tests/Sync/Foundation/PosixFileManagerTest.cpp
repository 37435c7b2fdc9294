#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Sync/Foundation/PosixFileManager.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

using test::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

using Instant = std::chrono::sys_time<std::chrono::nanoseconds>;

class PosixFileManagerFiles : public testing::Test {
protected:
    TemporaryFolder folder;
    PosixFileManager manager;
};

// Reading.

TEST_F(PosixFileManagerFiles, ListsNamesBytewise)
{
    for (const char* name : {"b", "a", "B", "\xC3\xA4", ".hidden", "a.x"})
        folder.write(name, "");
    EXPECT_EQ(manager.listDirectory(folder.path()),
              (std::vector<std::string>{".hidden", "B", "a", "a.x", "b", "\xC3\xA4"}));
}

TEST_F(PosixFileManagerFiles, ListsNothingButTellsWhyThereIsNothing)
{
    folder.makeFolder("empty");
    folder.write("file", "");
    EXPECT_EQ(manager.listDirectory(folder.path("empty")), std::vector<std::string>());
    EXPECT_EQ(manager.listDirectory(folder.path("missing")), std::nullopt);
    EXPECT_EQ(manager.listDirectory(folder.path("file")), std::nullopt);
    EXPECT_THAT(manager.directoryContentsAtPath(folder.path("missing")), IsEmpty());
}

/// Somebody who may not do everything, as root may.
class AsSomebody {
public:
    AsSomebody() : _isRoot(::geteuid() == 0)
    {
        constexpr uid_t kNobody = 65534;
        if (_isRoot) {
            EXPECT_EQ(::seteuid(kNobody), 0);
        }
    }
    ~AsSomebody()
    {
        if (_isRoot) {
            EXPECT_EQ(::seteuid(0), 0);
        }
    }
    AsSomebody(const AsSomebody&) = delete;
    AsSomebody& operator=(const AsSomebody&) = delete;

private:
    bool _isRoot;
};

TEST_F(PosixFileManagerFiles, WhatCannotBeAskedAboutMayBeThere)
{
    folder.write("closed/file", "");
    ::chmod(folder.path().c_str(), 0755);
    ::chmod(folder.path("closed").c_str(), 0);
    {
        const AsSomebody somebody;
        for (const auto& status : {manager.statusAtPath(folder.path("closed/file")),
                                   manager.linkStatusAtPath(folder.path("closed/other"))}) {
            ASSERT_TRUE(status);
            EXPECT_EQ(status->kind, FileStatus::Kind::unknown);
        }
        EXPECT_FALSE(manager.statusAtPath(folder.path("nowhere")));
        EXPECT_FALSE(manager.statusAtPath(folder.path("nowhere/at/all")));
    }
    ::chmod(folder.path("closed").c_str(), 0755);
}

TEST_F(PosixFileManagerFiles, NamesEntriesWithTheStatusOfEach)
{
    folder.write("a", "12345");
    folder.makeFolder("b");
    std::filesystem::create_symlink("nowhere", folder.path("c"));
    const auto entries = manager.directoryEntriesAtPath(folder.path());
    ASSERT_EQ(entries.size(), 3U);
    for (const DirectoryEntry& entry : entries) {
        const auto status = manager.linkStatusAtPath(folder.path(entry.name));
        ASSERT_TRUE(status) << entry.name;
        EXPECT_EQ(entry.status.kind, status->kind);
        EXPECT_EQ(entry.status.inode, status->inode);
        EXPECT_EQ(entry.status.modified, status->modified);
    }
    EXPECT_EQ(entries[0].status.size, 5U);
    EXPECT_EQ(entries[1].status.kind, FileStatus::Kind::directory);
    EXPECT_EQ(entries[2].status.kind, FileStatus::Kind::symbolicLink);
    EXPECT_THAT(manager.directoryEntriesAtPath(folder.path("missing")), IsEmpty());
    EXPECT_THAT(manager.directoryEntriesAtPath(folder.path("a")), IsEmpty());
}

TEST_F(PosixFileManagerFiles, ReadsWholeFiles)
{
    for (const std::size_t size :
         {0, 1, 15, 16, 4095, 4096, 4097, 65'535, 65'536, 65'537, 300'000, 5'000'000}) {
        std::string bytes(size, 'x');
        for (std::size_t place = 0; place < size; place += 997)
            bytes[place] = static_cast<char>(place / 997);
        folder.write("file", bytes);
        EXPECT_EQ(manager.contentsAtPath(folder.path("file")), bytes) << size;
    }
    folder.write("odd", std::string("\0\xFF\r\n", 4));
    EXPECT_EQ(manager.contentsAtPath(folder.path("odd")), std::string("\0\xFF\r\n", 4));
}

TEST_F(PosixFileManagerFiles, ReadsFilesWhoseSizeIsNotKnown)
{
    const auto contents = manager.contentsAtPath("/proc/self/status");
    ASSERT_TRUE(contents.has_value());
    EXPECT_GT(contents->size(), 100U);
    EXPECT_TRUE(contents->ends_with("\n"));
}

TEST_F(PosixFileManagerFiles, ReadsNothingThatIsNoFile)
{
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(manager.contentsAtPath(folder.path("pipe")), std::nullopt);
    EXPECT_EQ(manager.contentsAtPath(folder.path()), std::nullopt);
    EXPECT_EQ(manager.contentsAtPath(folder.path("missing")), std::nullopt);
    EXPECT_EQ(manager.contentsAtPath("/dev/zero"), std::nullopt);
}

TEST_F(PosixFileManagerFiles, TellsTheStatusOfAnItemAndOfItsLink)
{
    folder.write("file", "12345");
    ASSERT_EQ(::chmod(folder.path("file").c_str(), 0640), 0);
    std::filesystem::create_symlink("file", folder.path("link"));
    std::filesystem::create_symlink("missing", folder.path("dangling"));

    const auto file = manager.statusAtPath(folder.path("file"));
    ASSERT_TRUE(file.has_value());
    EXPECT_EQ(file->kind, FileStatus::Kind::file);
    EXPECT_EQ(file->size, 5U);
    EXPECT_EQ(file->permissions, 0640U);
    EXPECT_EQ(manager.statusAtPath(folder.path("link"))->kind, FileStatus::Kind::file);
    EXPECT_EQ(manager.linkStatusAtPath(folder.path("link"))->kind, FileStatus::Kind::symbolicLink);
    EXPECT_EQ(manager.statusAtPath(folder.path())->kind, FileStatus::Kind::directory);
    EXPECT_EQ(manager.statusAtPath("/dev/null")->kind, FileStatus::Kind::other);
    EXPECT_EQ(manager.statusAtPath(folder.path("dangling")), std::nullopt);
    EXPECT_TRUE(manager.linkStatusAtPath(folder.path("dangling")).has_value());
    EXPECT_EQ(manager.linkStatusAtPath(folder.path("missing")), std::nullopt);
    EXPECT_TRUE(manager.isDirectory(folder.path()));
    EXPECT_FALSE(manager.isDirectory(folder.path("file")));
    EXPECT_FALSE(manager.fileExistsAtPath(folder.path("missing")));
}

// Writing.

TEST_F(PosixFileManagerFiles, WritesAFileAndNothingBeside)
{
    EXPECT_TRUE(manager.writeAtomically("first", folder.path("a.txt")));
    EXPECT_TRUE(manager.writeAtomically(std::string("sec\0nd", 6), folder.path("a.txt")));
    EXPECT_THAT(folder.tree(), ElementsAre(Pair("a.txt", std::string("sec\0nd", 6))));
    EXPECT_TRUE(manager.writeAtomically("", folder.path("a.txt")));
    EXPECT_THAT(folder.tree(), ElementsAre(Pair("a.txt", "")));
}

TEST_F(PosixFileManagerFiles, KeepsThePermissionsOfTheOldFile)
{
    folder.write("a.txt", "old");
    ASSERT_EQ(::chmod(folder.path("a.txt").c_str(), 0604), 0);
    EXPECT_TRUE(manager.writeAtomically("new", folder.path("a.txt")));
    EXPECT_EQ(manager.statusAtPath(folder.path("a.txt"))->permissions, 0604U);
}

TEST_F(PosixFileManagerFiles, TakesTheUsersMaskForANewFile)
{
    const mode_t before = ::umask(027);
    EXPECT_TRUE(manager.writeAtomically("new", folder.path("a.txt")));
    EXPECT_TRUE(manager.createDirectoryAtPath(folder.path("folder")));
    ::umask(before);
    EXPECT_EQ(manager.statusAtPath(folder.path("a.txt"))->permissions, 0640U);
    EXPECT_EQ(manager.statusAtPath(folder.path("folder"))->permissions, 0750U);
}

TEST_F(PosixFileManagerFiles, LeavesOthersThatHaveTheOldFileOpenWithTheOldFile)
{
    folder.write("a.txt", "old");
    std::ifstream reader(folder.path("a.txt"));
    EXPECT_TRUE(manager.writeAtomically("new", folder.path("a.txt")));
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "old");
}

TEST_F(PosixFileManagerFiles, WritesThroughALink)
{
    folder.write("real/a.txt", "old");
    std::filesystem::create_symlink("real/a.txt", folder.path("link"));
    EXPECT_TRUE(manager.writeAtomically("new", folder.path("link")));
    EXPECT_THAT(folder.tree(),
                ElementsAre(Pair("link", "-> real/a.txt"), Pair("real/a.txt", "new")));
}

TEST_F(PosixFileManagerFiles, LeavesNothingBehindWhenItCannotWrite)
{
    folder.write("taken/x", "x");
    EXPECT_FALSE(manager.writeAtomically("new", folder.path("taken")));
    EXPECT_FALSE(manager.writeAtomically("new", folder.path("missing/a.txt")));
    EXPECT_FALSE(manager.writeAtomically("new", folder.path(std::string(256, 'x'))));
    EXPECT_THAT(folder.tree(), ElementsAre(Pair("taken/x", "x")));
}

TEST_F(PosixFileManagerFiles, WritesTheLongestName)
{
    const std::string name(255, 'x');
    EXPECT_TRUE(manager.writeAtomically("new", folder.path(name)));
    EXPECT_THAT(folder.tree(), ElementsAre(Pair(name, "new")));
}

TEST_F(PosixFileManagerFiles, LeavesAloneWhatAKilledRunLeft)
{
    folder.write("a.txt", "old");
    // All names that this process could choose next: it gives up rather than take one of them.
    constexpr int kCount = 1000;
    const auto leftName = [](int number) {
        return ".a.txt.tmp-" + std::to_string(::getpid()) + "-" + std::to_string(number);
    };
    for (int number = 0; number < kCount; ++number)
        folder.write(leftName(number), "left");
    EXPECT_FALSE(manager.writeAtomically("new", folder.path("a.txt")));
    EXPECT_EQ(folder.read("a.txt"), "old");
    for (int number = 0; number < kCount; ++number)
        ASSERT_EQ(folder.read(leftName(number)), "left");
}

TEST_F(PosixFileManagerFiles, CreatesOneFolder)
{
    EXPECT_TRUE(manager.createDirectoryAtPath(folder.path("a")));
    EXPECT_FALSE(manager.createDirectoryAtPath(folder.path("a")));
    EXPECT_FALSE(manager.createDirectoryAtPath(folder.path("b/c")));
    EXPECT_THAT(folder.tree(), ElementsAre(Pair("a/", "")));
}

TEST_F(PosixFileManagerFiles, SetsPermissionsAndDates)
{
    folder.write("a", "");
    EXPECT_TRUE(manager.setPermissions(0400, folder.path("a")));
    EXPECT_EQ(manager.statusAtPath(folder.path("a"))->permissions, 0400U);
    const Instant instant(std::chrono::seconds(1'198'486'800) +
                          std::chrono::nanoseconds(123'456'789));
    EXPECT_TRUE(manager.setModificationDate(instant, folder.path("a")));
    EXPECT_EQ(manager.statusAtPath(folder.path("a"))->modified, instant);
    EXPECT_FALSE(manager.setPermissions(0400, folder.path("missing")));
    EXPECT_FALSE(manager.setModificationDate(instant, folder.path("missing")));
}

TEST_F(PosixFileManagerFiles, SynchronizesTheFileSystemOfAPath)
{
    EXPECT_TRUE(manager.synchronizeFileSystem(folder.path()));
    EXPECT_FALSE(manager.synchronizeFileSystem(folder.path("missing")));
}

}  // namespace
}  // namespace kt
