#include <cstdint>
#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Sync/Additions/KTFileManagerAdditions+Finder.h"
#include "Sync/Foundation/Platform.h"
#include "tests/Sync/Additions/FinderFixture.h"

namespace kt {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::Values;

constexpr std::uint32_t kText = 0x54455854;      // "TEXT"
constexpr std::uint32_t kEditor = 0x74747874;    // "ttxt"
constexpr std::uint32_t kCalendar = 0x77726263;  // "wrbc"
constexpr std::uint16_t kIsInvisible = 0x4000;
constexpr std::uint16_t kHasBeenInited = 0x0100;
constexpr std::uint16_t kIsShared = 0x0040;

class KTFileManagerFinder : public test::FinderFixture {
protected:
    KTFileManagerFinder()
    {
        catalog->items["/Users/a/file"] = {kText, kEditor, 0x0002, false};
        catalog->items["/Users/a"] = {0, 0, 0, true};
    }
    FinderInformation& file() { return catalog->items["/Users/a/file"]; }
};

TEST_F(KTFileManagerFinder, ReadsCreatorAndType)
{
    std::uint32_t creator = 0;
    std::uint32_t type = 0;
    EXPECT_TRUE(getCreatorTypeAtPath("/Users/a/file", creator, type));
    EXPECT_EQ(creator, kEditor);
    EXPECT_EQ(type, kText);
}

TEST_F(KTFileManagerFinder, ReadsNoCodesOfAnItemThatCannotBeReached)
{
    std::uint32_t creator = 1;
    std::uint32_t type = 2;
    EXPECT_FALSE(getCreatorTypeAtPath("/Users/a/gone", creator, type));
    EXPECT_EQ(creator, 1U);
    EXPECT_EQ(type, 2U);
}

TEST_F(KTFileManagerFinder, WritesCreatorAndTypeAndTellsTheParentFolder)
{
    EXPECT_TRUE(changeCreatorTypeAtPath("/Users/a/file", kCalendar, kCalendar + 1));
    EXPECT_EQ(file(), (FinderInformation{kCalendar + 1, kCalendar, 0x0002, false}));
    EXPECT_THAT(catalog->notified, ElementsAre("/Users/a"));
}

TEST_F(KTFileManagerFinder, KeepsTheExistingCodeForACodeOfZero)
{
    EXPECT_TRUE(changeCreatorTypeAtPath("/Users/a/file", 0, kCalendar));
    EXPECT_EQ(file(), (FinderInformation{kCalendar, kEditor, 0x0002, false}));
    EXPECT_TRUE(changeCreatorTypeAtPath("/Users/a/file", kCalendar, 0));
    EXPECT_EQ(file(), (FinderInformation{kCalendar, kCalendar, 0x0002, false}));
}

TEST_F(KTFileManagerFinder, ChangesNoCodesOfAFolder)
{
    EXPECT_FALSE(changeCreatorTypeAtPath("/Users/a", kCalendar, kCalendar));
    EXPECT_EQ(catalog->items["/Users/a"], (FinderInformation{0, 0, 0, true}));
    EXPECT_THAT(catalog->notified, IsEmpty());
}

TEST_F(KTFileManagerFinder, TellsNobodyOfACodeThatCouldNotBeWritten)
{
    catalog->isLocked = true;
    EXPECT_FALSE(changeCreatorTypeAtPath("/Users/a/file", kCalendar, kCalendar));
    EXPECT_FALSE(changeCreatorTypeAtPath("/Users/a/gone", kCalendar, kCalendar));
    EXPECT_THAT(catalog->notified, IsEmpty());
}

struct ReadRow {
    std::uint16_t flags;
    std::uint16_t flagBit;
    bool isSet;
};
class GetFinderFlag : public test::FinderFixture, public testing::WithParamInterface<ReadRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, GetFinderFlag,
                         Values(ReadRow{0x0040, 0x0040, true}, ReadRow{0x0040, 0x0001, false},
                                ReadRow{0x0080, 0x0080, true}, ReadRow{0xFFFF, 0x00FF, true},
                                ReadRow{0xFFFF, 0x0100, false}, ReadRow{0xFFFF, 0x0400, false},
                                ReadRow{0xFFFF, 0x4000, false}, ReadRow{0xFFFF, 0x8000, false},
                                ReadRow{0xFFFF, 0x4001, true}, ReadRow{0x0000, 0xFFFF, false}));
TEST_P(GetFinderFlag, LooksAtTheEightLowOrderBits)
{
    catalog->items["/file"].finderFlags = GetParam().flags;
    bool isSet = !GetParam().isSet;
    EXPECT_TRUE(getFinderFlagAtPath("/file", GetParam().flagBit, isSet));
    EXPECT_EQ(isSet, GetParam().isSet);
}

TEST_F(KTFileManagerFinder, ReportsTheInvisibleFlagAsNotSetEvenOnAnInvisibleItem)
{
    file().finderFlags = kIsInvisible;
    bool isSet = true;
    EXPECT_TRUE(getFinderFlagAtPath("/Users/a/file", kIsInvisible, isSet));
    EXPECT_FALSE(isSet);
}

TEST_F(KTFileManagerFinder, ReadsNoFlagOfAnItemThatCannotBeReached)
{
    bool isSet = true;
    EXPECT_FALSE(getFinderFlagAtPath("/Users/a/gone", kIsShared, isSet));
    EXPECT_TRUE(isSet);
}

struct ChangeRow {
    std::uint16_t before;
    FlagChange setBits;
    std::uint16_t flagBits;
    std::uint16_t after;
};
class ChangeFinderFlags : public test::FinderFixture,
                          public testing::WithParamInterface<ChangeRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, ChangeFinderFlags,
                         Values(ChangeRow{0x0000, FlagChange::set, kIsInvisible, kIsInvisible},
                                ChangeRow{0x0040, FlagChange::set, kIsInvisible, 0x4040},
                                ChangeRow{0x4040, FlagChange::clear, kIsInvisible, 0x0040},
                                ChangeRow{0x0040, FlagChange::clear, kIsInvisible, 0x0040},
                                ChangeRow{0x0140, FlagChange::set, kIsInvisible, 0x4040},
                                ChangeRow{0x0140, FlagChange::clear, kIsInvisible, 0x0040},
                                // Even when it is the very flag to be set.
                                ChangeRow{0x0000, FlagChange::set, kHasBeenInited, 0x0000},
                                ChangeRow{0x0000, FlagChange::set, 0xFFFF, 0xFEFF},
                                ChangeRow{0xFFFF, FlagChange::clear, 0xFFFF, 0x0000},
                                ChangeRow{0x0140, FlagChange::set, 0x0000, 0x0040}));
TEST_P(ChangeFinderFlags, SetsOrClearsAndHasTheItemLookedAtAfresh)
{
    catalog->items["/file"].finderFlags = GetParam().before;
    EXPECT_TRUE(changeFinderFlagsAtPath("/file", GetParam().setBits, GetParam().flagBits));
    EXPECT_EQ(catalog->items["/file"].finderFlags, GetParam().after);
}

TEST_F(KTFileManagerFinder, TellsOfChangedFlagsTheItemThenItsFolder)
{
    EXPECT_TRUE(changeFinderFlagsAtPath("/Users/a/file", FlagChange::set, kIsShared));
    EXPECT_EQ(file(), (FinderInformation{kText, kEditor, 0x0042, false}));
    EXPECT_THAT(catalog->notified, ElementsAre("/Users/a/file", "/Users/a"));
}

TEST_F(KTFileManagerFinder, ChangesTheFlagsOfAFolderToo)
{
    EXPECT_TRUE(changeFinderFlagsAtPath("/Users/a", FlagChange::set, kIsInvisible));
    EXPECT_EQ(catalog->items["/Users/a"].finderFlags, kIsInvisible);
    EXPECT_THAT(catalog->notified, ElementsAre("/Users/a", "/Users"));
}

TEST_F(KTFileManagerFinder, TellsNobodyOfFlagsThatCouldNotBeWritten)
{
    catalog->isLocked = true;
    EXPECT_FALSE(changeFinderFlagsAtPath("/Users/a/file", FlagChange::set, kIsShared));
    EXPECT_FALSE(changeFinderFlagsAtPath("/Users/a/gone", FlagChange::set, kIsShared));
    EXPECT_THAT(catalog->notified, IsEmpty());
}

TEST_F(KTFileManagerFinder, ChangesNothingBehindAWriteGuard)
{
    const FinderInformation before = file();
    const WriteGuard guard;
    EXPECT_FALSE(changeCreatorTypeAtPath("/Users/a/file", kCalendar, kCalendar));
    EXPECT_FALSE(changeFinderFlagsAtPath("/Users/a/file", FlagChange::set, kIsShared));
    EXPECT_EQ(file(), before);
    EXPECT_THAT(catalog->notified, IsEmpty());
}

TEST_F(KTFileManagerFinder, KnowsAnAlias)
{
    catalog->aliases["/alias"] = "/target";
    EXPECT_TRUE(isAliasAtPath("/alias"));
    EXPECT_FALSE(isAliasAtPath("/target"));
    EXPECT_FALSE(isAliasAtPath("/gone"));
}

TEST_F(KTFileManagerFinder, FollowsAChainOfAliasesToItsEnd)
{
    catalog->aliases["/one"] = "/two";
    catalog->aliases["/two"] = "/three";
    catalog->aliases["/three"] = "/Users/a/file";
    EXPECT_THAT(aliasTargetAtPath("/one"), Optional(std::string("/Users/a/file")));
    EXPECT_THAT(aliasTargetAtPath("/three"), Optional(std::string("/Users/a/file")));
}

TEST_F(KTFileManagerFinder, ResolvesNoOtherItem)
{
    EXPECT_EQ(aliasTargetAtPath("/Users/a/file"), std::nullopt);
    EXPECT_EQ(aliasTargetAtPath("/gone"), std::nullopt);
}

TEST_F(KTFileManagerFinder, ResolvesNoAliasWhoseTargetIsGone)
{
    catalog->aliases["/one"] = "/two";
    catalog->aliases["/two"] = std::nullopt;
    EXPECT_EQ(aliasTargetAtPath("/one"), std::nullopt);
}

TEST_F(KTFileManagerFinder, ResolvesNoAliasesInARing)
{
    catalog->aliases["/self"] = "/self";
    catalog->aliases["/one"] = "/two";
    catalog->aliases["/two"] = "/one";
    EXPECT_EQ(aliasTargetAtPath("/self"), std::nullopt);
    EXPECT_EQ(aliasTargetAtPath("/one"), std::nullopt);
}

TEST_F(KTFileManagerFinder, ResolvesAChainOfThirtyTwoAliasesAndNoLongerOne)
{
    for (int index = 0; index < 33; ++index)
        catalog->aliases["/" + std::to_string(index)] = "/" + std::to_string(index + 1);
    EXPECT_THAT(aliasTargetAtPath("/1"), Optional(std::string("/33")));
    EXPECT_EQ(aliasTargetAtPath("/0"), std::nullopt);
}

TEST_F(KTFileManagerFinder, ResolvesToPathsOfAtMost1024Bytes)
{
    for (const std::size_t length : {1023U, 1024U, 1025U}) {
        const std::string target = "/" + std::string(length - 1, 'x');
        catalog->aliases["/alias"] = target;
        EXPECT_EQ(aliasTargetAtPath("/alias"),
                  length > 1024 ? std::nullopt : std::optional(target));
    }
}

TEST_F(KTFileManagerFinder, ResolvesToUTF8Only)
{
    catalog->aliases["/alias"] = "/B\xFCro";
    EXPECT_EQ(aliasTargetAtPath("/alias"), std::nullopt);
    catalog->aliases["/alias"] = "/B\u00FCro";
    EXPECT_THAT(aliasTargetAtPath("/alias"), Optional(std::string("/B\u00FCro")));
}

class HFSPath : public test::FinderFixture {
protected:
    HFSPath()
    {
        catalog->volumes["/"] = "Macintosh HD";
        catalog->volumes["/Volumes/Daten"] = "Daten";
    }
};

TEST_F(HFSPath, NamesTheVolumeAndThenEachComponent)
{
    EXPECT_THAT(hfsStylePathFromPosixPath("/kt-none/a.ics"),
                Optional(std::string("Macintosh HD:kt-none:a.ics")));
    EXPECT_THAT(hfsStylePathFromPosixPath("/Volumes/Daten/B\u00FCro/a.ics"),
                Optional(std::string("Daten:B\u00FCro:a.ics")));
}

TEST_F(HFSPath, EndsWithAColonForAFolder)
{
    folder.write("a.ics", "x");
    catalog->volumes[folder.path()] = "Test";
    EXPECT_THAT(hfsStylePathFromPosixPath(folder.path()), Optional(std::string("Test:")));
    folder.makeFolder("Events");
    EXPECT_THAT(hfsStylePathFromPosixPath(folder.path("Events")),
                Optional(std::string("Test:Events:")));
    EXPECT_THAT(hfsStylePathFromPosixPath(folder.path("Events/")),
                Optional(std::string("Test:Events:")));
    EXPECT_THAT(hfsStylePathFromPosixPath(folder.path("a.ics")),
                Optional(std::string("Test:a.ics")));
    ASSERT_EQ(::symlink("Events", folder.path("link").c_str()), 0);
    EXPECT_THAT(hfsStylePathFromPosixPath(folder.path("link")),
                Optional(std::string("Test:link:")));
    EXPECT_THAT(hfsStylePathFromPosixPath("/"), Optional(std::string("Macintosh HD:")));
}

TEST_F(HFSPath, TurnsAColonInANameIntoASlash)
{
    EXPECT_THAT(hfsStylePathFromPosixPath("/kt-none/24:12.ics"),
                Optional(std::string("Macintosh HD:kt-none:24/12.ics")));
}

TEST_F(HFSPath, SkipsSlashesThatRepeat)
{
    EXPECT_THAT(hfsStylePathFromPosixPath("//kt-none///a.ics"),
                Optional(std::string("Macintosh HD:kt-none:a.ics")));
}

TEST_F(HFSPath, IsNilForAPathThatIsNotAbsoluteOrPlain)
{
    catalog->volumes[""] = "Anything";
    for (const std::string& path :
         {std::string(), std::string("a.ics"), std::string("./a"), std::string("/a/../b"),
          std::string("/a/./b"), std::string("/a\0b", 4), "/" + std::string(256, 'x')})
        EXPECT_EQ(hfsStylePathFromPosixPath(path), std::nullopt) << path;
}

TEST_F(HFSPath, IsNilOutsideTheVolumeThatIsSaidToHoldIt)
{
    catalog->volumes["/Vol"] = "Vol";  // "/Volume" begins like it and is not in it
    EXPECT_EQ(hfsStylePathFromPosixPath("/Volume/a"), std::nullopt);
}

TEST_F(HFSPath, IsNilWhereVolumesHaveNoNames)
{
    catalog->volumes.clear();
    EXPECT_EQ(hfsStylePathFromPosixPath("/kt-none/a.ics"), std::nullopt);
}

TEST(KTFileManagerFinderHere, ReachesNothing)
{
    const test::PlatformScope platform;
    const test::TemporaryFolder folder;
    folder.write("a.ics", "x");
    const std::string path = folder.path("a.ics");
    std::uint32_t creator = 1;
    std::uint32_t type = 2;
    bool isSet = true;
    EXPECT_FALSE(getCreatorTypeAtPath(path, creator, type));
    EXPECT_FALSE(changeCreatorTypeAtPath(path, kCalendar, kCalendar));
    EXPECT_FALSE(getFinderFlagAtPath(path, kIsShared, isSet));
    EXPECT_FALSE(changeFinderFlagsAtPath(path, FlagChange::set, kIsShared));
    EXPECT_FALSE(isAliasAtPath(path));
    EXPECT_EQ(aliasTargetAtPath(path), std::nullopt);
    EXPECT_EQ(hfsStylePathFromPosixPath(path), std::nullopt);
    EXPECT_EQ(creator, 1U);
    EXPECT_EQ(type, 2U);
    EXPECT_TRUE(isSet);
    EXPECT_THAT(folder.tree(), ElementsAre(testing::Pair("a.ics", "x")));
}

}  // namespace
}  // namespace kt
