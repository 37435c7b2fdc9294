#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Command/Place.h"
#include "Sync/Host/Services/MachineName.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

using test::PlatformScope;
using test::TemporaryFolder;

class PlaceTest : public testing::Test {
protected:
    static constexpr const char* kSuite = "Library/Application Support/VeloraSuite/";

    TemporaryFolder home;
    PlatformScope platform{home.path()};
    CommandLine line;
};

TEST_F(PlaceTest, WithoutOptionsOrSettingsIsTheUsersOwn)
{
    const Place place = placeForCommandLine(line);
    EXPECT_EQ(place.home, home.path());
    EXPECT_EQ(place.systemVersion, 5);
    EXPECT_EQ(place.serverURL, "sqlite:" + home.path(kSuite) + "Server.sqlite");
    EXPECT_EQ(place.device, machineName());
    EXPECT_TRUE(place.pluginPath.ends_with("/ICalSyncPlugin.bundle"));
    EXPECT_EQ(place.calendarProgram.program, "iCal");
}

TEST_F(PlaceTest, FollowsTheLayoutThatIsThere)
{
    home.write("Library/Application Support/iCal/nodes.plist", "");
    EXPECT_EQ(placeForCommandLine(line).systemVersion, 4);
    home.makeFolder("Library/Calendars");
    EXPECT_EQ(placeForCommandLine(line).systemVersion, 5);
}

TEST_F(PlaceTest, FollowsTheSettingsInTheSuitesFolder)
{
    home.write(std::string(kSuite) + "icalsync.toml",
               "server = \"sqlite:/srv/k\"\ndevice = \"Büro\"\nsystem-version = 4\n");
    const Place place = placeForCommandLine(line);
    EXPECT_EQ(place.serverURL, "sqlite:/srv/k");
    EXPECT_EQ(place.device, "Büro");
    EXPECT_EQ(place.systemVersion, 4);
}

TEST_F(PlaceTest, TheCommandLineGoesBeforeTheSettings)
{
    home.write(std::string(kSuite) + "icalsync.toml",
               "server = \"sqlite:/srv/k\"\ndevice = \"Büro\"\nplugin = \"/p\"\n");
    line.server = "sqlite:/anderer";
    line.device = "Laptop";
    line.plugin = "/q";
    line.systemVersion = 4;
    const Place place = placeForCommandLine(line);
    EXPECT_EQ(place.serverURL, "sqlite:/anderer");
    EXPECT_EQ(place.device, "Laptop");
    EXPECT_EQ(place.pluginPath, "/q");
    EXPECT_EQ(place.systemVersion, 4);
}

TEST_F(PlaceTest, ANamedSettingsFileStandsForTheUsualOne)
{
    home.write(std::string(kSuite) + "icalsync.toml", "device = \"Büro\"\n");
    home.write("andere.toml", "home = \"/home/anna\"\n");
    line.config = home.path("andere.toml");
    const Place place = placeForCommandLine(line);
    EXPECT_EQ(place.home, "/home/anna");
    EXPECT_EQ(place.device, machineName());
    EXPECT_EQ(place.serverURL, "sqlite:/home/anna/" + std::string(kSuite) + "Server.sqlite");
}

TEST_F(PlaceTest, MakesTheHomeAbsolute)
{
    line.home = "x/../y/";
    EXPECT_EQ(placeForCommandLine(line).home, std::filesystem::current_path().string() + "/y");
    line.home = "/";
    EXPECT_EQ(placeForCommandLine(line).home, "/");
}

TEST_F(PlaceTest, AnAddressOfNoServerIsRefused)
{
    line.server = "http://example.invalid";
    EXPECT_THROW(placeForCommandLine(line), Exception);
}

}  // namespace
}  // namespace kt
