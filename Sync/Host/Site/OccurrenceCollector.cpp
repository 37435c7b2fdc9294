#include "Sync/Host/Site/OccurrenceCollector.h"

#include <algorithm>

namespace kt {

namespace {

constexpr std::size_t kMostOccurrences = 1500;  // every hour of the six weeks of a page, and more

CalendarDate lastClock(const PublishedDate& until, const PublishedDate& start)
{
    CalendarDate last =
        until.isAllDay ? until.clock : calendarDateOfInstant(until.instant(), start.zone);
    if (until.isAllDay || start.isAllDay) {
        last.hour = 23;
        last.minute = last.second = 59;
    }
    return last;
}

}  // namespace

OccurrenceCollector::OccurrenceCollector(const RecurrenceRule& rule, const PublishedDate& start,
                                         const ClockRange& range, ExpansionBudget& budget)
    : _start(start.clock),
      _range(range),
      _budget(budget),
      _count(rule.count)
{
    if (rule.until)
        _last = lastClock(*rule.until, start);
    give(_start);
}

bool OccurrenceCollector::take(const CalendarDate& clock)
{
    if (clock <= _start)
        return true;
    if (clock >= _range.to || (_last && clock > *_last) || (_count && _taken >= *_count))
        return false;
    return give(clock);
}

bool OccurrenceCollector::give(const CalendarDate& clock)
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

}  // namespace kt
