#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/HostInterface/KTSyncEnhancedDate.h"

namespace kt {

/// The host's date value. Keeps what was written; every instant is computed when asked, so that
/// making one costs no look-up in the zone database.
class HostEnhancedDate : public KTSyncEnhancedDate {
public:
    HostEnhancedDate(const CalendarDate& date, const std::string& timezone, bool isAllDay);

    std::string iCalDate() const override;
    std::string utcDate() const override;
    bool isUTCTime() const override;
    bool isAllDay() const override { return _isAllDay; }
    const std::string& timezone() const override { return *_timezone; }
    CalendarDate calendarDate() const override;
    std::string descriptionWithCalendarFormat(std::string_view format) const override;
    std::string description() const override;
    bool isEqual(const Object& other) const override;

private:
    // The wall clock in eight bytes: a large calendar holds several dates for each item.
    std::int16_t _year;
    std::int8_t _month;
    std::int8_t _day;
    std::int8_t _hour;
    std::int8_t _minute;
    std::int8_t _second;
    bool _isAllDay;
    std::shared_ptr<const std::string> _timezone;  // one text for many dates
};

/// The point in time that a date stands for; an all-day date is the midnight of its zone.
Date instantOf(const KTSyncEnhancedDate& date);

/// The class object that the host installs under KTSyncEnhancedDate's name.
class HostEnhancedDateClass : public KTSyncEnhancedDateClass {
public:
    EnhancedDate enhancedDateWithDate(const std::optional<CalendarDate>& date,
                                      const std::optional<std::string>& timezone,
                                      bool isAllDay) const override;
};

}  // namespace kt
