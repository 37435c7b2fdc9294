#pragma once

#include <string>
#include <vector>

#include "Sync/Host/Site/Occurrences.h"

namespace kt {

/// What takes place on each day of a run of days.
class DayPlan {
public:
    /// The occurrences outlive the plan.
    DayPlan(const std::vector<Occurrence>& occurrences, Day first, Day last);

    /// In the order of the list; empty for a day outside.
    const std::vector<const Occurrence*>& on(Day day) const;

private:
    Day _first;
    std::vector<std::vector<const Occurrence*>> _days;
};

/// The weeks, from Monday to Sunday, that a month's days are in.
struct MonthGrid {
    Day first;  // a Monday
    Day last;   // a Sunday

    static MonthGrid of(Month month);
};

/// When an occurrence takes place, as far as one of its days is concerned.
struct TimeOnDay {
    enum class Kind {
        allDay,  // also a day in the midst of what goes on for longer
        moment,  // takes no time
        span,    // begins and ends
        begins,
        ends,
    };
    Kind kind = Kind::allDay;
    CalendarDate start;  // unless allDay or ends
    CalendarDate end;    // of a span and of ends; of what ends with the day the next day's midnight
};

TimeOnDay timeOnDay(const Occurrence& occurrence, Day day);
/// "9:30–10:15", "9:30", "ab 22:00", "bis 6:00", "ganztägig".
std::string timeText(const TimeOnDay& time);
/// The same where there is little room: of what begins only when.
std::string shortTimeText(const TimeOnDay& time);

}  // namespace kt
