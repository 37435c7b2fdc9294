#include "Sync/Host/Engine/HostEnhancedDate.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>

namespace kt {

namespace {

constexpr std::string_view kUTC = "Etc/UTC";

// The forms of RFC 5545, 3.3.4 and 3.3.5.
constexpr std::size_t kDateLength = 8;
constexpr std::size_t kDateTimeLength = 15;

/// The last two digits of a number; of a negative one, something that the caller writes over.
void putDigits(char* out, int number)
{
    out[0] = static_cast<char>('0' + number / 10 % 10);
    out[1] = static_cast<char>('0' + number % 10);
}

std::string dateTimeText(const CalendarDate& date)
{
    std::string text(kDateTimeLength, 'T');  // needs no room of the heap
    char* const out = text.data();
    putDigits(out, date.year / 100);
    putDigits(out + 2, date.year);
    putDigits(out + 4, date.month);
    putDigits(out + 6, date.day);
    putDigits(out + 9, date.hour);
    putDigits(out + 11, date.minute);
    putDigits(out + 13, date.second);
    if (date.year < 0 || date.year > 9999)  // what an instant may come to in another zone
        text.replace(0, 4, std::to_string(date.year));
    return text;
}

std::string dateText(const CalendarDate& date)
{
    std::string text = dateTimeText(date);
    text.resize(text.size() - (kDateTimeLength - kDateLength));
    return text;
}

/// The names of zones come from files, where thousands of dates may share one that is very long:
/// dates of the few names met last share one copy of it. A few, because the dates of one item
/// differ: most begin and end in a zone, but are stamped in UTC.
std::shared_ptr<const std::string> sharedText(const std::string& text)
{
    thread_local std::array<std::shared_ptr<const std::string>, 4> known;
    thread_local std::size_t next = 0;
    const auto found = std::find_if(known.begin(), known.end(), [&](const auto& name) {
        return name != nullptr && *name == text;
    });
    if (found != known.end())
        return *found;
    next = (next + 1) % known.size();
    return known[next] = std::make_shared<const std::string>(text);
}

}  // namespace

HostEnhancedDate::HostEnhancedDate(const CalendarDate& date, const std::string& timezone,
                                   bool isAllDay)
    : _year(static_cast<std::int16_t>(date.year)),
      _month(static_cast<std::int8_t>(date.month)),
      _day(static_cast<std::int8_t>(date.day)),
      _hour(static_cast<std::int8_t>(date.hour)),
      _minute(static_cast<std::int8_t>(date.minute)),
      _second(static_cast<std::int8_t>(date.second)),
      _isAllDay(isAllDay),
      _timezone(sharedText(timezone))
{}

CalendarDate HostEnhancedDate::calendarDate() const
{
    return {_year, _month, _day, _hour, _minute, _second};
}

std::string HostEnhancedDate::iCalDate() const
{
    if (_isAllDay)
        return dateText(calendarDate());
    std::string text = dateTimeText(calendarDate());
    if (isUTCTime())
        text += 'Z';
    return text;
}

std::string HostEnhancedDate::utcDate() const
{
    // A leap second survives as written: its instant would be the next minute's first second.
    if (isUTCTime() && !_isAllDay)
        return dateTimeText(calendarDate()) + 'Z';
    return dateTimeText(calendarDateOfInstant(instantOf(*this), kUTC)) + 'Z';
}

bool HostEnhancedDate::isUTCTime() const { return *_timezone == kUTC; }

std::string HostEnhancedDate::descriptionWithCalendarFormat(std::string_view format) const
{
    return calendarDate().descriptionWithCalendarFormat(format);
}

std::string HostEnhancedDate::description() const { return iCalDate() + ' ' + *_timezone; }

bool HostEnhancedDate::isEqual(const Object& other) const
{
    const auto* date = dynamic_cast<const KTSyncEnhancedDate*>(&other);
    return date != nullptr && date->isAllDay() == _isAllDay &&
           date->calendarDate() == calendarDate() && date->timezone() == *_timezone;
}

Date instantOf(const KTSyncEnhancedDate& date)
{
    CalendarDate wallClock = date.calendarDate();
    if (date.isAllDay())
        wallClock.hour = wallClock.minute = wallClock.second = 0;
    return instantOfCalendarDate(wallClock, date.timezone());
}

EnhancedDate HostEnhancedDateClass::enhancedDateWithDate(const std::optional<CalendarDate>& date,
                                                         const std::optional<std::string>& timezone,
                                                         bool isAllDay) const
{
    if (!date || !timezone)
        return nullptr;
    return std::make_shared<HostEnhancedDate>(*date, *timezone, isAllDay);
}

}  // namespace kt
