#pragma once

#include <vector>

#include "Sync/Host/Publishing/Occurrences.h"

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

/// When an occurrence takes place, as one of its days shows it: "9:30–10:15", "ab 22:00", "bis
/// 6:00", "ganztägig".
std::string timeOnDay(const Occurrence& occurrence, Day day);

}  // namespace kt
