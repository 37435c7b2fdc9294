#include "Sync/Host/Site/RecurrenceExpansion.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "Sync/Host/Site/OccurrenceCollector.h"
#include "Sync/Host/Site/RuleDays.h"

namespace kt {

namespace {

using Frequency = RecurrenceRule::Frequency;

/// The times of a day on which a rule hits, ascending, as seconds. Nullopt when the
/// budget ends.
std::optional<std::vector<int>> timesOfDay(const RecurrenceRule& rule, const PublishedDate& start,
                                           ExpansionBudget& budget)
{
    if (start.isAllDay)
        return std::vector<int>{0};
    const auto listOr = [](const std::vector<int>& list, int one) {
        return list.empty() ? std::vector<int>{one} : list;
    };
    const auto hours = listOr(rule.hours, start.clock.hour);
    const auto minutes = listOr(rule.minutes, start.clock.minute);
    const auto seconds = listOr(rule.seconds, start.clock.second);
    if (!budget.take(hours.size() * minutes.size() * seconds.size()))
        return std::nullopt;
    std::vector<int> times;
    for (const int hour : hours)
        for (const int minute : minutes)
            for (const int second : seconds)
                times.push_back(hour * 3600 + minute * 60 + std::min(second, 59));
    std::sort(times.begin(), times.end());
    times.erase(std::unique(times.begin(), times.end()), times.end());
    return times;
}

/// Period for period, each a run of days.
class PeriodWalk {
public:
    PeriodWalk(const RecurrenceRule& rule, const PublishedDate& start, std::vector<int> times,
               ExpansionBudget& budget, OccurrenceCollector& collector)
        : _rule(rule),
          _periods(rule, Day::of(start.clock)),
          _days(rule, Day::of(start.clock)),
          _times(std::move(times)),
          _budget(budget),
          _collector(collector)
    {}

    void run(const ClockRange& range)
    {
        const Day end = Day::of(range.to) + 1;
        // With a count every occurrence since the first has to be counted.
        const Day first = _rule.count ? _periods.at(0)->first : Day::of(range.from);
        for (std::int64_t index = _periods.indexBefore(first);; ++index) {
            const auto period = _periods.at(index);
            if (!period || period->first >= end || period->first.date().year > kLastExpandedYear ||
                !_budget.take())
                return;
            const Day periodEnd = period->first + period->length;
            const bool goesOn = _rule.positions.empty() ? follow(std::max(period->first, first),
                                                                 std::min(periodEnd, end))
                                                        : pick(period->first, periodEnd);
            if (!goesOn)
                return;
        }
    }

private:
    bool each(Day first, Day end, const std::function<bool(Day)>& found) const
    {
        return _days.each(
            first, end, [&] { return _budget.take(); },
            [&](Day day) { return _budget.take(_times.size()) && found(day); });
    }

    static CalendarDate clockOn(Day day, int seconds)
    {
        CalendarDate clock = day.date();
        clock.hour = seconds / 3600;
        clock.minute = seconds / 60 % 60;
        clock.second = seconds % 60;
        return clock;
    }

    bool follow(Day first, Day end) const
    {
        return each(first, end, [&](Day day) {
            return std::all_of(_times.begin(), _times.end(),
                               [&](int seconds) { return _collector.take(clockOn(day, seconds)); });
        });
    }

    /// Nothing is picked of a period that was not seen to its end: it would be something else.
    bool pick(Day first, Day end) const
    {
        constexpr std::size_t kMostCandidates = 10'000;
        std::vector<CalendarDate> candidates;
        const bool isWhole = each(first, end, [&](Day day) {
            if (candidates.size() + _times.size() > kMostCandidates) {
                _budget.setExceeded();
                return false;
            }
            for (const int seconds : _times)
                candidates.push_back(clockOn(day, seconds));
            return true;
        });
        if (!isWhole)
            return false;
        const auto picked = pickedPositions(candidates, _rule.positions);
        return std::all_of(picked.begin(), picked.end(),
                           [&](const CalendarDate& clock) { return _collector.take(clock); });
    }

    const RecurrenceRule& _rule;
    RulePeriods _periods;
    RuleDays _days;
    std::vector<int> _times;
    ExpansionBudget& _budget;
    OccurrenceCollector& _collector;
};

}  // namespace

bool ExpansionBudget::take(std::size_t steps)
{
    if (steps > _steps) {
        _steps = 0;
        _isUsedUp = true;
        _isExceeded = true;
        return false;
    }
    _steps -= steps;
    return true;
}

std::vector<CalendarDate> occurrencesOfRule(const RecurrenceRule& rule, const PublishedDate& start,
                                            const ClockRange& range, ExpansionBudget& budget)
{
    if (start.clock >= range.to || !budget.take())
        return {};
    OccurrenceCollector collector(rule, start, range, budget);
    if (rule.isSubDaily())
        return collector.takeOccurrences();
    if (auto times = timesOfDay(rule, start, budget))
        PeriodWalk(rule, start, std::move(*times), budget, collector).run(range);
    return collector.takeOccurrences();
}

}  // namespace kt
