#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/PlugIns/iCal/Calendar/ItemPairing.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"
#include "tests/support/HostClassesScope.h"

namespace kt {
namespace {

using testing::ElementsAre;

const std::string kKey(40, 'a');
const std::string kOther(40, 'b');

SyncRecord task(const std::string& key, Dictionary fields)
{
    fields.set("ParentRecordKey", "x");
    return std::make_shared<HostSyncRecord>(kRecordTypeRecord, std::move(fields), key, "x",
                                            std::string(kConduitTask));
}

SyncRecord event(const std::string& key, Dictionary fields)
{
    fields.set("ParentRecordKey", "x");
    return std::make_shared<HostSyncRecord>(kRecordTypeRecord, std::move(fields), key, "x",
                                            std::string(kConduitEvent));
}

Value day(int day)
{
    return KTSyncCalendarTools::parseICalDate("2007120" + std::to_string(day), "Europe/Berlin",
                                              nullptr);
}

/// Dates are made by the host's class.
class PairingOfEvents : public ::testing::Test {
    HostClassesScope classes;
};

/// The number of the stored item for each wanted one; -1 for a new one.
std::vector<int> pairs(const std::vector<SyncRecord>& stored, const std::vector<SyncRecord>& wanted)
{
    std::vector<LoadedItem> items;
    for (const SyncRecord& record : stored)
        items.push_back({record, Value()});
    std::vector<int> numbers;
    for (const ItemPair& pair : pairItems(items, wanted))
        numbers.push_back(pair.stored ? static_cast<int>(*pair.stored) : -1);
    return numbers;
}

TEST(ItemPairing, KnowsEqualItemsWhateverTheOrder)
{
    const SyncRecord first = task(kKey, {{"Title", "a"}});
    const SyncRecord second = task(kOther, {{"Title", "b"}});
    EXPECT_THAT(pairs({first, second}, {second, first}), ElementsAre(1, 0));
}

TEST(ItemPairing, SeesThatARecordIsEqualButForWhatBelongsToOthers)
{
    const std::vector<LoadedItem> stored{
        {task(kKey, {{"Title", "a"}, {"Timezone", "x"}}), Value()}};
    EXPECT_TRUE(
        pairItems(stored, {task(kKey, {{"Title", "a"}, {"Timezone", "y"}})})[0].hasEqualRecord);
    EXPECT_FALSE(
        pairItems(stored, {task(kKey, {{"Title", "a"}, {"Notes", "n"}})})[0].hasEqualRecord);
}

TEST(ItemPairing, TellsTwinsByContentAndSeesNothingInNumbersBehindKeys)
{
    const SyncRecord red = task(kKey, {{"Title", "a"}, {"Notes", "rot"}});
    const SyncRecord blue = task(kKey, {{"Title", "a"}, {"Notes", "blau"}});
    EXPECT_THAT(pairs({red, blue}, {task(kKey, blue->record()), task(kKey + "-2", red->record())}),
                ElementsAre(1, 0));
}

TEST(ItemPairing, KnowsAnEditedItemByItsKey)
{
    EXPECT_THAT(pairs({task(kKey, {{"Title", "a"}})}, {task(kKey, {{"Title", "a"}, {"URL", "u"}})}),
                ElementsAre(0));
}

TEST(ItemPairing, KnowsARetitledItemByTheRestWhereThatIsClear)
{
    const auto stored = {task(kKey, {{"Title", "a"}, {"Notes", "n"}})};
    EXPECT_THAT(pairs(stored, {task(kOther, {{"Title", "b"}, {"Notes", "n"}})}), ElementsAre(0));
    EXPECT_THAT(pairs(stored, {task(kOther, {{"Title", "b"}, {"Notes", "n"}}),
                               task(kOther + "-2", {{"Title", "c"}, {"Notes", "n"}})}),
                ElementsAre(-1, -1));
    EXPECT_THAT(pairs(stored, {task(kOther, {{"Title", "b"}, {"Notes", "m"}})}), ElementsAre(-1));
}

TEST_F(PairingOfEvents, KnowsAnItemOfNewTitleAndTimeByTheRestWhereThatIsTelling)
{
    const SyncRecord stored = event(kKey, {{"Title", "a"}, {"StartDate", day(1)}, {"URL", "u"}});
    EXPECT_THAT(pairs({stored},
                      {event(kOther, {{"Title", "b"}, {"StartDate", day(2)}, {"URL", "u"}})}),
                ElementsAre(0));
    EXPECT_THAT(pairs({event(kKey, {{"Title", "a"}, {"StartDate", day(1)}})},
                      {event(kOther, {{"Title", "b"}, {"StartDate", day(2)}})}),
                ElementsAre(-1));
}

TEST_F(PairingOfEvents, KnowsAnItemByTheMomentWhenItWasMade)
{
    const auto made = [](const std::string& key, const char* title, int start, int stamp) {
        return event(key, {{"Title", title}, {"StartDate", day(start)}, {"DateStamp", day(stamp)}});
    };
    EXPECT_THAT(pairs({made(kKey, "a", 1, 1), made(kOther, "b", 2, 2)},
                      {made(std::string(40, 'c'), "c", 3, 2), made(kKey, "a", 1, 1)}),
                ElementsAre(1, 0));
}

TEST_F(PairingOfEvents, TakesWhatSharesOnlyStartOrTitleForAnotherUnlessThatIsKnown)
{
    const SyncRecord stored = event(kKey, {{"Title", "a"}, {"StartDate", day(1)}, {"URL", "u"}});
    EXPECT_THAT(pairs({stored},
                      {event(kOther, {{"Title", "b"}, {"StartDate", day(1)}, {"URL", "v"}})}),
                ElementsAre(-1));
    EXPECT_THAT(pairs({stored},
                      {event(kOther, {{"Title", "a"}, {"StartDate", day(2)}, {"URL", "v"}})}),
                ElementsAre(-1));
    const auto known = pairItems({{stored, Value("u")}}, {event(kOther, {{"Title", "b"}})},
                                 {std::optional<std::size_t>(0)});
    EXPECT_EQ(known[0].stored, 0U);
    EXPECT_FALSE(known[0].hasEqualRecord);
    EXPECT_THAT(pairs({stored}, {event(kOther, {{"Title", "b"}, {"StartDate", day(1)}}),
                                 event(kKey, {{"Title", "c"}, {"StartDate", day(1)}})}),
                ElementsAre(-1, 0));
}

TEST_F(PairingOfEvents, KnowsAnOccurrenceByItsDateInASeriesThatWasFound)
{
    const std::string third(40, 'c');
    const std::string fourth(40, 'd');
    const auto series = [](const std::string& key, const char* title) {
        return event(key, {{"Title", title}, {"StartDate", day(1)}, {"RecurrenceRule", "r"}});
    };
    const auto occurrence = [](const std::string& key, const std::string& ofSeries,
                               const char* title, int start) {
        return event(key, {{"Title", title},
                           {"StartDate", day(start)},
                           {"RecurrenceId", day(5)},
                           {"RecurrenceParentRecordKey", ofSeries}});
    };
    EXPECT_THAT(pairs({series(kKey, "a"), occurrence(kOther, kKey, "x", 5)},
                      {occurrence(third, kKey, "y", 6), series(kKey, "a")}),
                ElementsAre(1, 0));
    // The series has a new key as well.
    EXPECT_THAT(pairs({series(kKey, "a"), occurrence(kOther, kKey, "x", 5)},
                      {occurrence(third, fourth, "y", 6), series(fourth, "b")}),
                ElementsAre(1, 0));
    EXPECT_THAT(pairs({series(kKey, "a"), occurrence(kOther, third, "x", 5)},
                      {occurrence(third, kKey, "y", 6), series(kKey, "a")}),
                ElementsAre(-1, 0));
}

TEST(ItemPairing, FindsManyOfOneKeyByTheirTexts)
{
    std::vector<SyncRecord> stored;
    std::vector<SyncRecord> wanted;
    for (int number = 0; number < 20; ++number) {
        const Dictionary fields{{"Title", "a"}, {"Notes", std::to_string(number)}};
        stored.push_back(task(kKey, fields));
        wanted.insert(wanted.begin(), task(kKey + '-' + std::to_string(number + 2), fields));
    }
    const std::vector<int> found = pairs(stored, wanted);
    for (int number = 0; number < 20; ++number)
        EXPECT_EQ(found[static_cast<std::size_t>(number)], 19 - number);
}

}  // namespace
}  // namespace kt
