#include "Sync/Foundation/CalendarDate.h"

#include <algorithm>
#include <array>
#include <charconv>

#include <cctz/civil_time.h>

#include "Sync/Foundation/TimeZone.h"

namespace kt {

namespace {

bool isReal(const CalendarDate& date)
{
    return date.month >= 1 && date.month <= 12 && date.day >= 1 &&
           date.day <= daysInMonth(date.year, date.month) && date.hour <= 23 && date.minute <= 59 &&
           date.second <= 60;
}

/// The field that a format letter stands for, or null.
int* fieldOf(CalendarDate& date, char letter)
{
    switch (letter) {
    case 'Y':
        return &date.year;
    case 'm':
        return &date.month;
    case 'd':
        return &date.day;
    case 'H':
        return &date.hour;
    case 'M':
        return &date.minute;
    case 'S':
        return &date.second;
    default:
        return nullptr;
    }
}

/// Exactly `width` digits from the beginning of the text, which they leave.
bool takeNumber(std::string_view& text, std::size_t width, int& number)
{
    if (text.size() < width)
        return false;
    number = 0;
    for (std::size_t index = 0; index < width; ++index) {
        const int digit = text[index] - '0';
        if (digit < 0 || digit > 9)
            return false;
        number = number * 10 + digit;
    }
    text.remove_prefix(width);
    return true;
}

constexpr std::size_t kMostDigits = 11;  // of a number with its sign

/// At least as many digits as the width says; gives where the next character goes.
char* putNumber(char* out, int number, int width)
{
    if (number < 0 || number > 9999 || (width == 2 && number > 99)) {
        std::array<char, kMostDigits> buffer{};
        const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr;
        out = std::fill_n(out, std::max<std::ptrdiff_t>(width - (end - buffer.data()), 0), '0');
        return std::copy(buffer.data(), end, out);
    }
    if (width == 4) {
        *out++ = static_cast<char>('0' + number / 1000);
        *out++ = static_cast<char>('0' + number / 100 % 10);
    }
    *out++ = static_cast<char>('0' + number / 10 % 10);
    *out++ = static_cast<char>('0' + number % 10);
    return out;
}

Date dateOfSeconds(cctz::time_point<cctz::seconds> seconds)
{
    return Date{std::chrono::time_point_cast<std::chrono::microseconds>(seconds)};
}

cctz::civil_second civilSecondOf(const CalendarDate& date)
{
    // A leap second becomes the first second of the next minute.
    return cctz::civil_second(date.year, date.month, date.day, date.hour, date.minute, date.second);
}

CalendarDate calendarDateOf(const cctz::civil_second& civil)
{
    return {static_cast<int>(civil.year()),
            civil.month(),
            civil.day(),
            civil.hour(),
            civil.minute(),
            civil.second()};
}

}  // namespace

std::optional<CalendarDate> CalendarDate::dateWithString(std::string_view text,
                                                         std::string_view calendarFormat)
{
    CalendarDate date;
    for (std::size_t index = 0; index < calendarFormat.size(); ++index) {
        const bool isDirective = calendarFormat[index] == '%' && index + 1 < calendarFormat.size();
        const char letter = isDirective ? calendarFormat[index + 1] : '\0';
        if (int* field = fieldOf(date, letter)) {
            if (!takeNumber(text, letter == 'Y' ? 4 : 2, *field))
                return std::nullopt;
            ++index;
        } else {
            if (!text.starts_with(calendarFormat[index]))
                return std::nullopt;
            text.remove_prefix(1);
        }
    }
    if (!text.empty() || !isReal(date))
        return std::nullopt;
    return date;
}

std::optional<CalendarDate> CalendarDate::dateWithDigits(std::string_view date,
                                                         std::string_view time)
{
    CalendarDate found;
    if (!takeNumber(date, 4, found.year) || !takeNumber(date, 2, found.month) ||
        !takeNumber(date, 2, found.day) || !date.empty())
        return std::nullopt;
    if (!time.empty() && (!takeNumber(time, 2, found.hour) || !takeNumber(time, 2, found.minute) ||
                          !takeNumber(time, 2, found.second) || !time.empty()))
        return std::nullopt;
    return isReal(found) ? std::optional(found) : std::nullopt;
}

std::string CalendarDate::descriptionWithCalendarFormat(std::string_view format) const
{
    CalendarDate copy = *this;
    std::string description(kMostDigits * format.size(), '\0');
    char* out = description.data();
    for (std::size_t index = 0; index < format.size(); ++index) {
        const bool isDirective = format[index] == '%' && index + 1 < format.size();
        const char letter = isDirective ? format[index + 1] : '\0';
        if (const int* field = fieldOf(copy, letter)) {
            out = putNumber(out, *field, letter == 'Y' ? 4 : 2);
            ++index;
        } else {
            *out++ = format[index];
        }
    }
    description.resize(static_cast<std::size_t>(out - description.data()));
    return description;
}

int daysInMonth(int year, int month)
{
    constexpr std::array<int, 12> kDays{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool isLeapYear = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 2 && isLeapYear ? 29 : kDays.at(static_cast<std::size_t>(month - 1));
}

Date instantOfCalendarDate(const CalendarDate& date, std::string_view timezone)
{
    return dateOfSeconds(timeZoneOrLocal(timezone).lookup(civilSecondOf(date)).pre);
}

CalendarDate calendarDateOfInstant(Date instant, std::string_view timezone)
{
    const auto seconds = std::chrono::floor<cctz::seconds>(instant.instant);
    return calendarDateOf(cctz::convert(seconds, timeZoneOrLocal(timezone)));
}

std::string iso8601(Date instant)
{
    return calendarDateOfInstant(instant, "UTC")
        .descriptionWithCalendarFormat("%Y-%m-%dT%H:%M:%SZ");
}

std::optional<Date> dateWithISO8601(std::string_view text)
{
    if (const std::size_t point = text.find('.'); point != std::string_view::npos) {
        const std::string_view fraction = text.substr(point + 1);
        const std::size_t digits =
            std::min(fraction.find_first_not_of("0123456789"), fraction.size());
        if (digits == 0 || fraction.substr(digits) != "Z")
            return std::nullopt;
        return dateWithISO8601(std::string(text.substr(0, point)) + "Z");
    }
    const auto date = CalendarDate::dateWithString(text, "%Y-%m-%dT%H:%M:%SZ");
    if (!date)
        return std::nullopt;
    return instantOfCalendarDate(*date, "UTC");
}

}  // namespace kt
