#include <optional>
#include <string>
#include <string_view>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Text.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"

namespace kt {

namespace {

constexpr std::string_view kUTC = "Etc/UTC";
constexpr std::string_view kUnknownDateFormat = "Unbekanntes Datumsformat: '%@'";

// The lengths of the three forms of RFC 5545, 3.3.4 and 3.3.5, and what tells them apart.
constexpr std::size_t kDateLength = 8;
constexpr std::size_t kDateTimeLength = 15;
constexpr std::size_t kUTCDateTimeLength = 16;

/// The date in the last characters of a text. Of a tail that is a date, characters are bytes.
EnhancedDate dateInTail(std::string_view text, std::size_t tailLength,
                        std::string_view calendarFormat, const std::optional<std::string>& timezone,
                        bool isAllDay)
{
    const auto* dates = hostClass<KTSyncEnhancedDateClass>();
    if (dates == nullptr)
        return nullptr;
    const std::string_view tail = text.substr(text.size() - tailLength);
    return dates->enhancedDateWithDate(CalendarDate::dateWithString(tail, calendarFormat), timezone,
                                       isAllDay);
}

EnhancedDate dateInText(std::string_view text, const std::optional<std::string>& timezone,
                        KTFileLogger* fileLogger)
{
    const std::size_t length = utf16Length(text);
    if (length > kDateTimeLength && text.back() == 'Z')
        return dateInTail(text, kUTCDateTimeLength, "%Y%m%dT%H%M%SZ", std::string(kUTC), false);
    if (length >= kDateTimeLength)
        return dateInTail(text, kDateTimeLength, "%Y%m%dT%H%M%S", timezone, false);
    if (length >= kDateLength)
        return dateInTail(text, kDateLength, "%Y%m%d", timezone, true);
    logTo(fileLogger, kUnknownDateFormat, text);
    return nullptr;
}

}  // namespace

EnhancedDate KTSyncCalendarTools::parseICalDate(const Value& text,
                                                const std::optional<std::string>& withTimezone,
                                                KTFileLogger* fileLogger)
{
    // A zone's name may be as long as its file: it is handed on, never copied for each date.
    static const std::optional<std::string> kFallbackTimezone = "Europe/Berlin";
    if (text.isNil())
        return nullptr;
    return guardedOr(
        [&] {
            return dateInText(text.string(), withTimezone ? withTimezone : kFallbackTimezone,
                              fileLogger);
        },
        [&](const Exception&) {
            logTo(fileLogger, kUnknownDateFormat, text);
            return EnhancedDate();
        });
}

std::string KTSyncCalendarTools::findTimezone(std::optional<std::string_view> key,
                                              std::string_view defaultTimezone,
                                              KTFileLogger* fileLogger)
{
    constexpr std::string_view kParameter = "TZID=";
    const std::size_t start = key ? key->find(kParameter) : std::string_view::npos;
    if (start == std::string_view::npos)
        return std::string(defaultTimezone);
    return guardedOr(
        [&] {
            const std::string_view parameters = key->substr(start + kParameter.size());
            std::size_t end = parameters.find(':');
            if (end == std::string_view::npos)
                end = parameters.find(';');
            return std::string(parameters.substr(0, end));
        },
        [&](const Exception&) {
            logTo(fileLogger, "Unbekannte Zeitzone: '%@'", key);
            return std::string(defaultTimezone);
        });
}

std::optional<std::string> KTSyncCalendarTools::assembleDateComponent(
    std::optional<std::string_view> name, const Value& forDate)
{
    if (!name)
        return std::nullopt;
    const EnhancedDate date = enhancedDate(forDate);
    if (date == nullptr)
        return std::nullopt;
    if (date->isAllDay())
        return stringWithFormat("%@;VALUE=DATE:%@\r\n", name, date->iCalDate());
    if (date->isUTCTime())
        return stringWithFormat("%@:%@\r\n", name, date->iCalDate());
    return stringWithFormat("%@;TZID=%@:%@\r\n", name, date->timezone(), date->iCalDate());
}

EnhancedDate KTSyncCalendarTools::enhancedDate(const Value& value)
{
    EnhancedDate date = value.objectOfClass<KTSyncEnhancedDate>();
    if (date == nullptr && !value.isNil())
        throw Exception(NSInvalidArgumentException, "kein Datum: " + value.description());
    return date;
}

void KTSyncCalendarTools::splitSingleExceptionDateLine(const Value& text, Array& intoExceptions,
                                                       std::string_view currentKey,
                                                       std::string_view defaultTimezone,
                                                       KTFileLogger* fileLogger)
{
    if (text.isNil())
        return;
    const std::optional<std::string> timezone =
        findTimezone(currentKey, defaultTimezone, fileLogger);
    for (std::string_view piece : componentsSeparatedByString(text.string(), ","))
        appendTo(intoExceptions, parseICalDate(piece, timezone, fileLogger));
}

Array KTSyncCalendarTools::filterExceptionDates(std::string_view currentKey,
                                                const Value& currentValue,
                                                std::string_view defaultTimezone,
                                                KTFileLogger* fileLogger)
{
    Array dates;
    const auto split = [&](const Value& text) {
        splitSingleExceptionDateLine(text, dates, currentKey, defaultTimezone, fileLogger);
    };
    if (currentValue.isString()) {
        split(currentValue);
    } else if (currentValue.isArray()) {
        for (const Value& text : currentValue.array())
            split(text);
    }
    return dates;
}

}  // namespace kt
