#include "Sync/Host/Engine/RecordCoding.h"

#include <algorithm>
#include <utility>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/Foundation/Text.h"
#include "Sync/Host/Engine/HostEnhancedDate.h"

namespace kt {

namespace {

// A dictionary with one of these keys stands for something that a property list does not know. A
// record's own dictionary that happens to have such a key is wrapped as pairs, so that it cannot be
// mistaken.
constexpr std::string_view kDate = "KTSyncEnhancedDate";
constexpr std::string_view kTimezone = "timezone";
constexpr std::string_view kAllDay = "allDay";
constexpr std::string_view kText = "KTSyncText";    // the bytes of a text
constexpr std::string_view kPairs = "KTSyncPairs";  // key, value, key, value ...
// Beside the fields of a record, its past.
constexpr std::string_view kOrigin = "KTSyncOrigin";
constexpr std::string_view kFormer = "KTSyncFormer";
constexpr std::string_view kDateFormat = "%Y%m%dT%H%M%S";

Value encoded(const Value& value);
Value decoded(const Value& value);

bool isPlainText(std::string_view text)
{
    if (text.find('\0') != std::string_view::npos || !isReadableUTF8(text))
        return false;
    // The halves of a surrogate pair stand as ED A0..BF xx.
    for (std::size_t at = text.find('\xED'); at != std::string_view::npos;
         at = text.find('\xED', at + 1)) {
        if (at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) >= 0xA0)
            return false;
    }
    return true;
}

bool isPlainKey(std::string_view key)
{
    for (const std::string_view mark : {kDate, kText, kPairs, kOrigin, kFormer}) {
        if (key == mark)
            return false;
    }
    return isPlainText(key);
}

Value encodedText(std::string_view text)
{
    if (isPlainText(text))
        return text;
    return Dictionary{{std::string(kText), Data{std::string(text)}}};
}

Value encodedPairs(const Dictionary& dictionary)
{
    Array pairs;
    for (const auto& [key, value] : dictionary) {
        pairs.push_back(encodedText(key));
        pairs.push_back(encoded(value));
    }
    return Dictionary{{std::string(kPairs), Value(std::move(pairs))}};
}

Value encodedDictionary(const Dictionary& dictionary)
{
    const bool isPlain = std::all_of(dictionary.begin(), dictionary.end(),
                                     [](const auto& entry) { return isPlainKey(entry.first); });
    if (!isPlain)
        return encodedPairs(dictionary);
    Dictionary result;
    for (const auto& [key, value] : dictionary)
        result.set(key, encoded(value));
    return result;
}

Value encodedDate(const KTSyncEnhancedDate& date)
{
    return Dictionary{{std::string(kDate),
                       date.calendarDate().descriptionWithCalendarFormat(kDateFormat)},
                      {std::string(kTimezone), encodedText(date.timezone())},
                      {std::string(kAllDay), date.isAllDay()}};
}

Value encoded(const Value& value)
{
    switch (value.kind()) {
    case Value::Kind::string:
        return encodedText(value.string());
    case Value::Kind::dictionary:
        return encodedDictionary(value.dictionary());
    case Value::Kind::array: {
        Array result;
        result.reserve(value.array().size());
        for (const Value& element : value.array())
            result.push_back(encoded(element));
        return result;
    }
    case Value::Kind::object:
        if (const auto date = value.objectOfClass<KTSyncEnhancedDate>())
            return encodedDate(*date);
        throw Exception(NSInvalidArgumentException,
                        "Ein Datensatz enthält ein Objekt, das sich nicht speichern lässt");
    default:
        return value;
    }
}

Value decodedDate(const Dictionary& dictionary)
{
    const auto date = CalendarDate::dateWithString(dictionary[kDate].string(), kDateFormat);
    const Value timezone = decoded(dictionary[kTimezone]);
    if (!date)
        throw Exception(NSInvalidArgumentException,
                        "Ein gespeicherter Datensatz enthält ein unlesbares Datum");
    return EnhancedDate(std::make_shared<HostEnhancedDate>(*date, std::string(timezone.string()),
                                                           dictionary[kAllDay].boolValue()));
}

Value decodedPairs(const Array& pairs)
{
    if (pairs.size() % 2 != 0)
        throw Exception(NSInvalidArgumentException,
                        "Ein gespeicherter Datensatz enthält einen Schlüssel ohne Wert");
    Dictionary result;
    for (std::size_t at = 0; at < pairs.size(); at += 2)
        result.set(decoded(pairs[at]).string(), decoded(pairs[at + 1]));
    return result;
}

Value decodedDictionary(const Dictionary& dictionary)
{
    if (dictionary.contains(kDate))
        return decodedDate(dictionary);
    if (const Value* text = dictionary.find(kText))
        return text->data().bytes;
    if (const Value* pairs = dictionary.find(kPairs))
        return decodedPairs(pairs->array());
    Dictionary result;
    for (const auto& [key, value] : dictionary) {
        if (key != kOrigin && key != kFormer)
            result.set(key, decoded(value));
    }
    return result;
}

Value decoded(const Value& value)
{
    if (value.isDictionary())
        return decodedDictionary(value.dictionary());
    if (!value.isArray())
        return value;
    Array result;
    result.reserve(value.array().size());
    for (const Value& element : value.array())
        result.push_back(decoded(element));
    return result;
}

}  // namespace

std::string encodedRecord(const Dictionary& record, const RecordPast& past)
{
    Dictionary list = encodedDictionary(record).dictionary();
    for (const auto& [key, text] : {std::pair(kOrigin, past.origin), {kFormer, past.former}}) {
        if (!text.empty())
            list.set(key, text);
    }
    return binaryPropertyList(list);
}

StoredRecord storedRecord(std::string_view bytes)
{
    const auto list = propertyListWithData(bytes);
    if (!list || !list->isDictionary())
        throw Exception(NSInvalidArgumentException, "Ein gespeicherter Datensatz ist unlesbar");
    StoredRecord stored{decodedDictionary(list->dictionary()).dictionary(), {}};
    for (const auto& [key, text] :
         {std::pair(kOrigin, &stored.past.origin), {kFormer, &stored.past.former}})
        *text = list->dictionary()[key].stringOrNil().value_or("");
    return stored;
}

Dictionary decodedRecord(std::string_view bytes) { return storedRecord(bytes).record; }

}  // namespace kt
