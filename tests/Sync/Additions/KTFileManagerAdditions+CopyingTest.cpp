#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Additions/KTFileManagerAdditions+Copying.h"
#include "Sync/Foundation/Platform.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

using test::PlatformScope;
using test::TemporaryFolder;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

class CopyPathWithBackup : public testing::Test {
protected:
    bool copy(const std::string& from, const std::string& to, const std::string& extension = "bak")
    {
        return copyPathWithBackup(folder.path(from), folder.path(to), extension);
    }

    PlatformScope platform;
    TemporaryFolder folder;
};

TEST_F(CopyPathWithBackup, KeepsTheOldDestinationUnderTheExtension)
{
    folder.write("new", "new");
    folder.write("Info.plist", "old");
    EXPECT_TRUE(copy("new", "Info.plist"));
    EXPECT_THAT(folder.tree(), UnorderedElementsAre(Pair("new", "new"), Pair("Info.plist", "new"),
                                                    Pair("Info.plist.bak", "old")));
}

TEST_F(CopyPathWithBackup, CopiesWhereNoDestinationExists)
{
    folder.write("new", "new");
    EXPECT_TRUE(copy("new", "there"));
    EXPECT_THAT(folder.tree(), UnorderedElementsAre(Pair("new", "new"), Pair("there", "new")));
}

TEST_F(CopyPathWithBackup, YieldsTheCopysResultWhereNoDestinationExists)
{
    EXPECT_FALSE(copy("gone", "there"));
    EXPECT_THAT(folder.tree(), IsEmpty());
}

TEST_F(CopyPathWithBackup, ReplacesAnEarlierBackup)
{
    folder.write("new", "new");
    folder.write("there", "old");
    folder.write("there.bak/deep/file", "older");
    EXPECT_TRUE(copy("new", "there"));
    EXPECT_THAT(folder.tree(), UnorderedElementsAre(Pair("new", "new"), Pair("there", "new"),
                                                    Pair("there.bak", "old")));
}

TEST_F(CopyPathWithBackup, RemovesAnEarlierBackupEvenWithoutANewOne)
{
    folder.write("new", "new");
    folder.write("there.bak", "older");
    EXPECT_TRUE(copy("new", "there"));
    EXPECT_THAT(folder.tree(), UnorderedElementsAre(Pair("new", "new"), Pair("there", "new")));
}

TEST_F(CopyPathWithBackup, LeavesTheOldDestinationAtTheBackupPathWhenTheCopyFails)
{
    folder.write("there", "old");
    EXPECT_FALSE(copy("gone", "there"));
    EXPECT_THAT(folder.tree(), UnorderedElementsAre(Pair("there.bak", "old")));
}

TEST_F(CopyPathWithBackup, TakesFoldersWithAllTheirContent)
{
    folder.write("new/Events/1.ics", "1");
    folder.write("there/Events/2.ics", "2");
    EXPECT_TRUE(copy("new", "there", "old"));
    EXPECT_THAT(folder.tree(),
                UnorderedElementsAre(Pair("new/Events/1.ics", "1"), Pair("there/Events/1.ics", "1"),
                                     Pair("there.old/Events/2.ics", "2")));
}

TEST_F(CopyPathWithBackup, ChangesNothingBehindAWriteGuard)
{
    folder.write("new", "new");
    folder.write("there", "old");
    folder.write("there.bak", "older");
    const auto before = folder.tree();
    const WriteGuard guard;
    EXPECT_FALSE(copy("new", "there"));
    EXPECT_EQ(folder.tree(), before);
}

TEST_F(CopyPathWithBackup, DoesNothingWithoutADestination)
{
    folder.write("new", "new");
    folder.write(".bak", "somebody's");
    const auto before = folder.tree();
    const std::filesystem::path currentPath = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    EXPECT_FALSE(copyPathWithBackup(folder.path("new"), "", "bak"));
    std::filesystem::current_path(currentPath);
    EXPECT_EQ(folder.tree(), before);
}

}  // namespace
}  // namespace kt
