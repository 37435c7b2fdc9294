#include "Sync/Host/Engine/HostEnhancedDate.h"

#include <memory>
#include <string>

namespace kt {

namespace {

constexpr std::string_view kUTC = "Etc/UTC";

void appendPadded(std::string& text, int number, int width)
{
    const std::string digits = std::to_string(number);
    for (int missing = width - static_cast<int>(digits.size()); missing > 0; --missing)
        text += '0';
    text += digits;
}

// The forms of RFC 5545, 3.3.4 and 3.3.5.
std::string dateText(const CalendarDate& date)
{
    std::string text;
    text.reserve(16);
    appendPadded(text, date.year, 4);
    appendPadded(text, date.month, 2);
    appendPadded(text, date.day, 2);
    return text;
}

std::string dateTimeText(const CalendarDate& date)
{
    std::string text = dateText(date);
    text += 'T';
    appendPadded(text, date.hour, 2);
    appendPadded(text, date.minute, 2);
    appendPadded(text, date.second, 2);
    return text;
}

/// The names of zones come from files, where thousands of dates may share one that is very long:
/// dates that follow each other keep one copy of it.
std::shared_ptr<const std::string> sharedText(const std::string& text)
{
    thread_local std::shared_ptr<const std::string> last;
    if (last == nullptr || *last != text)
        last = std::make_shared<const std::string>(text);
    return last;
}

}  // namespace

HostEnhancedDate::HostEnhancedDate(const CalendarDate& date, const std::string& timezone,
                                   bool isAllDay)
    : _date(date),
      _timezone(sharedText(timezone)),
      _isAllDay(isAllDay)
{}

std::string HostEnhancedDate::iCalDate() const
{
    if (_isAllDay)
        return dateText(_date);
    std::string text = dateTimeText(_date);
    if (isUTCTime())
        text += 'Z';
    return text;
}

std::string HostEnhancedDate::utcDate() const
{
    // A leap second survives as written: its instant would be the next minute's first second.
    if (isUTCTime() && !_isAllDay)
        return dateTimeText(_date) + 'Z';
    return dateTimeText(calendarDateOfInstant(instantOf(*this), kUTC)) + 'Z';
}

bool HostEnhancedDate::isUTCTime() const { return *_timezone == kUTC; }

std::string HostEnhancedDate::descriptionWithCalendarFormat(std::string_view format) const
{
    return _date.descriptionWithCalendarFormat(format);
}

std::string HostEnhancedDate::description() const { return iCalDate() + ' ' + *_timezone; }

bool HostEnhancedDate::isEqual(const Object& other) const
{
    const auto* date = dynamic_cast<const KTSyncEnhancedDate*>(&other);
    return date != nullptr && date->isAllDay() == _isAllDay && date->calendarDate() == _date &&
           date->timezone() == *_timezone;
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
