#include "Sync/Host/Publishing/RecurrenceExpansion.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "Sync/Host/Publishing/RuleDays.h"

namespace kt {

namespace {

using Frequency = RecurrenceRule::Frequency;

constexpr std::size_t kMostOccurrences = 1000;
constexpr int kLastYear = 9998;  // dates a little beyond it can still be counted with

/// Decides of one wall clock after the other, ascending, whether it is an occurrence to be given.
class Collector {
public:
    Collector(const RecurrenceRule& rule, const PublishedDate& start, const ClockRange& range,
              ExpansionBudget& budget)
        : _start(start.clock),
          _range(range),
          _budget(budget),
          _count(rule.count)
    {
        if (rule.until)
            _last = lastClock(*rule.until, start);
        give(_start);
    }

    /// False when nothing that comes later can be an occurrence any more.
    bool take(const CalendarDate& clock)
    {
        if (clock <= _start)
            return true;
        if (clock >= _range.to || (_last && clock > *_last) || (_count && _taken >= *_count))
            return false;
        return give(clock);
    }

    std::vector<CalendarDate> takeOccurrences() { return std::move(_occurrences); }

private:
    bool give(const CalendarDate& clock)
    {
        ++_taken;
        if (!_range.contains(clock))
            return true;
        if (_occurrences.size() >= kMostOccurrences) {
            _budget.setExceeded();
            return false;
        }
        _occurrences.push_back(clock);
        return true;
    }

    static CalendarDate lastClock(const PublishedDate& until, const PublishedDate& start)
    {
        CalendarDate last =
            until.isAllDay ? until.clock : calendarDateOfInstant(until.instant(), start.zone);
        if (until.isAllDay || start.isAllDay) {
            last.hour = 23;
            last.minute = last.second = 59;
        }
        return last;
    }

    CalendarDate _start;
    ClockRange _range;
    ExpansionBudget& _budget;
    std::optional<int> _count;
    std::optional<CalendarDate> _last;
    int _taken = 0;
    std::vector<CalendarDate> _occurrences;
};

/// The times of a day on which a rule from daily on hits, ascending, as seconds.
std::vector<int> timesOfDay(const RecurrenceRule& rule, const PublishedDate& start)
{
    if (start.isAllDay)
        return {0};
    const auto listOr = [](const std::vector<int>& list, int one) {
        return list.empty() ? std::vector<int>{one} : list;
    };
    std::vector<int> times;
    for (const int hour : listOr(rule.hours, start.clock.hour))
        for (const int minute : listOr(rule.minutes, start.clock.minute))
            for (const int second : listOr(rule.seconds, start.clock.second))
                times.push_back(hour * 3600 + minute * 60 + std::min(second, 59));
    std::sort(times.begin(), times.end());
    times.erase(std::unique(times.begin(), times.end()), times.end());
    return times;
}

/// Of the candidates of one period those that BYSETPOS names.
std::vector<CalendarDate> pickedPositions(const std::vector<CalendarDate>& candidates,
                                          const std::vector<int>& positions)
{
    std::vector<CalendarDate> picked;
    const int size = static_cast<int>(candidates.size());
    for (const int position : positions) {
        const int index = position > 0 ? position - 1 : size + position;
        if (index >= 0 && index < size)
            picked.push_back(candidates[static_cast<std::size_t>(index)]);
    }
    std::sort(picked.begin(), picked.end());
    picked.erase(std::unique(picked.begin(), picked.end()), picked.end());
    return picked;
}

/// Rules that repeat every day or less often: period for period, each a run of days.
class PeriodWalk {
public:
    PeriodWalk(const RecurrenceRule& rule, const PublishedDate& start)
        : _rule(rule),
          _periods(rule, Day::of(start.clock)),
          _days(rule, Day::of(start.clock)),
          _times(timesOfDay(rule, start))
    {}

    void run(Collector& collector, const ClockRange& range, ExpansionBudget& budget)
    {
        const Day end = Day::of(range.to) + 1;
        // With a count every occurrence since the first has to be counted.
        std::int64_t index = _rule.count ? 0 : _periods.indexBefore(Day::of(range.from));
        for (;; ++index) {
            const auto period = _periods.at(index);
            if (!period || period->first > end || period->first.date().year > kLastYear)
                return;
            if (!budget.take(static_cast<std::size_t>(period->length)))
                return;
            const auto clocks = clocksOf(*period, budget);
            if (!std::all_of(clocks.begin(), clocks.end(),
                             [&](const CalendarDate& clock) { return collector.take(clock); }))
                return;
        }
    }

private:
    std::vector<CalendarDate> clocksOf(const RulePeriods::Period& period, ExpansionBudget& budget)
    {
        std::vector<CalendarDate> clocks;
        for (int offset = 0; offset < period.length; ++offset) {
            const Day day = period.first + offset;
            if (!_days.contain(day))
                continue;
            if (!budget.take(_times.size()))
                break;
            for (const int seconds : _times)
                clocks.push_back(clockAfter(day.date(), seconds));
        }
        return _rule.positions.empty() ? clocks : pickedPositions(clocks, _rule.positions);
    }

    const RecurrenceRule& _rule;
    RulePeriods _periods;
    RuleDays _days;
    std::vector<int> _times;
};

std::int64_t secondsOf(Frequency frequency)
{
    constexpr std::int64_t kMinute = 60;
    constexpr std::int64_t kHour = 60 * kMinute;
    if (frequency == Frequency::hourly)
        return kHour;
    return frequency == Frequency::minutely ? kMinute : 1;
}

bool hasConditions(const RecurrenceRule& rule)
{
    return !(rule.seconds.empty() && rule.minutes.empty() && rule.hours.empty() &&
             rule.monthDays.empty() && rule.yearDays.empty() && rule.weekNumbers.empty() &&
             rule.months.empty() && rule.positions.empty() && rule.weekdays.empty());
}

/// Rules finer than a day: the range is reached in one step, and a day shows what begins on it.
std::vector<CalendarDate> steadyOccurrences(const RecurrenceRule& rule, const PublishedDate& start,
                                            const ClockRange& range, ExpansionBudget& budget)
{
    constexpr std::int64_t kHour = 3600;
    RecurrenceRule endless = rule;
    endless.count.reset();
    Collector collector(endless, start, range, budget);
    if (hasConditions(rule)) {
        budget.setExceeded();
        return collector.takeOccurrences();
    }
    const std::int64_t step = secondsOf(rule.frequency) * rule.interval;
    CalendarDate earliest = range.from;
    for (;;) {
        if (!budget.take(1))
            break;
        const std::int64_t ahead = std::max<std::int64_t>(secondsBetween(start.clock, earliest), 0);
        const std::int64_t index = (ahead + step - 1) / step;
        const CalendarDate clock = clockAfter(start.clock, index * step);
        if ((rule.count && index >= *rule.count) || clock.year > kLastYear || clock >= range.to ||
            !collector.take(clock))
            break;
        earliest = step < kHour ? (Day::of(clock) + 1).date() : clockAfter(clock, 1);
    }
    return collector.takeOccurrences();
}

}  // namespace

bool ExpansionBudget::take(std::size_t steps)
{
    if (steps > _steps) {
        _steps = 0;
        _isExceeded = true;
        return false;
    }
    _steps -= steps;
    return true;
}

std::vector<CalendarDate> occurrencesOfRule(const RecurrenceRule& rule, const PublishedDate& start,
                                            const ClockRange& range, ExpansionBudget& budget)
{
    if (rule.frequency < Frequency::daily)
        return steadyOccurrences(rule, start, range, budget);
    Collector collector(rule, start, range, budget);
    PeriodWalk(rule, start).run(collector, range, budget);
    return collector.takeOccurrences();
}

}  // namespace kt
