#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Sync/Host/Site/ExpansionFixture.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Frequency = RecurrenceRule::Frequency;

TEST_F(Expansions, StartWithTheEventItself)
{
    EXPECT_THAT(days(rule(Frequency::daily), "20071230T100000", "20071201", "20080103"),
                ElementsAre("1230", "1231", "0101", "0102"));
}

TEST_F(Expansions, KeepAnEventThatItsOwnRuleMisses)
{
    RecurrenceRule weekly = rule(Frequency::weekly);
    weekly.weekdays = {{0, 0}};
    weekly.count = 3;
    EXPECT_THAT(days(weekly, "20071226", "20071201", "20080301"),
                ElementsAre("1226", "1231", "0107"));
}

TEST_F(Expansions, ReachFarIntoTheFutureAtOnce)
{
    RecurrenceRule yearly = rule(Frequency::yearly);
    EXPECT_THAT(days(yearly, "20080229", "21000101", "21060101"), ElementsAre("0229"));
    RecurrenceRule daily = rule(Frequency::daily);
    daily.interval = 3;
    EXPECT_THAT(days(daily, "19000101", "20261101", "20261107"), ElementsAre("1102", "1105"));
}

TEST_F(Expansions, EndWithTheirCount)
{
    RecurrenceRule daily = rule(Frequency::daily);
    daily.count = 3;
    EXPECT_THAT(days(daily, "20071224T100000", "20071201", "20080201"),
                ElementsAre("1224", "1225", "1226"));
    EXPECT_THAT(days(daily, "20071224T100000", "20071226", "20080201"), ElementsAre("1226"));
}

TEST_F(Expansions, EndWithTheirLastInstantOrDay)
{
    RecurrenceRule daily = rule(Frequency::daily);
    daily.until = publishedDate("20071226T090000", "Etc/UTC");
    EXPECT_THAT(days(daily, "20071224T100000", "20071201", "20080201"),
                ElementsAre("1224", "1225", "1226"));
    daily.until = publishedDate("20071226T085959", "Etc/UTC");
    EXPECT_THAT(days(daily, "20071224T100000", "20071201", "20080201"),
                ElementsAre("1224", "1225"));
    daily.until = publishedDate("20071225", "Etc/UTC");
    EXPECT_THAT(days(daily, "20071224T100000", "20071201", "20080201"),
                ElementsAre("1224", "1225"));
}

TEST_F(Expansions, HitTheLastDayOfAMonth)
{
    RecurrenceRule monthly = rule(Frequency::monthly);
    monthly.monthDays = {-1};
    EXPECT_THAT(days(monthly, "20080131", "20080101", "20080501"),
                ElementsAre("0131", "0229", "0331", "0430"));
}

TEST_F(Expansions, SkipMonthsThatAreTooShort)
{
    EXPECT_THAT(days(rule(Frequency::monthly), "20080131", "20080101", "20080601"),
                ElementsAre("0131", "0331", "0531"));
}

TEST_F(Expansions, PickPositionsOfAWeekAndOfTimes)
{
    RecurrenceRule weekly = rule(Frequency::weekly);
    weekly.weekdays = {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}};
    weekly.positions = {1, -1};
    EXPECT_THAT(days(weekly, "20071224T100000", "20071201", "20080112"),
                ElementsAre("1224", "1228", "1231", "0104", "0107", "0111"));
    RecurrenceRule monthly = rule(Frequency::monthly);
    monthly.weekdays = {{0, 1}};
    monthly.hours = {10, 23};
    monthly.positions = {-1};
    EXPECT_THAT(clocks(monthly, "20071203T230000", "20071201", "20080301"),
                ElementsAre("20071203T230000", "20080107T230000", "20080204T230000"));
}

TEST_F(Expansions, CountWeeksFromTheDayOnWhichTheyBegin)
{
    RecurrenceRule weekly = rule(Frequency::weekly);
    weekly.interval = 2;
    weekly.count = 4;
    weekly.weekdays = {{1, 0}, {6, 0}};
    EXPECT_THAT(days(weekly, "19970805T090000", "19970801", "19971001"),
                ElementsAre("0805", "0810", "0819", "0824"));
    weekly.weekStart = 6;
    EXPECT_THAT(days(weekly, "19970805T090000", "19970801", "19971001"),
                ElementsAre("0805", "0817", "0819", "0831"));
    weekly.weekStart = 0;
    weekly.weekdays = {{6, 0}};
    EXPECT_THAT(days(weekly, "20070101T090000", "20070101", "20070131"),
                ElementsAre("0101", "0107", "0121"));
}

TEST_F(Expansions, KnowTheWeekThatNotEveryYearHas)
{
    RecurrenceRule yearly = rule(Frequency::yearly);
    yearly.weekNumbers = {53};
    yearly.weekdays = {{0, 0}, {6, 0}};
    EXPECT_THAT(clocks(yearly, "20041227T100000", "20040101", "20170101"),
                ElementsAre("20041227T100000", "20050102T100000", "20091228T100000",
                            "20100103T100000", "20151228T100000", "20160103T100000"));
}

TEST_F(Expansions, GiveOnlyTheBeginningOfWhatRepeatsByTheHourMinuteOrSecond)
{
    for (const Frequency frequency :
         {Frequency::hourly, Frequency::minutely, Frequency::secondly}) {
        RecurrenceRule often = rule(frequency);
        often.hours = {9, 10};
        often.weekdays = {{0, 0}};
        EXPECT_THAT(clocks(often, "20071224T090000", "20071201", "20080101"),
                    ElementsAre("20071224T090000"));
        EXPECT_THAT(clocks(often, "20071224T090000", "20080101", "20080201"), IsEmpty());
    }
}

TEST_F(Expansions, KeepEveryHourOfSixWeeks)
{
    ExpansionBudget budget(kPlenty);
    RecurrenceRule every = rule(Frequency::daily);
    for (int hour = 0; hour < 24; ++hour)
        every.hours.push_back(hour);
    EXPECT_THAT(occurrencesOfRule(every, publishedDate("20071101T100000"),
                                  between("20071124", "20080109"), budget),
                SizeIs(46 * 24));
    EXPECT_FALSE(budget.isExceeded());
}

struct CostRow {
    Frequency frequency;
    std::optional<int> count;
    std::size_t most;  // steps for a month a hundred years later
};

// Steps are what a page may take ten million of.
TEST_F(Expansions, CostLittleWhereTheRuleIsPlain)
{
    const CostRow rows[] = {{Frequency::yearly, {}, 20},  {Frequency::yearly, 1000, 500},
                            {Frequency::monthly, {}, 60}, {Frequency::monthly, 2000, 6000},
                            {Frequency::weekly, {}, 150}, {Frequency::daily, {}, 250}};
    for (const CostRow& row : rows) {
        RecurrenceRule plain = rule(row.frequency);
        plain.count = row.count;
        ExpansionBudget budget(kPlenty);
        EXPECT_FALSE(occurrencesOfRule(plain, publishedDate("19070315T100000"),
                                       between("20070225", "20070410"), budget)
                         .empty());
        EXPECT_LE(kPlenty - budget.left(), row.most) << plain.text(publishedDate("19070315"));
    }
}

// Another day than the one that is meant would be worse than none.
TEST_F(Expansions, PickNothingOfAPeriodThatTheyDoNotSeeToItsEnd)
{
    RecurrenceRule last = rule(Frequency::yearly);
    last.weekdays = {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}};
    last.positions = {-1};
    for (std::size_t steps = 1; steps < 800; ++steps) {
        ExpansionBudget budget(steps);
        const auto found = textsOf(occurrencesOfRule(last, publishedDate("20071231T100000"),
                                                     between("20080101", "20090101"), budget));
        if (!budget.isUsedUp() || !found.empty()) {
            EXPECT_THAT(found, ElementsAre("20081231T100000")) << steps;
        }
    }
}

TEST_F(Expansions, TakeNoMoreMemoryThanTheyHaveOccurrences)
{
    RecurrenceRule every = rule(Frequency::yearly);
    for (int number = 0; number < 60; ++number) {
        every.minutes.push_back(number);
        every.seconds.push_back(number);
        if (number < 24)
            every.hours.push_back(number);
        if (number < 7)
            every.weekdays.push_back({number, 0});
    }
    for (const bool picks : {false, true}) {
        every.positions = picks ? std::vector<int>{-1} : std::vector<int>{};
        ExpansionBudget budget(kPlenty);
        EXPECT_THAT(occurrencesOfRule(every, publishedDate("20071231T100000"),
                                      between("20080101", "20080201"), budget),
                    SizeIs(picks ? 0 : 1500));
        EXPECT_TRUE(budget.isExceeded());
    }
}

TEST_F(Expansions, StopWhereTheBudgetEnds)
{
    RecurrenceRule never = rule(Frequency::daily);
    never.count = 5;
    never.months = {2};
    never.monthDays = {30};
    ExpansionBudget budget(1000);
    EXPECT_THAT(occurrencesOfRule(never, publishedDate("19000101T100000"),
                                  between("20261101", "20261201"), budget),
                IsEmpty());
    EXPECT_TRUE(budget.isExceeded());
}

TEST_F(Expansions, GiveNoMoreThanTheirLimit)
{
    RecurrenceRule crowded = rule(Frequency::daily);
    for (int minute = 0; minute < 60; ++minute)
        crowded.minutes.push_back(minute);
    crowded.hours = {8, 9, 10};
    ExpansionBudget budget(kPlenty);
    EXPECT_THAT(occurrencesOfRule(crowded, publishedDate("20071224T080000"),
                                  between("20080101", "20080201"), budget),
                SizeIs(1500));
    EXPECT_TRUE(budget.isExceeded());
}

TEST_F(Expansions, HoldOutTheStrangestNumbers)
{
    RecurrenceRule strange = rule(Frequency::yearly);
    strange.interval = 2'147'483'647;
    strange.count = 2'147'483'647;
    EXPECT_THAT(days(strange, "20071224T100000", "20261101", "20261201"), IsEmpty());
    strange.frequency = Frequency::weekly;
    EXPECT_THAT(days(strange, "20071224T100000", "20261101", "20261201"), IsEmpty());
}

}  // namespace
}  // namespace kt::test
