#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Sync/Foundation/Value.h"

namespace kt {

/// A wall clock without a zone. Second 60 is kept.
struct CalendarDate {
    int year = 1970;  // 0 to 9999
    int month = 1;    // 1 to 12
    int day = 1;      // 1 to 31, valid for the month
    int hour = 0;     // 0 to 23
    int minute = 0;   // 0 to 59
    int second = 0;   // 0 to 60

    /// dateWithString:calendarFormat: for `%Y %m %d %H %M %S` (fixed widths 4 and 2) and literal
    /// characters; the whole text has to match and name a real date. Nullopt otherwise.
    static std::optional<CalendarDate> dateWithString(std::string_view text,
                                                      std::string_view calendarFormat);

    /// The date in eight digits and the time in six, or midnight for an empty time: what
    /// dateWithString gives for `%Y%m%d` and `%H%M%S`, at a fraction of the cost.
    static std::optional<CalendarDate> dateWithDigits(std::string_view date,
                                                      std::string_view time = {});

    /// descriptionWithCalendarFormat: for the same letters; what it does not know is copied.
    std::string descriptionWithCalendarFormat(std::string_view format) const;

    friend auto operator<=>(const CalendarDate&, const CalendarDate&) = default;
};

/// 28 to 31.
int daysInMonth(int year, int month);

/// Whether the zone database knows the name.
bool isKnownTimeZone(std::string_view name);

/// The instant of a wall clock in a zone. Skipped and repeated times take the offset before the
/// change; a name that the zone database lacks stands for the machine's own zone.
Date instantOfCalendarDate(const CalendarDate& date, std::string_view timezone);

/// The wall clock of an instant in a zone (same rule for unknown names).
CalendarDate calendarDateOfInstant(Date instant, std::string_view timezone);

/// `2007-12-24T09:00:00Z`, and back; fractions of a second are dropped.
std::string iso8601(Date instant);
std::optional<Date> dateWithISO8601(std::string_view text);

}  // namespace kt
