#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/statvfs.h>

#include "Sync/Additions/KTFileManagerAdditions+Volumes.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

using test::TemporaryFolder;
using testing::Ge;
using testing::Gt;
using testing::Le;
using testing::TestWithParam;
using testing::Values;

struct statvfs figuresOf(const std::string& path)
{
    struct statvfs figures {};
    EXPECT_EQ(::statvfs(path.c_str(), &figures), 0);
    return figures;
}

/// Asks while the file system stands still: others use it as well.
struct Asked {
    Asked(const std::string& path,
          const std::function<std::uint64_t(const struct statvfs&)>& expect,
          std::uint64_t (*ask)(const std::optional<std::string>&))
    {
        constexpr int kMostTries = 1000;
        for (int tries = 0; tries < kMostTries; ++tries) {
            before = expect(figuresOf(path));
            answer = ask(path);
            if (expect(figuresOf(path)) == before)
                return;
        }
        ADD_FAILURE() << "the file system never stood still";
    }

    std::uint64_t before = 0;
    std::uint64_t answer = 0;
};

TEST(KTFileManagerVolumes, GivesTheFiguresOfTheVolumeThatHoldsThePath)
{
    const TemporaryFolder folder;
    const std::string& path = folder.path();
    using Figures = struct statvfs;
    const Asked size(
        path, [](const Figures& figures) { return figures.f_blocks * figures.f_frsize; },
        fileSystemSizeOnVolume);
    EXPECT_EQ(size.answer, size.before);
    const Asked freeSpace(
        path, [](const Figures& figures) { return figures.f_bavail * figures.f_frsize; },
        freeSpaceOnVolume);
    EXPECT_EQ(freeSpace.answer, freeSpace.before);
    const Asked nodes(
        path, [](const Figures& figures) { return figures.f_files; }, nodesOnVolume);
    EXPECT_EQ(nodes.answer, nodes.before);
    const Asked freeNodes(
        path, [](const Figures& figures) { return figures.f_ffree; }, freeNodesOnVolume);
    EXPECT_EQ(freeNodes.answer, freeNodes.before);
}

TEST(KTFileManagerVolumes, CountsSpaceInBytes)
{
    const TemporaryFolder folder;
    EXPECT_EQ(fileSystemSizeOnVolume(folder.path()),
              std::filesystem::space(folder.path()).capacity);
    EXPECT_THAT(fileSystemSizeOnVolume(folder.path()), Gt(0U));
    EXPECT_THAT(freeSpaceOnVolume(folder.path()), Le(fileSystemSizeOnVolume(folder.path())));
    EXPECT_THAT(nodesOnVolume(folder.path()), Ge(freeNodesOnVolume(folder.path())));
}

TEST(KTFileManagerVolumes, TakesAFileForTheVolumeThatHoldsIt)
{
    const TemporaryFolder folder;
    folder.write("a.ics", "x");
    EXPECT_EQ(fileSystemSizeOnVolume(folder.path("a.ics")), fileSystemSizeOnVolume(folder.path()));
}

class KTFileManagerVolumesUnknown : public TestWithParam<std::optional<std::string>> {};
INSTANTIATE_TEST_SUITE_P(Rows, KTFileManagerVolumesUnknown,
                         Values(std::nullopt, "", "/nonexistent/volume"));
TEST_P(KTFileManagerVolumesUnknown, HasNoFigures)
{
    EXPECT_EQ(fileSystemSizeOnVolume(GetParam()), 0U);
    EXPECT_EQ(freeSpaceOnVolume(GetParam()), 0U);
    EXPECT_EQ(nodesOnVolume(GetParam()), 0U);
    EXPECT_EQ(freeNodesOnVolume(GetParam()), 0U);
}

TEST(KTFileManagerVolumes, GivesZeroForAFigureThatTheFileSystemDoesNotKeep)
{
    EXPECT_EQ(fileSystemSizeOnVolume("/proc"), 0U);
    EXPECT_EQ(nodesOnVolume("/proc"), 0U);
}

struct BytesRow {
    std::uint64_t bytes;
    std::string text;
};
class FormatBytesToString : public TestWithParam<BytesRow> {};
constexpr std::uint64_t kKilo = 1024;
constexpr std::uint64_t kMega = kKilo * kKilo;
constexpr std::uint64_t kGiga = kKilo * kMega;
constexpr std::uint64_t kTera = kKilo * kGiga;
INSTANTIATE_TEST_SUITE_P(Rows, FormatBytesToString,
                         Values(BytesRow{0, "0.0 B"}, BytesRow{1, "1.0 B"},
                                BytesRow{1023, "1023.0 B"}, BytesRow{1024, "1024.0 B"},
                                BytesRow{1025, "1.0 kB"}, BytesRow{1536, "1.5 kB"},
                                BytesRow{kMega, "1024.0 kB"}, BytesRow{kMega + 1, "1.0 MB"},
                                BytesRow{kMega * 5 / 2, "2.5 MB"}, BytesRow{kGiga, "1024.0 MB"},
                                BytesRow{kGiga + 1, "1.0 GB"}, BytesRow{kTera, "1024.0 GB"},
                                BytesRow{kTera + 1, "1.0 TB"}, BytesRow{kTera * 1024, "1024.0 TB"},
                                // Beyond the last unit the number grows.
                                BytesRow{kTera * 1024 + kTera, "1025.0 TB"},
                                BytesRow{kTera * 2048, "2048.0 TB"},
                                BytesRow{UINT64_MAX, "16777216.0 TB"}));
TEST_P(FormatBytesToString, Says)
{
    EXPECT_EQ(formatBytesToString(GetParam().bytes), GetParam().text);
}

TEST(KTFileManagerVolumes, SaysOneMegabyteOnlyAboveTwoToTheTwentieth)
{
    EXPECT_EQ(formatBytesToString(1U << 20), "1024.0 kB");
    EXPECT_EQ(formatBytesToString((1U << 20) + 1), "1.0 MB");
}

}  // namespace
}  // namespace kt
