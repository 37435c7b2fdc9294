#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Sync/Host/Engine/TakenTitles.h"
#include "Sync/Host/Engine/UnreadTexts.h"
#include "tests/Sync/Host/Engine/RowsAndRecords.h"

namespace kt::test {
namespace {

class TitlesThatAreTaken : public RowsAndRecords {
protected:
    void cannotBeRead(const std::string& folderPath, const std::string& title)
    {
        KTLoss loss{title, folderPath + "/Info.plist", "unlesbar"};
        loss.extent = KTLoss::Extent::calendar;
        losses.push_back(loss);
    }
    bool isTaken(const std::string& title, const std::string& agreedKey)
    {
        const Knowledge knowledge(state);
        const UnreadTexts texts(losses, places, knowledge);
        const TakenTitles taken(off, {places, texts, offNow}, knowledge, state);
        return taken.isAnothers(calendarId(agreedKey), titled(title));
    }

    SyncRecordList off;
    SwitchedOffCalendars offNow;
    std::vector<KTLoss> losses;
};

TEST_F(TitlesThatAreTaken, AreThoseOfCalendarsThatAreOff)
{
    off = {given(calendarId("local"), folderAt("a"), titled("Haus")),
           given(taskId("T"), withUid("u"), titled("Aufgabe"))};
    offNow.add("local", "agreed");
    EXPECT_TRUE(isTaken("Haus", "other"));
    EXPECT_FALSE(isTaken("Haus", "agreed"));
    EXPECT_FALSE(isTaken("Garten", "other"));
    EXPECT_FALSE(isTaken("Aufgabe", "other"));
}

TEST_F(TitlesThatAreTaken, AreThoseOfKeptCalendarsThatCannotBeRead)
{
    keep(calendarId("K"), "K", folderAt("k"), titled("Haus"));
    keep(calendarId("L"), "L", folderAt("l"), titled("Garten"));
    keep(taskId("T"), std::nullopt, withUid("u"), titled("Aufgabe"));
    EXPECT_FALSE(isTaken("Haus", "other"));
    cannotBeRead("k", "Haus");
    EXPECT_TRUE(isTaken("Haus", "other"));
    EXPECT_FALSE(isTaken("Garten", "other"));
    EXPECT_FALSE(isTaken("Aufgabe", "other"));
}

TEST_F(TitlesThatAreTaken, AreThoseThatUnreadCalendarsWereSeenUnder)
{
    agreeAndSee(calendarId("C"), folderAt("c"), titled("Haus"));
    agreeAndSee(calendarId("D"), folderAt("d"), titled("Garten"));
    agreeAndSee(taskId("T"), withUid("u"), titled("Aufgabe"));
    cannotBeRead("c", "irgendwie");
    EXPECT_TRUE(isTaken("Haus", "other"));
    EXPECT_FALSE(isTaken("Haus", "C"));
    EXPECT_FALSE(isTaken("Garten", "other"));
    EXPECT_FALSE(isTaken("Aufgabe", "other"));
    EXPECT_FALSE(isTaken("irgendwie", "other"));
}

TEST_F(TitlesThatAreTaken, AreThoseOfCalendarsThatWereNeverRead)
{
    agreeAndSee(calendarId("C"), folderAt("c"), titled("Haus"));
    cannotBeRead("new", "Neu");
    EXPECT_TRUE(isTaken("Neu", "other"));
}

TEST_F(TitlesThatAreTaken, AreNoneWhereNobodyKnowsATitle)
{
    cannotBeRead("new", "");
    EXPECT_FALSE(isTaken("", "other"));
}

TEST_F(TitlesThatAreTaken, AreNoneOfItemsThatCannotBeRead)
{
    cannotBeRead("new", "Neu");
    losses.front().extent = KTLoss::Extent::file;
    EXPECT_FALSE(isTaken("Neu", "other"));
}

}  // namespace
}  // namespace kt::test
