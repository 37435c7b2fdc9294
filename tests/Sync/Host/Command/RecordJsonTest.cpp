#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/KeyedArchive.h"
#include "Sync/Host/Command/RecordJson.h"
#include "Sync/Host/Engine/HostEnhancedDate.h"
#include "Sync/Host/Engine/HostSyncRecord.h"

namespace kt {
namespace {

Value enhancedDate(bool isAllDay)
{
    return std::make_shared<HostEnhancedDate>(CalendarDate{2007, 12, 24, 10, 0, 0}, "Europe/Berlin",
                                              isAllDay);
}

struct ValueRow {
    const char* name;
    Value value;
    const char* json;
};
class JsonForValue : public testing::TestWithParam<ValueRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, JsonForValue,
    testing::Values(
        ValueRow{"Nil", Value(), "null"}, ValueRow{"True", Value(true), "true"},
        ValueRow{"Integer", Value(-5), "-5"},
        ValueRow{"LargeInteger", Value(std::int64_t{9007199254740993}), "9007199254740993"},
        ValueRow{"Real", Value(1.5), "1.5"},
        ValueRow{"Text", Value("Grüße\n\"🎄\""), "\"Grüße\\n\\\"🎄\\\"\""},
        ValueRow{"NoUTF8", Value("a\xFF"), "\"a\xEF\xBF\xBD\""},
        ValueRow{"Data", Value(Data{std::string("\0Hi", 3)}), "{\"data\":\"AEhp\"}"},
        ValueRow{"EmptyData", Value(Data{""}), "{\"data\":\"\"}"},
        ValueRow{"Instant", Value(*dateWithISO8601("2007-12-24T09:00:00Z")),
                 "{\"date\":\"2007-12-24T09:00:00Z\"}"},
        ValueRow{"ZonedDate", enhancedDate(false),
                 "{\"iCalDate\":\"20071224T100000\",\"timezone\":\"Europe/Berlin\","
                 "\"allDay\":false}"},
        ValueRow{"AllDayDate", enhancedDate(true),
                 "{\"iCalDate\":\"20071224\",\"timezone\":\"Europe/Berlin\",\"allDay\":true}"},
        ValueRow{"OtherObject", Value(std::make_shared<URL>("http://example.invalid/")),
                 "\"http://example.invalid/\""},
        ValueRow{"Array", Value(Array{Value(1), Value("x"), Value(Array{})}), "[1,\"x\",[]]"},
        ValueRow{"PairOfTexts", Value(Array{Value(Array{Value("a"), Value("b")})}),
                 "[[\"a\",\"b\"]]"},
        ValueRow{"Dictionary", Value(Dictionary{{"z", 1}, {"a", Dictionary{}}}),
                 "{\"z\":1,\"a\":{}}"}),
    [](const auto& row) { return row.param.name; });

TEST_P(JsonForValue, IsAsTheManualSays)
{
    EXPECT_EQ(jsonText(jsonForValue(GetParam().value)), GetParam().json);
}

TEST(JsonForValue, KeepsEveryKeyOfALargeDictionaryInItsOrder)
{
    Dictionary dictionary;
    for (int number = 0; number < 50'000; ++number)
        dictionary.set("X-" + std::to_string(number), number);
    const auto json = jsonForValue(dictionary);
    ASSERT_EQ(json.size(), dictionary.size());
    int number = 0;
    for (const auto& [key, value] : json.items()) {
        ASSERT_EQ(key, "X-" + std::to_string(number));
        ASSERT_EQ(value, number++);
    }
}

TEST(JsonForRecord, HasConduitKeyParentAndRecord)
{
    const HostSyncRecord event(0, Dictionary{{"Title", "Zahnarzt"}}, "K1", "K0", "ical-event");
    EXPECT_EQ(jsonText(jsonForRecord(event)),
              "{\"conduit\":\"ical-event\",\"key\":\"K1\",\"parentKey\":\"K0\","
              "\"record\":{\"Title\":\"Zahnarzt\"}}");
}

TEST(JsonForRecord, HasNullForAMissingParent)
{
    const HostSyncRecord calendar(0, Dictionary{}, "K0", std::nullopt, "ical-calendar");
    EXPECT_EQ(jsonText(jsonForRecord(calendar)),
              "{\"conduit\":\"ical-calendar\",\"key\":\"K0\",\"parentKey\":null,\"record\":{}}");
}

}  // namespace
}  // namespace kt
