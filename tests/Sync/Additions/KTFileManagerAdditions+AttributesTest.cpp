#include <chrono>
#include <cstdint>
#include <string>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Sync/Additions/KTFileManagerAdditions+Attributes.h"
#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/Platform.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

using test::PlatformScope;
using test::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr std::uint32_t kPermissionBits = 07777;

class KTFileManagerAttributes : public testing::Test {
protected:
    struct stat statusOf(std::string_view relative) const
    {
        struct stat status {};
        EXPECT_EQ(::lstat(folder.path(relative).c_str(), &status), 0) << relative;
        return status;
    }
    void link(const std::string& target, std::string_view relative) const
    {
        ASSERT_EQ(::symlink(target.c_str(), folder.path(relative).c_str()), 0);
    }

    PlatformScope platform;
    TemporaryFolder folder;
    const Date date{*dateWithISO8601("2007-12-24T09:00:00Z")};
};

TEST_F(KTFileManagerAttributes, GivesTheModificationDate)
{
    folder.write("a.ics", "x");
    const timespec times[2]{{0, UTIME_OMIT}, {1198486800, 123456789}};
    ASSERT_EQ(::utimensat(AT_FDCWD, folder.path("a.ics").c_str(), times, 0), 0);
    const auto modified = modificationDateAtPath(folder.path("a.ics"));
    ASSERT_TRUE(modified.has_value());
    EXPECT_EQ(modified->instant.time_since_epoch(), std::chrono::microseconds(1198486800123456));
}

TEST_F(KTFileManagerAttributes, GivesADateBeforeTheEpoch)
{
    folder.write("a.ics", "x");
    const timespec times[2]{{0, UTIME_OMIT}, {-1, 999999999}};
    ASSERT_EQ(::utimensat(AT_FDCWD, folder.path("a.ics").c_str(), times, 0), 0);
    const auto modified = modificationDateAtPath(folder.path("a.ics"));
    ASSERT_TRUE(modified.has_value());
    EXPECT_EQ(modified->instant.time_since_epoch(), std::chrono::microseconds(-1));
}

TEST_F(KTFileManagerAttributes, KnowsNothingOfAMissingItem)
{
    EXPECT_EQ(modificationDateAtPath(folder.path("gone")), std::nullopt);
    EXPECT_EQ(permissionsAtPath(folder.path("gone")), 0U);
    EXPECT_EQ(filesizeAtPath(folder.path("gone")), 0U);
    EXPECT_FALSE(setModificationDate(date, folder.path("gone")));
    EXPECT_FALSE(setPermissions(0600, folder.path("gone")));
    EXPECT_THAT(folder.tree(), IsEmpty());
}

TEST_F(KTFileManagerAttributes, SetsTheModificationDateAndNothingElse)
{
    folder.write("a.ics", "x");
    ASSERT_EQ(::chmod(folder.path("a.ics").c_str(), 0640), 0);
    const struct stat before = statusOf("a.ics");
    ASSERT_TRUE(setModificationDate(date, folder.path("a.ics")));
    const struct stat after = statusOf("a.ics");
    EXPECT_EQ(after.st_mtim.tv_sec, 1198486800);
    EXPECT_EQ(after.st_atim.tv_sec, before.st_atim.tv_sec);
    EXPECT_EQ(after.st_atim.tv_nsec, before.st_atim.tv_nsec);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(modificationDateAtPath(folder.path("a.ics")), date);
}

TEST_F(KTFileManagerAttributes, SetsNoDateThatNanosecondsCannotCount)
{
    using std::chrono::microseconds;
    using Instant = std::chrono::sys_time<microseconds>;
    folder.write("a.ics", "x");
    ASSERT_TRUE(setModificationDate(date, folder.path("a.ics")));
    for (const Instant instant :
         {Instant::max(), Instant::min(), Instant(microseconds(9223372036854776)),
          Instant(microseconds(-9223372036854776))})
        EXPECT_FALSE(setModificationDate(Date{instant}, folder.path("a.ics")));
    EXPECT_EQ(modificationDateAtPath(folder.path("a.ics")), date);
    EXPECT_TRUE(
        setModificationDate(Date{Instant(microseconds(9223372036854775))}, folder.path("a.ics")));
}

TEST_F(KTFileManagerAttributes, GivesTheFurthestDateForAFileFromBeyond)
{
    folder.write("a.ics", "x");
    const timespec times[2]{{0, UTIME_OMIT}, {32503680000, 0}};  // the year 3000
    ASSERT_EQ(::utimensat(AT_FDCWD, folder.path("a.ics").c_str(), times, 0), 0);
    if (statusOf("a.ics").st_mtim.tv_sec < 9223372036)
        GTEST_SKIP() << "the file system keeps no such date";
    const auto modified = modificationDateAtPath(folder.path("a.ics"));
    ASSERT_TRUE(modified.has_value());
    EXPECT_EQ(iso8601(*modified), "2262-04-11T23:47:15Z");
}

TEST_F(KTFileManagerAttributes, GivesThePermissionBitsAlone)
{
    folder.write("a.ics", "x");
    folder.makeFolder("Events");
    ASSERT_EQ(::chmod(folder.path("a.ics").c_str(), 04751), 0);
    ASSERT_EQ(::chmod(folder.path("Events").c_str(), 01777), 0);
    EXPECT_EQ(permissionsAtPath(folder.path("a.ics")), 04751U);
    EXPECT_EQ(permissionsAtPath(folder.path("Events")), 01777U);
}

TEST_F(KTFileManagerAttributes, SetsThePermissionBitsAndNothingElse)
{
    folder.write("a.ics", "x");
    ASSERT_TRUE(setModificationDate(date, folder.path("a.ics")));
    ASSERT_TRUE(setPermissions(0604, folder.path("a.ics")));
    EXPECT_EQ(statusOf("a.ics").st_mode & kPermissionBits, 0604U);
    EXPECT_EQ(modificationDateAtPath(folder.path("a.ics")), date);
}

TEST_F(KTFileManagerAttributes, IgnoresBitsBeyondThePermissions)
{
    folder.write("a.ics", "x");
    ASSERT_TRUE(setPermissions(0xFFFFFFFF00000000UL | 0170000 | 0600, folder.path("a.ics")));
    EXPECT_EQ(permissionsAtPath(folder.path("a.ics")), 0600U);
    EXPECT_TRUE(S_ISREG(statusOf("a.ics").st_mode));
}

TEST_F(KTFileManagerAttributes, GivesTheSizeInBytes)
{
    folder.write("empty", "");
    folder.write("umlaut", "\u00E4");
    EXPECT_EQ(filesizeAtPath(folder.path("empty")), 0U);
    EXPECT_EQ(filesizeAtPath(folder.path("umlaut")), 2U);
}

TEST_F(KTFileManagerAttributes, KnowsSizesBeyondFourGigabytes)
{
    folder.write("large", "");
    ASSERT_EQ(::truncate(folder.path("large").c_str(), 5'000'000'000), 0);
    EXPECT_EQ(filesizeAtPath(folder.path("large")), 5'000'000'000U);
}

TEST_F(KTFileManagerAttributes, ReadsALinkItself)
{
    folder.write("target", "four");
    ASSERT_TRUE(setPermissions(0600, folder.path("target")));
    ASSERT_TRUE(setModificationDate(date, folder.path("target")));
    link("target", "link");
    EXPECT_EQ(filesizeAtPath(folder.path("link")), std::string("target").size());
    EXPECT_EQ(permissionsAtPath(folder.path("link")), statusOf("link").st_mode & kPermissionBits);
    EXPECT_NE(permissionsAtPath(folder.path("link")), 0600U);
    EXPECT_NE(modificationDateAtPath(folder.path("link")), date);
    link("gone", "dangling");
    EXPECT_EQ(filesizeAtPath(folder.path("dangling")), 4U);
}

TEST_F(KTFileManagerAttributes, ChangesWhatALinkLeadsTo)
{
    folder.write("target", "x");
    link("target", "link");
    EXPECT_TRUE(setPermissions(0604, folder.path("link")));
    EXPECT_TRUE(setModificationDate(date, folder.path("link")));
    EXPECT_EQ(permissionsAtPath(folder.path("target")), 0604U);
    EXPECT_EQ(modificationDateAtPath(folder.path("target")), date);
}

TEST_F(KTFileManagerAttributes, ChangesNothingBehindAWriteGuard)
{
    folder.write("a.ics", "x");
    ASSERT_TRUE(setPermissions(0600, folder.path("a.ics")));
    ASSERT_TRUE(setModificationDate(date, folder.path("a.ics")));
    const WriteGuard guard;
    EXPECT_FALSE(setPermissions(0644, folder.path("a.ics")));
    EXPECT_FALSE(setModificationDate(Date{}, folder.path("a.ics")));
    EXPECT_EQ(permissionsAtPath(folder.path("a.ics")), 0600U);
    EXPECT_EQ(modificationDateAtPath(folder.path("a.ics")), date);
}

TEST_F(KTFileManagerAttributes, MakesNoFolderForANilPath)
{
    EXPECT_FALSE(createPath(std::nullopt, {}));
    EXPECT_FALSE(createPath("", {}));
}

TEST_F(KTFileManagerAttributes, MakesNoFolderWithoutARoot)
{
    EXPECT_FALSE(createPath("kt-no-such-folder/deeper", {}));
    EXPECT_NE(::access("kt-no-such-folder", F_OK), 0);
}

TEST_F(KTFileManagerAttributes, GivesEachFolderThatItMakesTheAttributes)
{
    folder.makeFolder("first");
    ASSERT_TRUE(setPermissions(0755, folder.path("first")));
    EXPECT_TRUE(createPath(folder.path("first/second/third"),
                           {{std::string(NSFilePosixPermissions), 0711},
                            {std::string(NSFileModificationDate), date}}));
    EXPECT_EQ(permissionsAtPath(folder.path("first")), 0755U);
    EXPECT_EQ(permissionsAtPath(folder.path("first/second")), 0711U);
    EXPECT_EQ(permissionsAtPath(folder.path("first/second/third")), 0711U);
    EXPECT_EQ(modificationDateAtPath(folder.path("first/second/third")), date);
}

// A folder of such a depth cannot be made; the way there must not cost its length for each name.
TEST_F(KTFileManagerAttributes, WalksAPathOfAnyNumberOfNames)
{
    constexpr int kNames = 20000;
    std::string path = folder.path("a");
    for (int name = 0; name < kNames; ++name)
        path += "/a";
    const WriteGuard guard;
    EXPECT_TRUE(createPath(path, {}));
    EXPECT_THAT(folder.tree(), IsEmpty());
}

TEST_F(KTFileManagerAttributes, LeavesAnExistingFolderAsItIs)
{
    folder.makeFolder("there");
    ASSERT_TRUE(setPermissions(0755, folder.path("there")));
    EXPECT_TRUE(createPath(folder.path("there"), {{std::string(NSFilePosixPermissions), 0700}}));
    EXPECT_EQ(permissionsAtPath(folder.path("there")), 0755U);
}

TEST_F(KTFileManagerAttributes, MakesNoFolderInThePlaceOfAFileOrBelowOne)
{
    folder.write("file", "x");
    EXPECT_FALSE(createPath(folder.path("file"), {}));
    EXPECT_FALSE(createPath(folder.path("file/below/it"), {}));
    EXPECT_THAT(folder.tree(), ElementsAre(Pair("file", "x")));
}

TEST_F(KTFileManagerAttributes, MakesAFolderAsUsualWithoutUsableAttributes)
{
    EXPECT_TRUE(createPath(folder.path("plain"), {}));
    EXPECT_TRUE(createPath(folder.path("odd"), {{std::string(NSFilePosixPermissions), "0700"},
                                                {std::string(NSFileModificationDate), 7},
                                                {"NSFileOwnerAccountName", "root"}}));
    EXPECT_EQ(permissionsAtPath(folder.path("odd")), permissionsAtPath(folder.path("plain")));
}

TEST_F(KTFileManagerAttributes, SaysThatTheParentsAreInPlaceEvenWhenTheFolderCannotBeMade)
{
    const WriteGuard guard;
    EXPECT_TRUE(createPath(folder.path("a"), {{std::string(NSFilePosixPermissions), 0700}}));
    EXPECT_THAT(folder.tree(), IsEmpty());
}

}  // namespace
}  // namespace kt
