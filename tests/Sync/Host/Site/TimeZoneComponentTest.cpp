#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libical/ical.h>

#include "Sync/Host/Publishing/Day.h"
#include "Sync/Host/Site/TimeZoneComponent.h"
#include "tests/Sync/Host/Publishing/PublishingFixture.h"

namespace kt::test {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string textOf(const std::string& zone, int firstYear)
{
    ContentLines lines;
    appendTimeZone(lines, zone, firstYear);
    return lines.lines();
}

TEST(TimeZoneComponent, DescribesARegularZoneByTwoRules)
{
    EXPECT_EQ(textOf("Europe/Berlin", 2007),
              "BEGIN:VTIMEZONE\r\nTZID:Europe/Berlin\r\n"
              "BEGIN:STANDARD\r\nDTSTART:20061029T030000\r\nTZOFFSETFROM:+0200\r\n"
              "TZOFFSETTO:+0100\r\nTZNAME:CET\r\nRRULE:FREQ=YEARLY;BYMONTH=10;BYDAY=-1SU\r\n"
              "END:STANDARD\r\n"
              "BEGIN:DAYLIGHT\r\nDTSTART:20070325T020000\r\nTZOFFSETFROM:+0100\r\n"
              "TZOFFSETTO:+0200\r\nTZNAME:CEST\r\nRRULE:FREQ=YEARLY;BYMONTH=3;BYDAY=-1SU\r\n"
              "END:DAYLIGHT\r\n"
              "END:VTIMEZONE\r\n");
}

TEST(TimeZoneComponent, CountsWeekdaysFromTheBeginningWhereTheRuleDoes)
{
    EXPECT_THAT(textOf("America/New_York", 2010),
                HasSubstr("RRULE:FREQ=YEARLY;BYMONTH=11;BYDAY=1SU"));
}

TEST(TimeZoneComponent, NamesTheOffsetOfAZoneWithoutChanges)
{
    const std::string text = textOf("Asia/Kolkata", 2020);
    EXPECT_THAT(text, HasSubstr("TZOFFSETTO:+0530\r\nTZNAME:IST\r\n"));
    EXPECT_THAT(text, Not(HasSubstr("RRULE")));
}

struct IcalFree {
    void operator()(icalcomponent* component) const { icalcomponent_free(component); }
    void operator()(icaltimezone* zone) const { icaltimezone_free(zone, 1); }
};

class ZoneByAnotherLibrary : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Zones, ZoneByAnotherLibrary,
                         testing::Values("Europe/Berlin", "Europe/London", "America/New_York",
                                         "America/Sao_Paulo", "Asia/Kathmandu",
                                         "Australia/Lord_Howe", "Africa/Casablanca",
                                         "Asia/Jerusalem", "Pacific/Apia"));

// Another library reads the component and finds the offsets that the zone database has.
TEST_P(ZoneByAnotherLibrary, HasTheSameOffsetAtEveryNoon)
{
    const std::string name = GetParam();
    icalcomponent* component = icalcomponent_new_from_string(textOf(name, 1995).c_str());
    ASSERT_NE(component, nullptr);
    const std::unique_ptr<icaltimezone, IcalFree> zone(icaltimezone_new());
    ASSERT_EQ(icaltimezone_set_component(zone.get(), component), 1);
    const Day last = Day::of(2037, 12, 31);
    for (Day day = Day::of(1995, 1, 3); day <= last; day = day + 5) {
        CalendarDate noon = day.date();
        noon.hour = 12;
        const Date instant = instantOfCalendarDate(noon, name);
        if (calendarDateOfInstant(instant, name) != noon)
            continue;  // Samoa left a day out
        icaltimetype time = icaltime_from_string(dateTimeText(noon).c_str());
        int isDaylight = 0;
        const int offset = icaltimezone_get_utc_offset(zone.get(), &time, &isDaylight);
        const auto expected = std::chrono::duration_cast<std::chrono::seconds>(
            instantOfCalendarDate(noon, "Etc/UTC").instant - instant.instant);
        ASSERT_EQ(offset, expected.count()) << name << ' ' << dateTimeText(noon);
    }
}

}  // namespace
}  // namespace kt::test
