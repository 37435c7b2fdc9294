#include <memory>
#include <set>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/MemoryFileManager.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

using test::MemoryFileManager;
using test::TemporaryFolder;
using testing::ElementsAre;
using testing::Optional;

using Instant = std::chrono::sys_time<std::chrono::nanoseconds>;

const Instant kLongAgo(std::chrono::seconds(1'198'486'800));

enum class Disk { real, inMemory };

// What every file manager does alike; tests that drive the product over a disk in memory stand on
// it.
class FileManagerContract : public testing::TestWithParam<Disk> {
protected:
    FileManagerContract()
    {
        if (GetParam() == Disk::real)
            manager = makePosixFileManager();
        else
            manager = std::make_shared<MemoryFileManager>();
        if (GetParam() == Disk::inMemory)
            manager->createDirectoryAtPath("/disk");
    }
    std::string path(const std::string& relative) const
    {
        return (GetParam() == Disk::real ? _folder.path() : "/disk") + "/" + relative;
    }
    void write(const std::string& relative, const std::string& bytes) const
    {
        ASSERT_TRUE(manager->writeAtomically(bytes, path(relative)));
    }
    void makeFolder(const std::string& relative) const
    {
        ASSERT_TRUE(manager->createDirectoryAtPath(path(relative)));
    }
    std::optional<std::string> read(const std::string& relative) const
    {
        return manager->contentsAtPath(path(relative));
    }
    FileStatus status(const std::string& relative) const
    {
        return manager->statusAtPath(path(relative)).value_or(FileStatus{});
    }
    void makeSmallTree() const
    {
        makeFolder("from");
        makeFolder("from/deep");
        write("from/a", "first");
        write("from/deep/b", "second");
    }

    std::shared_ptr<FileManager> manager;

private:
    TemporaryFolder _folder;
};

INSTANTIATE_TEST_SUITE_P(Disks, FileManagerContract, testing::Values(Disk::real, Disk::inMemory),
                         [](const auto& row) {
                             return row.param == Disk::real ? "Real" : "InMemory";
                         });

TEST_P(FileManagerContract, ListsNamesBytewise)
{
    for (const char* name : {"b", "B", "ä", "a", ".hidden"})
        write(name, "");
    EXPECT_THAT(manager->listDirectory(path("")),
                Optional(ElementsAre(".hidden", "B", "a", "b", "ä")));
}

TEST_P(FileManagerContract, ListsFoldersOnly)
{
    write("file", "");
    EXPECT_EQ(manager->listDirectory(path("file")), std::nullopt);
    EXPECT_EQ(manager->listDirectory(path("missing")), std::nullopt);
    EXPECT_TRUE(manager->directoryEntriesAtPath(path("missing")).empty());
}

TEST_P(FileManagerContract, NamesEntriesWithTheStatusOfEach)
{
    makeFolder("folder");
    write("file", "12345");
    const auto entries = manager->directoryEntriesAtPath(path(""));
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].name, "file");
    EXPECT_EQ(entries[0].status.size, 5U);
    EXPECT_EQ(entries[0].status.inode, status("file").inode);
    EXPECT_EQ(entries[1].status.kind, FileStatus::Kind::directory);
}

TEST_P(FileManagerContract, ReadsFilesOnly)
{
    makeFolder("folder");
    write("file", std::string("a\0b", 3));
    EXPECT_EQ(read("file"), std::string("a\0b", 3));
    EXPECT_EQ(read("folder"), std::nullopt);
    EXPECT_EQ(read("missing"), std::nullopt);
    EXPECT_EQ(read("file/below"), std::nullopt);
}

TEST_P(FileManagerContract, ReadsAFileAndItsStatusAtOnce)
{
    makeFolder("folder");
    write("file", "12345");
    const auto contents = manager->contentsAndStatusAtPath(path("file"));
    ASSERT_TRUE(contents);
    EXPECT_EQ(contents->bytes, "12345");
    EXPECT_EQ(contents->status.size, 5U);
    EXPECT_EQ(contents->status.inode, status("file").inode);
    EXPECT_EQ(contents->status.changed, status("file").changed);
    EXPECT_FALSE(manager->contentsAndStatusAtPath(path("folder")));
    EXPECT_FALSE(manager->contentsAndStatusAtPath(path("missing")));
}

TEST_P(FileManagerContract, SaysThatAFileChangedWhateverItsDateIsSetTo)
{
    using namespace std::chrono_literals;
    write("file", "old");
    ASSERT_TRUE(manager->setModificationDate(kLongAgo, path("file")));
    const auto before = status("file").changed;
    std::this_thread::sleep_for(20ms);  // file systems count time in steps
    ASSERT_TRUE(manager->setModificationDate(kLongAgo, path("file")));
    EXPECT_GT(status("file").changed, before);
}

TEST_P(FileManagerContract, WritesAFileAndNothingBeside)
{
    write("file", "old");
    write("file", "new");
    EXPECT_EQ(read("file"), "new");
    EXPECT_THAT(manager->listDirectory(path("")), Optional(ElementsAre("file")));
}

TEST_P(FileManagerContract, WritesANewFileWithTheOldPermissions)
{
    write("file", "old");
    ASSERT_TRUE(manager->setPermissions(0600, path("file")));
    const FileStatus before = status("file");
    write("file", "new");
    EXPECT_EQ(status("file").permissions, 0600U);
    EXPECT_NE(status("file").inode, before.inode);
    EXPECT_GE(status("file").modified, before.modified);
}

TEST_P(FileManagerContract, WritesNoFileWhereNoneCanStand)
{
    makeFolder("folder");
    write("file", "");
    EXPECT_FALSE(manager->writeAtomically("", path("missing/file")));
    EXPECT_FALSE(manager->writeAtomically("", path("file/below")));
    EXPECT_FALSE(manager->writeAtomically("", path("folder")));
    EXPECT_FALSE(manager->writeAtomically("", path(std::string(256, 'n'))));
    EXPECT_THAT(manager->listDirectory(path("")), Optional(ElementsAre("file", "folder")));
    EXPECT_THAT(manager->listDirectory(path("folder")), Optional(ElementsAre()));
}

TEST_P(FileManagerContract, CreatesOneFolderWhereNothingStands)
{
    EXPECT_TRUE(manager->createDirectoryAtPath(path("folder")));
    EXPECT_FALSE(manager->createDirectoryAtPath(path("folder")));
    EXPECT_FALSE(manager->createDirectoryAtPath(path("missing/folder")));
    EXPECT_TRUE(manager->isDirectory(path("folder")));
    EXPECT_TRUE(manager->isDirectory(path("folder/")));
}

TEST_P(FileManagerContract, DatesAFolderAnewWhenItsEntriesChange)
{
    makeFolder("folder");
    const auto expectNewDate = [&](const std::function<void()>& change) {
        ASSERT_TRUE(manager->setModificationDate(kLongAgo, path("folder")));
        change();
        EXPECT_NE(status("folder").modified, kLongAgo);
    };
    expectNewDate([&] { write("folder/file", ""); });
    expectNewDate([&] { write("folder/file", "again"); });
    expectNewDate([&] { makeFolder("folder/below"); });
    expectNewDate([&] { manager->movePath(path("folder/file"), path("file")); });
    expectNewDate([&] { manager->removeFileAtPath(path("folder/below")); });
}

TEST_P(FileManagerContract, CopiesWithTimesAndPermissions)
{
    makeSmallTree();
    ASSERT_TRUE(manager->setPermissions(0640, path("from/a")));
    for (const char* name : {"from/a", "from/deep", "from"})
        ASSERT_TRUE(manager->setModificationDate(kLongAgo, path(name)));
    ASSERT_TRUE(manager->copyPath(path("from"), path("to")));
    EXPECT_EQ(read("to/a"), "first");
    EXPECT_EQ(read("to/deep/b"), "second");
    EXPECT_EQ(status("to/a").permissions, 0640U);
    for (const char* name : {"to/a", "to/deep", "to"})
        EXPECT_EQ(status(name).modified, kLongAgo) << name;
    EXPECT_NE(status("to/a").inode, status("from/a").inode);
}

TEST_P(FileManagerContract, CopiesAndMovesOntoNothingThatStandsThere)
{
    makeSmallTree();
    write("file", "");
    for (const char* target : {"file", "from/deep", "from/deep/below", "missing/below"}) {
        EXPECT_FALSE(manager->copyPath(path("from"), path(target))) << target;
        EXPECT_FALSE(manager->movePath(path("from"), path(target))) << target;
    }
    EXPECT_FALSE(manager->copyPath(path("missing"), path("to")));
    EXPECT_FALSE(manager->movePath(path("missing"), path("to")));
    EXPECT_EQ(read("from/deep/b"), "second");
}

TEST_P(FileManagerContract, MovesWhatStaysTheSame)
{
    makeSmallTree();
    const FileStatus file = status("from/deep/b");
    ASSERT_TRUE(manager->movePath(path("from"), path("to")));
    EXPECT_FALSE(manager->fileExistsAtPath(path("from")));
    EXPECT_EQ(read("to/deep/b"), "second");
    EXPECT_EQ(status("to/deep/b").inode, file.inode);
    EXPECT_EQ(status("to/deep/b").modified, file.modified);
}

TEST_P(FileManagerContract, RemovesWithAllThatIsBelow)
{
    makeSmallTree();
    EXPECT_TRUE(manager->removeFileAtPath(path("from")));
    EXPECT_FALSE(manager->removeFileAtPath(path("from")));
    EXPECT_THAT(manager->listDirectory(path("")), Optional(ElementsAre()));
}

TEST_P(FileManagerContract, ChangesNoAttributesOfWhatIsNotThere)
{
    EXPECT_FALSE(manager->setPermissions(0600, path("missing")));
    EXPECT_FALSE(manager->setModificationDate(kLongAgo, path("missing")));
    EXPECT_FALSE(manager->synchronizeFileSystem(path("missing")));
    EXPECT_TRUE(manager->synchronizeFileSystem(path("")));
}

// What only the disk in memory can do.

class MemoryDisk : public testing::Test {
protected:
    MemoryDisk()
    {
        disk.createDirectoryAtPath("/store");
        disk.writeAtomically("old", "/store/file");
    }
    void failAtStep(int number)
    {
        disk.setFault([this, number](const std::string& step) {
            steps.push_back(step);
            return static_cast<int>(steps.size()) != number;
        });
    }

    MemoryFileManager disk;
    std::vector<std::string> steps;
};

TEST_F(MemoryDisk, PutsASnapshotBackWithItsTimes)
{
    const auto before = disk.statusAtPath("/store/file");
    const auto snapshot = disk.snapshot("/store");
    disk.writeAtomically("new", "/store/file");
    disk.writeAtomically("new", "/store/other");
    disk.restore(snapshot, "/store");
    EXPECT_EQ(disk.contentsAtPath("/store/file"), "old");
    EXPECT_FALSE(disk.fileExistsAtPath("/store/other"));
    EXPECT_EQ(disk.statusAtPath("/store/file")->modified, before->modified);
    EXPECT_NE(disk.statusAtPath("/store/file")->inode, before->inode);
}

TEST_F(MemoryDisk, KeepsASnapshotThroughLaterChanges)
{
    const auto snapshot = disk.snapshot("/store");
    disk.setPermissions(0600, "/store/file");
    disk.writeAtomically("new", "/store/file");
    for (int round = 0; round < 2; ++round) {
        disk.restore(snapshot, "/store");
        EXPECT_EQ(disk.contentsAtPath("/store/file"), "old");
        EXPECT_EQ(disk.statusAtPath("/store/file")->permissions, 0644U);
        disk.removeFileAtPath("/store/file");
    }
}

TEST_F(MemoryDisk, DescribesWhateverAChangeWouldChange)
{
    std::set<std::map<std::string, std::string>> descriptions{disk.description("/store")};
    disk.setPermissions(0600, "/store/file");
    descriptions.insert(disk.description("/store"));
    disk.setModificationDate(kLongAgo, "/store/file");
    descriptions.insert(disk.description("/store"));
    disk.writeAtomically("old", "/store/file");
    descriptions.insert(disk.description("/store"));
    EXPECT_EQ(descriptions.size(), 4U);
    EXPECT_EQ(disk.description("/store"), disk.description("/store"));
}

TEST_F(MemoryDisk, FailsAtTheStepThatIsToFailAndTidiesUp)
{
    failAtStep(2);
    EXPECT_FALSE(disk.writeAtomically("new", "/store/file"));
    EXPECT_THAT(steps, ElementsAre("write /store/file", "rename .file.tmp-2 -> /store/file"));
    EXPECT_EQ(disk.contentsAtPath("/store/file"), "old");
    EXPECT_THAT(disk.listDirectory("/store"), Optional(ElementsAre("file")));
}

TEST_F(MemoryDisk, LeavesHalfOfWhatIsKilledBehind)
{
    struct Killed {};
    disk.setFault([](const std::string& step) -> bool {
        if (step.starts_with("rename"))
            throw Killed();
        return true;
    });
    EXPECT_THROW(disk.writeAtomically("new", "/store/file"), Killed);
    EXPECT_EQ(disk.contentsAtPath("/store/file"), "old");
    EXPECT_THAT(disk.listDirectory("/store"), Optional(ElementsAre(".file.tmp-2", "file")));
}

TEST_F(MemoryDisk, TakesWholeTreesStepByStep)
{
    disk.writeAtomically("", "/store/other");
    failAtStep(3);
    EXPECT_FALSE(disk.copyPath("/store", "/copy"));
    EXPECT_THAT(disk.listDirectory("/copy"), Optional(ElementsAre("file")));
    steps.clear();
    failAtStep(2);
    EXPECT_FALSE(disk.removeFileAtPath("/store"));
    EXPECT_THAT(disk.listDirectory("/store"), Optional(ElementsAre("other")));
}

TEST_F(MemoryDisk, TellsTimeByItsClockAndNeverTwiceTheSame)
{
    Instant clock = kLongAgo;
    MemoryFileManager clocked([&] { return clock; });
    clocked.createDirectoryAtPath("/a");
    clocked.createDirectoryAtPath("/b");
    EXPECT_LT(clocked.statusAtPath("/a")->modified, clocked.statusAtPath("/b")->modified);
    clock += std::chrono::hours(1);
    clocked.createDirectoryAtPath("/c");
    EXPECT_EQ(clocked.statusAtPath("/c")->modified, clock);
}

}  // namespace
}  // namespace kt
