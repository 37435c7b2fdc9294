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

    static KTLoss lossOf(const std::string& folder)
    {
        KTLoss loss;
        loss.file = "/home/Calendars/" + folder + "/Info.plist";
        loss.reason = "Die Info.plist kann nicht gelesen werden";
        loss.extent = KTLoss::Extent::calendar;
        return loss;
    }

    // The next run; the folder is whole once it is written over.
    SyncRunSummary syncWith(const KTLoss& loss)
    {
        auto& a = home("a");
        a.furtherLosses = {loss};
        a.beforeSettling = [&a] { a.furtherLosses.clear(); };
        const SyncRunSummary summary = a.sync();
        a.beforeSettling = nullptr;
        return summary;
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
    const KTLoss loss = lossOf(garden.sourceKey + ".calendar");
    EXPECT_THAT(syncWith(loss).overwritten, ElementsAre(loss));
    expectOnceEverywhere({"Umgraben", "Sitzung"});
}

TEST_F(HalfMadeFolder, Rule19_AGroupsIsWrittenOver)
{
    HomeCalendar group = calendar("Zuhause");
    group.type = "CalendarGroup";
    group.sourceKey.clear();
    givenAKilledRewriteOf(group);
    const KTLoss loss = lossOf(keyOf("Zuhause") + ".group");
    EXPECT_THAT(syncWith(loss).overwritten, ElementsAre(loss));
    EXPECT_NE(home("a").store.calendar("Zuhause"), nullptr);
}

TEST_F(HalfMadeFolder, Rule19_AFolderThatNothingHandedOutIsNamedAfterStays)
{
    givenAKilledRewriteOf(calendar("Garten", {task("Umgraben")}));
    EXPECT_TRUE(syncWith(lossOf("Fremdes.calendar")).overwritten.empty());
    EXPECT_EQ(home("a").store.count("Sitzung"), 1);
}

}  // namespace
}  // namespace kt::test
