#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Text.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/ICalDateReader.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"

namespace kt {

namespace {

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

/// What follows the first "TZID=". Looks for the equals sign, of which a key has hardly another.
std::optional<std::string_view> zoneParameterIn(std::string_view key)
{
    std::size_t equals = key.find('=');
    while (equals != std::string_view::npos && !key.substr(0, equals).ends_with("TZID"))
        equals = key.find('=', equals + 1);
    return equals == std::string_view::npos ? std::nullopt : std::optional(key.substr(equals + 1));
}

}  // namespace

EnhancedDate KTSyncCalendarTools::parseICalDate(const Value& text,
                                                const std::optional<std::string>& withTimezone,
                                                KTFileLogger* fileLogger)
{
    if (text.isNil())
        return nullptr;
    if (text.isString())
        return ICalDateReader(fileLogger).dateInText(text.string(), withTimezone);
    logTo(fileLogger, ICalDateReader::kUnknownFormat, text);
    return nullptr;
}

std::string KTSyncCalendarTools::findTimezone(std::optional<std::string_view> key,
                                              std::string_view defaultTimezone,
                                              KTFileLogger* fileLogger)
{
    const auto parameter = key ? zoneParameterIn(*key) : std::nullopt;
    if (!parameter)
        return std::string(defaultTimezone);
    return guardedOr(
        [&] {
            const std::string_view parameters = *parameter;
            std::size_t end = parameters.find(':');
            if (end == std::string_view::npos)
                end = parameters.find(';');
            // One as long as its file would cost its length again for each of thousands of dates.
            if (std::min(end, parameters.size()) > kLongestTimezone) {
                reportLoss(
                    KTLoss::Kind::thinned,
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
    reportLoss(KTLoss::Kind::curtailed,
               stringWithFormat("%@: die Zeitzone wird als '%@' geschrieben", name, timezone));
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
