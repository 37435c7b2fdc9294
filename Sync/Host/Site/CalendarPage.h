#pragma once

#include <string>

#include "Sync/Host/Publishing/Day.h"
#include "Sync/Host/Publishing/PublishedCalendar.h"

namespace kt {

/// What a viewer wants to see of a calendar.
struct CalendarView {
    Month month;
    std::string zone;  // one that the zone database knows
    Day today;         // in that zone
};

/// The first and the last month that can be shown.
inline constexpr Month kFirstMonth{1900, 1};
inline constexpr Month kLastMonth{2199, 12};

/// The page of one calendar: a month as a grid, its days as an agenda, and the tasks.
std::string calendarPage(const PublishedCalendar& calendar, const CalendarView& view);

}  // namespace kt
