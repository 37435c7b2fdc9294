#include "Sync/Host/Site/DayPlan.h"

#include <algorithm>

#include "Sync/Foundation/Format.h"
#include "Sync/Host/Site/GermanDates.h"

namespace kt {

namespace {

/// A day that ends at its end ends at 24:00.
std::string endText(const CalendarDate& end)
{
    return end == Day::of(end).date() ? "24:00" : timeText(end);
}

}  // namespace

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

TimeOnDay timeOnDay(const Occurrence& occurrence, Day day)
{
    using Kind = TimeOnDay::Kind;
    const bool begins = day == occurrence.firstDay;
    const bool ends = day == occurrence.lastDay;
    if (occurrence.isAllDay() || (!begins && !ends))
        return {Kind::allDay, {}, {}};
    if (begins && occurrence.start == occurrence.end)
        return {Kind::moment, occurrence.start, {}};
    if (!begins)
        return {Kind::ends, {}, occurrence.end};
    if (!ends)
        return {Kind::begins, occurrence.start, {}};
    return {Kind::span, occurrence.start, occurrence.end};
}

std::string timeText(const TimeOnDay& time)
{
    switch (time.kind) {
    case TimeOnDay::Kind::allDay:
        break;
    case TimeOnDay::Kind::moment:
        return timeText(time.start);
    case TimeOnDay::Kind::span:
        return stringWithFormat("%@–%@", timeText(time.start), endText(time.end));
    case TimeOnDay::Kind::begins:
        return stringWithFormat("ab %@", timeText(time.start));
    case TimeOnDay::Kind::ends:
        return stringWithFormat("bis %@", endText(time.end));
    }
    return "ganztägig";
}

std::string shortTimeText(const TimeOnDay& time)
{
    const bool begins = time.kind == TimeOnDay::Kind::span || time.kind == TimeOnDay::Kind::begins;
    return begins ? timeText(time.start) : timeText(time);
}

}  // namespace kt
