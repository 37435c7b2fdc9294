#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/HostInterface/KTClassTable.h"

namespace kt {

/// A wall clock as written, the name of its zone and the all-day flag; the instant is computed when
/// asked. Immutable and shared. Equal when wall clock, zone name and flag are.
class KTSyncEnhancedDate : public Object {
public:
    /// The wall clock: `20071224` all-day, `20071224T100000`, with a final `Z` in UTC (RFC
    /// 5545, 3.3.4 and 3.3.5).
    virtual std::string iCalDate() const = 0;
    /// The instant in UTC form, always a date-time: `20071224T090000Z`. An all-day date is its
    /// midnight.
    virtual std::string utcDate() const = 0;
    /// True for the zone Etc/UTC alone.
    virtual bool isUTCTime() const = 0;
    virtual bool isAllDay() const = 0;
    /// The zone's name as it came, also when the zone database lacks it.
    virtual const std::string& timezone() const = 0;
    virtual CalendarDate calendarDate() const = 0;
    /// See CalendarDate::descriptionWithCalendarFormat.
    virtual std::string descriptionWithCalendarFormat(std::string_view format) const = 0;
    // description(): iCalDate, blank, zone.
};

using EnhancedDate = std::shared_ptr<const KTSyncEnhancedDate>;

/// The class object: what is asked of the class itself, found by name in the host's class table.
class KTSyncEnhancedDateClass : public KTHostClass {
public:
    static constexpr std::string_view className = "KTSyncEnhancedDate";

    /// Null without a date or a zone.
    virtual EnhancedDate enhancedDateWithDate(const std::optional<CalendarDate>& date,
                                              const std::optional<std::string>& timezone,
                                              bool isAllDay) const = 0;
};

}  // namespace kt
