#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// What has an effect elsewhere although a calendar is switched off here.
class SwitchedOff : public SyncEngineRules, public testing::WithParamInterface<Layout> {
protected:
    void SetUp() override
    {
        b.store.calendars.clear();
        a.store.calendars = {
            calendar("Privat", {event("Zahnarzt", "20071224T100000"), task("Einkaufen")}),
            calendar("Arbeit", {event("Sitzung", "20071225T090000"), task("Bericht")}),
        };
        syncUntilRest();
        a.switchOff("Arbeit");
        a.sync();
    }
    static void move(MemoryHome& home, const std::string& title, const std::string& from,
                     const std::string& to)
    {
        const HomeItem moved = *home.store.item(from, title);
        removeItem(home, from, title);
        home.store.calendar(to)->items.push_back(moved);
    }
    void expectOnceAndIn(const std::string& calendar, const std::string& title)
    {
        for (const auto& each : homes) {
            EXPECT_EQ(each->store.count(title), 1);
            EXPECT_NE(each->store.item(calendar, title), nullptr);
        }
    }
    void expectAllAtRest()
    {
        syncUntilRest();
        expectEqualHomes();
        expectRest();
    }

    MemoryHome& a = home("a", GetParam());
    MemoryHome& b = home("b");
};

INSTANTIATE_TEST_SUITE_P(Layouts, SwitchedOff, testing::Values(Layout::leopard, Layout::tiger));

TEST_P(SwitchedOff, Rule24_AnItemThatMovesThereMoves)
{
    const auto before = liveOnServer();
    move(a, "Zahnarzt", "Privat", "Arbeit");
    const SyncRunSummary summary = a.sync();
    EXPECT_EQ(summary.sent, 1U);
    EXPECT_EQ(summary.deletedOnServer, 0U);
    b.sync();
    expectOnceAndIn("Arbeit", "Zahnarzt");
    expectRest();
    a.switchOn("Arbeit");
    expectAllAtRest();
    expectOnceAndIn("Arbeit", "Zahnarzt");
    EXPECT_EQ(liveOnServer(), before);
}

TEST_P(SwitchedOff, Rule24_AnItemThatMovesThereMovesInARunThatRewrites)
{
    const auto before = liveOnServer();
    fields(b, "Privat", "Einkaufen").set("Notes", "Brot");
    b.sync();
    move(a, "Zahnarzt", "Privat", "Arbeit");
    const SyncRunSummary summary = a.sync();
    EXPECT_EQ(summary.startResult, 5);
    EXPECT_TRUE(summary.settled);
    EXPECT_EQ(summary.deletedOnServer, 0U);
    b.sync();
    expectOnceAndIn("Arbeit", "Zahnarzt");
    a.switchOn("Arbeit");
    expectAllAtRest();
    expectOnceAndIn("Arbeit", "Zahnarzt");
    EXPECT_EQ(liveOnServer(), before);
}

TEST_P(SwitchedOff, Rule24_AMoveThereMeetsAnEditElsewhere)
{
    fields(b, "Privat", "Zahnarzt").set("Location", "Praxis");
    b.sync();
    move(a, "Zahnarzt", "Privat", "Arbeit");
    a.sync();
    b.sync();
    ASSERT_NE(b.store.item("Arbeit", "Zahnarzt"), nullptr);
    EXPECT_EQ(fields(b, "Arbeit", "Zahnarzt")["Location"], Value("Praxis"));
    a.switchOn("Arbeit");
    expectAllAtRest();
    expectOnceAndIn("Arbeit", "Zahnarzt");
    EXPECT_EQ(fields(a, "Arbeit", "Zahnarzt")["Location"], Value("Praxis"));
}

TEST_P(SwitchedOff, Rule24_AMoveThereBeatsADeletionElsewhere)
{
    removeItem(b, "Privat", "Zahnarzt");
    b.sync();
    move(a, "Zahnarzt", "Privat", "Arbeit");
    a.sync();
    a.switchOn("Arbeit");
    expectAllAtRest();
    expectOnceAndIn("Arbeit", "Zahnarzt");
}

TEST_P(SwitchedOff, Rule24_WhatMovedThereAndIsDeletedThereIsDeletedOnceItIsOn)
{
    move(a, "Zahnarzt", "Privat", "Arbeit");
    a.sync();
    removeItem(a, "Arbeit", "Zahnarzt");
    a.sync();
    EXPECT_EQ(liveOnServer().size(), 6U);
    a.switchOn("Arbeit");
    expectAllAtRest();
    EXPECT_EQ(a.store.count("Zahnarzt") + b.store.count("Zahnarzt"), 0);
}

TEST_P(SwitchedOff, Rule24_AnItemThatMovesBackMovesBack)
{
    const auto before = liveOnServer();
    move(a, "Zahnarzt", "Privat", "Arbeit");
    a.sync();
    move(a, "Zahnarzt", "Arbeit", "Privat");
    EXPECT_EQ(a.sync().sent, 1U);
    expectAllAtRest();
    expectOnceAndIn("Privat", "Zahnarzt");
    EXPECT_EQ(liveOnServer(), before);
}

TEST_P(SwitchedOff, Rule24_AnItemThatLeavesASwitchedOffCalendarIsNotLost)
{
    move(a, "Sitzung", "Arbeit", "Privat");
    EXPECT_EQ(a.sync().deletedOnServer, 0U);
    fields(b, "Privat", "Einkaufen").set("Notes", "Brot");
    syncUntilRest();
    expectOnceAndIn("Privat", "Sitzung");
    a.switchOn("Arbeit");
    expectAllAtRest();
    expectOnceAndIn("Privat", "Sitzung");
}

TEST_P(SwitchedOff, Rule24_ACopyThatIsDeletedIsDeleted)
{
    a.store.calendar("Arbeit")->items.push_back(*a.store.item("Privat", "Zahnarzt"));
    a.sync();
    removeItem(a, "Privat", "Zahnarzt");
    EXPECT_EQ(a.sync().deletedOnServer, 1U);
    b.sync();
    EXPECT_EQ(b.store.count("Zahnarzt"), 0);
    EXPECT_EQ(a.store.count("Zahnarzt"), 1);
}

// A calendar that was switched off before the server ever heard of it.
class SwitchedOffUnknown : public SwitchedOff {
protected:
    void SetUp() override
    {
        SwitchedOff::SetUp();
        a.store.calendars.push_back(calendar("Geheim", {task("geheim")}));
        a.switchOff("Geheim");
        a.sync();
    }
};

INSTANTIATE_TEST_SUITE_P(Layouts, SwitchedOffUnknown,
                         testing::Values(Layout::leopard, Layout::tiger));

TEST_P(SwitchedOffUnknown, Rule24_WhatMovesThereStaysElsewhereAndMovesOnceItIsOn)
{
    const auto before = liveOnServer();
    move(a, "Zahnarzt", "Privat", "Geheim");
    EXPECT_EQ(a.sync().deletedOnServer, 0U);
    EXPECT_EQ(a.sync().startResult, 1);
    expectRest();
    EXPECT_EQ(liveOnServer(), before);
    EXPECT_NE(b.store.item("Privat", "Zahnarzt"), nullptr);
    EXPECT_EQ(a.store.count("Zahnarzt"), 1);
    a.switchOn("Geheim");
    a.switchOn("Arbeit");
    expectAllAtRest();
    expectOnceAndIn("Geheim", "Zahnarzt");
}

TEST_P(SwitchedOffUnknown, Rule24_WhatOthersDoToItWaits)
{
    move(a, "Zahnarzt", "Privat", "Geheim");
    a.sync();
    fields(b, "Privat", "Zahnarzt").set("Location", "Praxis");
    fields(b, "Privat", "Einkaufen").set("Notes", "Brot");
    b.sync();
    a.sync();
    EXPECT_EQ(a.store.count("Zahnarzt"), 1);
    EXPECT_EQ(fields(a, "Privat", "Einkaufen")["Notes"], Value("Brot"));
    expectRest();
    a.switchOn("Geheim");
    a.switchOn("Arbeit");
    expectAllAtRest();
    expectOnceAndIn("Geheim", "Zahnarzt");
    EXPECT_EQ(fields(a, "Geheim", "Zahnarzt")["Location"], Value("Praxis"));
}

TEST_P(SwitchedOffUnknown, Rule24_WhatMovedThereInAHeldRunIsNotDeletedByTheNext)
{
    a.unsafe = {"Privat"};
    move(a, "Zahnarzt", "Privat", "Geheim");
    EXPECT_TRUE(a.sync().held);
    a.unsafe = {};
    EXPECT_EQ(a.sync().deletedOnServer, 0U);
    syncUntilRest();
    EXPECT_EQ(b.store.count("Zahnarzt"), 1);
}

TEST_P(SwitchedOffUnknown, Rule24_WhatMovedThereAndIsDeletedThereIsDeleted)
{
    move(a, "Zahnarzt", "Privat", "Geheim");
    a.sync();
    removeItem(a, "Geheim", "Zahnarzt");
    a.sync();
    syncUntilRest();
    EXPECT_EQ(a.store.count("Zahnarzt") + b.store.count("Zahnarzt"), 0);
    expectRest();
}

TEST_P(SwitchedOffUnknown, Rule24_ACalendarThatWasEmptiedIntoItAndDeletedStaysForOthers)
{
    move(a, "Zahnarzt", "Privat", "Geheim");
    removeCalendar(a, "Privat");
    a.sync();
    syncUntilRest();
    EXPECT_NE(b.store.item("Privat", "Zahnarzt"), nullptr);
    EXPECT_EQ(b.store.count("Einkaufen"), 0) << "that was deleted";
    EXPECT_EQ(a.store.count("Zahnarzt"), 1);
    expectRest();
}

TEST_P(SwitchedOff, Rule24_TheUserIsToldWhichCalendarGoes)
{
    removeCalendar(a, "Arbeit");
    const std::string line =
        "Der ausgeschaltete Kalender 'Arbeit' fehlt hier und wird auf allen Geräten gelöscht, mit "
        "2 Einträgen.";
    Wishes dry;
    dry.dryRun = true;
    EXPECT_THAT(a.sync(dry).notices, ElementsAre(line));
    const SyncRunSummary summary = a.sync();
    EXPECT_EQ(summary.deletedOnServer, 3U);
    EXPECT_THAT(summary.notices, ElementsAre(line));
    EXPECT_THAT(a.log, Contains(line));
    b.sync();
    EXPECT_EQ(b.store.calendar("Arbeit"), nullptr);
    EXPECT_THAT(a.sync().notices, IsEmpty());
}

TEST_P(SwitchedOff, Rule24_OfACalendarThatTakesPartNothingIsTold)
{
    removeCalendar(a, "Privat");
    EXPECT_THAT(a.sync().notices, IsEmpty());
}

TEST_P(SwitchedOff, Rule24_ACalendarThatWasNeverSeenItselfTakesNothingAlong)
{
    {
        LocalState state = a.openState();
        for (const SeenRow& row : state.seenRows()) {
            if (row.local.conduit == kConduitCalendar &&
                state.seenRecord(row)["Title"] == Value("Arbeit"))
                state.removeSeen(row);
        }
    }
    removeCalendar(a, "Arbeit");
    const SyncRunSummary summary = a.sync();
    EXPECT_EQ(summary.deletedOnServer, 0U);
    EXPECT_THAT(summary.notices, IsEmpty());
    expectAllAtRest();
    expectOnceAndIn("Arbeit", "Sitzung");
}

TEST_P(SwitchedOff, Rule24_WithUnsafeLossesNoCalendarGoes)
{
    removeCalendar(a, "Arbeit");
    a.unsafe = {"Privat"};
    const SyncRunSummary summary = a.sync();
    EXPECT_EQ(summary.deletedOnServer, 0U);
    EXPECT_THAT(summary.notices, IsEmpty());
    EXPECT_EQ(b.sync().deletedHere, 0U);
}

// What a title says of a calendar, and what it does not.
class SwitchedOffAndRenamed : public SwitchedOff {
protected:
    static void rename(MemoryHome& home, const std::string& title, const std::string& now)
    {
        home.store.calendar(title)->title = now;
    }
    static HomeCalendar inFolder(HomeCalendar calendar, const std::string& folder)
    {
        calendar.sourceKey = folder;
        return calendar;
    }
};

INSTANTIATE_TEST_SUITE_P(Layouts, SwitchedOffAndRenamed,
                         testing::Values(Layout::leopard, Layout::tiger));

TEST_P(SwitchedOffAndRenamed, Rule13_ANewOneUnderTheFormerTitleOfAnotherKeepsItsItems)
{
    rename(a, "Privat", "Familie");
    a.sync();
    b.sync();
    a.store.calendars.push_back(inFolder(calendar("Privat", {task("geheim")}), "NEW"));
    a.switchOff("Privat");
    a.sync();
    fields(b, "Familie", "Einkaufen").set("Notes", "Brot");
    b.sync();
    EXPECT_TRUE(a.sync().settled);
    EXPECT_EQ(a.store.count("geheim"), 1);
    EXPECT_EQ(a.store.count("Einkaufen"), 1);
    EXPECT_EQ(b.store.count("geheim"), 0);
    a.switchOn("Privat");
    a.switchOn("Arbeit");
    expectAllAtRest();
    expectOnceAndIn("Privat", "geheim");
    expectOnceAndIn("Familie", "Einkaufen");
}

TEST_P(SwitchedOffAndRenamed, Rule24_BothBeforeTheNextRunDeleteNothing)
{
    const auto before = liveOnServer();
    rename(a, "Privat", "Familie");
    a.switchOff("Familie");
    EXPECT_EQ(a.sync().deletedOnServer, 0U);
    fields(b, "Privat", "Einkaufen").set("Notes", "Brot");
    b.sync();
    a.sync();
    a.switchOn("Familie");
    a.switchOn("Arbeit");
    expectAllAtRest();
    expectOnceAndIn("Familie", "Einkaufen");
    EXPECT_EQ(fields(a, "Familie", "Einkaufen")["Notes"], Value("Brot"));
    EXPECT_EQ(liveOnServer(), before);
}

TEST_P(SwitchedOffAndRenamed, Rule13_AnotherTitleSwitchesNothingOn)
{
    const auto before = liveOnServer();
    rename(a, "Arbeit", "Projekte");
    fields(a, "Projekte", "Sitzung").set("Notes", "geheim");
    EXPECT_EQ(a.sync().sent, 0U);
    EXPECT_FALSE(a.isOn("Projekte"));
    b.sync();
    EXPECT_FALSE(fields(b, "Arbeit", "Sitzung").contains("Notes"));
    fields(b, "Arbeit", "Sitzung").set("Location", "oben");
    fields(b, "Privat", "Zahnarzt").set("Location", "Praxis");
    b.sync();
    a.sync();
    EXPECT_EQ(a.store.count("Sitzung"), 1);
    EXPECT_FALSE(fields(a, "Projekte", "Sitzung").contains("Location"));
    a.switchOn("Projekte");
    expectAllAtRest();
    expectOnceAndIn("Projekte", "Sitzung");
    EXPECT_EQ(fields(b, "Projekte", "Sitzung")["Notes"], Value("geheim"));
    EXPECT_EQ(fields(a, "Projekte", "Sitzung")["Location"], Value("oben"));
    EXPECT_EQ(liveOnServer(), before);
}

TEST_P(SwitchedOffAndRenamed, Rule13_OneThatIsSwitchedOnUnderItsNewTitleIsOn)
{
    rename(a, "Arbeit", "Projekte");
    a.switchOn("Projekte");
    EXPECT_EQ(a.sync().sent, 1U);
    EXPECT_TRUE(a.isOn("Projekte"));
    expectAllAtRest();
    expectOnceAndIn("Projekte", "Sitzung");
}

TEST_P(SwitchedOffAndRenamed, Rule19_OneThatIsSwitchedOffBeforeARewriteIsSettledIsOffAfterIt)
{
    rename(b, "Privat", "Familie");
    move(b, "Einkaufen", "Familie", "Arbeit");
    fields(b, "Familie", "Zahnarzt").set("Location", "Praxis");
    b.sync();
    a.switchOn("Arbeit");
    Wishes killed;
    killed.breakAt = Break::killAfterFinish;
    a.sync(killed);
    a.switchOff("Privat");
    EXPECT_TRUE(a.sync().settled);
    a.sync();
    EXPECT_EQ(a.store.count("Einkaufen"), 1);
    EXPECT_EQ(a.store.count("Zahnarzt"), 1);
    EXPECT_FALSE(a.isOn("Familie"));
    a.switchOn("Familie");
    expectAllAtRest();
    expectOnceAndIn("Arbeit", "Einkaufen");
    expectOnceAndIn("Familie", "Zahnarzt");
}

TEST_P(SwitchedOffAndRenamed, Rule19_OneThatIsRenamedBeforeARewriteIsSettledStaysOnce)
{
    fields(b, "Privat", "Zahnarzt").set("Location", "Praxis");
    b.sync();
    Wishes killed;
    killed.breakAt = Break::killAfterFinish;
    a.sync(killed);
    rename(a, "Arbeit", "Projekte");
    a.sync();
    EXPECT_EQ(a.store.calendar("Arbeit"), nullptr);
    EXPECT_EQ(a.store.count("Sitzung"), 1);
    a.switchOn("Projekte");
    expectAllAtRest();
    expectOnceAndIn("Projekte", "Sitzung");
}

TEST_P(SwitchedOffAndRenamed, Rule14_OneThatIsNewHereTakesNothingOfItsNamesakeElsewhere)
{
    b.store.calendars.push_back(calendar("Verein", {task("Beitrag")}));
    b.sync();
    a.store.calendars.push_back(inFolder(calendar("Verein", {task("Probe")}), "NEW"));
    a.switchOff("Verein");
    a.sync();
    EXPECT_EQ(a.store.count("Beitrag"), 0);
    rename(a, "Verein", "Chor");
    a.sync();
    a.switchOn("Chor");
    a.switchOn("Arbeit");
    expectAllAtRest();
    expectOnceAndIn("Verein", "Beitrag");
    expectOnceAndIn("Chor", "Probe");
}

TEST_P(SwitchedOffAndRenamed, Rule14_ANewOneOfItsFormerTitleElsewhereWaitsUntilItIsOn)
{
    rename(b, "Arbeit", "Projekte");
    b.store.calendars.push_back(inFolder(calendar("Arbeit", {task("Steuer")}), "NEW"));
    b.sync();
    a.sync();
    a.sync();
    EXPECT_EQ(a.store.count("Sitzung"), 1);
    EXPECT_EQ(a.store.count("Steuer"), 0);
    a.switchOn("Arbeit");
    expectAllAtRest();
    expectOnceAndIn("Projekte", "Sitzung");
    expectOnceAndIn("Arbeit", "Steuer");
}

}  // namespace
}  // namespace kt::test
