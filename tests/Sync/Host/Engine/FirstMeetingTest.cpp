#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Sync/Host/Engine/FirstMeeting.h"
#include "Sync/Host/Engine/RecordPast.h"
#include "tests/Sync/Host/Engine/RowsAndRecords.h"

namespace kt::test {
namespace {

class FirstMeeting : public RowsAndRecords {
protected:
    static std::string origin(const std::string& uid)
    {
        return originOfIdentity(kConduitTask, withUid(uid));
    }
    void agreeWithOrigin(const std::string& key, const std::string& origins)
    {
        state.setAgreed({taskId(key), "C", 1, "hash"}, in("C"), {origins, ""});
    }
    RemoteChange& offer(const RecordId& id, const std::string& origins)
    {
        RemoteChange& change = remote.changes()[id];
        change.server.id = id;
        change.past.origin = origins;
        return change;
    }
    LocalRecord& load(const RecordId& id, const StorePlace& place)
    {
        LocalRecord local;
        local.record = given(id, place, in("C"));
        local.place = place;
        records.push_back(std::move(local));
        return records.back();
    }
    // The key that the record at that place is named by.
    std::string nameOf(std::size_t index)
    {
        const Knowledge knowledge(state);
        nameByOrigin(records, remote, knowledge, state);
        return records[index].agreedId.key;
    }

    RemoteChanges remote;
    std::vector<LocalRecord> records;
};

TEST_F(FirstMeeting, NamesAnAgreedItemByItsOrigin)
{
    agreeWithOrigin("K", origin("u"));
    load(taskId("other key"), withUid("u"));
    EXPECT_EQ(nameOf(0), "K");
}

TEST_F(FirstMeeting, NamesAnItemOfTheServerByAnyOfItsOrigins)
{
    offer(taskId("K"), origin("u") + " " + origin("v"));
    load(taskId("other key"), withUid("v"));
    EXPECT_EQ(nameOf(0), "K");
}

TEST_F(FirstMeeting, NamesAnItemByAKeyThatIsAUid)
{
    offer(taskId("u"), "");
    load(taskId("other key"), withUid("u"));
    EXPECT_EQ(nameOf(0), "u");
}

TEST_F(FirstMeeting, NamesNothingByWhatIsDeleted)
{
    offer(taskId("K"), origin("u")).server.isTombstone = true;
    load(taskId("other key"), withUid("u"));
    EXPECT_EQ(nameOf(0), "");
}

TEST_F(FirstMeeting, NamesNothingByWhatIsRefused)
{
    offer(taskId("K"), origin("u")).isRefused = true;
    load(taskId("other key"), withUid("u"));
    EXPECT_EQ(nameOf(0), "");
}

TEST_F(FirstMeeting, NamesNothingByACalendar)
{
    offer(calendarId("K"), origin("u"));
    state.setAgreed({calendarId("L"), std::nullopt, 1, "hash"}, titled("t"), {origin("v"), ""});
    load(taskId("other key"), withUid("u"));
    load(taskId("another key"), withUid("v"));
    EXPECT_EQ(nameOf(0), "");
    EXPECT_EQ(nameOf(1), "");
}

TEST_F(FirstMeeting, NamesNothingByWhatARecordHereIs)
{
    offer(taskId("K"), origin("u"));
    agreeWithOrigin("L", origin("v"));
    load(taskId("other key"), withUid("u"));
    load(taskId("another key"), withUid("v"));
    load(taskId("K"), withUid("k")).agreedId = taskId("K");
    load(taskId("L"), withUid("l")).agreedId = taskId("L");
    EXPECT_EQ(nameOf(0), "");
    EXPECT_EQ(nameOf(1), "");
}

TEST_F(FirstMeeting, NamesByWhatTheServerHasAlthoughSomethingElseWasSeenOfIt)
{
    agreeAndSee(taskId("K"), withUid("k"), in("C"));
    offer(taskId("K"), origin("u"));
    load(taskId("other key"), withUid("u"));
    EXPECT_EQ(nameOf(0), "K") << "the state is older than the store";
}

TEST_F(FirstMeeting, NamesNothingByAnOriginThatTheServerHasOtherwise)
{
    agreeWithOrigin("K", origin("u"));
    offer(taskId("K"), origin("v"));
    load(taskId("other key"), withUid("u"));
    load(taskId("another key"), withUid("v"));
    EXPECT_EQ(nameOf(0), "");
    EXPECT_EQ(nameOf(1), "K");
}

TEST_F(FirstMeeting, TakesTheRowOfWhatWasSeen)
{
    agreeWithOrigin("K", origin("k") + " " + origin("u"));
    see(taskId("K"), "K", withUid("k"), in("C"));
    load(taskId("other key"), withUid("u"));
    const Knowledge knowledge(state);
    nameByOrigin(records, remote, knowledge, state);
    EXPECT_EQ(records[0].agreedId, taskId("K"));
    EXPECT_EQ(records[0].seen, &knowledge.seen().front());
}

TEST_F(FirstMeeting, NamesNothingByAnOriginOfTwo)
{
    agreeWithOrigin("K", origin("u"));
    offer(taskId("L"), origin("u"));
    load(taskId("other key"), withUid("u"));
    EXPECT_EQ(nameOf(0), "");
}

TEST_F(FirstMeeting, NamesAnItemThatSaysTheSameTwice)
{
    agreeWithOrigin("u", origin("u"));
    load(taskId("other key"), withUid("u"));
    EXPECT_EQ(nameOf(0), "u");
}

TEST_F(FirstMeeting, NamesNoneOfTwoRecordsThatShareAUid)
{
    agreeWithOrigin("K", origin("u"));
    load(taskId("one"), withUid("u"));
    load(taskId("two"), withUid("u"));
    EXPECT_EQ(nameOf(0), "");
    EXPECT_EQ(nameOf(1), "");
}

TEST_F(FirstMeeting, GivesEachNameOnce)
{
    agreeWithOrigin("K", origin("u") + " " + origin("v"));
    load(taskId("one"), withUid("u"));
    load(taskId("two"), withUid("v"));
    EXPECT_EQ(nameOf(0), "K");
    EXPECT_EQ(nameOf(1), "");
}

TEST_F(FirstMeeting, NamesNothingThatIsKnown)
{
    SeenRow row;
    agreeWithOrigin("K", origin("seen"));
    agreeWithOrigin("L", origin("named"));
    agreeWithOrigin("M", origin("left over"));
    load(taskId("a"), withUid("seen")).seen = &row;
    load(taskId("b"), withUid("named")).agreedId = taskId("as agreed");
    load(taskId("c"), withUid("left over")).isLeftOver = true;
    EXPECT_EQ(nameOf(0), "");
    EXPECT_EQ(nameOf(1), "as agreed");
    EXPECT_EQ(nameOf(2), "");
}

}  // namespace
}  // namespace kt::test
