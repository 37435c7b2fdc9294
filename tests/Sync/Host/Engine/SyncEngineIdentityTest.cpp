#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

using testing::UnorderedElementsAre;

// What an edit does to a key is nobody's business: one record stays one, on every device.
class Identity : public SyncEngineRules, public testing::WithParamInterface<Layout> {
protected:
    void SetUp() override
    {
        b.store.calendars.clear();
        a.store.calendars = {
            calendar("Privat",
                     {event("Zahnarzt", "20071224T100000"), task("Einkaufen"), task("Blumen")}),
            calendar("Arbeit", {event("Sitzung", "20071225T090000")}),
        };
        syncUntilRest();
        before = liveOnServer();
    }

    void expectOnlyEdits(const SyncRunSummary& summary, std::size_t sent)
    {
        EXPECT_EQ(summary.sent, sent);
        EXPECT_EQ(summary.deletedOnServer, 0U);
        EXPECT_EQ(liveOnServer(), before) << "a record got another name";
    }

    void expectAllAtRest()
    {
        syncUntilRest();
        expectEqualHomes();
        EXPECT_EQ(liveOnServer(), before);
        expectRest();
    }

    MemoryHome& a = home("a", GetParam());
    MemoryHome& b = home("b");
    std::vector<RecordId> before;
};

INSTANTIATE_TEST_SUITE_P(Layouts, Identity, testing::Values(Layout::leopard, Layout::tiger));

TEST_P(Identity, AnEditOfTitleStartAndSequenceAtOnceIsAnEdit)
{
    Dictionary& fields = a.store.item("Privat", "Zahnarzt")->fields;
    fields.set("Title", "Augenarzt");
    fields.set("StartDate", date("20080110T150000"));
    fields.set("Sequence", "7");
    fields.set("Notes", "neu");
    expectOnlyEdits(a.sync(), 1);
    expectAllAtRest();
    EXPECT_EQ(b.store.count("Augenarzt"), 1);
    EXPECT_EQ(b.store.count("Zahnarzt"), 0);
}

TEST_P(Identity, EditsOfOneRecordGoOnForEver)
{
    for (int round = 0; round < 4; ++round) {
        MemoryHome& editor = round % 2 == 0 ? a : b;
        const std::string last = round == 0 ? "Zahnarzt" : "Termin " + std::to_string(round - 1);
        editor.store.item("Privat", last)->fields.set("Title", "Termin " + std::to_string(round));
        expectOnlyEdits(editor.sync(), 1);
        syncUntilRest();
    }
    expectAllAtRest();
}

// Only the older layout says of an occurrence which series it belongs to.
TEST_F(SyncEngineRules, Rule13_AnOccurrenceBelongsToItsSeriesWhateverBecomesOfThatsKey)
{
    auto& tiger = home("a", Layout::tiger);
    HomeItem series =
        event("Sport", "20071224T100000", {{"RecurrenceRule", Dictionary{{"Frequency", 1}}}});
    HomeItem occurrence =
        event("Sport (verlegt)", "20080101T100000", {{"RecurrenceId", date("20071231T100000")}});
    series.uid = occurrence.uid = "UID-Sport";
    tiger.store.calendars = {calendar("Privat", {series, occurrence})};
    tiger.sync();
    const auto agreed = [&](const std::string& title) {
        LocalState state = tiger.openState();
        for (const AgreedRow& row : state.agreedRows()) {
            const Dictionary record = state.agreedRecord(row.id);
            if (record["Title"] == Value(title))
                return std::make_pair(row.id.key, record["RecurrenceParentRecordKey"]);
        }
        return std::make_pair(std::string(), Value());
    };
    const std::string key = agreed("Sport").first;
    ASSERT_EQ(agreed("Sport (verlegt)").second, Value(key));
    tiger.store.item("Privat", "Sport")->fields.set("Title", "Turnen");
    tiger.store.item("Privat", "Sport (verlegt)")->fields.set("Notes", "neu");
    EXPECT_EQ(tiger.sync().sent, 2U);
    EXPECT_EQ(agreed("Turnen").first, key);
    EXPECT_EQ(agreed("Sport (verlegt)").second, Value(key));
}

TEST_P(Identity, ARenamedCalendarTakesItsItemsAlong)
{
    a.store.calendar("Privat")->title = "Familie";
    const SyncRunSummary summary = a.sync();
    expectOnlyEdits(summary, 1);
    EXPECT_TRUE(summary.finished) << "a renamed calendar is no mass deletion";
    b.store.item("Privat", "Einkaufen")->fields.set("Notes", "Milch");
    expectAllAtRest();
    ASSERT_NE(b.store.calendar("Familie"), nullptr);
    EXPECT_EQ(b.store.calendar("Privat"), nullptr);
    EXPECT_EQ(a.store.item("Familie", "Einkaufen")->fields["Notes"], Value("Milch"));
}

TEST_P(Identity, TwoCalendarsSwapTheirTitles)
{
    a.store.calendar("Privat")->title = "?";
    a.store.calendar("Arbeit")->title = "Privat";
    a.store.calendar("?")->title = "Arbeit";
    expectOnlyEdits(a.sync(), 2);
    expectAllAtRest();
    EXPECT_NE(b.store.item("Arbeit", "Zahnarzt"), nullptr);
    EXPECT_NE(b.store.item("Privat", "Sitzung"), nullptr);
}

TEST_P(Identity, ANewCalendarTakesTheTitleOfARenamedOne)
{
    a.store.calendar("Privat")->title = "Familie";
    HomeCalendar other = calendar("Privat", {task("Steuer")});
    other.sourceKey = "SK-neu";
    a.store.calendars.push_back(other);
    const SyncRunSummary summary = a.sync();
    EXPECT_EQ(summary.sent, 3U);
    EXPECT_EQ(summary.deletedOnServer, 0U);
    syncUntilRest();
    expectEqualHomes();
    expectRest();
    EXPECT_NE(b.store.item("Familie", "Zahnarzt"), nullptr);
    EXPECT_NE(b.store.item("Privat", "Steuer"), nullptr);
}

TEST_P(Identity, AnItemThatMovesToAnotherCalendarMoves)
{
    HomeItem moved = *a.store.item("Privat", "Zahnarzt");
    removeItem(a, "Privat", "Zahnarzt");
    a.store.calendar("Arbeit")->items.push_back(moved);
    expectOnlyEdits(a.sync(), 1);
    expectAllAtRest();
    EXPECT_NE(b.store.item("Arbeit", "Zahnarzt"), nullptr);
    EXPECT_EQ(b.store.item("Privat", "Zahnarzt"), nullptr);
}

TEST_P(Identity, TheTitleOfAnEditedRecordIsFreeForAnother)
{
    a.store.item("Privat", "Einkaufen")->fields.set("Title", "Wocheneinkauf");
    a.store.calendar("Privat")->items.push_back(task("Einkaufen", {{"Notes", "heute"}}));
    const SyncRunSummary summary = a.sync();
    EXPECT_EQ(summary.sent, 2U);
    EXPECT_EQ(summary.deletedOnServer, 0U);
    syncUntilRest();
    expectEqualHomes();
    expectRest();
    EXPECT_EQ(b.store.count("Einkaufen"), 1);
    EXPECT_EQ(b.store.count("Wocheneinkauf"), 1);
    EXPECT_EQ(b.store.item("Privat", "Einkaufen")->fields["Notes"], Value("heute"));
}

TEST_P(Identity, TwoTasksSwapTheirTitles)
{
    a.store.item("Privat", "Einkaufen")->fields.set("Notes", "Milch");
    a.store.item("Privat", "Blumen")->fields.set("Notes", "Tulpen");
    syncUntilRest();
    a.store.item("Privat", "Einkaufen")->fields.set("Title", "?");
    a.store.item("Privat", "Blumen")->fields.set("Title", "Einkaufen");
    a.store.item("Privat", "?")->fields.set("Title", "Blumen");
    expectOnlyEdits(a.sync(), 2);
    expectAllAtRest();
    EXPECT_EQ(b.store.item("Privat", "Einkaufen")->fields["Notes"], Value("Tulpen"));
    EXPECT_EQ(b.store.item("Privat", "Blumen")->fields["Notes"], Value("Milch"));
}

TEST_P(Identity, EditsOfDifferentFieldsMeetWhateverBecameOfTheKey)
{
    Dictionary& here = a.store.item("Privat", "Zahnarzt")->fields;
    here.set("Notes", "nüchtern");
    here.set("Sequence", "2");
    Dictionary& there = b.store.item("Privat", "Zahnarzt")->fields;
    there.set("Location", "Praxis");
    there.set("Sequence", "2");
    expectAllAtRest();
    for (const MemoryHome* each : {&a, &b}) {
        const Dictionary& fields =
            const_cast<MemoryHome*>(each)->store.item("Privat", "Zahnarzt")->fields;
        EXPECT_EQ(fields["Notes"], Value("nüchtern"));
        EXPECT_EQ(fields["Location"], Value("Praxis"));
    }
}

TEST_P(Identity, OfTwoNewTitlesTheLaterStands)
{
    Dictionary& here = a.store.item("Privat", "Einkaufen")->fields;
    here.set("Title", "Wocheneinkauf");
    here.set("DateStamp", date("20080101T100000", "Etc/UTC"));
    Dictionary& there = b.store.item("Privat", "Einkaufen")->fields;
    there.set("Title", "Großeinkauf");
    there.set("DateStamp", date("20080101T110000", "Etc/UTC"));
    expectAllAtRest();
    EXPECT_EQ(a.store.count("Großeinkauf"), 1);
    EXPECT_EQ(a.store.count("Wocheneinkauf"), 0);
}

TEST_P(Identity, AnEditedItemIsDeletedWhenItIsDeleted)
{
    a.store.item("Privat", "Zahnarzt")->fields.set("Title", "Augenarzt");
    syncUntilRest();
    removeItem(b, "Privat", "Augenarzt");
    EXPECT_EQ(b.sync().deletedOnServer, 1U);
    syncUntilRest();
    expectEqualHomes();
    EXPECT_EQ(a.store.count("Augenarzt"), 0);
}

TEST_P(Identity, WithoutAnIdentityContentDecidesAsBefore)
{
    a.telling = MemoryHome::Telling::noPlaces;
    a.sync();
    a.store.item("Privat", "Zahnarzt")->fields.set("Notes", "nüchtern");
    expectOnlyEdits(a.sync(), 1);
    expectAllAtRest();
}

TEST_P(Identity, TwinsUnderOneUidAreToldApartByContent)
{
    HomeItem twin = *a.store.item("Privat", "Einkaufen");
    twin.fields.set("Notes", "Zwilling");
    a.store.calendar("Privat")->items.push_back(twin);
    syncUntilRest();
    before = liveOnServer();
    a.store.calendar("Privat")->items.back().fields.set("Notes", "Zwilling, spät");
    expectAllAtRest();
    EXPECT_EQ(b.store.count("Einkaufen"), 2);
}

TEST_F(SyncEngineRules, Rule13_AnItemThatCameIntoASwitchedOffCalendarIsKnownWhenThatIsSwitchedOn)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    a.switchOff("Arbeit");
    removeCalendar(a, "Arbeit");
    b.store.calendar("Arbeit")->items.push_back(*b.store.item("Privat", "Zahnarzt"));
    removeItem(b, "Privat", "Zahnarzt");
    b.sync();
    a.sync();
    a.switchOn("Arbeit");
    syncUntilRest();
    for (const char* name : {"a", "b"}) {
        EXPECT_EQ(home(name).store.count("Zahnarzt"), 1) << name;
        EXPECT_NE(home(name).store.item("Arbeit", "Zahnarzt"), nullptr) << name;
    }
    expectRest();
}

// Entered again under the title and at the hour of one that was deleted.
class EnteredAgain : public Identity {
protected:
    void SetUp() override
    {
        Identity::SetUp();
        removeItem(a, "Privat", "Zahnarzt");
        a.sync();
    }
    void enter(Dictionary more)
    {
        HomeItem item = event("Zahnarzt", "20071224T100000", std::move(more));
        item.uid = "another";
        a.store.calendar("Privat")->items.push_back(item);
        a.sync();
    }
};

INSTANTIATE_TEST_SUITE_P(Layouts, EnteredAgain, testing::Values(Layout::leopard, Layout::tiger));

TEST_P(EnteredAgain, IsAnotherRecordToWhomTheDeletionIsNewsYet)
{
    enter({{"Notes", "neu"}});
    b.store.item("Privat", "Zahnarzt")->fields.set("Notes", "alt");
    syncUntilRest();
    expectEqualHomes();
    EXPECT_EQ(a.store.count("Zahnarzt"), 2);
    expectRest();
}

TEST_P(EnteredAgain, IsTheSameRecordWhereNothingIsOtherwise)
{
    enter({});
    expectAllAtRest();
    EXPECT_EQ(b.store.count("Zahnarzt"), 1);
}

TEST_P(EnteredAgain, IsOneRecordEverywhere)
{
    enter({{"Notes", "neu"}});
    syncUntilRest();
    expectEqualHomes();
    EXPECT_EQ(b.store.count("Zahnarzt"), 1);
    expectRest();
}

TEST_P(EnteredAgain, ThreeTimesIsThreeRecords)
{
    enter({{"Notes", "neu"}});
    HomeItem third = event("Zahnarzt", "20071224T100000", {{"Notes", "noch einer"}});
    third.uid = "a third";
    a.store.calendar("Privat")->items.push_back(third);
    a.sync();
    b.store.item("Privat", "Zahnarzt")->fields.set("Notes", "alt");
    syncUntilRest();
    expectEqualHomes();
    EXPECT_EQ(a.store.count("Zahnarzt"), 3);
    expectRest();
}

TEST_P(EnteredAgain, AndDeletedAgainIsGone)
{
    enter({{"Notes", "neu"}});
    syncUntilRest();
    removeItem(b, "Privat", "Zahnarzt");
    syncUntilRest();
    EXPECT_EQ(a.store.count("Zahnarzt") + b.store.count("Zahnarzt"), 0);
    enter({{"Notes", "ein drittes Mal"}});
    syncUntilRest();
    expectEqualHomes();
    EXPECT_EQ(b.store.count("Zahnarzt"), 1);
    expectRest();
}

}  // namespace
}  // namespace kt::test
