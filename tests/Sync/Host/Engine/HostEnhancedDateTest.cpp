#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Engine/HostEnhancedDate.h"
#include "tests/support/PlatformScope.h"

namespace kt {
namespace {

EnhancedDate dateOf(const CalendarDate& date, const std::string& zone, bool isAllDay)
{
    return HostEnhancedDateClass().enhancedDateWithDate(date, zone, isAllDay);
}

struct Row {
    CalendarDate date;
    std::string zone;
    bool isAllDay;
    std::string iCalDate;
    std::string utcDate;
};

class HostEnhancedDateForms : public testing::TestWithParam<Row> {};

INSTANTIATE_TEST_SUITE_P(
    Rows, HostEnhancedDateForms,
    testing::Values(
        Row{{2007, 12, 24, 10, 0, 0},
            "Europe/Berlin",
            false,
            "20071224T100000",
            "20071224T090000Z"},
        Row{{0, 3, 1, 10, 0, 0}, "UTC", false, "00000301T100000", "00000301T100000Z"},
        Row{{2007, 7, 24, 10, 0, 0}, "Europe/Berlin", false, "20070724T100000", "20070724T080000Z"},
        Row{{2007, 12, 24, 10, 0, 0}, "Etc/UTC", false, "20071224T100000Z", "20071224T100000Z"},
        Row{{2007, 12, 24, 10, 0, 0}, "UTC", false, "20071224T100000", "20071224T100000Z"},
        Row{{2007, 12, 24, 0, 0, 0}, "Europe/Berlin", true, "20071224", "20071223T230000Z"},
        Row{{2007, 12, 24, 0, 0, 0}, "Etc/UTC", true, "20071224", "20071224T000000Z"},
        Row{{2016, 12, 31, 23, 59, 60}, "Etc/UTC", false, "20161231T235960Z", "20161231T235960Z"},
        // A leap second elsewhere, a local time that was skipped, one that came twice.
        Row{{2017, 1, 1, 0, 59, 60}, "Europe/Berlin", false, "20170101T005960", "20170101T000000Z"},
        Row{{2007, 3, 25, 2, 30, 0}, "Europe/Berlin", false, "20070325T023000", "20070325T013000Z"},
        Row{{2007, 10, 28, 2, 30, 0},
            "Europe/Berlin",
            false,
            "20071028T023000",
            "20071028T003000Z"},
        Row{{7, 1, 2, 3, 4, 5}, "Etc/UTC", false, "00070102T030405Z", "00070102T030405Z"}));

TEST_P(HostEnhancedDateForms, AreWritten)
{
    const auto date = dateOf(GetParam().date, GetParam().zone, GetParam().isAllDay);
    EXPECT_EQ(date->iCalDate(), GetParam().iCalDate);
    EXPECT_EQ(date->utcDate(), GetParam().utcDate);
    EXPECT_EQ(date->description(), GetParam().iCalDate + " " + GetParam().zone);
}

struct UTCRow {
    std::string zone;
    bool isAllDay;
    bool isUTCTime;
};
class HostEnhancedDateZones : public testing::TestWithParam<UTCRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, HostEnhancedDateZones,
                         testing::Values(UTCRow{"Etc/UTC", false, true},
                                         UTCRow{"Etc/UTC", true, true}, UTCRow{"UTC", false, false},
                                         UTCRow{"GMT", false, false},
                                         UTCRow{"Europe/Berlin", false, false}));

TEST_P(HostEnhancedDateZones, AreUTCUnderOneNameOnly)
{
    EXPECT_EQ(dateOf({2007, 12, 24, 10, 0, 0}, GetParam().zone, GetParam().isAllDay)->isUTCTime(),
              GetParam().isUTCTime);
}

TEST(HostEnhancedDate, GivesBackWhatItWasMadeFrom)
{
    const CalendarDate moment{2007, 12, 24, 10, 5, 7};
    for (const bool isAllDay : {false, true}) {
        const auto date = dateOf(moment, "Asia/Tokyo", isAllDay);
        EXPECT_EQ(date->calendarDate(), moment);
        EXPECT_EQ(date->timezone(), "Asia/Tokyo");
        EXPECT_EQ(date->isAllDay(), isAllDay);
    }
}

TEST(HostEnhancedDate, IsNilWithoutDateOrZone)
{
    EXPECT_EQ(HostEnhancedDateClass().enhancedDateWithDate(std::nullopt, "Europe/Berlin", false),
              nullptr);
    EXPECT_EQ(HostEnhancedDateClass().enhancedDateWithDate(CalendarDate{}, std::nullopt, false),
              nullptr);
}

TEST(HostEnhancedDate, KeepsANameThatTheZoneDatabaseLacks)
{
    const auto date = dateOf({2007, 12, 24, 10, 0, 0}, "Custom/Office", false);
    EXPECT_EQ(date->timezone(), "Custom/Office");
    EXPECT_EQ(date->iCalDate(), "20071224T100000");
    EXPECT_FALSE(date->isUTCTime());
}

TEST(HostEnhancedDate, TakesANameThatTheZoneDatabaseLacksForTheLocalZone)
{
    const test::PlatformScope platform("/nonexistent/home");
    const CalendarDate date{2007, 12, 24, 10, 0, 0};
    EXPECT_EQ(dateOf(date, "Custom/Office", false)->utcDate(),
              dateOf(date, Platform::shared().localTimeZoneName(), false)->utcDate());
}

TEST(HostEnhancedDate, FormatsTheWallClockAsWritten)
{
    const auto date = dateOf({2007, 12, 24, 10, 5, 0}, "Asia/Tokyo", false);
    EXPECT_EQ(date->descriptionWithCalendarFormat("%Y%m%dT%H:%M:%S"), "20071224T10:05:00");
}

TEST(HostEnhancedDate, EqualsOnlyTheSameWallClockZoneAndFlag)
{
    const CalendarDate midnight{2007, 12, 24, 0, 0, 0};
    const auto date = dateOf(midnight, "Europe/Berlin", false);
    EXPECT_TRUE(date->isEqual(*dateOf(midnight, "Europe/Berlin", false)));
    EXPECT_FALSE(date->isEqual(*dateOf(midnight, "Europe/Berlin", true)));
    EXPECT_FALSE(date->isEqual(*dateOf(midnight, "Europe/Paris", false)));
    EXPECT_FALSE(date->isEqual(*dateOf({2007, 12, 25, 0, 0, 0}, "Europe/Berlin", false)));
    EXPECT_EQ(Value(date), Value(dateOf(midnight, "Europe/Berlin", false)));
}

}  // namespace
}  // namespace kt
