#include <filesystem>

#include <gtest/gtest.h>

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/Platform.h"
#include "tests/support/FailingFileManager.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

TEST(IsDirectoryAtPath, HoldsForFoldersAlone)
{
    const TemporaryFolder folder;
    folder.write("file", "x");
    std::filesystem::create_directory_symlink(folder.path(), folder.path("link"));
    EXPECT_TRUE(isDirectoryAtPath(folder.path()));
    EXPECT_TRUE(isDirectoryAtPath(folder.path("link")));
    EXPECT_FALSE(isDirectoryAtPath(folder.path("file")));
    EXPECT_FALSE(isDirectoryAtPath(folder.path("missing")));
}

TEST(CreatePath, LeavesAnExistingFolderAsItIs)
{
    const TemporaryFolder folder;
    folder.write("a/file", "x");
    const auto before = folder.tree();
    EXPECT_TRUE(createPath(folder.path("a")));
    EXPECT_EQ(folder.tree(), before);
}

TEST(CreatePath, LeavesAFileInItsWay)
{
    const TemporaryFolder folder;
    folder.write("file", "x");
    const auto before = folder.tree();
    EXPECT_FALSE(createPath(folder.path("file")));
    EXPECT_FALSE(createPath(folder.path("file/a/b")));
    EXPECT_EQ(folder.tree(), before);
}

TEST(CreatePath, MakesEveryMissingFolderParentFirst)
{
    const TemporaryFolder folder;
    const PlatformScope platform(folder.path());
    folder.makeFolder("first");
    const auto files = failFileOperation(0);
    EXPECT_TRUE(createPath(folder.path("first/second/third")));
    EXPECT_EQ(files->operations(),
              (std::vector<std::string>{"createDirectoryAtPath " + folder.path("first/second"),
                                        "createDirectoryAtPath " +
                                            folder.path("first/second/third")}));
    EXPECT_TRUE(std::filesystem::is_directory(folder.path("first/second/third")));
}

TEST(CreatePath, SaysOnlyThatTheParentsAreInPlace)
{
    const TemporaryFolder folder;
    const WriteGuard guard;
    EXPECT_TRUE(createPath(folder.path("new")));
    EXPECT_FALSE(folder.exists("new"));
}

TEST(CreatePath, EndsForAPathWithoutARoot)
{
    EXPECT_FALSE(createPath(""));
    EXPECT_FALSE(createPath("kt-no-such-folder/a"));
}

}  // namespace
}  // namespace kt::test
