#pragma once

#include <string>
#include <string_view>

#include "Sync/Host/Publishing/Day.h"

namespace kt {

// Dates as German pages show them.

/// "Montag", and "Mo" short.
std::string_view weekdayName(int weekday);
std::string_view shortWeekdayName(int weekday);
/// "Dezember", for 12.
std::string_view monthName(int month);
/// "Dezember 2007".
std::string monthTitle(Month month);
/// "2007-12", as addresses carry it.
std::string monthText(Month month);
/// "Montag, 24. Dezember 2007".
std::string longDayTitle(Day day);
/// "24.12.2007".
std::string shortDayText(Day day);
/// "2007-12-24".
std::string isoDayText(Day day);
/// "9:30", "14:00".
std::string timeText(const CalendarDate& clock);

}  // namespace kt
