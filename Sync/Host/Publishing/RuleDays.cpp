#include "Sync/Host/Publishing/RuleDays.h"

#include <algorithm>
#include <utility>

namespace kt {

namespace {

using Frequency = RecurrenceRule::Frequency;

constexpr int kLastYear = 9999;

/// Whether a list is silent, or names the number counted from the beginning or from the end of
/// `size`.
bool allows(const std::vector<int>& list, int number, int size)
{
    return list.empty() || std::any_of(list.begin(), list.end(), [&](int wanted) {
               return wanted > 0 ? wanted == number : size + 1 + wanted == number;
           });
}

/// The first day of the week that a day is in.
Day startOfWeek(Day day, int weekStart) { return day - (day.weekday() - weekStart + 7) % 7; }

/// The first day of the first week of a year: the one with at least four of its days.
Day firstWeek(int year, int weekStart)
{
    const Day first = Day::of(year, 1, 1);
    const Day week = startOfWeek(first, weekStart);
    return first - week > 3 ? week + 7 : week;
}

/// What a rule without any condition on days takes from its start.
void fillIn(RecurrenceRule& rule, Day start)
{
    const CalendarDate date = start.date();
    const bool hasDays =
        !rule.monthDays.empty() || !rule.yearDays.empty() || !rule.weekdays.empty();
    if (hasDays || rule.frequency == Frequency::daily)
        return;
    if (rule.frequency == Frequency::weekly || !rule.weekNumbers.empty()) {
        rule.weekdays = {{start.weekday(), 0}};
        return;
    }
    if (rule.frequency == Frequency::yearly && rule.months.empty())
        rule.months = {date.month};
    rule.monthDays = {date.day};
}

}  // namespace

RulePeriods::RulePeriods(const RecurrenceRule& rule, Day start)
    : _frequency(rule.frequency),
      _interval(rule.interval),
      _start(start)
{
    const CalendarDate date = start.date();
    if (_frequency == Frequency::weekly)
        _start = startOfWeek(start, rule.weekStart);
    if (_frequency == Frequency::monthly)
        _start = Day::of(date.year, date.month, 1);
    if (_frequency == Frequency::yearly)
        _start = Day::of(date.year, 1, 1);
}

std::optional<RulePeriods::Period> RulePeriods::at(std::int64_t index) const
{
    constexpr std::int64_t kMostDays = 4'000'000;  // beyond the last year from wherever it begins
    const std::int64_t ahead = index * _interval;
    if (ahead > kMostDays)
        return std::nullopt;
    const int steps = static_cast<int>(ahead);
    const CalendarDate date = _start.date();
    Period period{_start + steps, 1};
    if (_frequency == Frequency::weekly) {
        if (ahead * 7 > kMostDays)
            return std::nullopt;
        period = {_start + steps * 7, 7};
    }
    if (_frequency == Frequency::monthly) {
        const Month month = Month{date.year, date.month} + steps;
        if (month.year > kLastYear)
            return std::nullopt;
        period = {month.firstDay(), daysInMonth(month.year, month.month)};
    }
    if (_frequency == Frequency::yearly) {
        if (date.year + ahead > kLastYear)
            return std::nullopt;
        period = {Day::of(date.year + steps, 1, 1), daysInYear(date.year + steps)};
    }
    return period;
}

std::int64_t RulePeriods::indexBefore(Day day) const
{
    std::int64_t longest = 1;  // a period is never longer than that many days
    if (_frequency == Frequency::weekly)
        longest = 7;
    if (_frequency == Frequency::monthly)
        longest = 31;
    if (_frequency == Frequency::yearly)
        longest = 366;
    const std::int64_t days = day - _start;
    return std::max<std::int64_t>(days / (longest * _interval) - 1, 0);
}

RuleDays::RuleDays(RecurrenceRule rule, Day start) : _rule(std::move(rule))
{
    fillIn(_rule, start);
}

bool RuleDays::contain(Day day) const
{
    const CalendarDate date = day.date();
    const int yearDay = day - Day::of(date.year, 1, 1) + 1;
    return allows(_rule.months, date.month, 12) &&
           allows(_rule.monthDays, date.day, daysInMonth(date.year, date.month)) &&
           allows(_rule.yearDays, yearDay, daysInYear(date.year)) && hasWeekNumber(day) &&
           hasWeekday(day, date);
}

bool RuleDays::hasWeekNumber(Day day) const
{
    if (_rule.weekNumbers.empty())
        return true;
    const Day week = startOfWeek(day, _rule.weekStart);
    const int year = (week + 3).date().year;
    const Day first = firstWeek(year, _rule.weekStart);
    const int weeks = (firstWeek(year + 1, _rule.weekStart) - first) / 7;
    return allows(_rule.weekNumbers, (week - first) / 7 + 1, weeks);
}

bool RuleDays::hasWeekday(Day day, const CalendarDate& date) const
{
    if (_rule.weekdays.empty())
        return true;
    const bool isInMonth = _rule.frequency == Frequency::monthly ||
                           (_rule.frequency == Frequency::yearly && !_rule.months.empty());
    const bool countsThem =
        isInMonth || (_rule.frequency == Frequency::yearly && _rule.weekNumbers.empty());
    const Day first = isInMonth ? Day::of(date.year, date.month, 1) : Day::of(date.year, 1, 1);
    const int size = isInMonth ? daysInMonth(date.year, date.month) : daysInYear(date.year);
    const int fromBeginning = (day - first) / 7 + 1;
    const int fromEnd = -((size - 1 - (day - first)) / 7 + 1);
    return std::any_of(_rule.weekdays.begin(), _rule.weekdays.end(), [&](const auto& wanted) {
        return wanted.day == day.weekday() &&
               (wanted.ordinal == 0 || !countsThem || wanted.ordinal == fromBeginning ||
                wanted.ordinal == fromEnd);
    });
}

}  // namespace kt
