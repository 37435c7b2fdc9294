#include <set>

#include "tests/Sync/Host/Engine/UnreadHomes.h"

namespace kt::test {
namespace {

// Unread texts in switched-off calendars.
class UnreadKeptText : public UnreadText {};

INSTANTIATE_TEST_SUITE_P(Told, UnreadKeptText, testing::ValuesIn(kWaysOfTelling), nameOfTelling);

TEST_P(UnreadKeptText, Rule23_InASwitchedOffCalendarIsNeitherDeletedNorDoubled)
{
    a.switchOff("Privat");
    a.sync();
    fields(a, "Privat", "Zahnarzt").set("Notes", "nur hier");
    a.sync();
    damage(a, "Privat", "Zahnarzt");
    b.store.calendar("Arbeit")->items.push_back(task("Bericht"));
    b.sync();
    EXPECT_TRUE(a.sync().settled);
    EXPECT_EQ(a.store.count("Zahnarzt"), 1);
    EXPECT_TRUE(a.store.item("Privat", "Zahnarzt")->isBroken);
    a.switchOn("Privat");
    a.sync();
    EXPECT_EQ(b.store.count("Zahnarzt"), 1);
    mend(a);
    syncUntilRest();
    expectOnceEverywhere({"Zahnarzt", "Probe", "Einkaufen", "Bericht"});
    EXPECT_EQ(fields(b, "Privat", "Zahnarzt")["Notes"], Value("nur hier"));
    expectRest();
    expectEqualHomes();
}

TEST_P(UnreadKeptText, Rule23_InASwitchedOffCalendarComesBackFromWhatWasKept)
{
    a.switchOff("Privat");
    a.sync();
    fields(a, "Privat", "Zahnarzt").set("Notes", "nur hier");
    a.sync();
    damage(a, "Privat", "Zahnarzt");
    a.sync();
    removeItem(a, "Privat", "Zahnarzt");
    EXPECT_EQ(a.sync().startResult, 6);
    EXPECT_EQ(fields(a, "Privat", "Zahnarzt")["Notes"], Value("nur hier"));
    EXPECT_FALSE(fields(b, "Privat", "Zahnarzt").contains("Notes"));
    expectRest();
}

TEST_P(UnreadKeptText, Rule23_ThrownAwayAfterSwitchingOnComesBackAsItWasKept)
{
    a.switchOff("Privat");
    a.sync();
    fields(a, "Privat", "Zahnarzt").set("Notes", "nur hier");
    a.sync();
    damage(a, "Privat", "Zahnarzt");
    a.sync();
    a.switchOn("Privat");
    a.sync();
    removeItem(a, "Privat", "Zahnarzt");
    syncUntilRest();
    expectOnceEverywhere({"Zahnarzt", "Probe"});
    EXPECT_EQ(fields(b, "Privat", "Zahnarzt")["Notes"], Value("nur hier"));
    expectRest();
}

TEST_P(UnreadKeptText, Rule23_OfACalendarThatIsJustSwitchedOffIsKeptAsItWasSeen)
{
    damage(a, "Privat", "Zahnarzt");
    a.switchOff("Privat");
    a.sync();
    removeItem(a, "Privat", "Zahnarzt");
    EXPECT_EQ(a.sync().startResult, 6);
    EXPECT_EQ(a.store.count("Zahnarzt"), 1);
    a.switchOn("Privat");
    syncUntilRest();
    expectOnceEverywhere({"Zahnarzt", "Probe"});
    expectRest();
}

class UnreadKept : public Unread {};

TEST_F(UnreadKept, Rule23_TwinsOfASwitchedOffCalendarAreBothThereAfterAKillAndADamage)
{
    a.store.calendar("Privat")->items.push_back(task("Einkaufen", {{"Notes", "zweiter"}}));
    syncUntilRest();
    a.switchOff("Privat");
    a.sync();
    for (const std::string& broken : {std::string("(null)"), std::string("zweiter")}) {
        for (HomeItem& item : a.store.calendar("Privat")->items) {
            if (item.fields["Title"] == Value("Einkaufen") &&
                item.fields["Notes"].description() == broken)
                item.isBroken = true;
        }
        b.store.calendar("Arbeit")->items.push_back(task("Bericht " + broken));
        b.sync();
        a.sync(SyncEngineRules::broken(Break::killBeforeSettling));
        a.sync();
        EXPECT_EQ(a.store.count("Einkaufen"), 2);
        mend(a);
        a.sync();
    }
    a.switchOn("Privat");
    syncUntilRest();
    EXPECT_EQ(a.store.count("Einkaufen"), 2);
    EXPECT_EQ(b.store.count("Einkaufen"), 2);
    expectEqualHomes();
    expectRest();
}

TEST_F(UnreadKept, Rule23_ATwinMissingWhileARewriteIsNotSettledIsNotOverwrittenByTheOther)
{
    a.store.calendar("Privat")->items.push_back(task("Einkaufen", {{"Notes", "zweiter"}}));
    syncUntilRest();
    a.switchOff("Privat");
    a.sync();
    b.store.calendar("Arbeit")->items.push_back(task("Bericht"));
    b.sync();
    a.sync(broken(Break::killAfterFinish));
    removeItem(a, "Privat", "Einkaufen");  // as between two unlinks
    EXPECT_TRUE(a.sync().settled);
    std::multiset<std::string> notes;
    for (const HomeItem& item : a.store.calendar("Privat")->items) {
        if (item.fields["Title"] == Value("Einkaufen"))
            notes.insert(item.fields["Notes"].description());
    }
    EXPECT_EQ(notes, (std::multiset<std::string>{"(null)", "zweiter"}));
    a.switchOn("Privat");
    syncUntilRest();
    EXPECT_EQ(b.store.count("Einkaufen"), 2);
    expectEqualHomes();
    expectRest();
}

TEST_F(UnreadKept, Rule24_AnUnreadSwitchedOffCalendarKeepsItsDeletions)
{
    a.switchOff("Arbeit");
    a.sync();
    removeItem(a, "Arbeit", "Sitzung");
    b.store.calendar("Privat")->items.push_back(task("Blumen"));
    b.sync();
    a.sync();
    a.store.calendar("Arbeit")->isBroken = true;
    a.sync();
    mend(a);
    a.sync();
    a.switchOn("Arbeit");
    syncUntilRest();
    EXPECT_EQ(a.store.count("Sitzung") + b.store.count("Sitzung"), 0);
    expectRest();
}

// Keys are those of a conduit: what an item belonged to says nothing of a calendar.
TEST_F(Unread, Rule23_AKeptItemOfACalendarsKeyMovesNoCalendar)
{
    const std::string key = a.store.calendar("Privat")->recordKey();
    const std::string unread = a.store.calendar("Arbeit")->recordKey();
    a.openState().setKept({{std::string(kConduitTask), key}, unread, ""},
                          {{"Title", "Bericht"}, {"ParentRecordKey", unread}});
    a.store.calendar("Arbeit")->isBroken = true;
    EXPECT_EQ(a.sync().sent, 0U);
}

}  // namespace
}  // namespace kt::test
