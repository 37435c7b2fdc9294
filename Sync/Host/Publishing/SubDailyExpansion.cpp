#include "Sync/Host/Publishing/SubDailyExpansion.h"

#include <algorithm>
#include <cstdint>

#include "Sync/Host/Publishing/RuleDays.h"

namespace kt {

namespace {

using Frequency = RecurrenceRule::Frequency;

constexpr std::int64_t kMinute = 60;
constexpr std::int64_t kHour = 60 * kMinute;

std::int64_t secondsOf(Frequency frequency)
{
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

bool allows(const std::vector<int>& list, int number)
{
    return list.empty() || std::find(list.begin(), list.end(), number) != list.end();
}

/// The beginning of the hour, minute or second that a clock is in.
CalendarDate beginningOf(CalendarDate clock, Frequency frequency)
{
    if (frequency > Frequency::secondly)
        clock.second = 0;
    if (frequency > Frequency::minutely)
        clock.minute = 0;
    return clock;
}

CalendarDate nextDay(const CalendarDate& clock) { return (Day::of(clock) + 1).date(); }

/// The hours, minutes or seconds that a rule's interval hits, counted from the one with the start.
class Slots {
public:
    Slots(const RecurrenceRule& rule, const CalendarDate& start)
        : _first(beginningOf(start, rule.frequency)),
          _step(secondsOf(rule.frequency) * rule.interval)
    {}

    CalendarDate at(std::int64_t index) const { return clockAfter(_first, index * _step); }
    /// The first that does not begin before the clock.
    std::int64_t indexFrom(const CalendarDate& clock) const
    {
        const std::int64_t ahead = std::max<std::int64_t>(secondsBetween(_first, clock), 0);
        return (ahead + _step - 1) / _step;
    }

private:
    CalendarDate _first;
    std::int64_t _step;
};

/// A rule without conditions: every slot is an occurrence, so that they can be counted at once.
class SteadyWalk {
public:
    SteadyWalk(const RecurrenceRule& rule, const PublishedDate& start)
        : _count(rule.count),
          _start(start.clock),
          _step(secondsOf(rule.frequency) * rule.interval)
    {}

    void run(const ClockRange& range, ExpansionBudget& budget, OccurrenceCollector& collector) const
    {
        CalendarDate earliest = range.from;
        while (budget.take()) {
            const std::int64_t ahead = std::max<std::int64_t>(secondsBetween(_start, earliest), 0);
            const std::int64_t index = (ahead + _step - 1) / _step;
            const CalendarDate clock = clockAfter(_start, index * _step);
            if ((_count && index >= *_count) || clock.year > kLastExpandedYear ||
                clock >= range.to || !collector.take(clock))
                return;
            earliest = collector.isOnceADay() ? nextDay(clock) : clockAfter(clock, 1);
        }
    }

private:
    std::optional<int> _count;
    CalendarDate _start;
    std::int64_t _step;
};

/// A rule with conditions: slot for slot, past those that cannot be meant.
class ConditionalWalk {
public:
    ConditionalWalk(const RecurrenceRule& rule, const PublishedDate& start)
        : _rule(rule),
          _start(start.clock),
          _days(rule, Day::of(start.clock)),
          _slots(rule, start.clock)
    {}

    void run(const ClockRange& range, ExpansionBudget& budget, OccurrenceCollector& collector) const
    {
        // With a count every occurrence since the first has to be counted.
        std::int64_t index =
            _rule.count ? 0 : _slots.indexFrom(beginningOf(range.from, _rule.frequency));
        while (budget.take()) {
            const CalendarDate slot = _slots.at(index);
            if (slot >= range.to || slot.year > kLastExpandedYear)
                return;
            CalendarDate next = nextToTry(slot);
            if (next == slot) {
                const auto clocks = clocksIn(slot);
                if (!budget.take(clocks.size()) ||
                    !std::all_of(clocks.begin(), clocks.end(),
                                 [&](const CalendarDate& clock) { return collector.take(clock); }))
                    return;
                const bool isDayDone = collector.isOnceADay() && !_rule.count && !clocks.empty() &&
                                       clocks.back() >= std::max(_start, range.from);
                if (isDayDone)
                    next = nextDay(slot);
            }
            index = std::max(index + 1, _slots.indexFrom(next));
        }
    }

private:
    /// The slot itself when the rule means it, else the earliest clock that it may mean again.
    CalendarDate nextToTry(const CalendarDate& slot) const
    {
        if (!_days.contain(Day::of(slot)))
            return nextDay(slot);
        if (!allows(_rule.hours, slot.hour))
            return clockAfter(beginningOf(slot, Frequency::hourly), kHour);
        if (_rule.frequency < Frequency::hourly && !allows(_rule.minutes, slot.minute))
            return clockAfter(beginningOf(slot, Frequency::minutely), kMinute);
        if (_rule.frequency < Frequency::minutely && !allows(_rule.seconds, slot.second))
            return clockAfter(slot, 1);
        return slot;
    }

    /// What the rule names within a slot, ascending.
    std::vector<CalendarDate> clocksIn(const CalendarDate& slot) const
    {
        std::vector<CalendarDate> clocks;
        const auto listOr = [](bool isList, const std::vector<int>& list, int one) {
            return isList && !list.empty() ? list : std::vector<int>{one};
        };
        const bool isHourly = _rule.frequency == Frequency::hourly;
        const bool isSecondly = _rule.frequency == Frequency::secondly;
        for (const int minute :
             listOr(isHourly, _rule.minutes, isHourly ? _start.minute : slot.minute)) {
            for (const int second :
                 listOr(!isSecondly, _rule.seconds, isSecondly ? slot.second : _start.second)) {
                clocks.push_back(slot);
                clocks.back().minute = minute;
                clocks.back().second = std::min(second, 59);
            }
        }
        std::sort(clocks.begin(), clocks.end());
        return _rule.positions.empty() ? clocks : pickedPositions(clocks, _rule.positions);
    }

    const RecurrenceRule& _rule;
    CalendarDate _start;
    RuleDays _days;
    Slots _slots;
};

}  // namespace

void collectSubDaily(const RecurrenceRule& rule, const PublishedDate& start,
                     const ClockRange& range, ExpansionBudget& budget,
                     OccurrenceCollector& collector)
{
    if (hasConditions(rule))
        ConditionalWalk(rule, start).run(range, budget, collector);
    else
        SteadyWalk(rule, start).run(range, budget, collector);
}

}  // namespace kt
