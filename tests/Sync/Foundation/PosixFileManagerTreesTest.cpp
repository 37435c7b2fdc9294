#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Sync/Foundation/PosixFileManager.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/ValuePrinting.h"

namespace kt {
namespace {

using test::TemporaryFolder;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using Instant = std::chrono::sys_time<std::chrono::nanoseconds>;

const Instant kLongAgo(std::chrono::seconds(1'198'486'800));

class RecordingHandler : public FileManagerHandler {
public:
    explicit RecordingHandler(bool answer) : _answer(answer) {}

    bool fileManager(FileManager&, const Dictionary& error) override
    {
        _errors.push_back(error);
        return _answer;
    }
    const std::vector<Dictionary>& errors() const { return _errors; }

private:
    bool _answer;
    std::vector<Dictionary> _errors;
};

class PosixFileManagerTrees : public testing::Test {
protected:
    /// A pipe is an item that cannot be copied.
    void makePipe(const std::string& name)
    {
        ASSERT_EQ(::mkfifo(folder.path(name).c_str(), 0600), 0);
    }

    TemporaryFolder folder;
    PosixFileManager manager;
};

// Copying.

TEST_F(PosixFileManagerTrees, CopiesFilesFoldersAndLinks)
{
    folder.write("from/a.txt", "a");
    folder.write("from/deep/er/b.bin", std::string(200'000, '\0'));
    folder.makeFolder("from/empty");
    std::filesystem::create_symlink("../elsewhere", folder.path("from/link"));
    EXPECT_TRUE(manager.copyPath(folder.path("from"), folder.path("to"), nullptr));
    EXPECT_THAT(folder.tree(),
                ElementsAre(Pair("from/a.txt", "a"),
                            Pair("from/deep/er/b.bin", std::string(200'000, '\0')),
                            Pair("from/empty/", ""), Pair("from/link", "-> ../elsewhere"),
                            Pair("to/a.txt", "a"),
                            Pair("to/deep/er/b.bin", std::string(200'000, '\0')),
                            Pair("to/empty/", ""), Pair("to/link", "-> ../elsewhere")));
}

TEST_F(PosixFileManagerTrees, CopiesASingleFile)
{
    folder.write("a.txt", "a");
    EXPECT_TRUE(manager.copyPath(folder.path("a.txt"), folder.path("b.txt"), nullptr));
    EXPECT_EQ(folder.read("b.txt"), "a");
}

TEST_F(PosixFileManagerTrees, KeepsTimesAndPermissionsInTheCopy)
{
    folder.write("from/a.txt", "a");
    EXPECT_TRUE(manager.setPermissions(0440, folder.path("from/a.txt")));
    EXPECT_TRUE(manager.setModificationDate(kLongAgo, folder.path("from/a.txt")));
    EXPECT_TRUE(manager.setPermissions(0550, folder.path("from")));
    EXPECT_TRUE(manager.setModificationDate(kLongAgo, folder.path("from")));
    EXPECT_TRUE(manager.copyPath(folder.path("from"), folder.path("to"), nullptr));
    for (const char* name : {"to", "to/a.txt"}) {
        const auto status = manager.statusAtPath(folder.path(name));
        ASSERT_TRUE(status.has_value());
        EXPECT_EQ(status->modified, kLongAgo) << name;
    }
    EXPECT_EQ(manager.statusAtPath(folder.path("to"))->permissions, 0550U);
    EXPECT_EQ(manager.statusAtPath(folder.path("to/a.txt"))->permissions, 0440U);
}

TEST_F(PosixFileManagerTrees, CopiesOntoNothingThatExists)
{
    folder.write("a.txt", "a");
    folder.write("b.txt", "b");
    std::filesystem::create_symlink("missing", folder.path("dangling"));
    RecordingHandler handler(true);
    EXPECT_FALSE(manager.copyPath(folder.path("a.txt"), folder.path("b.txt"), &handler));
    EXPECT_FALSE(manager.copyPath(folder.path("a.txt"), folder.path("dangling"), &handler));
    EXPECT_FALSE(manager.copyPath(folder.path("missing"), folder.path("c.txt"), &handler));
    EXPECT_EQ(folder.read("b.txt"), "b");
    EXPECT_THAT(handler.errors(), IsEmpty());
}

TEST_F(PosixFileManagerTrees, CopiesNoFolderIntoItself)
{
    folder.write("from/deep/a.txt", "a");
    std::filesystem::create_directory_symlink("from/deep", folder.path("detour"));
    const auto before = folder.tree();
    EXPECT_FALSE(manager.copyPath(folder.path("from"), folder.path("from/copy"), nullptr));
    EXPECT_FALSE(manager.copyPath(folder.path("from"), folder.path("from/deep/copy"), nullptr));
    EXPECT_FALSE(manager.copyPath(folder.path("from"), folder.path("detour/copy"), nullptr));
    EXPECT_EQ(folder.tree(), before);
    EXPECT_TRUE(manager.copyPath(folder.path("from"), folder.path("from-copy"), nullptr))
        << "only the name begins alike";
}

TEST_F(PosixFileManagerTrees, CopiesALinkToAFolderIntoThatFolder)
{
    folder.makeFolder("target");
    std::filesystem::create_directory_symlink("../target", folder.path("link"));
    EXPECT_TRUE(manager.copyPath(folder.path("link"), folder.path("target/link"), nullptr));
    EXPECT_THAT(folder.tree(), Contains(Pair("target/link", "-> ../target")));
}

TEST_F(PosixFileManagerTrees, GoesOnWithTheOtherItemsWhenTheHandlerSaysSo)
{
    folder.write("from/a", "a");
    makePipe("from/b");
    folder.write("from/c", "c");
    RecordingHandler handler(true);
    EXPECT_TRUE(manager.copyPath(folder.path("from"), folder.path("to"), &handler));
    EXPECT_EQ(folder.read("to/a"), "a");
    EXPECT_FALSE(folder.exists("to/b"));
    EXPECT_EQ(folder.read("to/c"), "c");
    EXPECT_THAT(handler.errors(), ElementsAre(Dictionary{{"Error", "Error copying"},
                                                         {"Path", folder.path("from/b")},
                                                         {"ToPath", folder.path("to/b")}}));
}

TEST_F(PosixFileManagerTrees, StopsAtTheFirstFailureOtherwise)
{
    folder.write("from/a", "a");
    makePipe("from/b");
    folder.write("from/c", "c");
    RecordingHandler handler(false);
    EXPECT_FALSE(manager.copyPath(folder.path("from"), folder.path("to"), &handler));
    EXPECT_EQ(handler.errors().size(), 1U);
    EXPECT_FALSE(manager.copyPath(folder.path("from"), folder.path("alone"), nullptr));
    for (const char* copy : {"to", "alone"}) {
        EXPECT_EQ(folder.read(copy + std::string("/a")), "a");
        EXPECT_FALSE(folder.exists(copy + std::string("/c")));
    }
}

// Moving.

TEST_F(PosixFileManagerTrees, MovesFilesAndFolders)
{
    folder.write("from/a.txt", "a");
    EXPECT_TRUE(manager.movePath(folder.path("from"), folder.path("to"), nullptr));
    EXPECT_THAT(folder.tree(), ElementsAre(Pair("to/a.txt", "a")));
}

TEST_F(PosixFileManagerTrees, MovesOntoNothingThatExists)
{
    folder.write("a.txt", "a");
    folder.write("b.txt", "b");
    EXPECT_FALSE(manager.movePath(folder.path("a.txt"), folder.path("b.txt"), nullptr));
    EXPECT_FALSE(manager.movePath(folder.path("missing"), folder.path("c.txt"), nullptr));
    EXPECT_FALSE(manager.movePath(folder.path("a.txt"), folder.path("missing/a.txt"), nullptr));
    EXPECT_THAT(folder.tree(), ElementsAre(Pair("a.txt", "a"), Pair("b.txt", "b")));
}

TEST_F(PosixFileManagerTrees, MovesNoFolderIntoItself)
{
    folder.write("from/a.txt", "a");
    EXPECT_FALSE(manager.movePath(folder.path("from"), folder.path("from/to"), nullptr));
    EXPECT_THAT(folder.tree(), ElementsAre(Pair("from/a.txt", "a")));
}

/// A second device, which a machine without shared memory on a file system of its own does not
/// have.
class PosixFileManagerDevices : public PosixFileManagerTrees {
protected:
    void SetUp() override
    {
        struct stat here {};
        struct stat there {};
        if (::stat(folder.path().c_str(), &here) != 0 || ::stat("/dev/shm", &there) != 0 ||
            here.st_dev == there.st_dev)
            GTEST_SKIP() << "there is no second device";
        std::string pattern = "/dev/shm/kt-test-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        other = pattern;
    }
    void TearDown() override
    {
        if (!other.empty())
            std::filesystem::remove_all(other);
    }

    std::string other;
};

TEST_F(PosixFileManagerDevices, MovesToAnotherDevice)
{
    folder.write("from/deep/a.txt", "a");
    EXPECT_TRUE(manager.setModificationDate(kLongAgo, folder.path("from/deep/a.txt")));
    EXPECT_TRUE(manager.movePath(folder.path("from"), other + "/to", nullptr));
    EXPECT_FALSE(folder.exists("from"));
    EXPECT_EQ(manager.contentsAtPath(other + "/to/deep/a.txt"), "a");
    EXPECT_EQ(manager.statusAtPath(other + "/to/deep/a.txt")->modified, kLongAgo);
}

TEST_F(PosixFileManagerDevices, RemovesNothingThatItCouldNotCopy)
{
    folder.write("from/a", "a");
    makePipe("from/b");
    folder.write("from/c", "c");
    RecordingHandler handler(true);
    EXPECT_FALSE(manager.movePath(folder.path("from"), other + "/to", &handler));
    EXPECT_EQ(folder.read("from/a"), "a");
    EXPECT_TRUE(folder.exists("from/b"));
    ASSERT_EQ(handler.errors().size(), 1U);
    EXPECT_EQ(handler.errors()[0]["Error"], Value("Error moving"));
    EXPECT_EQ(handler.errors()[0]["ToPath"], Value(other + "/to/b"));
}

// Removing.

TEST_F(PosixFileManagerTrees, RemovesFilesAndFolders)
{
    folder.write("a/deep/b", "b");
    folder.write("c", "c");
    EXPECT_TRUE(manager.removeFileAtPath(folder.path("a"), nullptr));
    EXPECT_TRUE(manager.removeFileAtPath(folder.path("c"), nullptr));
    EXPECT_FALSE(manager.removeFileAtPath(folder.path("c"), nullptr));
    EXPECT_THAT(folder.tree(), IsEmpty());
}

TEST_F(PosixFileManagerTrees, RemovesLinksAndNotWhereTheyLead)
{
    folder.write("keep/a", "a");
    folder.makeFolder("gone");
    std::filesystem::create_directory_symlink("../keep", folder.path("gone/link"));
    std::filesystem::create_symlink("missing", folder.path("dangling"));
    EXPECT_TRUE(manager.removeFileAtPath(folder.path("gone"), nullptr));
    EXPECT_TRUE(manager.removeFileAtPath(folder.path("dangling"), nullptr));
    EXPECT_THAT(folder.tree(), ElementsAre(Pair("keep/a", "a")));
}

TEST_F(PosixFileManagerTrees, AsksTheHandlerAboutWhatItCannotRemove)
{
    const std::string irremovable = "/proc/self/status";
    RecordingHandler goOn(true);
    EXPECT_TRUE(manager.removeFileAtPath(irremovable, &goOn));
    EXPECT_THAT(goOn.errors(),
                ElementsAre(Dictionary{{"Error", "Error removing"}, {"Path", irremovable}}));
    RecordingHandler stop(false);
    EXPECT_FALSE(manager.removeFileAtPath(irremovable, &stop));
    EXPECT_FALSE(manager.removeFileAtPath(irremovable, nullptr));
}

TEST_F(PosixFileManagerTrees, CopiesAndRemovesDeepTrees)
{
    std::string deep = "from";
    for (int level = 0; level < 100; ++level)
        deep += "/x";
    folder.write(deep + "/a", "a");
    EXPECT_TRUE(manager.copyPath(folder.path("from"), folder.path("to"), nullptr));
    EXPECT_TRUE(manager.removeFileAtPath(folder.path("from"), nullptr));
    EXPECT_EQ(folder.read("to" + deep.substr(4) + "/a"), "a");
}

}  // namespace
}  // namespace kt
