#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Engine/ClashingTitles.h"
#include "Sync/Host/Engine/UnreadTexts.h"
#include "tests/Sync/Host/Engine/RowsAndRecords.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ClashingTitles : public RowsAndRecords {
protected:
    void comesDown(const std::string& key, const Dictionary& record)
    {
        outcome(calendarId(key), record).comesDown = true;
    }
    void goesUp(const std::string& key, const Dictionary& record)
    {
        outcome(calendarId(key), record).goesUp = true;
    }
    void isDeleted(const std::string& key, const Dictionary& record)
    {
        outcome(calendarId(key), record).kind = Outcome::Kind::remove;
    }

    // The new titles.
    std::vector<std::string> toldApart()
    {
        const Knowledge knowledge(state);
        const UnreadTexts texts({}, places, knowledge);
        const SwitchedOffCalendars off;
        const LocalRecords local(loaded(), knowledge, RemoteChanges(), state,
                                 LocalRecords::Base::agreed, {places, texts, off});
        std::vector<std::string> titles;
        for (const Retitled& each : tellTitlesApart(outcomes, knowledge, local, state))
            titles.push_back(each.newTitle);
        return titles;
    }

    std::string titleOf(const std::string& key)
    {
        return std::string(outcomes.at(calendarId(key)).record["Title"].string());
    }

    Outcome& outcome(const RecordId& id, const Dictionary& record)
    {
        Outcome& made = outcomes[id];
        made.id = id;
        made.record = record;
        return made;
    }

    SyncRecordList store;
    std::map<RecordId, Outcome> outcomes;

private:
    std::vector<LocalRecord> loaded() const
    {
        std::vector<LocalRecord> records = loadedRecords(store);
        takePlaces(records, places);
        return records;
    }
};

TEST_F(ClashingTitles, MakeWayForACalendarThatIsOnlyAgreed)
{
    agree(calendarId("A"), titled("Haus"));
    comesDown("B", titled("Haus"));
    EXPECT_THAT(toldApart(), ElementsAre("Haus 2"));
    EXPECT_TRUE(outcomes.at(calendarId("B")).goesUp);
}

TEST_F(ClashingTitles, MakeWayForWhatTheStoreHasNow)
{
    agreeAndSee(calendarId("A"), folderAt("a"), titled("Garten"));
    store = {given(calendarId("A"), folderAt("a"), titled("Haus"))};
    comesDown("B", titled("Haus"));
    comesDown("C", titled("Garten"));
    EXPECT_THAT(toldApart(), ElementsAre("Haus 2"));
    EXPECT_EQ(titleOf("C"), "Garten");
}

TEST_F(ClashingTitles, LeaveATitleToWhatTheStoreHasUnderIt)
{
    agreeAndSee(calendarId("Z"), folderAt("z"), titled("Haus"));
    store = {given(calendarId("Z"), folderAt("z"), titled("Haus"))};
    Dictionary other = titled("Haus");
    other.set("Color", "#00FF00");
    comesDown("Z", other);
    comesDown("B", titled("Haus"));
    EXPECT_THAT(toldApart(), ElementsAre("Haus 2"));
    EXPECT_EQ(titleOf("Z"), "Haus");
}

TEST_F(ClashingTitles, AreNoneOfWhatIsDeleted)
{
    agreeAndSee(calendarId("A"), folderAt("a"), titled("Haus"));
    isDeleted("A", titled("Haus"));
    comesDown("B", titled("Haus"));
    EXPECT_THAT(toldApart(), IsEmpty());
}

TEST_F(ClashingTitles, AreNoneOfOtherTypes)
{
    agree(calendarId("A"), {{"Title", "Haus"}, {"Type", "CalendarGroup"}});
    comesDown("B", titled("Haus"));
    EXPECT_THAT(toldApart(), IsEmpty());
}

TEST_F(ClashingTitles, AreNoneOfWhatOnlyGoesUp)
{
    goesUp("A", titled("Haus"));
    goesUp("B", titled("Haus"));
    EXPECT_THAT(toldApart(), IsEmpty());
}

TEST_F(ClashingTitles, AreNoneOfItems)
{
    agree(taskId("A"), titled("Haus"));
    outcome(taskId("B"), titled("Haus")).comesDown = true;
    comesDown("C", titled("Haus"));
    EXPECT_THAT(toldApart(), IsEmpty());
}

TEST_F(ClashingTitles, GetNumbersInTurn)
{
    agree(calendarId("A"), titled("Haus 2"));
    comesDown("B", titled("Haus"));
    comesDown("C", titled("Haus"));
    comesDown("D", titled("Haus"));
    EXPECT_THAT(toldApart(), ElementsAre("Haus 3", "Haus 4"));
}

}  // namespace
}  // namespace kt::test
