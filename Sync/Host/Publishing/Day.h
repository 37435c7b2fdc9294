#pragma once

#include <compare>

#include "Sync/Foundation/CalendarDate.h"

namespace kt {

/// A day of the Gregorian calendar, to count with.
struct Day {
    int number = 0;  // days since 1970-01-01

    static Day of(int year, int month, int day);
    static Day of(const CalendarDate& date) { return of(date.year, date.month, date.day); }

    /// Its midnight.
    CalendarDate date() const;
    int weekday() const;  // 0 Monday to 6 Sunday
    /// The week's number and its year (ISO 8601).
    int weekOfYear() const;

    Day operator+(int days) const { return {number + days}; }
    Day operator-(int days) const { return {number - days}; }
    friend int operator-(Day left, Day right) { return left.number - right.number; }
    friend auto operator<=>(const Day&, const Day&) = default;
};

int daysInYear(int year);

/// A month of a year.
struct Month {
    int year = 1970;
    int month = 1;  // 1 to 12

    static Month of(Day day);
    Day firstDay() const { return Day::of(year, month, 1); }
    Day lastDay() const { return Day::of(year, month, daysInMonth(year, month)); }
    Month operator+(int months) const;
    friend auto operator<=>(const Month&, const Month&) = default;
};

}  // namespace kt
