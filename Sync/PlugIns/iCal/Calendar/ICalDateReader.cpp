#include "Sync/PlugIns/iCal/Calendar/ICalDateReader.h"

#include <cstddef>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/Text.h"
#include "Sync/HostInterface/Guard.h"

namespace kt {

namespace {

constexpr std::size_t kDateLength = 8;
constexpr std::size_t kDateTimeLength = 15;  // in UTC a "Z" follows

/// The date in the last characters of a text, `20071224` or `20071224T100000`. Of a tail that is a
/// date, characters are bytes.
std::optional<CalendarDate> wallClockInTail(std::string_view text, std::size_t tailLength)
{
    const std::string_view tail = text.substr(text.size() - tailLength);
    if (tailLength == kDateLength)
        return CalendarDate::dateWithDigits(tail);
    if (tail[kDateLength] != 'T')
        return std::nullopt;
    return CalendarDate::dateWithDigits(tail.substr(0, kDateLength), tail.substr(kDateLength + 1));
}

}  // namespace

EnhancedDate ICalDateReader::dateInText(std::string_view text,
                                        const std::optional<std::string>& timezone)
{
    // A zone's name may be as long as its file: it is handed on, never copied for each date.
    static const std::optional<std::string> kFallbackTimezone = "Europe/Berlin";
    return guardedOr([&] { return readDate(text, timezone ? timezone : kFallbackTimezone); },
                     [&](const Exception&) {
                         logTo(_fileLogger, kUnknownFormat, text);
                         return EnhancedDate();
                     });
}

EnhancedDate ICalDateReader::readDate(std::string_view text,
                                      const std::optional<std::string>& timezone)
{
    static const std::optional<std::string> kUTC = "Etc/UTC";
    const std::size_t length = utf16Length(text);
    if (length < kDateLength) {
        logTo(_fileLogger, kUnknownFormat, text);
        return nullptr;
    }
    if (dates() == nullptr)
        return nullptr;
    if (length < kDateTimeLength)
        return dates()->enhancedDateWithDate(wallClockInTail(text, kDateLength), timezone, true);
    const bool isUTC = length > kDateTimeLength && text.back() == 'Z';
    if (isUTC)
        text.remove_suffix(1);
    return dates()->enhancedDateWithDate(wallClockInTail(text, kDateTimeLength),
                                         isUTC ? kUTC : timezone, false);
}

const KTSyncEnhancedDateClass* ICalDateReader::dates()
{
    if (_dates == nullptr)
        _dates = hostClass<KTSyncEnhancedDateClass>();
    return _dates;
}

}  // namespace kt
