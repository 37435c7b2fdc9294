#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "Sync/Host/Site/TimeZoneChoice.h"

namespace kt {
namespace {

TEST(TimeZoneChoice, OffersPlacesInOrder)
{
    const auto& zones = choosableZones();
    EXPECT_GT(zones.size(), 300U);
    EXPECT_TRUE(std::is_sorted(zones.begin(), zones.end()));
    for (const char* name : {"Europe/Berlin", "Asia/Kathmandu", "UTC"})
        EXPECT_TRUE(std::binary_search(zones.begin(), zones.end(), name)) << name;
}

TEST(TimeZoneChoice, TakesEveryOfferedZone)
{
    for (const std::string& name : choosableZones())
        EXPECT_TRUE(isChoosableZone(name)) << name;
    for (const char* name : {"CET", "Etc/UTC", "Asia/Katmandu"})
        EXPECT_TRUE(isChoosableZone(name)) << name;
}

TEST(TimeZoneChoice, TakesNothingThatIsNoZone)
{
    for (const std::string name :
         {"", "Mars/Olympus", "../../../etc/passwd", "/etc/localtime", "Europe", "zone.tab",
          "Europe/Berlin\n", "europe/berlin ", "Fixed/UTC+01:00:00", "Europe/../Europe/Berlin",
          "Europe//Berlin", "Europe/Berlin/", "./Europe/Berlin", "posix/Europe/Berlin",
          "right/Europe/Berlin", "localtime", "posixrules", "Factory"})
        EXPECT_FALSE(isChoosableZone(name)) << name;
    EXPECT_FALSE(isChoosableZone(std::string(65, 'a')));
}

}  // namespace
}  // namespace kt
