// Occurrences beside those that libical finds.

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <libical/ical.h>
#include <rapidcheck.h>

#include "Sync/Host/Publishing/Day.h"
#include "tests/Sync/Host/Site/ExpansionFixture.h"

namespace kt::test {
namespace {

using Frequency = RecurrenceRule::Frequency;
using ExpansionsBesideAnother = Expansions;

/// Another library's idea of the same rule. It neither gives nor counts a start that the rule
/// misses, as this one does.
std::vector<std::string> otherExpansion(const RecurrenceRule& rule, const PublishedDate& start,
                                        const std::string& to, std::size_t most)
{
    std::vector<std::string> texts;
    icalrecurrencetype parsed = icalrecurrencetype_from_string(rule.text(start).c_str());
    const icaltimetype end = icaltime_from_string((to + "Z").c_str());
    // It would look for years otherwise.
    if (icaltime_is_null_time(parsed.until) != 0 || icaltime_compare(end, parsed.until) < 0)
        parsed.until = end;
    icalrecur_iterator* iterator =
        icalrecur_iterator_new(parsed, icaltime_from_string(start.text().c_str()));
    const std::string first = dateTimeText(start.clock);
    if (iterator == nullptr)
        return {first};
    for (;;) {
        const icaltimetype next = icalrecur_iterator_next(iterator);
        const std::string text = std::string(icaltime_as_ical_string(next)).substr(0, 15);
        if (icaltime_is_null_time(next) || text >= to || texts.size() >= most)
            break;
        texts.push_back(text);
    }
    icalrecur_iterator_free(iterator);
    if (texts.empty() || texts.front() != first)
        texts.insert(texts.begin(), first);
    if (rule.count)
        texts.resize(std::min(texts.size(), static_cast<std::size_t>(*rule.count)));
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
    // The other library picks days by their position, not times.
    if (oneIn(3) && rule.positions.empty())
        rule.hours = someOf<int>({0, 7, 10, 16, 23});
    if (oneIn(3) && rule.positions.empty())
        rule.minutes = someOf<int>({0, 15, 59});
    if (oneIn(3))
        rule.count = *rc::gen::inRange(1, 40);
    else if (oneIn(3))
        rule.until =
            publishedDate(dateText((Day::of(2007, 6, 1) + *rc::gen::inRange(0, 2000)).date()) +
                              "T101500",
                          "Etc/UTC");
    return rule;
}

TEST_F(ExpansionsBesideAnother, AreThoseThatAnotherLibraryFinds)
{
    std::size_t compared = 0;
    const bool isSame = rc::check([&] {
        RecurrenceRule rule = anyRule();
        const PublishedDate start =
            publishedDate(dateText((Day::of(2007, 1, 1) + *rc::gen::inRange(0, 1500)).date()) +
                              "T101500",
                          "Etc/UTC");
        RC_PRE(!rule.until || rule.until->clock >= start.clock);
        // From a start that its rule misses, the other library is not sure which week is the first.
        const bool countsWeeks = rule.frequency == Frequency::weekly && rule.interval > 1;
        const RecurrenceRule::Weekday own{Day::of(start.clock).weekday(), 0};
        if (countsWeeks && std::count(rule.weekdays.begin(), rule.weekdays.end(), own) == 0 &&
            !rule.weekdays.empty())
            rule.weekdays.push_back(own);
        const std::string end = "20140101T000000";
        RC_LOG() << rule.text(start) << " from " << start.text() << "\n";
        constexpr std::size_t kMost = 500;
        std::vector<std::string> expected = otherExpansion(rule, start, end, kMost);
        ExpansionBudget budget(kPlenty);
        std::vector<std::string> found = textsOf(
            occurrencesOfRule(rule, start, {clockOf("20000101T000000"), clockOf(end)}, budget));
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
        if (budget.isExceeded())
            return;  // the whole has more than can be given at once
        RC_ASSERT(textsOf(occurrencesOfRule(rule, start, window, budget)) == inWindow);
    });
    EXPECT_TRUE(isSame);
    EXPECT_GT(compared, 100U);
}

RecurrenceRule rareRule(Frequency frequency, std::initializer_list<int> positions = {},
                        std::vector<RecurrenceRule::Weekday> weekdays = {})
{
    RecurrenceRule rule;
    rule.frequency = frequency;
    rule.positions = positions;
    rule.weekdays = std::move(weekdays);
    return rule;
}

/// Rules of which the other library gets at least these right.
std::vector<RecurrenceRule> rareRules()
{
    using Rule = RecurrenceRule;
    const std::vector<Rule::Weekday> workdays{{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}};
    std::vector<Rule> rules;
    const auto add = [&](Rule rule, const std::function<void(Rule&)>& change) {
        change(rule);
        rules.push_back(std::move(rule));
    };
    const Rule yearly = rareRule(Frequency::yearly);
    add(yearly, [](Rule& rule) {
        rule.weekNumbers = {20};
        rule.weekdays = {{0, 0}};
    });
    add(yearly, [](Rule& rule) {
        rule.weekNumbers = {1, 30};
        rule.weekdays = {{0, 0}, {6, 0}};
    });
    add(yearly, [](Rule& rule) { rule.yearDays = {1, 100, 200}; });
    add(yearly, [](Rule& rule) { rule.yearDays = {-1, 366}; });
    add(rareRule(Frequency::yearly, {-1}, workdays), [](Rule& rule) { rule.months = {1, 3}; });
    add(yearly, [](Rule& rule) { rule.weekdays = {{0, 20}}; });
    add(rareRule(Frequency::monthly, {}, {{4, 0}}), [](Rule& rule) { rule.monthDays = {13}; });
    add(rareRule(Frequency::daily), [](Rule& rule) {
        rule.hours = {9, 10, 23};
        rule.minutes = {0, 30};
    });
    return rules;
}

TEST_F(ExpansionsBesideAnother, AreThoseThatAnotherLibraryFindsOfRareRules)
{
    const PublishedDate start = publishedDate("20070101T090000", "Etc/UTC");
    const std::string end = "20190101T000000";
    for (const RecurrenceRule& rule : rareRules()) {
        ExpansionBudget budget(kPlenty);
        std::vector<std::string> found = textsOf(
            occurrencesOfRule(rule, start, {clockOf("20000101T000000"), clockOf(end)}, budget));
        constexpr std::size_t kMost = 400;
        std::vector<std::string> expected = otherExpansion(rule, start, end, kMost);
        found.resize(std::min(found.size(), kMost));
        expected.resize(std::min(expected.size(), kMost));
        EXPECT_GT(found.size(), 2U) << rule.text(start);
        EXPECT_EQ(found, expected) << rule.text(start);
    }
}

}  // namespace
}  // namespace kt::test
