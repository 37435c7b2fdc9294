#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "tests/Sync/Host/Engine/HomeModel.h"
#include "tests/support/ExceptionOf.h"
#include "tests/support/ValueGenerator.h"

namespace kt::test {
namespace {

Dictionary roundTrip(const Dictionary& record) { return decodedRecord(encodedRecord(record)); }

TEST(RecordCoding, BringsDatesBackWithZoneAndFlag)
{
    const Dictionary record{{"StartDate", date("20071224T100000", "Asia/Tokyo")},
                            {"EndDate", date("20071225")},
                            {"ExceptionDates", Array{date("20080101T100000", "Etc/UTC")}}};
    EXPECT_EQ(roundTrip(record), record);
}

TEST(RecordCoding, KeepsALeapSecondAndAnUnknownZone)
{
    const Dictionary record{{"StartDate", date("20161231T235960", "Custom/Büro")}};
    EXPECT_EQ(roundTrip(record), record);
}

TEST(RecordCoding, KeepsTheOrderOfFields)
{
    const Dictionary record{{"b", 1}, {"a", 2}, {"c", Dictionary{{"z", 1}, {"y", 2}}}};
    const Dictionary back = roundTrip(record);
    std::string order;
    for (const auto& [key, value] : back)
        order += key;
    for (const auto& [key, value] : back["c"].dictionary())
        order += key;
    EXPECT_EQ(order, "baczy");
}

TEST(RecordCoding, KeepsTextThatAPropertyListCannotHold)
{
    const Dictionary record{{"Title", std::string("halb \xED\xA0\xBD und NUL \0.", 20)},
                            {"Notes", "\xFF kein UTF-8"},
                            {"Location", "Café 🎄"}};
    EXPECT_EQ(roundTrip(record), record);
}

TEST(RecordCoding, StoresAsBytesOnlyTextThatAPropertyListCannotHold)
{
    // The last character before the surrogates, the first half of a pair, and the last one.
    const Dictionary record{{"plain", "Café 🎄 \xED\x9F\xBF."},
                            {"half", "\xED\xA0\x80"},
                            {"halfAtTheEnd", "halb \xED\xBF\xBF"}};
    const auto stored = propertyListWithData(encodedRecord(record));
    ASSERT_TRUE(stored.has_value());
    const Dictionary& fields = stored->dictionary();
    EXPECT_EQ(fields["plain"], record["plain"]);
    EXPECT_TRUE(fields["half"].isDictionary());
    EXPECT_TRUE(fields["halfAtTheEnd"].isDictionary());
    EXPECT_EQ(roundTrip(record), record);
}

TEST(RecordCoding, KeepsDictionariesThatLookLikeItsOwnMarks)
{
    const Dictionary record{{"AppleSpecialFields", Dictionary{{"KTSyncEnhancedDate", "x"},
                                                              {"KTSyncText", "y"},
                                                              {"X", "z"}}},
                            {"Other", Dictionary{{"KTSyncPairs", Array{"a", "b"}}}}};
    EXPECT_EQ(roundTrip(record), record);
}

TEST(RecordCoding, KeepsThePastBesideTheRecord)
{
    const Dictionary record{{"Title", "Zahnarzt"},
                            {"KTSyncOrigin", "ein Feld"},
                            {"Other", Dictionary{{"KTSyncFormer", "noch eins"}}}};
    const RecordPast past{"abc def", "0123456789abcdef "};
    for (const RecordPast& each : {past, RecordPast{past.origin, ""}, RecordPast{}}) {
        const StoredRecord stored = storedRecord(encodedRecord(record, each));
        EXPECT_EQ(stored.record, record);
        EXPECT_EQ(stored.past, each);
        EXPECT_EQ(decodedRecord(encodedRecord(record, each)), record);
    }
}

TEST(RecordCoding, KeepsKindsOfNumbersApart)
{
    const Dictionary back =
        roundTrip({{"b", true}, {"i", -5}, {"r", 1.5}, {"d", Data{std::string("\0x", 2)}}});
    EXPECT_EQ(back["b"].kind(), Value::Kind::boolean);
    EXPECT_EQ(back["i"], Value(-5));
    EXPECT_EQ(back["r"], Value(1.5));
    EXPECT_EQ(back["d"], Value(Data{std::string("\0x", 2)}));
}

RC_GTEST_PROP(RecordCoding, BringsEveryRecordBack, ())
{
    const Value record = *dictionaryValues(Alphabet::everything);
    const Dictionary back = roundTrip(record.dictionary());
    RC_ASSERT(Value(back) == record);
    RC_ASSERT(contentHash(back) == contentHash(record.dictionary()));
}

TEST(RecordCoding, RefusesObjectsThatAreNoDates)
{
    class Other : public Object {
        std::string description() const override { return "other"; }
    };
    EXPECT_THROW(encodedRecord({{"x", std::make_shared<Other>()}}), Exception);
}

TEST(RecordCoding, RefusesBytesThatAreNoRecord)
{
    EXPECT_THROW(decodedRecord(""), Exception);
    EXPECT_THROW(decodedRecord("Brief"), Exception);
}

struct DamagedRow {
    Dictionary stored;
    std::string reason;
};
class DamagedRecord : public ::testing::TestWithParam<DamagedRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, DamagedRecord,
    ::testing::Values(DamagedRow{{{"StartDate", Dictionary{{"KTSyncEnhancedDate", "gestern"},
                                                           {"timezone", "Etc/UTC"},
                                                           {"allDay", false}}}},
                                 "Ein gespeicherter Datensatz enthält ein unlesbares Datum"},
                      DamagedRow{{{"X", Dictionary{{"KTSyncPairs", Array{"a", "b", "c"}}}}},
                                 "Ein gespeicherter Datensatz enthält einen Schlüssel ohne Wert"}));

TEST_P(DamagedRecord, IsRefusedWithAReasonInsteadOfCutShort)
{
    const std::string bytes = binaryPropertyList(GetParam().stored);
    EXPECT_EQ(exceptionOf([&] { decodedRecord(bytes); }),
              "NSInvalidArgumentException: " + GetParam().reason);
}

TEST(RecordCoding, RefusesBytesThatStandForFarMoreThanTheyAre)
{
    Value bomb("text");
    for (int level = 0; level < 21; ++level)
        bomb = Array{bomb, bomb};
    const std::string bytes = binaryPropertyList(Dictionary{{"Notes", bomb}});
    EXPECT_LT(bytes.size(), 1000U);
    EXPECT_THROW(decodedRecord(bytes), Exception);
}

TEST(ContentHash, IsTheSameWhateverTheOrderOfFields)
{
    EXPECT_EQ(contentHash({{"a", 1}, {"b", "x"}}), contentHash({{"b", "x"}, {"a", 1}}));
}

TEST(ContentHash, TakesEqualNumbersForEqual)
{
    EXPECT_EQ(contentHash({{"a", 1}}), contentHash({{"a", true}}));
    EXPECT_EQ(contentHash({{"a", 1}}), contentHash({{"a", 1.0}}));
    EXPECT_NE(contentHash({{"a", 1}}), contentHash({{"a", 1.5}}));
}

// Servers and states hold these for good: equal records must never come to differ by another
// version.
TEST(ContentHash, IsWhatItAlwaysWas)
{
    const Dictionary record{{"Title", "Zahnarzt"},
                            {"Sequence", 12},
                            {"AllDay", false},
                            {"SequenceOfLongName", -3},
                            {"SequenceOfLongNames", 1.25},
                            {"Whole", 4.0},
                            {"", "nameless"},
                            {"Attachments",
                             Array{Dictionary{{"Zeit", 1}, {"Art", "x"}, {"\xC3\x84", 2}}, "y"}},
                            {"Data", Data{std::string("\0\x01", 2)}},
                            {"StartDate", date("20071224T100000")},
                            {"DateStamp", date("20071224T090000", "Etc/UTC")},
                            {"EndDate", date("20071225")}};
    EXPECT_EQ(contentHash(record), "8211072eed3bc44933634e6d479e55676f5876d3");
    EXPECT_EQ(contentHash(record, HashScope::neutral), "54e1820b000c65eaa382bff5e293f5cba81b0fb1");
    EXPECT_EQ(contentHash(record, HashScope::simple), "c0586555445e6473513d33237d80ee478513f884");
}

TEST(ContentHash, TellsWhatIsDifferentApart)
{
    const std::string hash = contentHash({{"a", "b"}});
    EXPECT_NE(hash, contentHash({{"a", "c"}}));
    EXPECT_NE(hash, contentHash({{"ab", ""}}));
    EXPECT_NE(hash, contentHash({{"a", Data{"b"}}}));
    EXPECT_NE(hash, contentHash({{"a", Array{"b"}}}));
    EXPECT_NE(contentHash({{"s", date("20071224")}}),
              contentHash({{"s", date("20071224T000000")}}));
    EXPECT_NE(contentHash({{"s", date("20071224T100000")}}),
              contentHash({{"s", date("20071224T100000", "Asia/Tokyo")}}));
}

TEST(ContentHash, OfNeutralScopeLeavesOutWhatChangesByItself)
{
    const Dictionary record{{"Title", "Zahnarzt"}, {"StartDate", date("20071224T100000")}};
    Dictionary other{{"Title", "Zahnarzt"},
                     {"StartDate", date("20071224T100000", "Asia/Tokyo")},
                     {"Timezone", "Asia/Tokyo"},
                     {"DateStamp", date("20071224T100000")},
                     {"ParentRecordKey", "C2"},
                     {"RecurrenceParentRecordKey", "E2"}};
    EXPECT_EQ(contentHash(record, HashScope::neutral), contentHash(other, HashScope::neutral));
    other.set("Attendees", Array{"x"});
    EXPECT_NE(contentHash(record, HashScope::neutral), contentHash(other, HashScope::neutral));
    EXPECT_EQ(contentHash(record, HashScope::simple), contentHash(other, HashScope::simple));
    other.set("Location", "Praxis");
    EXPECT_NE(contentHash(record, HashScope::simple), contentHash(other, HashScope::simple));
}

}  // namespace
}  // namespace kt::test
