#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/FileManager.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

using test::PlatformScope;
using test::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::TestWithParam;
using testing::Values;

// Path strings.

struct JoinRow {
    std::string path;
    std::string component;
    std::string joined;
};

class PathAppending : public TestWithParam<JoinRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, PathAppending,
                         Values(JoinRow{"/a", "b", "/a/b"}, JoinRow{"/a/", "b", "/a/b"},
                                JoinRow{"/a", "/b", "/a/b"}, JoinRow{"/", "b", "/b"},
                                JoinRow{"", "b", "b"}, JoinRow{"a", "", "a"},
                                JoinRow{"/a", "b/c/", "/a/b/c"}, JoinRow{"/a//", "//b", "/a/b"},
                                JoinRow{"", "", ""}));

TEST_P(PathAppending, PutsOneSlashBetween)
{
    EXPECT_EQ(stringByAppendingPathComponent(GetParam().path, GetParam().component),
              GetParam().joined);
}

struct SplitRow {
    std::string path;
    std::string last;
    std::string rest;
    std::string extension;
};

class PathSplitting : public TestWithParam<SplitRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, PathSplitting,
                         Values(SplitRow{"/a/b.ics", "b.ics", "/a", "ics"},
                                SplitRow{"/a/b.c.d", "b.c.d", "/a", "d"},
                                SplitRow{"/a/b/", "b", "/a", ""}, SplitRow{"/a", "a", "/", ""},
                                SplitRow{"a", "a", "", ""}, SplitRow{"/", "/", "/", ""},
                                SplitRow{"", "", "", ""}, SplitRow{"/x.y/b", "b", "/x.y", ""},
                                SplitRow{"/a/.hidden", ".hidden", "/a", ""},
                                SplitRow{"/a/b.", "b.", "/a", ""},
                                SplitRow{"/a/K.calendar/", "K.calendar", "/a", "calendar"}));

TEST_P(PathSplitting, FindsTheLastComponentAndItsExtension)
{
    EXPECT_EQ(lastPathComponent(GetParam().path), GetParam().last);
    EXPECT_EQ(stringByDeletingLastPathComponent(GetParam().path), GetParam().rest);
    EXPECT_EQ(pathExtension(GetParam().path), GetParam().extension);
}

TEST(Path, AppendsAnExtension)
{
    EXPECT_EQ(stringByAppendingPathExtension("/a/b", "ics"), "/a/b.ics");
    EXPECT_EQ(stringByAppendingPathExtension("/a/b/", "ics"), "/a/b.ics");
}

TEST(Path, FallsIntoComponents)
{
    EXPECT_THAT(pathComponents("/a//b"), ElementsAre("/", "a", "b"));
    EXPECT_THAT(pathComponents("a/b/"), ElementsAre("a", "b"));
    EXPECT_THAT(pathComponents("/"), ElementsAre("/"));
    EXPECT_THAT(pathComponents(""), IsEmpty());
}

struct PlainRow {
    std::string name;
    bool isPlain;
};

class PathPlainComponent : public TestWithParam<PlainRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, PathPlainComponent,
    Values(PlainRow{"a", true}, PlainRow{"...", true}, PlainRow{".hidden", true},
           PlainRow{" ", true}, PlainRow{"a\\b", true}, PlainRow{std::string(254, 'x'), true},
           PlainRow{std::string(255, 'x'), true}, PlainRow{std::string(256, 'x'), false},
           PlainRow{"", false}, PlainRow{".", false}, PlainRow{"..", false}, PlainRow{"a/b", false},
           PlainRow{"/", false}, PlainRow{"../x", false}, PlainRow{std::string("a\0b", 3), false}));

TEST_P(PathPlainComponent, IsOneNameAndNothingElse)
{
    EXPECT_EQ(isPlainPathComponent(GetParam().name), GetParam().isPlain);
}

struct EscapeRow {
    std::string text;
    std::optional<std::string> replaced;
};

class PathPercentEscapes : public TestWithParam<EscapeRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, PathPercentEscapes,
                         Values(EscapeRow{"plain", "plain"}, EscapeRow{"a%20b", "a b"},
                                EscapeRow{"%C3%a4", "\xC3\xA4"}, EscapeRow{"100%25", "100%"},
                                EscapeRow{"%2F..%2F", "/../"}, EscapeRow{"", ""},
                                EscapeRow{"%", std::nullopt}, EscapeRow{"%4", std::nullopt},
                                EscapeRow{"%zz", std::nullopt}, EscapeRow{"%4g", std::nullopt},
                                EscapeRow{"%C3", std::nullopt}, EscapeRow{"%FF%FE", std::nullopt},
                                EscapeRow{"a+b", "a+b"}));

TEST_P(PathPercentEscapes, AreReplacedWhenTheyMakeUTF8)
{
    EXPECT_EQ(stringByReplacingPercentEscapes(GetParam().text), GetParam().replaced);
}

// The write guard.

TEST(ReadOnlyFileManager, ReadsAndLeavesEverythingAsItIs)
{
    const TemporaryFolder folder;
    folder.write("a.txt", "a");
    folder.makeFolder("empty");
    const auto before = folder.tree();
    const auto manager = makeReadOnlyFileManager(makePosixFileManager());

    EXPECT_EQ(manager->contentsAtPath(folder.path("a.txt")), "a");
    EXPECT_THAT(manager->directoryContentsAtPath(folder.path()), ElementsAre("a.txt", "empty"));
    EXPECT_TRUE(manager->fileExistsAtPath(folder.path("a.txt")));
    EXPECT_EQ(manager->linkStatusAtPath(folder.path("a.txt"))->size, 1U);
    const auto modified = manager->statusAtPath(folder.path("a.txt"))->modified;

    EXPECT_FALSE(manager->writeAtomically("b", folder.path("a.txt")));
    EXPECT_FALSE(manager->createDirectoryAtPath(folder.path("new")));
    EXPECT_FALSE(manager->copyPath(folder.path("a.txt"), folder.path("b.txt")));
    EXPECT_FALSE(manager->movePath(folder.path("a.txt"), folder.path("b.txt")));
    EXPECT_FALSE(manager->removeFileAtPath(folder.path("a.txt")));
    EXPECT_FALSE(manager->setPermissions(0, folder.path("a.txt")));
    EXPECT_FALSE(manager->setModificationDate({}, folder.path("a.txt")));
    EXPECT_FALSE(manager->synchronizeFileSystem(folder.path()));
    EXPECT_EQ(folder.tree(), before);
    EXPECT_EQ(manager->statusAtPath(folder.path("a.txt"))->modified, modified);
    EXPECT_EQ(manager->statusAtPath(folder.path("a.txt"))->permissions & 0700U, 0600U);
}

TEST(FileManager, IsTheOneOfThePlatform)
{
    const PlatformScope scope;
    const auto mine = makePosixFileManager();
    Platform::shared().setFileManager(mine);
    EXPECT_EQ(&FileManager::defaultManager(), mine.get());
    {
        const WriteGuard guard;
        EXPECT_NE(&FileManager::defaultManager(), mine.get());
    }
    EXPECT_EQ(&FileManager::defaultManager(), mine.get());
}

}  // namespace
}  // namespace kt
