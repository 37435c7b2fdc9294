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

TEST(HomeLayouts, AreEachFoundByTheirSystem)
{
    for (const HomeLayoutVersion& row : kHomeLayouts) {
        EXPECT_EQ(homeLayoutOfSystem(row.systemVersion), row.layout);
        EXPECT_EQ(systemVersionOf(row.layout), row.systemVersion);
    }
    EXPECT_EQ(kOldestSystemVersion, 4);
    EXPECT_EQ(kNewestSystemVersion, 5);
}

TEST(HomeLayouts, AreNotThoseOfOtherSystems)
{
    for (const int version : {-1, 0, 3, 6}) {
        EXPECT_EQ(homeLayoutOfSystem(version), std::nullopt);
        EXPECT_FALSE(obstacleInStore("/nonexistent", version));
    }
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

/// What can be left of a 10.4 store while its node file is out of its place.
class RemainsOf104 : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, RemainsOf104,
    testing::Values("Library/Application Support/iCal/nodes.plist.bak",
                    "Library/Application Support/iCal/Sources/A.calendar/x",
                    "Library/Application Support/iCal/Sources.bak/A.calendar/x",
                    "Library/Application Support/.iCal.ersetzt/nodes.plist"));

TEST_P(RemainsOf104, StillMakeItAHomeOfThatLayout)
{
    const TemporaryFolder home;
    home.write(GetParam(), "");
    EXPECT_EQ(systemVersionOfHome(home.path()), 4);
    home.makeFolder("Library/Calendars");
    EXPECT_EQ(systemVersionOfHome(home.path()), 5);
}

TEST(SystemVersionOfHome, IsNotThatOfFoldersThatHoldNothing)
{
    const TemporaryFolder home;
    home.makeFolder("Library/Application Support/iCal/Sources");
    home.makeFolder("Library/Application Support/iCal/Sources.bak");
    EXPECT_EQ(systemVersionOfHome(home.path()), 5);
}

TEST(SystemVersionOfHome, IsThatOfTheStoreThatIsJustBeingPutBack)
{
    const TemporaryFolder home;
    home.write(kNodes, kEmptyList);
    home.makeFolder("Library/.Calendars.ersetzt");
    EXPECT_EQ(systemVersionOfHome(home.path()), 5);
}

std::string reasonAgainst(const TemporaryFolder& home, int systemVersion)
{
    const auto obstacle = obstacleInStore(home.path(), systemVersion);
    return obstacle ? obstacle->reason : "";
}

TEST(ObstacleInStore, IsNoneForA105StoreThatIsNotThereYet)
{
    const TemporaryFolder home;
    EXPECT_EQ(reasonAgainst(home, 5), "");
}

TEST(ObstacleInStore, IsNoneForAStoreThatCanBeRead)
{
    const TemporaryFolder home;
    home.makeFolder("Library/Calendars/A.calendar");
    home.write(kNodes, kEmptyList);
    home.makeFolder("Library/Application Support/iCal/Sources");
    EXPECT_EQ(reasonAgainst(home, 4), "");
    EXPECT_EQ(reasonAgainst(home, 5), "");
}

TEST(ObstacleInStore, IsAStoreOfTheOtherLayoutWhereThatIsTheOnlyOne)
{
    const TemporaryFolder old;
    old.write(kNodes, kEmptyList);
    old.write("Library/Calendars/Attachments/1/x", "");
    EXPECT_EQ(reasonAgainst(old, 5),
              "Die Kalender dieses Heimordners stehen in \"" +
                  old.path("Library/Application Support/iCal") +
                  "\", der Ablage von Mac OS X 10.4: bitte --system-version 4 angeben.");
    const TemporaryFolder home;
    home.makeFolder("Library/Calendars/A.calendar");
    EXPECT_EQ(reasonAgainst(home, 4),
              "Die Kalender dieses Heimordners stehen in \"" + home.path("Library/Calendars") +
                  "\", der Ablage von Mac OS X 10.5: bitte --system-version 5 angeben.");
    EXPECT_EQ(obstacleInStore(home.path(), 4)->kind, StoreObstacle::Kind::otherLayout);
}

struct FolderRow {
    int systemVersion;
    const char* folder;
};
class StoreFolder : public testing::TestWithParam<FolderRow> {
protected:
    void expectObstacle() const
    {
        const auto obstacle = obstacleInStore(home.path(), GetParam().systemVersion);
        ASSERT_TRUE(obstacle);
        EXPECT_EQ(obstacle->kind, StoreObstacle::Kind::folder);
        EXPECT_EQ(obstacle->reason, "Der Kalenderordner \"" + home.path(GetParam().folder) +
                                        "\" kann nicht gelesen werden.");
    }

    TemporaryFolder home;
};
INSTANTIATE_TEST_SUITE_P(Rows, StoreFolder,
                         testing::Values(FolderRow{5, "Library/Calendars"},
                                         FolderRow{4, "Library/Application Support/iCal"},
                                         FolderRow{4, "Library/Application Support/iCal/Sources"}));

TEST_P(StoreFolder, IsAnObstacleWhenItIsNoFolder)
{
    home.write(GetParam().folder, "eine Datei");
    expectObstacle();
}

TEST_P(StoreFolder, IsAnObstacleWhenItIsALinkThatLeadsNowhere)
{
    home.write(std::string(GetParam().folder) + "/x", "");
    home.remove(GetParam().folder);
    std::filesystem::create_symlink("/nonexistent/volume", home.path(GetParam().folder));
    expectObstacle();
}

/// A home of the older layout with whatever node file a test gives it.
class NodeFile : public testing::Test {
protected:
    NodeFile() { home.makeFolder("Library/Application Support/iCal"); }
    void expectObstacle(const std::string& reason) const
    {
        const auto obstacle = obstacleInStore(home.path(), 4);
        ASSERT_TRUE(obstacle);
        EXPECT_EQ(obstacle->kind, StoreObstacle::Kind::nodeFile);
        EXPECT_EQ(obstacle->reason, reason);
    }

    TemporaryFolder home;
    const std::string quotedPath = "\"" + home.path(kNodes) + "\"";
};

TEST_F(NodeFile, Rule3_IsAnObstacleWhenItIsNoDictionary)
{
    for (const char* text : {"", "Unsinn", "<plist version=\"1.0\"><array/></plist>"}) {
        home.write(kNodes, text);
        expectObstacle("Die Datei " + quotedPath +
                       " kann nicht gelesen werden oder ist beschädigt.");
    }
}

TEST_F(NodeFile, MayBeNestedUpToTheLimit)
{
    home.write(kNodes, nested(kPropertyListDepthLimit));
    EXPECT_EQ(reasonAgainst(home, 4), "");
    home.write(kNodes, nested(kPropertyListDepthLimit + 1));
    expectObstacle("Die Datei " + quotedPath + " ist zu tief verschachtelt.");
}

TEST_F(NodeFile, HasToBeThereBeforeAnythingCanBeWritten)
{
    expectObstacle("Es gibt keine Datei " + quotedPath +
                   ", ohne die sich keine Kalender schreiben lassen: bitte iCal einmal starten und "
                   "beenden oder --system-version 5 angeben.");
}

TEST_F(NodeFile, IsAnObstacleWhenItIsMissingBesideCalendars)
{
    const std::string missing = "Die Datei " + quotedPath +
                                " fehlt, und ohne sie gilt keiner der Kalender: bitte sie erst ";
    home.write("Library/Application Support/iCal/Sources/A.calendar/Info.plist", "");
    expectObstacle(missing + "aus einer Sicherungskopie zurückholen.");
    home.makeFolder("Library/Application Support/VeloraSuite/Backups");
    expectObstacle(missing + "mit \"icalsync restore\" zurückholen.");
    home.write("Library/Application Support/iCal/nodes.plist.bak", "");
    expectObstacle(missing + "aus \"" + home.path(kNodes) + ".bak\" zurückholen.");
}

}  // namespace
}  // namespace kt
