#include "Sync/Host/Publishing/DayPlan.h"

#include <algorithm>

#include "Sync/Foundation/Format.h"
#include "Sync/Host/Publishing/GermanDates.h"

namespace kt {

DayPlan::DayPlan(const std::vector<Occurrence>& occurrences, Day first, Day last)
    : _first(first),
      _days(static_cast<std::size_t>(last - first + 1))
{
    for (const Occurrence& occurrence : occurrences) {
        const Day end = std::min(occurrence.lastDay, last);
        for (Day day = std::max(occurrence.firstDay, first); day <= end; day = day + 1)
            _days[static_cast<std::size_t>(day - first)].push_back(&occurrence);
    }
}

const std::vector<const Occurrence*>& DayPlan::on(Day day) const
{
    static const std::vector<const Occurrence*> kNothing;
    const int index = day - _first;
    if (index < 0 || static_cast<std::size_t>(index) >= _days.size())
        return kNothing;
    return _days[static_cast<std::size_t>(index)];
}

MonthGrid MonthGrid::of(Month month)
{
    const Day first = month.firstDay();
    const Day last = month.lastDay();
    return {first - first.weekday(), last + (6 - last.weekday())};
}

std::string timeOnDay(const Occurrence& occurrence, Day day)
{
    if (occurrence.isAllDay())
        return "ganztägig";
    const bool begins = day == occurrence.firstDay;
    const bool ends = day == occurrence.lastDay;
    if (!begins && !ends)
        return "ganztägig";
    if (begins && occurrence.start == occurrence.end)
        return timeText(occurrence.start);
    if (!begins)
        return stringWithFormat("bis %@", occurrence.end == (day + 1).date()
                                              ? std::string("24:00")
                                              : timeText(occurrence.end));
    if (!ends)
        return stringWithFormat("ab %@", timeText(occurrence.start));
    const bool endsAtMidnight = occurrence.end == (day + 1).date();
    return stringWithFormat("%@–%@", timeText(occurrence.start),
                            endsAtMidnight ? std::string("24:00") : timeText(occurrence.end));
}

}  // namespace kt
