#include "Sync/Host/Site/RuleDays.h"

#include <algorithm>

namespace kt {

namespace {

using Frequency = RecurrenceRule::Frequency;

constexpr int kLastYear = 9999;

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
    if (hasDays || rule.frequency <= Frequency::daily)
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

RuleDays::RuleDays(RecurrenceRule rule, Day start)
    : _frequency(rule.frequency),
      _weekStart(rule.weekStart)
{
    fillIn(rule, start);
    _monthDays = NumberSet<31>(rule.monthDays);
    _yearDays = NumberSet<366>(rule.yearDays);
    _weekNumbers = NumberSet<53>(rule.weekNumbers);
    _months = NumberSet<12>(rule.months);
    for (const RecurrenceRule::Weekday& wanted : rule.weekdays) {
        _hasWeekdays = true;
        Weekday& weekday = _weekdays[static_cast<std::size_t>(wanted.day)];
        if (wanted.ordinal == 0)
            weekday.isWanted = true;
        else
            weekday.ordinals.add(wanted.ordinal);
    }
}

bool RuleDays::each(Day first, Day end, const std::function<bool()>& step,
                    const std::function<bool(Day)>& found) const
{
    for (Day begin = first; begin < end;) {
        const Month month = Month::of(begin);
        const Day next = std::min(month.lastDay() + 1, end);
        if (_months.allows(month.month, 12) && (!step() || !eachOfMonth(begin, next, step, found)))
            return false;
        begin = next;
    }
    return true;
}

bool RuleDays::eachOfMonth(Day first, Day end, const std::function<bool()>& step,
                           const std::function<bool(Day)>& found) const
{
    const CalendarDate date = first.date();
    const int size = daysInMonth(date.year, date.month);
    for (Day day = first; day < end; day = day + 1) {
        if (!_monthDays.allows(date.day + (day - first), size))
            continue;
        if (!step() || (contain(day) && !found(day)))
            return false;
    }
    return true;
}

bool RuleDays::contain(Day day) const
{
    const CalendarDate date = day.date();
    const int yearDay = day - Day::of(date.year, 1, 1) + 1;
    return _months.allows(date.month, 12) &&
           _monthDays.allows(date.day, daysInMonth(date.year, date.month)) &&
           _yearDays.allows(yearDay, daysInYear(date.year)) && hasWeekNumber(day) &&
           hasWeekday(day, date);
}

bool RuleDays::hasWeekNumber(Day day) const
{
    if (_weekNumbers.isEmpty())
        return true;
    const Day week = startOfWeek(day, _weekStart);
    const int year = (week + 3).date().year;
    const Day first = firstWeek(year, _weekStart);
    const int weeks = (firstWeek(year + 1, _weekStart) - first) / 7;
    return _weekNumbers.names((week - first) / 7 + 1, weeks);
}

bool RuleDays::hasWeekday(Day day, const CalendarDate& date) const
{
    if (!_hasWeekdays)
        return true;
    const Weekday& weekday = _weekdays[static_cast<std::size_t>(day.weekday())];
    if (weekday.isWanted || weekday.ordinals.isEmpty())
        return weekday.isWanted;
    const bool isInMonth =
        _frequency == Frequency::monthly || (_frequency == Frequency::yearly && !_months.isEmpty());
    const bool countsThem =
        isInMonth || (_frequency == Frequency::yearly && _weekNumbers.isEmpty());
    if (!countsThem)
        return true;
    const Day first = isInMonth ? Day::of(date.year, date.month, 1) : Day::of(date.year, 1, 1);
    const int size = isInMonth ? daysInMonth(date.year, date.month) : daysInYear(date.year);
    const int fromBeginning = (day - first) / 7 + 1;
    const int fromEnd = (size - 1 - (day - first)) / 7 + 1;
    return weekday.ordinals.names(fromBeginning, fromBeginning + fromEnd - 1);
}

}  // namespace kt
