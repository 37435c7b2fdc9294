#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Text.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"

namespace kt {

namespace {

/// The designators of the five numbers, in the order of the array (RFC 5545, 3.3.6).
constexpr std::string_view kDesignators = "WDHMS";
constexpr std::size_t kFirstTimeField = 2;  // hours

void appendDuration(std::string& text, const Array& duration)
{
    const auto number = [&](std::size_t field) { return elementAt(duration, field).intValue(); };
    const auto hasAny = [&](std::size_t firstField) {
        for (std::size_t field = firstField; field < kDesignators.size(); ++field) {
            if (number(field) != 0)
                return true;
        }
        return false;
    };
    if (!hasAny(0)) {
        text = "PT0H";
        return;
    }
    for (std::size_t field = 0; field < kDesignators.size(); ++field) {
        if (field == kFirstTimeField && hasAny(field))
            text += 'T';
        if (number(field) != 0)
            text += stringWithFormat("%d%c", number(field), kDesignators[field]);
    }
}

std::size_t firstDigit(std::string_view text)
{
    const auto digit = std::find_if(text.begin(), text.end(), isDecimalDigit);
    if (digit == text.end())
        throw Exception(NSRangeException,
                        "Index " + std::to_string(text.size()) + " liegt hinter dem Textende");
    return static_cast<std::size_t>(digit - text.begin());
}

Value durationInText(std::string_view text)
{
    std::array<std::int32_t, kDesignators.size()> fields{};
    std::string digits;
    for (char character : text.substr(firstDigit(text))) {
        if (isDecimalDigit(character)) {
            digits += character;
        } else if (character != 'T') {
            const std::size_t field = kDesignators.find(character);
            if (field != std::string_view::npos)
                fields.at(field) = intValue(digits);
            digits.clear();
        }
    }
    return Array(fields.begin(), fields.end());
}

}  // namespace

std::string KTSyncCalendarTools::iCalDurationString(const Value& duration, KTFileLogger* fileLogger)
{
    if (duration.isNil())
        return "PT1H";
    std::string text = "P";
    guardedOr([&] { appendDuration(text, duration.array()); },
              [&](const Exception& exception) {
                  logTo(fileLogger, "iCalDuratonString:\n%@\n%@", duration, exception);
              });
    return text;
}

Value KTSyncCalendarTools::parseICalDuration(const Value& text, KTFileLogger* fileLogger)
{
    if (text.isNil())
        return {};
    return guardedOr([&] { return durationInText(text.string()); },
                     [&](const Exception& exception) {
                         logTo(fileLogger, "parseICalDuration '%@':\n%@", text, exception);
                         return Value();
                     });
}

}  // namespace kt
