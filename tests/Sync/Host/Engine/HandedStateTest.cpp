#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Engine/HandedState.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/HostInterface/KTSyncRecord.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Rule16 : public testing::Test {
protected:
    static Dictionary calendarRecord(const std::string& sourceKey, const std::string& parent = "")
    {
        Dictionary record{{"Title", "t"},
                          {"Color", "c"},
                          {"Notes", ""},
                          {"Type", "CalendarNode"},
                          {"SourceKey", sourceKey}};
        if (!parent.empty())
            record.set("ParentRecordKey", parent);
        return record;
    }

    void agreed(std::string_view conduit, const std::string& key, const Dictionary& record)
    {
        state.setAgreed({{std::string(conduit), key}, parentOf(record), 1, contentHash(record)},
                        record);
    }

    void agreedItem(const std::string& key, const std::string& calendar)
    {
        agreed(kConduitEvent, key, {{"Title", key}, {"ParentRecordKey", calendar}});
    }

    void seenCalendar(const std::string& localKey, const std::string& agreedKey,
                      const std::string& sourceKey)
    {
        SeenRow row;
        row.local = {std::string(kConduitCalendar), localKey};
        row.agreedKey = agreedKey;
        state.addSeen(row, calendarRecord(sourceKey));
    }

    void kept(std::string_view conduit, const std::string& key, const Dictionary& record,
              const std::optional<std::string>& agreedKey = std::nullopt)
    {
        state.setKept({{std::string(conduit), key}, parentOf(record), "hash", {}, agreedKey},
                      record);
    }

    std::vector<std::string> keys()
    {
        std::vector<std::string> keys;
        for (const HandedRecord& record : handedState(state, Knowledge(state)))
            keys.push_back(record.id.key);
        return keys;
    }

    Dictionary handed(const std::string& key)
    {
        for (const HandedRecord& record : handedState(state, Knowledge(state))) {
            if (record.id.key == key)
                return record.content();
        }
        ADD_FAILURE() << key << " is not handed out";
        return {};
    }

    TemporaryFolder folder;
    LocalState state{folder.path("state")};

private:
    static std::optional<std::string> parentOf(const Dictionary& record)
    {
        return record["ParentRecordKey"].stringOrNil();
    }
};

TEST_F(Rule16, GivesAgreedRecordsByConduitThenKey)
{
    agreed(kConduitTask, "A", {{"Title", "t"}, {"ParentRecordKey", "C"}});
    agreedItem("Z", "C");
    agreedItem("B", "C");
    agreed(kConduitCalendar, "C", calendarRecord("S"));
    EXPECT_THAT(keys(), ElementsAre("C", "B", "Z", "A"));
}

TEST_F(Rule16, GivesOfASwitchedOffCalendarOnlyWhatIsKept)
{
    agreed(kConduitCalendar, "C", calendarRecord("S"));
    agreedItem("deleted while off", "C");
    agreedItem("other", "D");
    kept(kConduitCalendar, "C", calendarRecord("S"), "C");
    kept(kConduitEvent, "added while off", {{"Title", "t"}, {"ParentRecordKey", "C"}});
    EXPECT_THAT(keys(), ElementsAre("C", "added while off", "other"));
}

TEST_F(Rule16, KnowsASwitchedOffCalendarByTheKeyItIsAgreedUnder)
{
    agreed(kConduitCalendar, "agreed", calendarRecord("S"));
    agreedItem("E", "agreed");
    seenCalendar("local", "agreed", "S");
    kept(kConduitCalendar, "local", calendarRecord("S"), "agreed");
    EXPECT_THAT(keys(), ElementsAre("local"));
}

// A new calendar under the former title of another one, with an item and an occurrence of it.
TEST_F(Rule16, WhatIsKeptTakesNoKeyOfAnotherRecord)
{
    agreed(kConduitCalendar, "C", calendarRecord("S"));
    agreedItem("E", "C");
    seenCalendar("renamed", "C", "S");
    kept(kConduitCalendar, "C", calendarRecord("T"));
    kept(kConduitEvent, "E", {{"Title", "t"}, {"ParentRecordKey", "C"}});
    kept(kConduitEvent, "E-2",
         {{"Title", "t"}, {"ParentRecordKey", "C"}, {"RecurrenceParentRecordKey", "E"}});
    const Knowledge knowledge(state);
    const auto handed = handedState(state, knowledge);
    EXPECT_THAT(keys(), ElementsAre("C", "C-2", "E", "E-2", "E-3"));
    EXPECT_FALSE(handed[0].isKept());
    EXPECT_EQ(handed[1].keptAs, (RecordId{"ical-calendar", "C"}));
    EXPECT_EQ(handed[2].record["ParentRecordKey"], Value("C"));
    for (const std::size_t index : {3U, 4U}) {
        EXPECT_EQ(handed[index].parentKey, "C-2");
        EXPECT_EQ(handed[index].record["ParentRecordKey"], Value("C-2"));
    }
    EXPECT_EQ(handed[3].record["RecurrenceParentRecordKey"], Value("E-3"));
    EXPECT_EQ(handed[4].keptAs, (RecordId{"ical-event", "E"}));
}

TEST_F(Rule16, ACalendarWhoseParentIsMissingGoesWithoutIt)
{
    agreed(kConduitCalendar, "C", calendarRecord("S", "no such group"));
    EXPECT_FALSE(handed("C").contains("ParentRecordKey"));
    EXPECT_EQ(state.agreedRecord({std::string(kConduitCalendar), "C"})["ParentRecordKey"],
              Value("no such group"));
}

TEST_F(Rule16, ACalendarKeepsAParentThatIsThere)
{
    agreed(kConduitCalendar, "C", calendarRecord("S", "G"));
    agreed(kConduitCalendar, "G",
           {{"Title", "t"}, {"Color", "c"}, {"Notes", ""}, {"Type", "CalendarGroup"}});
    agreed(kConduitCalendar, "own", calendarRecord("T", "own"));
    EXPECT_EQ(handed("C")["ParentRecordKey"], Value("G"));
    EXPECT_EQ(handed("own")["ParentRecordKey"], Value("own"));
}

TEST_F(Rule16, ASharedSourceKeyStaysWithTheOneThisStoreHadItFor)
{
    agreed(kConduitCalendar, "A", calendarRecord("S"));
    agreed(kConduitCalendar, "B", calendarRecord("S"));
    seenCalendar("B", "B", "S");
    EXPECT_EQ(handed("B")["SourceKey"], Value("S"));
    EXPECT_EQ(handed("A")["SourceKey"], Value("A"));
}

TEST_F(Rule16, ASharedSourceKeyStaysWithASwitchedOffCalendar)
{
    agreed(kConduitCalendar, "A", calendarRecord("S"));
    kept(kConduitCalendar, "B", calendarRecord("S"));
    EXPECT_EQ(handed("B")["SourceKey"], Value("S"));
    EXPECT_EQ(handed("A")["SourceKey"], Value("A"));
}

TEST_F(Rule16, ASharedSourceKeyStaysWithTheFirstWhereThisStoreHadNone)
{
    agreed(kConduitCalendar, "A", calendarRecord("S"));
    agreed(kConduitCalendar, "B", calendarRecord("S"));
    EXPECT_EQ(handed("A")["SourceKey"], Value("S"));
    EXPECT_EQ(handed("B")["SourceKey"], Value("B"));
}

TEST_F(Rule16, ACalendarGoesWithTheSourceKeyThatItHasHere)
{
    agreed(kConduitCalendar, "A", calendarRecord("elsewhere"));
    seenCalendar("local", "A", "here");
    kept(kConduitCalendar, "B", calendarRecord("kept"));
    seenCalendar("B", "B", "here before");
    EXPECT_EQ(handed("A")["SourceKey"], Value("here"));
    EXPECT_EQ(handed("B")["SourceKey"], Value("kept"));
}

TEST_F(Rule16, TheRecordKeyInASourceKeysPlaceIsNoOthersSourceKey)
{
    agreed(kConduitCalendar, "A", calendarRecord("S"));
    agreed(kConduitCalendar, "B", calendarRecord("S"));
    agreed(kConduitCalendar, "C", calendarRecord("B"));
    EXPECT_EQ(handed("C")["SourceKey"], Value("B"));
    EXPECT_EQ(handed("B")["SourceKey"], Value("B-2"));
}

TEST_F(Rule16, ARecordThatNoStoreCouldTakeIsNotHandedOut)
{
    agreed(kConduitCalendar, "C", {{"Title", "ohne Farbe"}});
    EXPECT_THAT(keys(), IsEmpty());
}

}  // namespace
}  // namespace kt::test
