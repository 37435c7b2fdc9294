#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <rapidcheck.h>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Foundation/Text.h"
#include "Sync/HostInterface/KTSyncEnhancedDate.h"
#include "tests/support/ValueGenerator.h"

namespace kt::test {

// Records of events and tasks as other machines send them. Everything that text can carry may
// occur; what it cannot is named in ItemRoundTripTest.cpp and left out here.

/// A property is one line, so line breaks become something else in it.
inline rc::Gen<std::string> propertyTexts()
{
    return rc::gen::map(texts(Alphabet::withoutHalves), [](std::string text) {
        for (char& character : text) {
            if (character == '\n' || character == '\r')
                character = ' ';
        }
        return text;
    });
}

/// Long enough to be folded several times.
inline rc::Gen<std::string> longTexts()
{
    return rc::gen::map(rc::gen::container<std::vector<std::string>>(3, propertyTexts()),
                        [](const std::vector<std::string>& pieces) {
                            std::string text;
                            for (const std::string& piece : pieces)
                                text += piece + ' ' + std::string(40, 'x') + "\U0001F600\u00E4";
                            return text;
                        });
}

inline rc::Gen<std::string> anyTexts() { return rc::gen::oneOf(propertyTexts(), longTexts()); }

/// Letters, digits and blanks, which a parameter can hold whatever stands around it, and few enough
/// for the first 75 characters of a line to hold all parameters.
inline rc::Gen<std::string> parameterTexts()
{
    const auto letters = rc::gen::container<std::string>(
        rc::gen::elementOf(std::string("abcdefghijklmnopqrstuvwxyzABCXYZ0123456789 -_.")));
    return rc::gen::map(letters, [](const std::string& text) { return text.substr(0, 20); });
}

enum class DateKind { day, utc, zoned };

inline EnhancedDate generatedDate(DateKind kind, const std::string& zone)
{
    CalendarDate date;
    date.year = *rc::gen::inRange(1900, 2100);
    date.month = *rc::gen::inRange(1, 13);
    date.day = *rc::gen::inRange(1, 29);
    if (kind != DateKind::day) {
        date.hour = *rc::gen::inRange(0, 24);
        date.minute = *rc::gen::inRange(0, 60);
        date.second = *rc::gen::inRange(0, 61);
    }
    return hostClass<KTSyncEnhancedDateClass>()->enhancedDateWithDate(
        date, kind == DateKind::utc ? "Etc/UTC" : zone, kind == DateKind::day);
}

inline DateKind generatedKind()
{
    return *rc::gen::element(DateKind::day, DateKind::utc, DateKind::zoned);
}

inline std::string generatedZone()
{
    return *rc::gen::element<std::string>("Europe/Berlin", "America/New_York", "Asia/Kathmandu",
                                          "UTC", "W. Europe Standard Time");
}

inline Value generatedDate() { return generatedDate(generatedKind(), generatedZone()); }

/// Sets the key every other time.
template <class Make>
void maybe(Dictionary& record, std::string_view key, Make&& make)
{
    if (*rc::gen::arbitrary<bool>())
        record.set(key, make());
}

template <class Make>
Array generatedArray(std::size_t most, Make&& make)
{
    const auto count = *rc::gen::inRange<std::size_t>(1, most + 1);
    Array array;
    for (std::size_t index = 0; index < count; ++index)
        array.push_back(make(index));
    return array;
}

/// The index keeps parameters apart: properties of equal parameters move together.
inline Value generatedAttachment(std::size_t index)
{
    Dictionary record{{"Data", "http://" + *anyTexts()},
                      {"Type", "FMTTYPE=text/x-" + std::to_string(index)}};
    maybe(record, "Value", [] { return "VALUE=URI"; });
    maybe(record, "Encoding", [] { return "ENCODING=8BIT"; });
    return record;
}

inline Value generatedAttendee(std::size_t index)
{
    Dictionary record{{"Address", "mailto:" + *anyTexts()},
                      {"Status", "X-NR=" + std::to_string(index) + ";PARTSTAT=ACCEPTED"}};
    maybe(record, "Name", [] { return *parameterTexts(); });
    return record;
}

inline Value generatedAlarm(std::size_t)
{
    Dictionary record{{"Action", *rc::gen::element<std::string>("DISPLAY", "AUDIO", "EMAIL")}};
    maybe(record, "Attachments", [] { return generatedArray(2, generatedAttachment); });
    maybe(record, "EmailAddress", [] { return Dictionary{{"Address", "mailto:" + *anyTexts()}}; });
    if (*rc::gen::arbitrary<bool>())
        record.set("AbsoluteTrigger", generatedDate(DateKind::zoned, generatedZone()));
    else
        maybe(record, "RelativeTrigger", [] { return *anyTexts(); });
    return record;
}

inline Value generatedIntegers()
{
    return generatedArray(4, [](std::size_t) { return Value(*rc::gen::inRange(-366, 367)); });
}

inline Value generatedWeekdays()
{
    return generatedArray(3, [](std::size_t) {
        return Value(
            Array{*rc::gen::element<std::string>("MO", "TU", "SU"), *rc::gen::inRange(0, 6)});
    });
}

inline Value generatedRule()
{
    Dictionary rule{{"Frequency", *rc::gen::element<std::string>("DAILY", "WEEKLY", "YEARLY")},
                    {"Interval", *rc::gen::inRange(1, 100)}};
    if (*rc::gen::arbitrary<bool>())
        rule.set("Count", *rc::gen::inRange(1, 1000));
    else
        maybe(rule, "UntilDate", [] { return generatedDate(DateKind::utc, ""); });
    for (std::string_view key : {"BySeconds", "ByMinutes", "ByHours", "ByMonthDay", "ByYearDay",
                                 "ByWeekNumber", "ByMonth", "BySP"})
        maybe(rule, key, generatedIntegers);
    maybe(rule, "ByWeekday", generatedWeekdays);
    maybe(rule, "WeekStart", generatedWeekdays);
    return rule;
}

/// All in one form: the text layer keeps the dates of one EXDATE key only.
inline Value generatedExceptionDates()
{
    const DateKind kind = generatedKind();
    const std::string zone = generatedZone();
    return generatedArray(4, [&](std::size_t) { return Value(generatedDate(kind, zone)); });
}

inline Dictionary generatedSpecialFields()
{
    Dictionary fields;
    const auto count = *rc::gen::inRange(0, 4);
    for (int index = 0; index < count; ++index)
        fields.set("X-FIELD-" + std::to_string(index), *anyTexts());
    return fields;
}

inline Dictionary generatedItem()
{
    Dictionary record{{"Title", *anyTexts()}};
    maybe(record, "URL", [] { return *anyTexts(); });
    maybe(record, "Notes", [] { return *anyTexts(); });
    maybe(record, "Sequence", [] { return std::to_string(*rc::gen::inRange(0, 100)); });
    maybe(record, "DateStamp", [] { return generatedDate(DateKind::utc, ""); });
    maybe(record, "StartDate", [] { return generatedDate(); });
    maybe(record, "Attachments", [] { return generatedArray(3, generatedAttachment); });
    maybe(record, "AppleSpecialFields", generatedSpecialFields);
    maybe(record, "Alarms", [] { return generatedArray(3, generatedAlarm); });
    return record;
}

inline Dictionary generatedEvent()
{
    Dictionary record = generatedItem();
    maybe(record, "Location", [] { return *anyTexts(); });
    maybe(record, "TRANSP", [] { return *anyTexts(); });
    maybe(record, "EndDate", [] { return generatedDate(); });
    maybe(record, "RecurrenceRule", generatedRule);
    maybe(record, "ExceptionDates", generatedExceptionDates);
    maybe(record, "Duration", [] {
        Array duration;
        for (int index = 0; index < 5; ++index)
            duration.push_back(*rc::gen::inRange(0, 100));
        return duration;
    });
    maybe(record, "RecurrenceId", [] { return generatedDate(); });
    maybe(record, "Attendees", [] { return generatedArray(4, generatedAttendee); });
    return record;
}

inline Dictionary generatedTask()
{
    Dictionary record = generatedItem();
    maybe(record, "DueDate", [] { return generatedDate(); });
    maybe(record, "CompletedDate", [] { return generatedDate(); });
    maybe(record, "Priority", [] { return *anyTexts(); });
    return record;
}

}  // namespace kt::test
