#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/FolderMirror.h"
#include "tests/support/FailingFileManager.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;

class FolderMirror : public ::testing::Test {
protected:
    bool mirror() { return mirrorPath(folder.path("von"), folder.path("nach")); }
    std::map<std::string, std::string> copied() const
    {
        std::map<std::string, std::string> copied;
        for (const auto& [path, content] : folder.tree()) {
            if (path.starts_with("nach"))
                copied["von" + path.substr(4)] = content;
        }
        return copied;
    }
    std::map<std::string, std::string> source() const
    {
        auto source = folder.tree();
        std::erase_if(source, [](const auto& entry) { return entry.first.starts_with("nach"); });
        return source;
    }

    TemporaryFolder folder;
    PlatformScope platform{folder.path()};
};

TEST_F(FolderMirror, MakesAnExactCopyOfWhatIsThere)
{
    folder.write("von/a/eins", "1");
    folder.write("von/zwei", "2");
    folder.makeFolder("von/leer");
    std::filesystem::create_symlink("zwei", folder.path("von/verweis"));
    EXPECT_TRUE(mirror());
    EXPECT_EQ(copied(), source());
}

TEST_F(FolderMirror, WritesIntoACopyOfAFolderThatWasReadOnly)
{
    using std::filesystem::perms;
    folder.write("von/a/eins", "1");
    std::filesystem::permissions(folder.path("von/a"), perms::owner_read | perms::owner_exec);
    ASSERT_TRUE(mirror());
    std::filesystem::permissions(folder.path("von/a"), perms::owner_all);
    folder.write("von/a/zwei", "2");
    EXPECT_TRUE(mirror());
    EXPECT_EQ(std::filesystem::status(folder.path("nach/a")).permissions() & perms::owner_all,
              perms::owner_all);
    EXPECT_EQ(copied(), source());
}

TEST_F(FolderMirror, CopiesOnlyWhatDiffersAndRemovesWhatTheSourceLacks)
{
    folder.write("von/a/gleich", "1");
    folder.write("von/a/anders", "2");
    folder.write("von/a/weg", "3");
    ASSERT_TRUE(mirror());
    folder.write("von/a/anders", "22");
    folder.write("von/neu", "4");
    folder.remove("von/a/weg");
    const auto files = failFileOperation(0);
    EXPECT_TRUE(mirror());
    EXPECT_EQ(copied(), source());
    std::vector<std::string> copies;
    for (const std::string& operation : files->operations()) {
        if (operation.starts_with("copyPath"))
            copies.push_back(lastPathComponent(operation));
    }
    EXPECT_THAT(copies, testing::UnorderedElementsAre("anders", "neu"));
}

TEST_F(FolderMirror, PutsAFileWhereAFolderStoodAndTheOtherWayRound)
{
    folder.write("von/eins", "1");
    folder.write("von/zwei/drei", "3");
    folder.write("nach/eins/alt", "x");
    folder.write("nach/zwei", "y");
    EXPECT_TRUE(mirror());
    EXPECT_EQ(copied(), source());
}

TEST_F(FolderMirror, SaysNoWhenSomethingCouldNotBeCopiedAndGoesOn)
{
    folder.write("nach/x", "");
    folder.write("von/eins", "1");
    folder.write("von/zwei", "2");
    Platform::shared().setFileManager(
        std::make_shared<FailingFileManager>(makePosixFileManager(), [](const std::string& what) {
            return what.starts_with("copyPath") && what.ends_with("eins");
        }));
    EXPECT_FALSE(mirror());
    EXPECT_EQ(folder.read("nach/zwei"), "2");
    EXPECT_FALSE(folder.exists("nach/x"));
}

TEST_F(FolderMirror, KeepsTheCopyOfWhatCannotBeAskedAbout)
{
    folder.write("von/a/eins", "1");
    folder.write("von/zwei", "2");
    ASSERT_TRUE(mirror());
    const auto before = copied();
    failFileReads([&](const std::string& path) { return path == folder.path("von/a"); });
    EXPECT_TRUE(mirror());
    EXPECT_EQ(copied(), before);
}

TEST_F(FolderMirror, OfNothingRemovesTheCopy)
{
    folder.write("nach/x", "");
    EXPECT_TRUE(mirror());
    EXPECT_FALSE(folder.exists("nach"));
}

}  // namespace
}  // namespace kt::test
