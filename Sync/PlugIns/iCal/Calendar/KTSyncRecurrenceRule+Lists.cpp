#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Text.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncRecurrenceRule.h"

namespace kt {

namespace {

char characterAtIndex(std::string_view text, std::size_t index)
{
    if (index >= text.size())
        throw Exception(NSRangeException,
                        stringWithFormat("Index %d liegt hinter dem Textende", index));
    return text[index];
}

/// The single digit behind an optional minus sign, 0 unless it is 1 to 5; nullopt when no digit
/// stands there.
std::optional<int> ordinalOfWeekday(std::string_view piece)
{
    const char first = characterAtIndex(piece, 0);
    const char character = first == '-' ? characterAtIndex(piece, 1) : first;
    if (!isDecimalDigit(character))
        return std::nullopt;
    return character >= '1' && character <= '5' ? character - '0' : 0;
}

}  // namespace

Value KTSyncRecurrenceRule::valueForProperty(const Value& part) const
{
    return guarded(
        _fileLogger, "[KTSyncRecurrenceRule valueForProperty]: '%@'\n%@",
        [&] { return part.description(); },
        [&] {
            const std::string_view text = part.string();
            const std::size_t equals = text.find('=');
            return equals == std::string_view::npos ? Value() : Value(text.substr(equals + 1));
        });
}

std::int32_t KTSyncRecurrenceRule::parseInt(const Value& text) const
{
    return guardedOr([&] { return text.intValue(); }, [](const Exception&) { return -1; });
}

Array KTSyncRecurrenceRule::parseIntList(const Value& text) const
{
    Array list;
    const auto parsePiece = [&](const Value& piece) {
        guardedOr([&] { list.emplace_back(piece.intValue()); },
                  [&](const Exception& exception) {
                      logTo(_fileLogger, "[KTSyncRecurrenceRule parseIntList]: '%@' -> '%@'\n%@",
                            text, piece, exception);
                  });
    };
    guardedOr(
        [&] {
            if (text.isNil())
                return;
            for (std::string_view piece : componentsSeparatedByString(text.string(), ","))
                parsePiece(piece);
        },
        [&](const Exception& exception) {
            logTo(_fileLogger, "[KTSyncRecurrenceRule parseIntList]: '%@'\n%@", text, exception);
        });
    return list;
}

std::string KTSyncRecurrenceRule::intListToString(const Value& list) const
{
    std::string text;
    bool isFirst = true;
    for (const Value& number : list.array()) {
        if (!std::exchange(isFirst, false))
            text += ',';
        text += number.description();
    }
    return text;
}

Value KTSyncRecurrenceRule::trimWeekday(const Value& text) const
{
    return guardedOr(
        [&] {
            const std::string_view weekday = text.string();
            const auto start = std::find_if_not(weekday.begin(), weekday.end(), isDecimalDigit);
            return Value(std::string(start, weekday.end()));
        },
        [&](const Exception& exception) {
            logTo(_fileLogger, "[KTSyncRecurrenceRule trimWeekday]: '%@'\n%@", text, exception);
            return text;
        });
}

Array KTSyncRecurrenceRule::parseWeekdayList(const Value& text) const
{
    Array list;
    guardedOr(
        [&] {
            if (text.isNil())
                return;
            for (std::string_view piece : componentsSeparatedByString(text.string(), ",")) {
                const std::optional<int> ordinal = ordinalOfWeekday(piece);
                const Value weekday = trimWeekday(ordinal ? piece.substr(1) : piece);
                list.emplace_back(Array{weekday, ordinal.value_or(0)});
            }
        },
        [&](const Exception& exception) {
            logTo(_fileLogger, "[KTSyncRecurrenceRule parseWeekdayList]: '%@'\n%@", text,
                  exception);
        });
    return list;
}

std::string KTSyncRecurrenceRule::weekdayListToString(const Value& list) const
{
    std::string text;
    guardedOr(
        [&] {
            bool isFirst = true;
            for (const Value& element : list.array()) {
                const std::int32_t ordinal = elementAt(element.array(), 1).intValue();
                if (!std::exchange(isFirst, false))
                    text += ',';
                if (ordinal > 0)
                    text += stringWithFormat("%d", ordinal);
                text += elementAt(element.array(), 0).description();
            }
        },
        [&](const Exception& exception) {
            logTo(_fileLogger, "[KTSyncRecurrenceRule weekdayListToString]:\n%@\n%@", list,
                  exception);
        });
    return text;
}

}  // namespace kt
