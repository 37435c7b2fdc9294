#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/PropertyList.h"
#include "Sync/Host/Services/HomeLayout.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

using test::TemporaryFolder;

constexpr const char* kNodes = "Library/Application Support/iCal/nodes.plist";
constexpr const char* kEmptyList = "<plist version=\"1.0\"><dict/></plist>";

std::string nested(int depth)
{
    std::string text = "<plist version=\"1.0\"><dict><key>List</key>";
    for (int i = 1; i < depth; ++i)
        text += "<array>";
    for (int i = 1; i < depth; ++i)
        text += "</array>";
    return text + "</dict></plist>";
}

TEST(SystemVersionOfHome, IsThatOfTheLayoutFound)
{
    const TemporaryFolder home;
    EXPECT_EQ(systemVersionOfHome(home.path()), 5) << "an empty home begins in the newer layout";
    home.write(kNodes, kEmptyList);
    EXPECT_EQ(systemVersionOfHome(home.path()), 4);
    home.makeFolder("Library/Calendars");
    EXPECT_EQ(systemVersionOfHome(home.path()), 5);
}

TEST(SystemVersionOfHome, IsNotChangedByAttachedFiles)
{
    const TemporaryFolder home;
    home.write(kNodes, kEmptyList);
    home.write("Library/Calendars/Attachments/1/Menü.txt", "Suppe");
    EXPECT_EQ(systemVersionOfHome(home.path()), 4);
    home.makeFolder("Library/Calendars/A.calendar");
    EXPECT_EQ(systemVersionOfHome(home.path()), 5);
    home.remove("Library/Application Support/iCal/nodes.plist");
    home.remove("Library/Calendars/A.calendar");
    EXPECT_EQ(systemVersionOfHome(home.path()), 5);
}

TEST(ReasonNotToTouchStore, IsNoneForAStoreThatIsNotThereYet)
{
    const TemporaryFolder home;
    EXPECT_EQ(reasonNotToTouchStore(home.path(), 4), std::nullopt);
    EXPECT_EQ(reasonNotToTouchStore(home.path(), 5), std::nullopt);
}

TEST(ReasonNotToTouchStore, IsNoneForAStoreThatCanBeRead)
{
    const TemporaryFolder home;
    home.makeFolder("Library/Calendars/A.calendar");
    home.write(kNodes, kEmptyList);
    home.makeFolder("Library/Application Support/iCal/Sources");
    EXPECT_EQ(reasonNotToTouchStore(home.path(), 4), std::nullopt);
    EXPECT_EQ(reasonNotToTouchStore(home.path(), 5), std::nullopt);
}

struct FolderRow {
    int systemVersion;
    const char* folder;
};
class StoreFolder : public testing::TestWithParam<FolderRow> {
protected:
    std::string expected() const
    {
        return "Der Kalenderordner \"" + home.path(GetParam().folder) +
               "\" kann nicht gelesen werden.";
    }

    TemporaryFolder home;
};
INSTANTIATE_TEST_SUITE_P(Rows, StoreFolder,
                         testing::Values(FolderRow{5, "Library/Calendars"},
                                         FolderRow{4, "Library/Application Support/iCal"},
                                         FolderRow{4, "Library/Application Support/iCal/Sources"}));

TEST_P(StoreFolder, IsARefusalWhenItIsNoFolder)
{
    home.write(GetParam().folder, "eine Datei");
    EXPECT_EQ(reasonNotToTouchStore(home.path(), GetParam().systemVersion), expected());
}

TEST_P(StoreFolder, IsARefusalWhenItIsALinkThatLeadsNowhere)
{
    home.write(std::string(GetParam().folder) + "/x", "");
    home.remove(GetParam().folder);
    std::filesystem::create_symlink("/nonexistent/volume", home.path(GetParam().folder));
    EXPECT_EQ(reasonNotToTouchStore(home.path(), GetParam().systemVersion), expected());
}

TEST(NodeFile, IsARefusalWhenItIsNoDictionary)
{
    const TemporaryFolder home;
    for (const char* text : {"", "Unsinn", "<plist version=\"1.0\"><array/></plist>"}) {
        home.write(kNodes, text);
        EXPECT_EQ(reasonNotToTouchStore(home.path(), 4),
                  "Die Datei \"" + home.path(kNodes) +
                      "\" kann nicht gelesen werden oder ist beschädigt.")
            << text;
        EXPECT_EQ(reasonNotToTouchStore(home.path(), 5), std::nullopt);
    }
}

TEST(NodeFile, MayBeNestedUpToTheLimit)
{
    const TemporaryFolder home;
    home.write(kNodes, nested(kPropertyListDepthLimit));
    EXPECT_EQ(reasonNotToTouchStore(home.path(), 4), std::nullopt);
    home.write(kNodes, nested(kPropertyListDepthLimit + 1));
    EXPECT_EQ(reasonNotToTouchStore(home.path(), 4),
              "Die Datei \"" + home.path(kNodes) + "\" ist zu tief verschachtelt.");
}

}  // namespace
}  // namespace kt
