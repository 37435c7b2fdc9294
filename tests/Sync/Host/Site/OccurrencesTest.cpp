#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Format.h"
#include "Sync/Host/Site/DayPlan.h"
#include "Sync/Host/Site/GermanDates.h"
#include "Sync/Host/Site/Occurrences.h"
#include "tests/Sync/Host/Publishing/PublishingFixture.h"
#include "tests/support/PlatformScope.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

PublishedEvent event(const std::string& start, const std::string& end = "",
                     const std::string& zone = kBerlin)
{
    PublishedEvent event;
    event.uid = event.title = start;
    event.start = publishedDate(start, zone);
    if (!end.empty())
        event.end = publishedDate(end, zone);
    return event;
}

RecurrenceRule every(RecurrenceRule::Frequency frequency)
{
    RecurrenceRule rule;
    rule.frequency = frequency;
    return rule;
}

class OccurrenceLists : public testing::Test {
protected:
    /// "24.12.2007 10:00–11:00", one for each day of December 2007.
    std::vector<std::string> december(std::vector<PublishedEvent> events,
                                      const std::string& zone = kBerlin)
    {
        return times(std::move(events), Day::of(2007, 12, 1), Day::of(2007, 12, 31), zone);
    }

    std::vector<std::string> times(std::vector<PublishedEvent> events, Day first, Day last,
                                   const std::string& zone = kBerlin)
    {
        _events = std::move(events);
        const OccurrenceList list = occurrencesOfEvents(_events, first, last, zone);
        isComplete = list.isComplete;
        const DayPlan plan(list.occurrences, first, last);
        std::vector<std::string> lines;
        for (Day day = first; day <= last; day = day + 1)
            for (const Occurrence* occurrence : plan.on(day))
                lines.push_back(stringWithFormat("%@ %@", day.date().day,
                                                 timeText(timeOnDay(*occurrence, day))));
        return lines;
    }

    bool isComplete = false;
    PlatformScope platform;

private:
    std::vector<PublishedEvent> _events;
};

TEST_F(OccurrenceLists, ShowEventsByTheViewersClock)
{
    const auto one = event("20071224T233000", "20071225T003000");
    EXPECT_THAT(december({one}), ElementsAre("24 ab 23:30", "25 bis 0:30"));
    EXPECT_THAT(december({one}, "America/New_York"), ElementsAre("24 17:30–18:30"));
    EXPECT_THAT(december({one}, "Asia/Tokyo"), ElementsAre("25 7:30–8:30"));
}

TEST_F(OccurrenceLists, LeaveAllDayEventsOnTheirDays)
{
    const auto two = event("20071224", "20071226");
    for (const char* zone : {kBerlin, "Pacific/Auckland", "Pacific/Honolulu"})
        EXPECT_THAT(december({two}, zone), ElementsAre("24 ganztägig", "25 ganztägig"));
    EXPECT_THAT(december({event("20071224")}), ElementsAre("24 ganztägig"));
}

TEST_F(OccurrenceLists, ShowWhatTakesNoTimeOnce)
{
    EXPECT_THAT(december({event("20071224T000000")}), ElementsAre("24 0:00"));
}

TEST_F(OccurrenceLists, EndAtMidnightOnTheDayBefore)
{
    EXPECT_THAT(december({event("20071224T200000", "20071225T000000")}),
                ElementsAre("24 20:00–24:00"));
    EXPECT_THAT(december({event("20071223T200000", "20071225T000000")}),
                ElementsAre("23 ab 20:00", "24 bis 24:00"));
}

TEST_F(OccurrenceLists, ShowTheDaysInBetweenAsWhole)
{
    EXPECT_THAT(december({event("20071124T200000", "20071203T100000")}),
                ElementsAre("1 ganztägig", "2 ganztägig", "3 bis 10:00"));
}

TEST_F(OccurrenceLists, SeeWhatBeganInAnotherMonthByTheEventsClock)
{
    EXPECT_THAT(december({event("20080101T010000", "20080101T020000", "Pacific/Auckland")}),
                ElementsAre("31 13:00–14:00"));
    EXPECT_THAT(december({event("20071130T200000", "20071130T210000", "Pacific/Honolulu")}),
                ElementsAre("1 7:00–8:00"));
}

TEST_F(OccurrenceLists, KeepTheWallClockOfASeriesAcrossSummerTime)
{
    auto series = event("20070601T100000", "20070601T110000");
    series.rule = every(RecurrenceRule::Frequency::monthly);
    EXPECT_THAT(december({series}), ElementsAre("1 10:00–11:00"));
    EXPECT_THAT(december({series}, "Etc/UTC"), ElementsAre("1 9:00–10:00"));
}

// A clock that is skipped or comes twice takes the offset before the change.
TEST_F(OccurrenceLists, FollowASeriesThroughTheChangesOfClocks)
{
    auto spring = event("20070324T023000", "20070324T033000");
    spring.rule = every(RecurrenceRule::Frequency::daily);
    spring.rule->count = 3;
    EXPECT_THAT(times({spring}, Day::of(2007, 3, 24), Day::of(2007, 3, 26)),
                ElementsAre("24 2:30–3:30", "25 3:30–4:30", "26 2:30–3:30"));
    EXPECT_THAT(times({spring}, Day::of(2007, 3, 24), Day::of(2007, 3, 26), "Etc/UTC"),
                ElementsAre("24 1:30–2:30", "25 1:30–2:30", "26 0:30–1:30"));
    auto autumn = event("20071027T023000", "20071027T033000");
    autumn.rule = spring.rule;
    EXPECT_THAT(times({autumn}, Day::of(2007, 10, 27), Day::of(2007, 10, 29)),
                ElementsAre("27 2:30–3:30", "28 2:30", "29 2:30–3:30"));
    EXPECT_THAT(times({autumn}, Day::of(2007, 10, 27), Day::of(2007, 10, 29), "Etc/UTC"),
                ElementsAre("27 0:30–1:30", "28 0:30–1:30", "29 1:30–2:30"));
}

TEST_F(OccurrenceLists, LeaveExceptionsOut)
{
    auto series = event("20071201T100000", "20071201T110000");
    series.rule = every(RecurrenceRule::Frequency::weekly);
    series.exceptions = {publishedDate("20071208T100000"),
                         publishedDate("20071215T090000", "Etc/UTC"), publishedDate("20071222"),
                         publishedDate("20071229T100001")};
    EXPECT_THAT(december({series}), ElementsAre("1 10:00–11:00", "29 10:00–11:00"));
}

TEST_F(OccurrenceLists, LeaveDaysOutOfASeriesOfDays)
{
    auto series = event("20071229");
    series.rule = every(RecurrenceRule::Frequency::daily);
    series.exceptions = {publishedDate("20071230", "Pacific/Auckland")};
    EXPECT_THAT(december({series}), ElementsAre("29 ganztägig", "31 ganztägig"));
}

TEST_F(OccurrenceLists, ShowADetachedOccurrenceInItsSeriesPlace)
{
    auto series = event("20071201T100000", "20071201T110000");
    series.uid = "series";
    series.rule = every(RecurrenceRule::Frequency::weekly);
    series.rule->count = 3;
    auto moved = event("20071209T140000", "20071209T150000");
    moved.uid = "series";
    moved.recurrenceId = publishedDate("20071208T100000");
    EXPECT_THAT(december({series, moved}),
                ElementsAre("1 10:00–11:00", "9 14:00–15:00", "15 10:00–11:00"));
}

TEST_F(OccurrenceLists, PutWholeDaysFirst)
{
    EXPECT_THAT(december({event("20071224T100000"), event("20071224T080000"), event("20071224")}),
                ElementsAre("24 ganztägig", "24 8:00", "24 10:00"));
}

TEST_F(OccurrenceLists, AreBoundedWhateverTheRulesSay)
{
    std::vector<PublishedEvent> hostile;
    for (int index = 0; index < 3000; ++index) {
        auto one = event("19000101T100000");
        one.rule = every(RecurrenceRule::Frequency::daily);
        one.rule->count = 1'000'000'000;
        one.rule->months = {2};
        one.rule->monthDays = {30};
        hostile.push_back(one);
        one.rule = every(RecurrenceRule::Frequency::secondly);
        hostile.push_back(one);
    }
    EXPECT_THAT(december(hostile), SizeIs(testing::Le(31 * 10'000U)));
    EXPECT_FALSE(isComplete);
}

TEST_F(OccurrenceLists, ShowEveryOneOfManySeries)
{
    std::vector<PublishedEvent> many;
    for (int index = 0; index < 10'000; ++index) {
        const Day day = Day::of(1960, 1, 1) + index;
        auto one = event(dateText(day.date()) + "T100000");
        one.rule = every(RecurrenceRule::Frequency::yearly);
        if (index % 2 == 0)
            one.rule->count = 500;
        many.push_back(one);
    }
    const std::size_t inDecember = static_cast<std::size_t>(
        std::count_if(many.begin(), many.end(),
                      [](const PublishedEvent& one) { return one.start.clock.month == 12; }));
    EXPECT_THAT(december(many), SizeIs(inDecember));
    EXPECT_TRUE(isComplete);
}

TEST_F(OccurrenceLists, LetNoSeriesTakeAnotherOnesDays)
{
    std::vector<PublishedEvent> events;
    for (int index = 0; index < 60; ++index) {
        auto hostile = event("19000101T100000");
        hostile.rule = every(RecurrenceRule::Frequency::daily);
        hostile.rule->count = 1'000'000'000;
        hostile.rule->months = {2};
        hostile.rule->monthDays = {30};
        hostile.rule->interval = 1;
        events.push_back(hostile);
    }
    auto daily = event("19900101T120000");
    daily.rule = every(RecurrenceRule::Frequency::daily);
    daily.rule->count = 30'000;
    events.push_back(daily);
    EXPECT_THAT(december(events), SizeIs(31));
}

TEST_F(OccurrenceLists, SayWhenTheyAreWhole)
{
    december({event("20071224T100000")});
    EXPECT_TRUE(isComplete);
}

TEST_F(OccurrenceLists, HoldOutDatesAtTheEdgeOfTime)
{
    auto series = event("00000101T000000", "99991231T235959");
    series.rule = every(RecurrenceRule::Frequency::yearly);
    EXPECT_FALSE(december({series}).empty());
    EXPECT_THAT(december({event("99991231", "99991231")}), IsEmpty());
}

TEST(MonthGrid, HasWholeWeeksFromMondayOn)
{
    const MonthGrid grid = MonthGrid::of({2007, 12});
    EXPECT_EQ(isoDayText(grid.first), "2007-11-26");
    EXPECT_EQ(isoDayText(grid.last), "2008-01-06");
    const MonthGrid four = MonthGrid::of({2010, 2});
    EXPECT_EQ(four.last - four.first, 27);
}

}  // namespace
}  // namespace kt::test
