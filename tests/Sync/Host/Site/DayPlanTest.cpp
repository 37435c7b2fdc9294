#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "Sync/Host/Site/DayPlan.h"
#include "tests/Sync/Host/Publishing/PublishingFixture.h"

namespace kt::test {
namespace {

using Kind = TimeOnDay::Kind;

/// From one wall clock to another, seen on a day of December 2007.
struct Row {
    std::string start;
    std::string end;
    int day;
    Kind kind;
    std::string text;
    std::string shortText;
};
class TimesOnDays : public testing::TestWithParam<Row> {};

INSTANTIATE_TEST_SUITE_P(
    Rows, TimesOnDays,
    testing::Values(
        Row{"20071224T093000", "20071224T101500", 24, Kind::span, "9:30–10:15", "9:30"},
        Row{"20071224T093000", "20071224T093000", 24, Kind::moment, "9:30", "9:30"},
        Row{"20071224T000000", "20071224T000000", 24, Kind::moment, "0:00", "0:00"},
        Row{"20071224T220000", "20071225T000000", 24, Kind::span, "22:00–24:00", "22:00"},
        Row{"20071224T220000", "20071225T060000", 24, Kind::begins, "ab 22:00", "22:00"},
        Row{"20071224T220000", "20071225T060000", 25, Kind::ends, "bis 6:00", "bis 6:00"},
        Row{"20071224T220000", "20071227T000000", 26, Kind::ends, "bis 24:00", "bis 24:00"},
        Row{"20071224T220000", "20071226T060000", 25, Kind::allDay, "ganztägig", "ganztägig"}));

TEST_P(TimesOnDays, AreKindsThatAreShown)
{
    PublishedEvent event;
    event.start = publishedDate(GetParam().start);
    const CalendarDate start = clockOf(GetParam().start);
    const CalendarDate end = clockOf(GetParam().end);
    const Day lastDay = std::max(Day::of(start), Day::of(clockAfter(end, -1)));
    const Occurrence occurrence{&event, start, end, Day::of(start), lastDay};
    const TimeOnDay time = timeOnDay(occurrence, Day::of(2007, 12, GetParam().day));
    EXPECT_EQ(time.kind, GetParam().kind);
    EXPECT_EQ(timeText(time), GetParam().text);
    EXPECT_EQ(shortTimeText(time), GetParam().shortText);
}

TEST(TimeOnDay, OfAWholeDayIsAllOfIt)
{
    PublishedEvent event;
    event.start = publishedDate("20071224");
    const Day day = Day::of(2007, 12, 24);
    const Occurrence occurrence{&event, day.date(), (day + 1).date(), day, day};
    EXPECT_EQ(timeOnDay(occurrence, day).kind, Kind::allDay);
}

}  // namespace
}  // namespace kt::test
