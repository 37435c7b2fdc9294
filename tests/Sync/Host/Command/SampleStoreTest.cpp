#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SyncKit.h"

namespace kt::test {
namespace {

namespace fs = std::filesystem;

struct SampleRow {
    const char* folder;
    const char* counts;
    std::size_t itemFiles;
    bool isOfOlderLayout;
};

class SampleStore : public testing::TestWithParam<SampleRow> {
protected:
    SampleStore()
    {
        fs::copy(std::string(KT_SOURCE_DIR) + "/samples/" + GetParam().folder, home.path(),
                 fs::copy_options::recursive);
    }
    /// An empty home in which the other layout is used.
    void beginOtherLayout(const StoryHome& other) const
    {
        if (!GetParam().isOfOlderLayout)
            other.folder().write("Library/Application Support/iCal/nodes.plist",
                                 "<plist version=\"1.0\"><dict><key>Version</key>"
                                 "<integer>2</integer><key>List</key><array/></dict></plist>");
    }
    /// The store, of whichever layout, without what is the suite's own.
    static std::map<std::string, std::string> storeOf(const StoryHome& home)
    {
        auto all = home.snapshot();
        std::erase_if(all, [](const auto& entry) {
            return entry.first.find("VeloraSuite") != std::string::npos ||
                   !entry.first.starts_with("Library/") ||
                   entry.first == "Library/Application Support";
        });
        return all;
    }

    StoryServer server;
    StoryHome home{server};
};

INSTANTIATE_TEST_SUITE_P(
    Rows, SampleStore,
    testing::Values(SampleRow{"home-10.5", "6 Kalender, 13 Ereignisse, 4 Aufgaben\n", 16, false},
                    SampleRow{"home-10.4", "5 Kalender, 9 Ereignisse, 4 Aufgaben\n", 4, true}));

TEST_P(SampleStore, CanBeReadToTheLastByte)
{
    EXPECT_EQ(home.run({"check"}).out, "Alles kann gelesen werden.\n");
    EXPECT_EQ(home.run({"records", "--count"}).out, GetParam().counts);
}

TEST_P(SampleStore, IsWrittenInCRLFAndFoldedLines)
{
    std::size_t files = 0;
    std::size_t foldedLines = 0;
    for (const auto& [name, bytes] : home.folder().tree()) {
        if (!name.ends_with(".ics"))
            continue;
        ++files;
        for (std::size_t begin = 0; begin < bytes.size();) {
            const std::size_t end = bytes.find('\n', begin);
            ASSERT_NE(end, std::string::npos) << name;
            EXPECT_EQ(bytes[end - 1], '\r') << name;
            EXPECT_LE(end - 1 - begin, 75U) << name;
            foldedLines += bytes[begin] == ' ' ? 1 : 0;
            begin = end + 1;
        }
    }
    EXPECT_EQ(files, GetParam().itemFiles);
    EXPECT_GT(foldedLines, 0U);
}

TEST_P(SampleStore, ReachesAHomeOfTheOtherLayoutWhole)
{
    StoryHome other(server);
    beginOtherLayout(other);
    const auto untouched = storeOf(home);
    EXPECT_EQ(home.sync().exitCode, 0);
    EXPECT_EQ(storeOf(home), untouched) << "the first upload";
    EXPECT_EQ(other.sync().exitCode, 0);
    EXPECT_EQ(other.titles(), home.titles());

    const auto homeBefore = storeOf(home);
    const auto otherBefore = storeOf(other);
    const auto serverBefore = server.records();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(other.sync().exitCode, 0);
        EXPECT_EQ(home.sync().exitCode, 0);
    }
    EXPECT_EQ(storeOf(home), homeBefore);
    EXPECT_EQ(storeOf(other), otherBefore);
    EXPECT_EQ(server.records(), serverBefore);
}

}  // namespace
}  // namespace kt::test
