#include "Sync/Host/Site/GermanDates.h"

#include <array>

#include "Sync/Foundation/Format.h"

namespace kt {

namespace {

constexpr std::array<std::string_view, 7> kWeekdays{"Montag",  "Dienstag", "Mittwoch", "Donnerstag",
                                                    "Freitag", "Samstag",  "Sonntag"};
constexpr std::array<std::string_view, 12> kMonths{"Januar",    "Februar", "März",     "April",
                                                   "Mai",       "Juni",    "Juli",     "August",
                                                   "September", "Oktober", "November", "Dezember"};

}  // namespace

std::string_view monthName(int month) { return kMonths[static_cast<std::size_t>(month - 1)]; }

std::string_view weekdayName(int weekday) { return kWeekdays[static_cast<std::size_t>(weekday)]; }

std::string_view shortWeekdayName(int weekday) { return weekdayName(weekday).substr(0, 2); }

std::string monthTitle(Month month)
{
    return stringWithFormat("%@ %d", monthName(month.month), month.year);
}

std::string monthText(Month month)
{
    return month.firstDay().date().descriptionWithCalendarFormat("%Y-%m");
}

std::string longDayTitle(Day day)
{
    const CalendarDate date = day.date();
    return stringWithFormat("%@, %d. %@ %d", weekdayName(day.weekday()), date.day,
                            monthName(date.month), date.year);
}

std::string shortDayText(Day day)
{
    const CalendarDate date = day.date();
    return stringWithFormat("%d.%d.%d", date.day, date.month, date.year);
}

std::string isoDayText(Day day) { return day.date().descriptionWithCalendarFormat("%Y-%m-%d"); }

std::string timeText(const CalendarDate& clock)
{
    return stringWithFormat("%d:", clock.hour) + clock.descriptionWithCalendarFormat("%M");
}

}  // namespace kt
