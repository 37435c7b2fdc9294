#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SyncKit.h"

namespace kt::test {
namespace {

namespace fs = std::filesystem;

class SampleStore : public testing::Test {
protected:
    SampleStore()
    {
        fs::copy(std::string(KT_SOURCE_DIR) + "/samples/home-10.5", home.path(),
                 fs::copy_options::recursive);
    }

    StoryServer server;
    StoryHome home{server};
};

TEST_F(SampleStore, CanBeReadToTheLastByte)
{
    EXPECT_EQ(home.run({"check"}).out, "Alles kann gelesen werden.\n");
    EXPECT_EQ(home.run({"records", "--count"}).out, "6 Kalender, 13 Ereignisse, 4 Aufgaben\n");
}

TEST_F(SampleStore, IsWrittenInCRLFAndFoldedLines)
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
    EXPECT_EQ(files, 16U);
    EXPECT_GT(foldedLines, 0U);
}

TEST_F(SampleStore, ReachesAHomeOfTheOtherLayoutWhole)
{
    StoryHome old(server);
    old.folder().write("Library/Application Support/iCal/nodes.plist",
                       "<plist version=\"1.0\"><dict><key>Version</key><integer>2</integer>"
                       "<key>List</key><array/></dict></plist>");
    EXPECT_EQ(home.sync().exitCode, 0);
    EXPECT_EQ(old.sync().exitCode, 0);
    EXPECT_EQ(old.titles(), home.titles());

    const auto homeBefore = home.storeSnapshot();
    const auto serverBefore = server.records();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(old.sync().exitCode, 0);
        EXPECT_EQ(home.sync().exitCode, 0);
    }
    EXPECT_EQ(home.storeSnapshot(), homeBefore);
    EXPECT_EQ(server.records(), serverBefore);
}

}  // namespace
}  // namespace kt::test
