#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Engine/MovedRecords.h"
#include "tests/Sync/Host/Engine/RowsAndRecords.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

// "A" takes part, "B" is switched off now and was so before.
class MovedRecords : public RowsAndRecords {
protected:
    MovedRecords()
    {
        agreeAndSee(calendarId("A"), folderAt("a"), titled("A"));
        keep(calendarId("B"), "B", folderAt("b"), titled("B"));
        offNow.add("B", "B");
        active = {given(calendarId("A"), folderAt("a"), titled("A"))};
        off = {given(calendarId("B"), folderAt("b"), titled("B"))};
    }

    void seeInA(const std::string& key, const std::string& uid)
    {
        agreeAndSee(taskId(key), withUid(uid), in("A"));
    }
    void keepInB(const std::string& key, const std::string& uid)
    {
        keep(taskId(key), std::nullopt, withUid(uid), in("B"));
    }
    void isInA(const std::string& key, const std::string& uid)
    {
        active.push_back(given(taskId(key), withUid(uid), in("A")));
    }
    void isInB(const std::string& key, const std::string& uid)
    {
        off.push_back(given(taskId(key), withUid(uid), in("B")));
    }

    std::vector<std::string> movedIn()
    {
        const Knowledge knowledge(state);
        std::vector<std::string> keys;
        for (const MovedRecord& moved :
             movedIntoSwitchedOff(active, off, offNow, places, knowledge))
            keys.push_back(moved.agreedId().key);
        return keys;
    }
    std::vector<std::string> movedOut()
    {
        std::vector<std::string> keys;
        for (const RecordId& id : movedOutOfSwitchedOff(active, off, places, Knowledge(state)))
            keys.push_back(id.key);
        return keys;
    }

    SyncRecordList active;
    SyncRecordList off;
    SwitchedOffCalendars offNow;
};

TEST_F(MovedRecords, AreThoseThatAreInASwitchedOffCalendarNowByTheirNames)
{
    for (const char* key : {"2", "1", "3"}) {
        seeInA(key, std::string("uid ") + key);
        isInB(std::string("now ") + key, std::string("uid ") + key);
    }
    EXPECT_THAT(movedIn(), ElementsAre("1", "2", "3"));
}

TEST_F(MovedRecords, AreNotThoseThatAreStillThere)
{
    seeInA("1", "u");
    isInA("1", "u");
    isInB("1", "u");
    EXPECT_THAT(movedIn(), IsEmpty());
}

TEST_F(MovedRecords, AreNotThoseThatAreThereTwice)
{
    seeInA("1", "u");
    isInB("1", "u");
    isInB("2", "u");
    EXPECT_THAT(movedIn(), IsEmpty());
}

TEST_F(MovedRecords, AreNotThoseThatTheStoreDoesNotKnow)
{
    seeInA("1", "");
    isInB("1", "");
    EXPECT_THAT(movedIn(), IsEmpty());
}

TEST_F(MovedRecords, AreNotThoseWhoseCalendarIsOffItself)
{
    seeInA("1", "u");
    isInB("1", "u");
    offNow.add("A", "A");
    EXPECT_THAT(movedIn(), IsEmpty());
}

TEST_F(MovedRecords, AreNotThoseThatWereSeenTwice)
{
    seeInA("1", "u");
    seeInA("2", "u");
    isInB("1", "u");
    EXPECT_THAT(movedIn(), IsEmpty());
}

TEST_F(MovedRecords, AreThoseThatWereSeenTwiceAndOnceAsNobodys)
{
    seeInA("1", "u");
    see(taskId("1"), std::nullopt, withUid("u"), in("A"));
    isInB("1", "u");
    EXPECT_THAT(movedIn(), ElementsAre("1"));
}

TEST_F(MovedRecords, AreNotThoseThatWereInBothPlaces)
{
    seeInA("1", "u");
    keepInB("1", "u");
    isInB("1", "u");
    EXPECT_THAT(movedIn(), IsEmpty());
}

TEST_F(MovedRecords, AreStillThoseThatMovedBefore)
{
    seeInA("1", "u");
    keepInB("1", "u");
    isInB("1", "u");
    state.setUnread({UnreadRow::Whose::moved, taskId("1"), 1});
    EXPECT_THAT(movedIn(), ElementsAre("1"));
}

TEST_F(MovedRecords, AreNotThoseThatWereOnlyUnread)
{
    seeInA("1", "u");
    keepInB("1", "u");
    isInB("1", "u");
    state.setUnread({UnreadRow::Whose::agreed, taskId("1"), 1});
    EXPECT_THAT(movedIn(), IsEmpty());
}

TEST_F(MovedRecords, AreThoseOfACalendarThatIsOnAgainAndDidNotHaveThem)
{
    keep(calendarId("A"), "A", folderAt("a"), titled("A"));
    seeInA("1", "u");
    keepInB("1", "u");
    isInB("1", "u");
    EXPECT_THAT(movedIn(), ElementsAre("1"));
}

TEST_F(MovedRecords, AreNotThoseOfACalendarThatIsOnAgainAndHadThem)
{
    keep(calendarId("A"), "A", folderAt("a"), titled("A"));
    seeInA("1", "u");
    keep(taskId("1"), std::nullopt, withUid("u"), in("A"));
    isInB("1", "u");
    EXPECT_THAT(movedIn(), IsEmpty());
}

TEST_F(MovedRecords, AreNotThoseThatAreAgreedNoMore)
{
    see(taskId("1"), "1", withUid("u"), in("A"));
    isInB("1", "u");
    EXPECT_THAT(movedIn(), IsEmpty());
}

TEST_F(MovedRecords, AreNoCalendars)
{
    see(calendarId("C"), "C", folderAt("b"), in("A"));
    agree(calendarId("C"), in("A"));
    EXPECT_THAT(movedIn(), IsEmpty());
}

TEST_F(MovedRecords, AreThoseThatWereKeptAndAreReadElsewhere)
{
    keepInB("1", "u");
    keepInB("2", "v");
    isInA("now 1", "u");
    isInA("new", "w");
    EXPECT_THAT(movedOut(), UnorderedElementsAre("1"));
}

TEST_F(MovedRecords, AreNotThoseThatWereKeptTwice)
{
    keepInB("1", "u");
    keepInB("2", "u");
    isInA("1", "u");
    EXPECT_THAT(movedOut(), IsEmpty());
}

TEST_F(MovedRecords, AreNotThoseThatAreReadTwice)
{
    keepInB("1", "u");
    isInA("1", "u");
    isInB("1", "u");
    EXPECT_THAT(movedOut(), IsEmpty());
}

TEST_F(MovedRecords, AreNotThoseThatWereKeptAndTheStoreDoesNotKnow)
{
    keepInB("1", "");
    isInA("1", "");
    EXPECT_THAT(movedOut(), IsEmpty());
}

TEST_F(MovedRecords, AreNotThoseThatWereElsewhereBefore)
{
    keepInB("1", "u");
    seeInA("1", "u");
    isInA("1", "u");
    EXPECT_THAT(movedOut(), IsEmpty());
}

TEST_F(MovedRecords, AreNotThoseThatWerePushedElsewhere)
{
    keepInB("1", "u");
    PushedRow pushed;
    pushed.seen.local = taskId("1");
    pushed.seen.agreedKey = "1";
    pushed.seen.localParentKey = "A";
    pushed.seen.place = withUid("u");
    state.setPushed(pushed, std::nullopt);
    isInA("1", "u");
    EXPECT_THAT(movedOut(), IsEmpty());
}

TEST_F(MovedRecords, AreThoseThatWereSeenWhereTheyWereKept)
{
    see(calendarId("B"), "B", folderAt("b"), titled("B"));
    keepInB("1", "u");
    agreeAndSee(taskId("1"), withUid("u"), in("B"));
    isInA("1", "u");
    EXPECT_THAT(movedOut(), UnorderedElementsAre("1"));
}

}  // namespace
}  // namespace kt::test
