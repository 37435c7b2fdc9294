#pragma once

#include <optional>
#include <string>

#include "Sync/Foundation/CalendarDate.h"

namespace kt {

/// When something is, as it is shown to others: the wall clock as written and the name of a zone
/// that the zone database knows.
struct PublishedDate {
    CalendarDate clock;
    std::string zone;
    bool isAllDay = false;  // the clock's time is midnight then

    /// From what a record holds. The name of a zone that nobody knows becomes the machine's own, as
    /// everywhere in this system. Nullopt for what is no date.
    static std::optional<PublishedDate> fromRecord(const Value& value);

    bool isUTC() const { return zone == "Etc/UTC" || zone == "UTC"; }
    /// An all-day date is the midnight of its zone.
    Date instant() const { return instantOfCalendarDate(clock, zone); }
    /// `20071224` or `20071224T100000`, with a final `Z` in UTC (RFC 5545, 3.3.4 and 3.3.5).
    std::string text() const;

    friend bool operator==(const PublishedDate&, const PublishedDate&) = default;
};

/// The forms of a wall clock that RFC 5545 knows, without zone.
std::string dateText(const CalendarDate& clock);
std::string dateTimeText(const CalendarDate& clock);

/// The wall clock some seconds later or earlier. Clamped to the years that a clock can show.
CalendarDate clockAfter(const CalendarDate& clock, std::int64_t seconds);

}  // namespace kt
