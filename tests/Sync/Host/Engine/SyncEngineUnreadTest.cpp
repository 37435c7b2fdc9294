#include <set>

#include "tests/Sync/Host/Engine/UnreadHomes.h"

namespace kt::test {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

INSTANTIATE_TEST_SUITE_P(Told, UnreadText, testing::ValuesIn(kWaysOfTelling), nameOfTelling);

TEST_P(UnreadText, Rule18_StaysWhileEverythingElseSyncsBothWays)
{
    damage(a, "Privat", "Zahnarzt");
    fields(b, "Privat", "Zahnarzt").set("Location", "Praxis");
    b.store.calendar("Privat")->items.push_back(task("Blumen"));
    b.sync();
    a.store.calendar("Privat")->items.push_back(task("Geschenke"));
    const SyncRunSummary summary = a.sync();
    EXPECT_EQ(summary.startResult, 5);
    EXPECT_FALSE(summary.held);
    EXPECT_TRUE(summary.settled) << testing::PrintToString(summary.unproved);
    EXPECT_EQ(summary.sent, 1U);
    EXPECT_EQ(summary.received, 1U);
    EXPECT_EQ(summary.deletedOnServer, 0U);
    EXPECT_EQ(a.store.count("Blumen"), 1);
    EXPECT_EQ(a.store.count("Zahnarzt"), 1);
    EXPECT_TRUE(a.store.item("Privat", "Zahnarzt")->isBroken);
    EXPECT_FALSE(fields(a, "Privat", "Zahnarzt").contains("Location"));

    // Deletions of the rest go through.
    removeItem(a, "Privat", "Probe");
    removeItem(a, "Arbeit", "Sitzung");
    EXPECT_EQ(a.sync().deletedOnServer, 2U);
    b.sync();
    EXPECT_EQ(b.store.count("Probe") + b.store.count("Sitzung"), 0);
    EXPECT_EQ(b.store.count("Zahnarzt"), 1);

    mend(a);
    EXPECT_EQ(a.sync().startResult, 6);
    EXPECT_EQ(fields(a, "Privat", "Zahnarzt")["Location"], Value("Praxis"));
    expectOnceEverywhere({"Zahnarzt", "Blumen", "Einkaufen"});
    expectRest();
    expectEqualHomes();
}

TEST_P(UnreadText, Rule18_LeavesTheDeviceAtRestAndIsToldOnce)
{
    damage(a, "Privat", "Zahnarzt");
    EXPECT_THAT(a.sync().newlyUnread, SizeIs(1));
    fields(b, "Privat", "Zahnarzt").set("Location", "Praxis");
    b.sync();
    const int rewrites = a.store.rewrites();
    for (int run = 0; run < 3; ++run) {
        const SyncRunSummary summary = a.sync();
        EXPECT_EQ(summary.startResult, 1);
        EXPECT_THAT(summary.newlyUnread, IsEmpty());
        EXPECT_THAT(summary.losses, SizeIs(1));
    }
    EXPECT_EQ(a.store.rewrites(), rewrites);
}

TEST_P(UnreadText, Rule18_ComesBackFromWhatIsAgreedWhenItIsThrownAway)
{
    damage(a, "Privat", "Zahnarzt");
    a.sync();
    fields(b, "Privat", "Zahnarzt").set("Location", "Praxis");
    b.sync();
    a.sync();
    removeItem(a, "Privat", "Zahnarzt");
    const SyncRunSummary summary = a.sync();
    EXPECT_EQ(summary.startResult, 6);
    EXPECT_EQ(summary.deletedOnServer, 0U);
    EXPECT_EQ(fields(a, "Privat", "Zahnarzt")["Location"], Value("Praxis"));
    expectOnceEverywhere({"Zahnarzt", "Probe", "Einkaufen"});
    expectRest();
}

TEST_P(UnreadText, Rule18_OutlivesARunThatIsKilled)
{
    damage(a, "Privat", "Zahnarzt");
    b.store.calendar("Privat")->items.push_back(task("Blumen"));
    b.sync();
    for (const Break at : {Break::killAfterFinish, Break::killBeforeSettling})
        a.sync(broken(at));
    EXPECT_TRUE(a.sync().settled);
    EXPECT_EQ(a.store.count("Zahnarzt"), 1);
    EXPECT_TRUE(a.store.item("Privat", "Zahnarzt")->isBroken);
    mend(a);
    syncUntilRest();
    expectOnceEverywhere({"Zahnarzt", "Blumen", "Probe", "Einkaufen"});
    expectRest();
}

TEST_P(UnreadText, Rule18_IsWrittenOverWhenTheUserSaysSo)
{
    fields(b, "Privat", "Zahnarzt").set("Location", "Praxis");
    b.sync();
    a.sync();
    damage(a, "Privat", "Zahnarzt");
    a.sync();
    removeItem(a, "Privat", "Probe");
    removeItem(a, "Arbeit", "Sitzung");
    const SyncRunSummary summary = a.sync(accepting());
    EXPECT_EQ(summary.startResult, 6) << "although the server has nothing new";
    EXPECT_TRUE(summary.settled) << testing::PrintToString(summary.unproved);
    EXPECT_THAT(summary.overwritten, SizeIs(1));
    EXPECT_EQ(summary.deletedOnServer, 2U) << "no other deletion is taken back";
    EXPECT_EQ(a.store.count("Probe") + a.store.count("Sitzung"), 0);
    EXPECT_EQ(a.store.count("Zahnarzt"), 1);
    EXPECT_FALSE(a.store.item("Privat", "Zahnarzt")->isBroken);
    EXPECT_EQ(fields(a, "Privat", "Zahnarzt")["Location"], Value("Praxis"));
    expectRest();
    expectEqualHomes();
}

TEST_P(UnreadText, Rule18_ThatIsNobodysIsLeftAloneWhenTheUserAcceptsLosses)
{
    a.store.calendar("Privat")->items.push_back(event("Neu", "20080101T100000"));
    damage(a, "Privat", "Neu");
    a.sync();
    const SyncRunSummary summary = a.sync(accepting());
    EXPECT_THAT(summary.overwritten, IsEmpty());
    EXPECT_EQ(a.store.count("Neu"), 1);
    mend(a);
    syncUntilRest();
    expectOnceEverywhere({"Neu", "Zahnarzt", "Probe"});
}

TEST_P(UnreadText, Rule18_IsMendedAsAnotherTextAndFollows)
{
    HomeItem& text = damage(a, "Privat", "Zahnarzt");
    a.sync();
    text.fields.set("Notes", "Karte");
    text.isBroken = false;
    fields(b, "Privat", "Zahnarzt").set("Location", "Praxis");
    b.sync();
    syncUntilRest();
    for (const auto& each : homes) {
        EXPECT_EQ(fields(*each, "Privat", "Zahnarzt")["Notes"], Value("Karte"));
        EXPECT_EQ(fields(*each, "Privat", "Zahnarzt")["Location"], Value("Praxis"));
    }
    expectRest();
}

TEST_F(Unread, Rule18_ADeletionInTheSameRunGoesThroughWhereTheTextIsKnown)
{
    damage(a, "Privat", "Zahnarzt");
    removeItem(a, "Privat", "Probe");
    EXPECT_EQ(a.sync().deletedOnServer, 1U);
    b.sync();
    EXPECT_EQ(b.store.count("Probe"), 0);
    EXPECT_EQ(b.store.count("Zahnarzt"), 1);
    expectRest();
}

TEST_F(Unread, Rule18_NothingMissingIsDeletedWhereANewTextCannotBeTold)
{
    a.telling = MemoryHome::Telling::onlyCalendar;
    damage(a, "Privat", "Zahnarzt");
    removeItem(a, "Privat", "Probe");
    removeItem(a, "Arbeit", "Sitzung");
    EXPECT_EQ(a.sync().deletedOnServer, 1U) << "only that of the other calendar";
    EXPECT_EQ(a.sync().deletedOnServer, 0U);
    mend(a);
    a.sync();
    EXPECT_EQ(a.store.count("Probe"), 1) << "it may have been the text";
    expectRest();
}

TEST_F(Unread, Rule18_AWholeCalendarWaitsWithAllThatComesIntoIt)
{
    a.store.calendar("Privat")->isBroken = true;
    b.store.calendar("Privat")->items.push_back(task("Blumen"));
    fields(b, "Privat", "Probe").set("Location", "Saal");
    b.store.calendar("Arbeit")->items.push_back(task("Bericht"));
    b.sync();
    const SyncRunSummary summary = a.sync();
    EXPECT_TRUE(summary.settled) << testing::PrintToString(summary.unproved);
    EXPECT_EQ(summary.deletedOnServer, 0U);
    EXPECT_EQ(a.store.count("Bericht"), 1);
    EXPECT_EQ(a.store.count("Blumen"), 0);
    const int rewrites = a.store.rewrites();
    EXPECT_EQ(a.sync().startResult, 1);
    EXPECT_EQ(a.store.rewrites(), rewrites);
    mend(a);
    syncUntilRest();
    expectOnceEverywhere({"Blumen", "Zahnarzt", "Probe", "Einkaufen", "Bericht"});
    EXPECT_EQ(fields(a, "Privat", "Probe")["Location"], Value("Saal"));
    expectRest();
    expectEqualHomes();
}

// As on a disk that fails once: the run that settles the rewrite can read it.
TEST_F(Unread, Rule18_WhatIsNewInACalendarThatCouldNotBeReadForOnceGoesUp)
{
    for (const std::string known : {"Privat", "Neues"}) {
        if (a.store.calendar(known) == nullptr)
            a.store.calendars.push_back(calendar(known));
        a.store.calendar(known)->items.push_back(task("Neu in " + known));
        a.unreadable = {known};
        b.store.calendar("Arbeit")->items.push_back(task("Bericht " + known));
        b.sync();
        a.beforeSettling = [this] { a.unreadable.clear(); };
        EXPECT_TRUE(a.sync().settled);
        a.beforeSettling = nullptr;
        b.store.calendar("Arbeit")->items.push_back(task("Plan " + known));
        b.sync();
        syncUntilRest();
        expectOnceEverywhere({"Neu in " + known});
    }
    expectRest();
}

TEST_F(Unread, Rule18_AWholeCalendarComesBackWhenItsFolderIsThrownAway)
{
    a.store.calendar("Privat")->isBroken = true;
    a.sync();
    removeCalendar(a, "Privat");
    EXPECT_EQ(a.sync().deletedOnServer, 0U);
    expectOnceEverywhere({"Zahnarzt", "Probe", "Einkaufen"});
    expectRest();
}

TEST_F(Unread, Rule18_AWholeCalendarIsWrittenOverWhenTheUserSaysSo)
{
    a.store.calendar("Privat")->isBroken = true;
    a.sync();
    const SyncRunSummary summary = a.sync(accepting());
    EXPECT_TRUE(summary.settled) << testing::PrintToString(summary.unproved);
    EXPECT_FALSE(a.store.calendar("Privat")->isBroken);
    expectOnceEverywhere({"Zahnarzt", "Probe", "Einkaufen"});
    expectRest();
}

TEST_F(Unread, Rule18_TheFolderOfAnUnreadCalendarIsNobodyElses)
{
    // A third device has a calendar of another title in a folder of that name.
    HomeCalendar twin = calendar("Verein", {task("Kasse")});
    twin.sourceKey = "SK-Privat";
    home("c").store.calendars = {twin};
    a.store.calendar("Privat")->isBroken = true;
    home("c").sync();
    a.sync();
    EXPECT_EQ(a.store.count("Kasse"), 0) << "its folder is taken by a text that is not read";
    mend(a);
    syncUntilRest();
    expectOnceEverywhere({"Kasse", "Zahnarzt"});
    expectRest();
}

TEST_F(Unread, Rule18_ACalendarThatHoldsUnreadTextIsNotDeletedUntilItIsMended)
{
    damage(a, "Privat", "Zahnarzt");
    a.sync();
    removeCalendar(b, "Privat");
    b.sync();
    EXPECT_TRUE(a.sync().settled);
    EXPECT_TRUE(a.store.item("Privat", "Zahnarzt")->isBroken);
    EXPECT_EQ(a.store.count("Probe"), 0) << "the rest of it is deleted";
    mend(a);
    syncUntilRest();
    EXPECT_EQ(a.store.calendar("Privat"), nullptr);
    expectRest();
}

TEST_F(Unread, Rule18_AServerDeletionWaitsForTheText)
{
    damage(a, "Privat", "Zahnarzt");
    a.sync();
    removeItem(b, "Privat", "Zahnarzt");
    b.sync();
    a.sync();
    EXPECT_EQ(a.store.count("Zahnarzt"), 1);
    mend(a);
    syncUntilRest();
    EXPECT_EQ(a.store.count("Zahnarzt"), 0);
    expectRest();
}

TEST_F(Unread, Rule18_FromTheServerLeavesItWhereItIs)
{
    damage(a, "Privat", "Zahnarzt");
    fields(b, "Privat", "Zahnarzt").set("Location", "Praxis");
    b.sync();
    Wishes wishes;
    wishes.fromServer = true;
    EXPECT_EQ(a.sync(wishes).startResult, 3);
    EXPECT_EQ(a.store.count("Zahnarzt"), 1);
    EXPECT_TRUE(a.store.item("Privat", "Zahnarzt")->isBroken);
    mend(a);
    syncUntilRest();
    expectOnceEverywhere({"Zahnarzt"});
    EXPECT_EQ(fields(a, "Privat", "Zahnarzt")["Location"], Value("Praxis"));
}

TEST_F(Unread, Rule18_AnUnreadGroupMovesNobody)
{
    HomeCalendar group = calendar("Haus");
    group.type = "CalendarGroup";
    HomeCalendar garden = calendar("Garten", {task("Gießen")});
    garden.group = "Haus";
    a.store.calendars.push_back(group);
    a.store.calendars.push_back(garden);
    syncUntilRest();
    a.store.calendar("Haus")->isBroken = true;
    b.store.calendar("Garten")->items.push_back(task("Mähen"));
    b.sync();
    EXPECT_TRUE(a.sync().settled);
    EXPECT_EQ(a.sync().sent, 0U);
    b.sync();
    EXPECT_EQ(b.store.calendar("Garten")->group, "Haus");
    mend(a);
    syncUntilRest();
    EXPECT_EQ(a.store.calendar("Garten")->group, "Haus");
    expectEqualHomes();
    expectRest();
}

// A store that counts its calendars does not count one that it cannot read.
TEST_F(Unread, Rule18_AnUnreadCalendarMovesNobodyUp)
{
    int number = 0;
    a.store.calendars.push_back(calendar("Verein", {task("Kasse")}));
    for (HomeCalendar& each : a.store.calendars)
        each.order = number++;
    syncUntilRest();
    HomeCalendar& last = a.store.calendars.back();
    const int last105 = b.store.calendar("Verein")->order;
    a.store.calendar("Arbeit")->isBroken = true;
    --last.order;
    EXPECT_EQ(a.sync().sent, 0U);
    last.order -= 2;
    EXPECT_NE(a.sync().sent, 0U) << "somebody moved it";
    syncUntilRest();
    EXPECT_NE(b.store.calendar("Verein")->order, last105);
}

TEST_F(Unread, Rule18_AnEditedTwinDoesNotTakeTheNameOfTheUnreadOne)
{
    a.store.calendar("Privat")->items.push_back(task("Einkaufen", {{"Notes", "zweiter"}}));
    syncUntilRest();
    ASSERT_EQ(b.store.count("Einkaufen"), 2);
    std::vector<HomeItem*> twins;
    for (HomeItem& item : a.store.calendar("Privat")->items) {
        if (item.fields["Title"] == Value("Einkaufen"))
            twins.push_back(&item);
    }
    const bool isFirstTheSecond = twins[0]->fields.contains("Notes");
    HomeItem& plain = *twins[isFirstTheSecond ? 1 : 0];
    HomeItem& second = *twins[isFirstTheSecond ? 0 : 1];
    plain.isBroken = true;
    second.fields.set("Notes", "zweiter, geändert");
    syncUntilRest();
    std::multiset<std::string> notes;
    for (const HomeItem& item : b.store.calendar("Privat")->items) {
        if (item.fields["Title"] == Value("Einkaufen"))
            notes.insert(item.fields["Notes"].description());
    }
    EXPECT_EQ(notes, (std::multiset<std::string>{"(null)", "zweiter, geändert"}));
    mend(a);
    syncUntilRest();
    EXPECT_EQ(a.store.count("Einkaufen"), 2);
    EXPECT_EQ(b.store.count("Einkaufen"), 2);
    expectEqualHomes();
    expectRest();
}

class UnreadAtFirst : public UnreadHomes {};

TEST_F(UnreadAtFirst, NothingIsLostAndEverythingElseIsThere)
{
    auto& a = home("a");
    auto& b = home("b");
    a.store.calendars = {calendar("Privat", {task("Einkaufen", {{"Notes", "Milch"}}),
                                             event("Probe", "20071225T190000")})};
    b.store.calendars = {calendar("Privat", {task("Einkaufen", {{"Notes", "Brot"}})})};
    a.sync();
    damage(b, "Privat", "Einkaufen");
    const SyncRunSummary summary = b.sync();
    EXPECT_FALSE(summary.held);
    EXPECT_TRUE(summary.settled) << testing::PrintToString(summary.unproved);
    EXPECT_EQ(b.store.count("Probe"), 1);
    mend(b);
    syncUntilRest();
    std::set<std::string> notes;
    for (const HomeItem& item : a.store.calendar("Privat")->items)
        notes.insert(item.fields["Notes"].description());
    EXPECT_EQ(notes.count("Milch") + notes.count("Brot"), 2U);
    expectEqualHomes();
    expectRest();
}

TEST_F(UnreadHomes, Rule18_OverwritingFromTheServerLeavesACalendarWithUnreadText)
{
    givenHomes();
    auto& a = home("a");
    damage(a, "Privat", "Probe");
    a.sync();
    home("b").store.calendars.push_back(calendar("Garten"));
    removeCalendar(home("b"), "Privat");
    removeCalendar(home("b"), "Arbeit");
    home("b").sync();
    Wishes wishes;
    wishes.fromServer = true;
    a.sync(wishes);
    EXPECT_EQ(a.store.count("Probe"), 1);
    EXPECT_EQ(a.store.calendar("Arbeit"), nullptr);
}

TEST_F(UnreadHomes, Rule18_WhatWasTakenOutOfAnUnreadTextIsGoneThoughTheStoreWasRewritten)
{
    givenHomes();
    auto& a = home("a");
    fields(a, "Privat", "Probe").set("Notes", "mit Geige");
    syncUntilRest();
    damage(a, "Privat", "Probe");
    fields(home("b"), "Arbeit", "Sitzung").set("Location", "Saal");
    home("b").sync();
    ASSERT_TRUE(a.sync().settled);
    fields(a, "Privat", "Probe").remove("Notes");
    mend(a);
    syncUntilRest();
    for (const char* name : {"a", "b"})
        EXPECT_FALSE(fields(home(name), "Privat", "Probe").contains("Notes")) << name;
}

}  // namespace
}  // namespace kt::test
