#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Text.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"

namespace kt {

namespace {

constexpr std::string_view kUTC = "Etc/UTC";
constexpr std::string_view kUnknownDateFormat = "Unbekanntes Datumsformat: '%@'";

// The lengths of the three forms of RFC 5545, 3.3.4 and 3.3.5, and what tells them apart.
constexpr std::size_t kDateLength = 8;
constexpr std::size_t kDateTimeLength = 15;
constexpr std::size_t kUTCDateTimeLength = 16;

constexpr std::size_t kLongestTimezone = 255;  // bytes; the zone database stays far below

/// The line of a date in a zone.
std::string dateLine(std::string_view name, std::string_view timezone, std::string_view date)
{
    return stringWithFormat("%@;TZID=%@:%@\r\n", name, timezone, date);
}

/// Whether the reader, which looks for the end of the key in the first physical line, finds the
/// date again. Exception dates are cut at commas as well.
bool isDateFoundAgain(std::string_view line, std::string_view name, std::string_view date)
{
    line.remove_suffix(std::min<std::size_t>(line.size(), 2));  // CR LF
    const std::string_view first = KTSyncCalendarTools::firstPhysicalLine(line);
    const std::size_t key = KTSyncCalendarTools::propertyKeyInLine(first).size();
    const std::string_view value = line.substr(key < first.size() ? key + 1 : key);
    return line.find_first_of("\r\n") == std::string_view::npos && value.ends_with(date) &&
           (name != "EXDATE" || value.find(',') == std::string_view::npos);
}

/// Without what hides a colon, cuts a list of dates or ends a line.
std::string harmlessTimezone(std::string timezone)
{
    std::erase_if(timezone, [](char character) {
        return std::string_view("\"\\,\r\n").find(character) != std::string_view::npos;
    });
    return timezone;
}

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
            // One as long as its file would cost its length again for each of thousands of dates.
            if (std::min(end, parameters.size()) > kLongestTimezone) {
                reportLoss(
                    stringWithFormat("Eine Zeitzone mit mehr als %d Zeichen wird nicht gelesen",
                                     kLongestTimezone));
                throw Exception(NSInvalidArgumentException, "überlange Zeitzone");
            }
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
    const std::string written = date->iCalDate();
    std::string line = dateLine(*name, date->timezone(), written);
    if (isDateFoundAgain(line, *name, written))
        return line;
    const std::string timezone = harmlessTimezone(date->timezone());
    reportLoss(stringWithFormat("%@: die Zeitzone wird als '%@' geschrieben", name, timezone));
    return dateLine(*name, timezone, written);
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
