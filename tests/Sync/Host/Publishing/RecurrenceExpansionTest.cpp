#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libical/ical.h>
#include <rapidcheck.h>

#include "Sync/Host/Publishing/Day.h"
#include "Sync/Host/Publishing/RecurrenceExpansion.h"
#include "tests/Sync/Host/Publishing/PublishingFixture.h"
#include "tests/support/PlatformScope.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Frequency = RecurrenceRule::Frequency;

constexpr std::size_t kPlenty = 5'000'000;

std::vector<std::string> textsOf(const std::vector<CalendarDate>& clocks)
{
    std::vector<std::string> texts;
    for (const CalendarDate& clock : clocks)
        texts.push_back(dateTimeText(clock));
    return texts;
}

ClockRange between(const std::string& from, const std::string& to)
{
    return {clockOf(from + "T000000"), clockOf(to + "T000000")};
}

/// The days, as "0102", of the rule's occurrences within a year or so.
class Expansions : public testing::Test {
protected:
    std::vector<std::string> days(const RecurrenceRule& rule, const std::string& start,
                                  const std::string& from, const std::string& to)
    {
        ExpansionBudget budget(kPlenty);
        std::vector<std::string> days;
        for (const CalendarDate& clock :
             occurrencesOfRule(rule, publishedDate(start), between(from, to), budget))
            days.push_back(clock.descriptionWithCalendarFormat("%m%d"));
        EXPECT_FALSE(budget.isExceeded());
        return days;
    }

    static RecurrenceRule rule(Frequency frequency)
    {
        RecurrenceRule rule;
        rule.frequency = frequency;
        return rule;
    }

    PlatformScope platform;
};

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

TEST_F(Expansions, RepeatEveryHourAsOftenAsThatIs)
{
    ExpansionBudget budget(kPlenty);
    RecurrenceRule hourly = rule(Frequency::hourly);
    hourly.interval = 9;
    EXPECT_THAT(textsOf(occurrencesOfRule(hourly, publishedDate("20071224T100000"),
                                          between("20071225", "20071226"), budget)),
                ElementsAre("20071225T040000", "20071225T130000", "20071225T220000"));
}

TEST_F(Expansions, ShowOnceADayWhatRepeatsMoreOftenThanEveryHour)
{
    RecurrenceRule secondly = rule(Frequency::secondly);
    secondly.count = 1'000'000'000;
    EXPECT_THAT(days(secondly, "20071224T100000", "20260101", "20260104"),
                ElementsAre("0101", "0102", "0103"));
    secondly.count = 100'000;  // a day and a little
    EXPECT_THAT(days(secondly, "20071224T100000", "20071201", "20080101"),
                ElementsAre("1224", "1225"));
}

TEST_F(Expansions, SayThatTheyDoNotFollowEveryRule)
{
    ExpansionBudget budget(kPlenty);
    RecurrenceRule minutely = rule(Frequency::minutely);
    minutely.months = {2};
    minutely.monthDays = {30};
    EXPECT_THAT(occurrencesOfRule(minutely, publishedDate("20071224T100000"),
                                  between("20071201", "20080101"), budget),
                SizeIs(1));
    EXPECT_TRUE(budget.isExceeded());
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

TEST_F(Expansions, GiveNoMoreThanAThousand)
{
    RecurrenceRule crowded = rule(Frequency::daily);
    for (int minute = 0; minute < 60; ++minute)
        crowded.minutes.push_back(minute);
    crowded.hours = {8, 9, 10};
    ExpansionBudget budget(kPlenty);
    EXPECT_THAT(occurrencesOfRule(crowded, publishedDate("20071224T080000"),
                                  between("20080101", "20080201"), budget),
                SizeIs(1000));
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
    strange.frequency = Frequency::secondly;
    EXPECT_THAT(days(strange, "20071224T100000", "20261101", "20261201"), IsEmpty());
}

// Another library's idea of the same rule. It leaves out a start that the rule misses.
std::vector<std::string> otherExpansion(const std::string& rule, const std::string& start,
                                        const std::string& to, std::size_t most)
{
    std::vector<std::string> texts;
    icalrecurrencetype parsed = icalrecurrencetype_from_string(rule.c_str());
    parsed.until = icaltime_from_string(to.c_str());  // it would look for years otherwise
    icalrecur_iterator* iterator =
        icalrecur_iterator_new(parsed, icaltime_from_string(start.c_str()));
    if (iterator == nullptr)
        return {start};
    for (;;) {
        const icaltimetype next = icalrecur_iterator_next(iterator);
        const std::string text = icaltime_as_ical_string(next);
        if (icaltime_is_null_time(next) || text >= to || texts.size() >= most)
            break;
        texts.push_back(text);
    }
    icalrecur_iterator_free(iterator);
    if (texts.empty() || texts.front() != start)
        texts.insert(texts.begin(), start);
    return texts;
}

template <class T>
std::vector<int> someOf(const std::vector<T>& numbers)
{
    std::vector<int> list = *rc::gen::container<std::vector<int>>(rc::gen::elementOf(numbers));
    list.resize(std::min<std::size_t>(list.size(), 3));
    std::sort(list.begin(), list.end());
    list.erase(std::unique(list.begin(), list.end()), list.end());
    return list;
}

bool oneIn(int times) { return *rc::gen::inRange(0, times) == 0; }

/// Rules as calendar programs write them. Combinations that the RFC leaves open are left out, such
/// as days of a month in a rule for years that names no month, and days from a month's end in
/// daily rules, which the other library passes over.
RecurrenceRule anyRule()
{
    RecurrenceRule rule;
    rule.frequency = *rc::gen::element(Frequency::daily, Frequency::weekly, Frequency::monthly,
                                       Frequency::yearly);
    rule.interval = *rc::gen::inRange(1, 5);
    rule.weekStart = *rc::gen::element(0, 6);
    const bool isDaily = rule.frequency == Frequency::daily;
    const bool isWeekly = rule.frequency == Frequency::weekly;
    const bool isMonthly = rule.frequency == Frequency::monthly;
    if (oneIn(3) && !isWeekly)
        rule.months = someOf<int>({1, 2, 3, 6, 11, 12});
    if (oneIn(3) && !isWeekly)
        rule.monthDays = isDaily ? someOf<int>({1, 2, 13, 15, 28, 29, 30, 31})
                                 : someOf<int>({1, 2, 13, 15, 28, 29, 30, 31, -1, -2});
    if (rule.frequency == Frequency::yearly && !rule.monthDays.empty() && rule.months.empty())
        rule.months = {2, 7, 12};
    if (oneIn(2)) {
        for (const int day : someOf<int>({0, 1, 2, 3, 4, 5, 6})) {
            const bool mayCount = isMonthly || (rule.frequency == Frequency::yearly);
            const int ordinal =
                mayCount && rule.monthDays.empty() && oneIn(2) ? *rc::gen::element(1, 2, -1) : 0;
            rule.weekdays.push_back({day, ordinal});
        }
    }
    if (oneIn(4) && (isMonthly || isDaily) && !isDaily && !rule.weekdays.empty())
        rule.positions = someOf<int>({1, 2, -1});
    if (oneIn(3))
        rule.count = *rc::gen::inRange(1, 40);
    return rule;
}

TEST_F(Expansions, AreThoseThatAnotherLibraryFinds)
{
    std::size_t compared = 0;
    const bool isSame = rc::check([&] {
        const RecurrenceRule rule = anyRule();
        const PublishedDate start = publishedDate(
            dateText((Day::of(2007, 1, 1) + *rc::gen::inRange(0, 1500)).date()) + "T101500");
        const std::string end = "20140101T000000";
        const std::string text = rule.text(start);
        RC_LOG() << text << " from " << start.text() << "\n";
        constexpr std::size_t kMost = 500;
        std::vector<std::string> expected = otherExpansion(text, start.text(), end, kMost);
        ExpansionBudget budget(kPlenty);
        std::vector<std::string> found = textsOf(
            occurrencesOfRule(rule, start, {clockOf("20000101T000000"), clockOf(end)}, budget));
        if (rule.count) {
            // Whether a start that the rule misses is counted differs.
            const std::size_t common = std::min(expected.size(), found.size());
            RC_ASSERT(std::max(expected.size(), found.size()) - common <= 1U);
            expected.resize(common);
            found.resize(common);
        }
        found.resize(std::min(found.size(), kMost));
        expected.resize(std::min(expected.size(), kMost));
        compared += found.size();
        RC_ASSERT(found == expected);
        // A window gives the same as the whole, seen through it.
        const ClockRange window = between("20100301", "20100501");
        std::vector<std::string> inWindow;
        for (const CalendarDate& clock :
             occurrencesOfRule(rule, start, {clockOf("20000101T000000"), window.to}, budget))
            if (window.contains(clock))
                inWindow.push_back(dateTimeText(clock));
        RC_ASSERT(textsOf(occurrencesOfRule(rule, start, window, budget)) == inWindow);
    });
    EXPECT_TRUE(isSame);
    EXPECT_GT(compared, 100U);
}

}  // namespace
}  // namespace kt::test
