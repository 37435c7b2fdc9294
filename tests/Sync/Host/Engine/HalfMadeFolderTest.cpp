#include <string>

#include "tests/Sync/Host/Engine/UnreadHomes.h"

namespace kt::test {
namespace {

using testing::ElementsAre;

/// A rewrite that was killed when it had made the folder of a calendar and nothing in it, in a home
/// with text that had been unread for longer.
class HalfMadeFolder : public UnreadHomes {
protected:
    // `there` comes into the other home's store; the rewrite of "a" is killed.
    void givenAKilledRewriteOf(const HomeCalendar& there)
    {
        givenHomes();
        damage(home("a"), "Arbeit", "Sitzung");
        home("b").store.calendars.push_back(there);
        home("b").sync();
        home("a").sync(broken(Break::killAfterFinish));
    }

    // As a power cut leaves it: what describes the calendar has a name and no bytes.
    KTLoss givenHalfOf(const std::string& name)
    {
        const HomeStore& store = home("a").store;
        const std::string path = store.root() + "/" + name;
        EXPECT_TRUE(store.disk()->createDirectoryAtPath(path));
        EXPECT_TRUE(store.disk()->writeAtomically("", StorePaths::infoFile(path)));
        KTLoss loss;
        loss.file = StorePaths::infoFile(path);
        loss.reason = "Die Info.plist kann nicht gelesen werden";
        loss.extent = KTLoss::Extent::calendar;
        return loss;
    }

    std::string keyOf(const std::string& title)
    {
        LocalState state = home("b").openState();
        for (const AgreedRow& row : state.agreedRows()) {
            if (state.agreedRecord(row.id)["Title"] == Value(title))
                return row.id.key;
        }
        ADD_FAILURE() << title << " is not agreed";
        return "";
    }
};

TEST_F(HalfMadeFolder, Rule19_ACalendarsIsWrittenOver)
{
    const HomeCalendar garden = calendar("Garten", {task("Umgraben")});
    givenAKilledRewriteOf(garden);
    const KTLoss loss = givenHalfOf(garden.sourceKey + ".calendar");
    EXPECT_THAT(home("a").sync().overwritten, ElementsAre(loss));
    expectOnceEverywhere({"Umgraben", "Sitzung"});
}

TEST_F(HalfMadeFolder, Rule19_AGroupsIsWrittenOver)
{
    HomeCalendar group = calendar("Zuhause");
    group.type = "CalendarGroup";
    group.sourceKey.clear();
    givenAKilledRewriteOf(group);
    const KTLoss loss = givenHalfOf(keyOf("Zuhause") + ".group");
    EXPECT_THAT(home("a").sync().overwritten, ElementsAre(loss));
    EXPECT_NE(home("a").store.calendar("Zuhause"), nullptr);
}

TEST_F(HalfMadeFolder, Rule19_AFolderThatNothingHandedOutIsNamedAfterStays)
{
    givenAKilledRewriteOf(calendar("Garten", {task("Umgraben")}));
    const KTLoss loss = givenHalfOf("Fremdes.calendar");
    EXPECT_TRUE(home("a").sync().overwritten.empty());
    EXPECT_EQ(home("a").store.disk()->contentsAtPath(loss.file), "");
    EXPECT_EQ(home("a").store.count("Sitzung"), 1);
}

}  // namespace
}  // namespace kt::test
