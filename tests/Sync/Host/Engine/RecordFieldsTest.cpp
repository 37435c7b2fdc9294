#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/KeyedArchive.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/Host/Engine/RecordFields.h"
#include "tests/Sync/Host/Engine/HomeModel.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct UnitRow {
    std::string field;
    std::string unit;
};

class FieldsThatGoTogether : public testing::TestWithParam<UnitRow> {};

INSTANTIATE_TEST_SUITE_P(
    Rule8, FieldsThatGoTogether,
    testing::Values(UnitRow{"StartDate", "StartDate"}, UnitRow{"EndDate", "StartDate"},
                    UnitRow{"Duration", "StartDate"}, UnitRow{"AllDay", "StartDate"},
                    UnitRow{"RecurrenceRule", "RecurrenceRule"},
                    UnitRow{"ExceptionDates", "RecurrenceRule"},
                    UnitRow{"RecurrenceExceptionDates", "RecurrenceRule"},
                    UnitRow{"DueDate", "DueDate"}, UnitRow{"CompletedDate", "DueDate"},
                    UnitRow{"Completed", "DueDate"}, UnitRow{"Subscriber", "Subscriber"},
                    UnitRow{"SubscriberData", "Subscriber"}, UnitRow{"Title", "Title"},
                    UnitRow{"RecurrenceId", "RecurrenceId"}));

TEST_P(FieldsThatGoTogether, AreOneUnit)
{
    EXPECT_EQ(unitOfField(GetParam().field), GetParam().unit);
    EXPECT_THAT(fieldsOfUnit(GetParam().unit), testing::Contains(GetParam().field));
}

TEST(ChangedUnits, NamesEachUnitOnce)
{
    const Dictionary before{{"StartDate", date("20071224T100000")},
                            {"EndDate", date("20071224T110000")},
                            {"Title", "a"}};
    const Dictionary after{{"StartDate", date("20071224T120000")},
                           {"Duration", Array{0, 0, 1, 0, 0}},
                           {"Title", "a"},
                           {"Notes", "n"}};
    EXPECT_THAT(changedUnits(before, after), ElementsAre("StartDate", "Notes"));
}

TEST(ChangedUnits, SeesAFieldThatIsGone)
{
    EXPECT_THAT(changedUnits(Dictionary{{"Notes", "n"}}, Dictionary{}), ElementsAre("Notes"));
}

struct QuietRow {
    std::string name;
    Dictionary before;
    Dictionary after;
    std::string zoneBefore;
    std::string zoneAfter;
    bool isChange;
};

Dictionary start(const std::string& text, const std::string& zone)
{
    return {{"StartDate", date(text, zone)}};
}

Dictionary subscription(Dictionary entries) { return {{"Subscriber", std::move(entries)}}; }

Dictionary archived(Dictionary entries)
{
    return {{"SubscriberData", Data{archivedDataWithRootObject(Value(std::move(entries)))}}};
}

/// A subscription's archive with an entry of a class that only its own program knows.
Dictionary strange(int content)
{
    const auto uid = [](int number) { return Value(Dictionary{{"CF$UID", number}}); };
    const Array objects{"$null",
                        Dictionary{{"$class", uid(2)},
                                   {"NS.keys", Array{uid(3)}},
                                   {"NS.objects", Array{uid(4)}}},
                        Dictionary{{"$classname", "NSDictionary"}},
                        "Window",
                        Dictionary{{"$class", uid(5)}, {"Content", content}},
                        Dictionary{{"$classname", "XYWindow"}}};
    return {{"SubscriberData",
             Data{binaryPropertyList(Dictionary{{"$archiver", "NSKeyedArchiver"},
                                                {"$top", Dictionary{{"root", uid(1)}}},
                                                {"$objects", objects}})}}};
}

const std::string kBerlin = "Europe/Berlin";
const std::string kTokyo = "Asia/Tokyo";

class NoChangeByThemselves : public testing::TestWithParam<QuietRow> {};

INSTANTIATE_TEST_SUITE_P(
    Rule9, NoChangeByThemselves,
    testing::Values(
        QuietRow{
            "Timezone", {{"Timezone", kBerlin}}, {{"Timezone", kTokyo}}, kBerlin, kTokyo, false},
        QuietRow{
            "DateStamp", {{"DateStamp", date("20071224T100000")}}, {}, kBerlin, kBerlin, false},
        QuietRow{"RefreshDate", subscription({{"SubscriptionURL", "u"}, {"RefreshDate", 1}}),
                 subscription({{"SubscriptionURL", "u"}, {"RefreshDate", 2}}), kBerlin, kBerlin,
                 false},
        QuietRow{"NeedsRefresh", subscription({{"SubscriptionURL", "u"}, {"NeedsRefresh", true}}),
                 subscription({{"SubscriptionURL", "u"}}), kBerlin, kBerlin, false},
        QuietRow{"NeedsForcedUpdate", subscription({{"SubscriptionURL", "u"}}),
                 subscription({{"SubscriptionURL", "u"}, {"NeedsForcedUpdate", 0}}), kBerlin,
                 kBerlin, false},
        QuietRow{"SubscriptionURL", subscription({{"SubscriptionURL", "u"}}),
                 subscription({{"SubscriptionURL", "v"}}), kBerlin, kBerlin, true},
        QuietRow{"RefreshDateInAnArchive", archived({{"RemoteURL", "u"}, {"LastRefreshDate", 1}}),
                 archived({{"RemoteURL", "u"}, {"LastRefreshDate", 2}}), kBerlin, kBerlin, false},
        QuietRow{"URLInAnArchive", archived({{"RemoteURL", "u"}}), archived({{"RemoteURL", "v"}}),
                 kBerlin, kBerlin, true},
        QuietRow{"WhatOnlyAStrangerKnowsInAnArchive", strange(1), strange(2), kBerlin, kBerlin,
                 true},
        QuietRow{"ZoneOfAnAllDayDate", start("20071224", kBerlin), start("20071224", kTokyo), "",
                 "", false},
        QuietRow{"DayOfAnAllDayDate", start("20071224", kBerlin), start("20071225", kBerlin),
                 kBerlin, kBerlin, true},
        QuietRow{"ZoneOfTheTravellingMachine", start("20071224T100000", kBerlin),
                 start("20071224T100000", kTokyo), kBerlin, kTokyo, false},
        QuietRow{"ZoneSetByTheUser", start("20071224T100000", kBerlin),
                 start("20071224T100000", kTokyo), kBerlin, kBerlin, true},
        QuietRow{"ZoneThatWasNotTheMachines", start("20071224T100000", "Europe/London"),
                 start("20071224T100000", kTokyo), kBerlin, kTokyo, true},
        QuietRow{"TimeOfTheTravellingMachine", start("20071224T100000", kBerlin),
                 start("20071224T110000", kTokyo), kBerlin, kTokyo, true},
        QuietRow{"ZoneInsideAnArray",
                 {{"ExceptionDates", Array{date("20071224T100000", kBerlin)}}},
                 {{"ExceptionDates", Array{date("20071224T100000", kTokyo)}}},
                 kBerlin,
                 kTokyo,
                 false},
        QuietRow{"AllDayFlag", start("20071224", kBerlin), start("20071224T000000", kBerlin),
                 kBerlin, kBerlin, true}),
    [](const auto& row) { return row.param.name; });

TEST_P(NoChangeByThemselves, AreTold)
{
    const QuietRow& row = GetParam();
    const auto units = changedUnits({row.before, row.zoneBefore}, {row.after, row.zoneAfter});
    EXPECT_EQ(!units.empty(), row.isChange);
    const auto backwards = changedUnits({row.after, row.zoneAfter}, {row.before, row.zoneBefore});
    EXPECT_EQ(!backwards.empty(), row.isChange);
}

TEST(ChangedUnits, KnowsNoMachineZoneOnAServer)
{
    EXPECT_THAT(changedUnits(start("20071224T100000", kBerlin), start("20071224T100000", kTokyo)),
                ElementsAre("StartDate"));
}

TEST(TakeUnit, TakesAndRemovesAllFieldsOfTheUnit)
{
    Dictionary target{{"Title", "a"}, {"DueDate", 1}, {"Completed", 0}};
    takeUnit(target, {{"CompletedDate", 2}, {"Completed", 1}}, "DueDate");
    EXPECT_EQ(target, (Dictionary{{"Title", "a"}, {"CompletedDate", 2}, {"Completed", 1}}));
}

}  // namespace
}  // namespace kt::test
