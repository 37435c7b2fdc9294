#include "Sync/Host/Publishing/Day.h"

#include <chrono>

namespace kt {

namespace {

using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::year_month_day;

year_month_day partsOf(Day day) { return year_month_day(sys_days(days(day.number))); }

}  // namespace

Day Day::of(int year, int month, int day)
{
    const year_month_day parts(std::chrono::year(year),
                               std::chrono::month(static_cast<unsigned>(month)),
                               std::chrono::day(static_cast<unsigned>(day)));
    return {static_cast<int>(sys_days(parts).time_since_epoch().count())};
}

CalendarDate Day::date() const
{
    const year_month_day parts = partsOf(*this);
    CalendarDate date;
    date.year = static_cast<int>(parts.year());
    date.month = static_cast<int>(static_cast<unsigned>(parts.month()));
    date.day = static_cast<int>(static_cast<unsigned>(parts.day()));
    return date;
}

int Day::weekday() const
{
    constexpr int kEpoch = 3;  // 1970-01-01 was a Thursday
    return ((number + kEpoch) % 7 + 7) % 7;
}

int Day::weekOfYear() const
{
    const Day thursday = *this + (3 - weekday());
    return (thursday - of(thursday.date().year, 1, 1)) / 7 + 1;
}

int daysInYear(int year) { return std::chrono::year(year).is_leap() ? 366 : 365; }

Month Month::of(Day day)
{
    const CalendarDate date = day.date();
    return {date.year, date.month};
}

Month Month::operator+(int months) const
{
    const int index = year * 12 + month - 1 + months;
    return {index / 12, index % 12 + 1};
}

}  // namespace kt
