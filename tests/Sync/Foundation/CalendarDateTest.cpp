#include <limits>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "Sync/Foundation/CalendarDate.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/ValueGenerator.h"

namespace kt {
namespace {

using test::PlatformScope;
using testing::TestWithParam;
using testing::Values;

constexpr std::string_view kDateTime = "%Y%m%dT%H%M%S";

struct ParseRow {
    std::string text;
    std::string format;
    std::optional<CalendarDate> date;
};

class CalendarDateParse : public TestWithParam<ParseRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, CalendarDateParse,
    Values(
        ParseRow{"20071224T100000", "%Y%m%dT%H%M%S", CalendarDate{2007, 12, 24, 10, 0, 0}},
        ParseRow{"20071224", "%Y%m%d", CalendarDate{2007, 12, 24, 0, 0, 0}},
        ParseRow{"20071224T100000Z", "%Y%m%dT%H%M%SZ", CalendarDate{2007, 12, 24, 10, 0, 0}},
        ParseRow{"00000101", "%Y%m%d", CalendarDate{0, 1, 1, 0, 0, 0}},
        ParseRow{"99991231", "%Y%m%d", CalendarDate{9999, 12, 31, 0, 0, 0}},
        ParseRow{"20080229", "%Y%m%d", CalendarDate{2008, 2, 29, 0, 0, 0}},
        ParseRow{"20070229", "%Y%m%d", std::nullopt},
        ParseRow{"20000229", "%Y%m%d", CalendarDate{2000, 2, 29, 0, 0, 0}},
        ParseRow{"19000229", "%Y%m%d", std::nullopt}, ParseRow{"20070431", "%Y%m%d", std::nullopt},
        ParseRow{"20070132", "%Y%m%d", std::nullopt}, ParseRow{"20070100", "%Y%m%d", std::nullopt},
        ParseRow{"20071301", "%Y%m%d", std::nullopt}, ParseRow{"20070001", "%Y%m%d", std::nullopt},
        ParseRow{"20071231T235960", "%Y%m%dT%H%M%S", CalendarDate{2007, 12, 31, 23, 59, 60}},
        ParseRow{"20071231T235961", "%Y%m%dT%H%M%S", std::nullopt},
        ParseRow{"20071231T240000", "%Y%m%dT%H%M%S", std::nullopt},
        ParseRow{"20071231T236000", "%Y%m%dT%H%M%S", std::nullopt},
        ParseRow{"2007122", "%Y%m%d", std::nullopt}, ParseRow{"200712240", "%Y%m%d", std::nullopt},
        ParseRow{"2007 224", "%Y%m%d", std::nullopt}, ParseRow{"-0071224", "%Y%m%d", std::nullopt},
        ParseRow{"+0071224", "%Y%m%d", std::nullopt},
        ParseRow{"20071224t100000", "%Y%m%dT%H%M%S", std::nullopt},
        ParseRow{"20071224T100000z", "%Y%m%dT%H%M%SZ", std::nullopt},
        ParseRow{"", "%Y%m%d", std::nullopt}, ParseRow{"", "", CalendarDate{}},
        ParseRow{"2007-12-24 10:00", "%Y-%m-%d %H:%M", CalendarDate{2007, 12, 24, 10, 0, 0}},
        ParseRow{"%B2007", "%B%Y", CalendarDate{2007, 1, 1, 0, 0, 0}},
        ParseRow{"2007%", "%Y%", CalendarDate{2007, 1, 1, 0, 0, 0}}));

TEST_P(CalendarDateParse, WantsTheWholeTextAndARealDate)
{
    EXPECT_EQ(CalendarDate::dateWithString(GetParam().text, GetParam().format), GetParam().date);
}

TEST(CalendarDate, WritesWhatItReads)
{
    const CalendarDate date{7, 2, 3, 4, 5, 60};
    EXPECT_EQ(date.descriptionWithCalendarFormat(kDateTime), "00070203T040560");
    EXPECT_EQ(date.descriptionWithCalendarFormat("%d.%m.%Y %H:%M:%S"), "03.02.0007 04:05:60");
}

TEST(CalendarDate, CopiesWhatItDoesNotKnow)
{
    EXPECT_EQ(CalendarDate().descriptionWithCalendarFormat("%B %% %"), "%B %% %");
}

TEST(CalendarDate, WritesYearsThatFourDigitsDoNotHold)
{
    EXPECT_EQ((CalendarDate{12345, 1, 2, 0, 0, 0}).descriptionWithCalendarFormat("%Y%m%d"),
              "123450102");
    EXPECT_EQ((CalendarDate{-5, 1, 2, 0, 0, 0}).descriptionWithCalendarFormat("%Y"), "00-5");
    EXPECT_EQ((CalendarDate{std::numeric_limits<int>::min(), 1, 2, 0, 0, 0})
                  .descriptionWithCalendarFormat("%Y%Y"),
              "-2147483648-2147483648");
}

struct DigitsRow {
    std::string date;
    std::string time;
    std::optional<CalendarDate> found;
};
class CalendarDateDigits : public TestWithParam<DigitsRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, CalendarDateDigits,
    Values(DigitsRow{"20071224", "", CalendarDate{2007, 12, 24, 0, 0, 0}},
           DigitsRow{"20071224", "101112", CalendarDate{2007, 12, 24, 10, 11, 12}},
           DigitsRow{"20071231", "235960", CalendarDate{2007, 12, 31, 23, 59, 60}},
           DigitsRow{"20070229", "", std::nullopt}, DigitsRow{"20071224", "240000", std::nullopt},
           DigitsRow{"2007122", "", std::nullopt}, DigitsRow{"200712241", "", std::nullopt},
           DigitsRow{"20071224", "10111", std::nullopt},
           DigitsRow{"20071224", "1011123", std::nullopt}, DigitsRow{"", "", std::nullopt},
           DigitsRow{"", "101112", std::nullopt}, DigitsRow{"2007122x", "", std::nullopt},
           DigitsRow{"20071224", "10 112", std::nullopt}));

TEST_P(CalendarDateDigits, AreADateAndPerhapsATime)
{
    EXPECT_EQ(CalendarDate::dateWithDigits(GetParam().date, GetParam().time), GetParam().found);
}

RC_GTEST_PROP(CalendarDateDigits, AreReadAsWithAFormat, ())
{
    const auto digits = rc::gen::element('0', '0', '1', '1', '2', '3', '5', '9');
    const auto date = *rc::gen::container<std::string>(8, digits);
    const auto time = *rc::gen::container<std::string>(6, digits);
    RC_ASSERT(CalendarDate::dateWithDigits(date, time) ==
              CalendarDate::dateWithString(date + time, "%Y%m%d%H%M%S"));
    RC_ASSERT(CalendarDate::dateWithDigits(date) == CalendarDate::dateWithString(date, "%Y%m%d"));
}

TEST(CalendarDate, IsComparedFieldByField)
{
    EXPECT_LT((CalendarDate{2007, 12, 24, 9, 0, 0}), (CalendarDate{2007, 12, 24, 10, 0, 0}));
    EXPECT_EQ((CalendarDate{2007, 12, 24, 9, 0, 0}), (CalendarDate{2007, 12, 24, 9, 0, 0}));
}

struct ZoneRow {
    std::string name;
    bool isKnown;
};

class CalendarDateZoneName : public TestWithParam<ZoneRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, CalendarDateZoneName,
    Values(ZoneRow{"UTC", true}, ZoneRow{"Etc/UTC", true}, ZoneRow{"GMT", true},
           ZoneRow{"Europe/Berlin", true}, ZoneRow{"Asia/Kathmandu", true},
           ZoneRow{"Etc/GMT+5", true}, ZoneRow{"", false}, ZoneRow{"Europe", false},
           ZoneRow{"Europe/Nowhere", false}, ZoneRow{"Europe//Berlin", false},
           ZoneRow{"Europe/Berlin/", false}, ZoneRow{"W. Europe Standard Time", false},
           ZoneRow{"/etc/localtime", false}, ZoneRow{"/usr/share/zoneinfo/Europe/Berlin", false},
           ZoneRow{"../zoneinfo/Europe/Berlin", false}, ZoneRow{"libc:localtime", false},
           ZoneRow{"file:Europe/Berlin", false}, ZoneRow{"Fixed/UTC+01:00:00", false},
           ZoneRow{std::string("UTC\0x", 5), false}, ZoneRow{std::string(100'000, 'x'), false}));

TEST_P(CalendarDateZoneName, IsKnownWhenTheDatabaseHasIt)
{
    EXPECT_EQ(isKnownTimeZone(GetParam().name), GetParam().isKnown);
    EXPECT_EQ(isKnownTimeZone(GetParam().name), GetParam().isKnown) << "the second time";
}

struct InstantRow {
    CalendarDate date;
    std::string zone;
    std::string instant;
};

class CalendarDateInstant : public TestWithParam<InstantRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, CalendarDateInstant,
    Values(InstantRow{{2007, 12, 24, 10, 0, 0}, "Europe/Berlin", "2007-12-24T09:00:00Z"},
           InstantRow{{2007, 7, 1, 10, 0, 0}, "Europe/Berlin", "2007-07-01T08:00:00Z"},
           InstantRow{{2007, 12, 24, 10, 0, 0}, "Etc/UTC", "2007-12-24T10:00:00Z"},
           InstantRow{{2007, 12, 24, 10, 0, 0}, "UTC", "2007-12-24T10:00:00Z"},
           InstantRow{{2007, 12, 24, 10, 0, 0}, "Asia/Kathmandu", "2007-12-24T04:15:00Z"},
           // On 25 March 2007 at 2 o'clock Berlin's clocks went on to 3 o'clock.
           InstantRow{{2007, 3, 25, 2, 30, 0}, "Europe/Berlin", "2007-03-25T01:30:00Z"},
           InstantRow{{2007, 3, 25, 1, 59, 59}, "Europe/Berlin", "2007-03-25T00:59:59Z"},
           InstantRow{{2007, 3, 25, 3, 0, 0}, "Europe/Berlin", "2007-03-25T01:00:00Z"},
           // On 28 October 2007 at 3 o'clock they went back to 2 o'clock.
           InstantRow{{2007, 10, 28, 2, 30, 0}, "Europe/Berlin", "2007-10-28T00:30:00Z"},
           InstantRow{{2007, 10, 28, 3, 0, 0}, "Europe/Berlin", "2007-10-28T02:00:00Z"},
           InstantRow{{2007, 12, 31, 23, 59, 60}, "UTC", "2008-01-01T00:00:00Z"},
           InstantRow{{0, 1, 1, 0, 0, 0}, "UTC", "0000-01-01T00:00:00Z"},
           InstantRow{{9999, 12, 31, 23, 59, 59}, "UTC", "9999-12-31T23:59:59Z"}));

TEST_P(CalendarDateInstant, TakesTheOffsetBeforeAChangeOfTheClock)
{
    EXPECT_EQ(iso8601(instantOfCalendarDate(GetParam().date, GetParam().zone)), GetParam().instant);
}

TEST(CalendarDate, KnowsTheLengthsOfMonths)
{
    EXPECT_EQ(daysInMonth(2007, 1), 31);
    EXPECT_EQ(daysInMonth(2007, 2), 28);
    EXPECT_EQ(daysInMonth(2008, 2), 29);
    EXPECT_EQ(daysInMonth(1900, 2), 28);
    EXPECT_EQ(daysInMonth(2000, 2), 29);
    EXPECT_EQ(daysInMonth(2007, 11), 30);
}

TEST(CalendarDate, StandsInTheLocalZoneUnderAnUnknownName)
{
    const PlatformScope scope("", "America/New_York");
    const CalendarDate noon{2007, 12, 24, 12, 0, 0};
    EXPECT_EQ(iso8601(instantOfCalendarDate(noon, "Nowhere/AtAll")), "2007-12-24T17:00:00Z");
    EXPECT_EQ(iso8601(instantOfCalendarDate(noon, "")), "2007-12-24T17:00:00Z");
    EXPECT_EQ(calendarDateOfInstant(instantOfCalendarDate(noon, "UTC"), "Nowhere/AtAll").hour, 7);
}

TEST(CalendarDate, FollowsTheLocalZoneWhenItChanges)
{
    PlatformScope scope;
    const CalendarDate noon{2007, 12, 24, 12, 0, 0};
    EXPECT_EQ(iso8601(instantOfCalendarDate(noon, "x")), "2007-12-24T11:00:00Z");
    Platform::shared().setLocalTimeZoneName("Asia/Tokyo");
    EXPECT_EQ(iso8601(instantOfCalendarDate(noon, "x")), "2007-12-24T03:00:00Z");
}

TEST(CalendarDate, StandsInUTCWhenTheLocalZoneIsUnknownToo)
{
    const PlatformScope scope("", "Nowhere/Either");
    EXPECT_EQ(iso8601(instantOfCalendarDate({2007, 12, 24, 12, 0, 0}, "x")),
              "2007-12-24T12:00:00Z");
}

TEST(CalendarDate, RemembersManyZoneNamesWithoutMixingThem)
{
    const PlatformScope scope("", "Asia/Tokyo");
    for (int number = 0; number < 3000; ++number)
        EXPECT_FALSE(isKnownTimeZone("Made/Up" + std::to_string(number)));
    EXPECT_TRUE(isKnownTimeZone("Europe/Berlin"));
    EXPECT_EQ(iso8601(instantOfCalendarDate({2007, 12, 24, 10, 0, 0}, "Europe/Berlin")),
              "2007-12-24T09:00:00Z");
}

TEST(CalendarDate, DropsFractionsOfASecondDownwards)
{
    using namespace std::chrono;
    EXPECT_EQ(iso8601(Date{sys_time<microseconds>(microseconds(1'999'999))}),
              "1970-01-01T00:00:01Z");
    EXPECT_EQ(iso8601(Date{sys_time<microseconds>(microseconds(-1))}), "1969-12-31T23:59:59Z");
}

TEST(CalendarDate, SurvivesTheFarthestInstants)
{
    using Instant = std::chrono::sys_time<std::chrono::microseconds>;
    EXPECT_EQ(calendarDateOfInstant(Date{Instant::max()}, "UTC").year, 294247);
    EXPECT_EQ(calendarDateOfInstant(Date{Instant::min()}, "UTC").year, -290308);
}

struct ISORow {
    std::string text;
    std::optional<std::string> written;
};

class CalendarDateISO8601 : public TestWithParam<ISORow> {};
INSTANTIATE_TEST_SUITE_P(Rows, CalendarDateISO8601,
                         Values(ISORow{"2007-12-24T09:00:00Z", "2007-12-24T09:00:00Z"},
                                ISORow{"2007-12-24T09:00:00.999Z", "2007-12-24T09:00:00Z"},
                                ISORow{"2007-12-24T09:00:00.Z", std::nullopt},
                                ISORow{"2007-12-24T09:00:00.9", std::nullopt},
                                ISORow{"2007-12-24T09:00:00.9xZ", std::nullopt},
                                ISORow{"2007-12-24T09:00:00", std::nullopt},
                                ISORow{"2007-12-24 09:00:00Z", std::nullopt},
                                ISORow{"2007-02-30T09:00:00Z", std::nullopt},
                                ISORow{"2007-12-24T09:00:00+01:00", std::nullopt},
                                ISORow{"", std::nullopt}, ISORow{".", std::nullopt}));

TEST_P(CalendarDateISO8601, IsReadInOneFormOnly)
{
    const std::optional<Date> date = dateWithISO8601(GetParam().text);
    EXPECT_EQ(date ? std::optional(iso8601(*date)) : std::nullopt, GetParam().written);
}

class CalendarDateRoundTrip : public TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(Zones, CalendarDateRoundTrip,
                         Values("UTC", "Europe/Berlin", "America/New_York", "Asia/Kathmandu",
                                "Australia/Lord_Howe", "Africa/Monrovia"));

TEST_P(CalendarDateRoundTrip, ComesBackToTheInstantUnlessTheLocalTimeIsRepeated)
{
    EXPECT_TRUE(rc::check("instant, wall clock, instant", [] {
        const Date instant = *test::dates();
        const CalendarDate date = calendarDateOfInstant(instant, GetParam());
        const Date again = instantOfCalendarDate(date, GetParam());
        RC_ASSERT(again <= instant);
        RC_ASSERT(instant.instant - again.instant < std::chrono::hours(24));
        RC_ASSERT(calendarDateOfInstant(again, GetParam()) == date);
    }));
}

RC_GTEST_PROP(CalendarDateText, IsReadAsItWasWritten, ())
{
    const CalendarDate date = calendarDateOfInstant(*test::dates(), "UTC");
    const std::string text = date.descriptionWithCalendarFormat(kDateTime);
    RC_ASSERT(CalendarDate::dateWithString(text, kDateTime) == std::optional(date));
}

}  // namespace
}  // namespace kt
