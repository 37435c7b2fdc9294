#include "Sync/Host/Publishing/PublishedDate.h"

#include <algorithm>

#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Publishing/Day.h"
#include "Sync/HostInterface/KTSyncEnhancedDate.h"

namespace kt {

namespace {

constexpr std::int64_t kSecondsOfDay = 24 * 60 * 60;

std::int64_t secondsOf(const CalendarDate& clock)
{
    return Day::of(clock).number * kSecondsOfDay + clock.hour * 3600 + clock.minute * 60 +
           clock.second;
}

}  // namespace

std::optional<PublishedDate> PublishedDate::fromRecord(const Value& value)
{
    const auto date = value.objectOfClass<KTSyncEnhancedDate>();
    if (!date)
        return std::nullopt;
    PublishedDate published;
    published.clock = date->calendarDate();
    published.isAllDay = date->isAllDay();
    if (published.isAllDay)
        published.clock = Day::of(published.clock).date();
    published.zone = isKnownTimeZone(date->timezone()) ? date->timezone()
                                                       : Platform::shared().localTimeZoneName();
    return published;
}

std::string PublishedDate::text() const
{
    if (isAllDay)
        return dateText(clock);
    return isUTC() ? dateTimeText(clock) + 'Z' : dateTimeText(clock);
}

std::string dateText(const CalendarDate& clock)
{
    return clock.descriptionWithCalendarFormat("%Y%m%d");
}

std::string dateTimeText(const CalendarDate& clock)
{
    return clock.descriptionWithCalendarFormat("%Y%m%dT%H%M%S");
}

CalendarDate clockAfter(const CalendarDate& clock, std::int64_t seconds)
{
    static const std::int64_t kFirst = secondsOf(Day::of(0, 1, 1).date());
    static const std::int64_t kLast = secondsOf(Day::of(9999, 12, 31).date());
    const std::int64_t wanted = std::clamp(secondsOf(clock) + seconds, kFirst, kLast);
    std::int64_t days = wanted / kSecondsOfDay;
    std::int64_t rest = wanted % kSecondsOfDay;
    if (rest < 0) {
        rest += kSecondsOfDay;
        --days;
    }
    CalendarDate later = Day{static_cast<int>(days)}.date();
    later.hour = static_cast<int>(rest / 3600);
    later.minute = static_cast<int>(rest / 60 % 60);
    later.second = static_cast<int>(rest % 60);
    return later;
}

}  // namespace kt
