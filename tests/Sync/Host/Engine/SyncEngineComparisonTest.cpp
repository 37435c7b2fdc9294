#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

TEST_F(SyncEngineRules, Rule2_TasksOfOneTitleStayTwoOnEveryDeviceAndLayout)
{
    auto& a = home("a");
    auto& b = home("b", Layout::tiger);
    auto& c = home("c");
    a.store.calendars = {calendar("Privat", {task("Einkaufen", {{"DueDate", date("20071224")}}),
                                             task("Einkaufen", {{"DueDate", date("20071225")}})})};
    syncUntilRest();
    for (const auto* each : {&a, &b, &c})
        EXPECT_EQ(each->store.count("Einkaufen"), 2);
    // Whichever of them is edited, the other one stays what it is.
    for (auto& item : b.store.calendar("Privat")->items) {
        if (item.fields["DueDate"] == Value(date("20071225")))
            item.fields.set("Notes", "Brot");
    }
    syncUntilRest();
    expectRest();
    expectEqualHomes();
    for (const auto& item : a.store.calendar("Privat")->items)
        EXPECT_EQ(item.fields.contains("Notes"), item.fields["DueDate"] == Value(date("20071225")));
    EXPECT_EQ(c.store.count("Einkaufen"), 2);
}

TEST_F(SyncEngineRules, Rule2_TasksOfOneTitleAddedOnTwoDevicesAreTwo)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    a.store.calendar("Privat")->items.push_back(task("Blumen", {{"DueDate", date("20071224")}}));
    b.store.calendar("Privat")->items.push_back(task("Blumen"));
    syncUntilRest();
    EXPECT_EQ(a.store.count("Blumen"), 2);
    EXPECT_EQ(b.store.count("Blumen"), 2);
    expectRest();
}

TEST_F(SyncEngineRules, Rule7_WhatALayoutDropsIsNoChange)
{
    auto& a = home("a");
    auto& b = home("b", Layout::tiger);
    HomeCalendar privat = calendar("Privat", {event("Zahnarzt", "20071224T100000")});
    privat.notes = "meine";
    privat.order = 7;
    a.store.calendars = {privat};
    syncUntilRest();
    EXPECT_EQ(b.store.calendar("Privat")->notes, "");
    // A change of the same record on the poorer side takes nothing away on the richer one.
    b.store.calendar("Privat")->color = "#00FF00";
    syncUntilRest();
    EXPECT_EQ(a.store.calendar("Privat")->color, "#00FF00");
    EXPECT_EQ(a.store.calendar("Privat")->notes, "meine");
    EXPECT_EQ(a.store.calendar("Privat")->order, 7);
    expectRest();
}

TEST_F(SyncEngineRules, Rule7_ADetachedOccurrenceStaysWithItsSeriesOverAPoorerLayout)
{
    auto& a = home("a", Layout::tiger);
    auto& b = home("b");
    HomeItem series =
        event("Chor", "20080107T190000", {{"RecurrenceRule", Dictionary{{"Frequency", "WEEKLY"}}}});
    HomeItem occurrence =
        event("Chor", "20080115T190000", {{"RecurrenceId", date("20080114T190000")}});
    series.uid = occurrence.uid = "chor";
    a.store.calendars = {calendar("Privat", {series, occurrence})};
    syncUntilRest();
    fields(b, "Privat", "Chor").set("Location", "Kirche");
    syncUntilRest();
    const auto& items = a.store.calendar("Privat")->items;
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[0].uid, items[1].uid);
    expectRest();
}

TEST_F(SyncEngineRules, Rule9_ALaptopThatTravelsSendsNothing)
{
    auto& a = home("a");
    home("b");
    a.store.calendars = {
        calendar("Privat", {event("schwebend", "20071224T100000"),
                            event("fest", "20071224T100000",
                                  {{"StartDate", date("20071224T110000", "Europe/London")}}),
                            event("Heiligabend", "20071224")})};
    syncUntilRest();
    Platform::shared().setLocalTimeZoneName("Asia/Tokyo");
    for (const char* title : {"schwebend", "Heiligabend"}) {
        Dictionary& item = fields(a, "Privat", title);
        const auto start = item["StartDate"].objectOfClass<KTSyncEnhancedDate>();
        item.set("StartDate", date(start->iCalDate(), "Asia/Tokyo"));
    }
    const SyncRunSummary summary = a.sync();
    EXPECT_EQ(summary.startResult, 1);
    EXPECT_EQ(summary.sent, 0U);
    Platform::shared().setLocalTimeZoneName("Europe/Berlin");
    for (const char* title : {"schwebend", "Heiligabend"}) {
        Dictionary& item = fields(a, "Privat", title);
        const auto start = item["StartDate"].objectOfClass<KTSyncEnhancedDate>();
        item.set("StartDate", date(start->iCalDate(), "Europe/Berlin"));
    }
    EXPECT_EQ(a.sync().sent, 0U);
    expectRest();
}

TEST_F(SyncEngineRules, Rule9_AZoneThatTheUserSetIsSent)
{
    givenTwoHomes();
    fields(home("a"), "Privat", "Zahnarzt").set("StartDate", date("20071224T100000", "Asia/Tokyo"));
    EXPECT_EQ(home("a").sync().sent, 1U);
}

TEST_F(SyncEngineRules, Rule10_OfTwoEditsOfOneFieldTheHigherSequenceStands)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    // A task keeps its key whatever its sequence.
    fields(a, "Privat", "Einkaufen").set("Notes", "Milch");
    fields(a, "Privat", "Einkaufen").set("Sequence", "10");
    fields(b, "Privat", "Einkaufen").set("Notes", "Brot");
    fields(b, "Privat", "Einkaufen").set("Sequence", "9");
    fields(b, "Privat", "Einkaufen").set("URL", "http://example.invalid");
    syncUntilRest();
    for (auto* each : {&a, &b}) {
        EXPECT_EQ(fields(*each, "Privat", "Einkaufen")["Notes"], Value("Milch"));
        EXPECT_EQ(fields(*each, "Privat", "Einkaufen")["URL"], Value("http://example.invalid"));
    }
    expectRest();
}

TEST_F(SyncEngineRules, Rule11_AnEditThereBeatsADeletionHere)
{
    givenTwoHomes();
    fields(home("a"), "Privat", "Zahnarzt").set("Location", "Praxis");
    removeItem(home("b"), "Privat", "Zahnarzt");
    syncUntilRest();
    EXPECT_EQ(home("a").store.count("Zahnarzt"), 1);
    EXPECT_EQ(home("b").store.count("Zahnarzt"), 1);
    expectRest();
}

TEST_F(SyncEngineRules, Rule11_AnEditHereBeatsADeletionThere)
{
    givenTwoHomes();
    removeItem(home("a"), "Privat", "Zahnarzt");
    fields(home("b"), "Privat", "Zahnarzt").set("Location", "Praxis");
    syncUntilRest();
    EXPECT_EQ(home("a").store.count("Zahnarzt"), 1);
    EXPECT_EQ(fields(home("a"), "Privat", "Zahnarzt")["Location"], Value("Praxis"));
    expectRest();
}

TEST_F(SyncEngineRules, Rule11_AnItemAddedHereBringsItsCalendarBackThatWasDeletedThere)
{
    givenTwoHomes();
    removeCalendar(home("a"), "Arbeit");
    home("a").sync();
    home("b").store.calendar("Arbeit")->items.push_back(event("Feier", "20071228T160000"));
    syncUntilRest();
    for (const char* name : {"a", "b"}) {
        EXPECT_EQ(home(name).store.count("Feier"), 1);
        EXPECT_EQ(home(name).store.count("Sitzung"), 0);
        ASSERT_NE(home(name).store.calendar("Arbeit"), nullptr);
    }
    expectRest();
}

TEST_F(SyncEngineRules, Rule11_AnItemAddedThereBringsItsCalendarBackThatWasDeletedHere)
{
    givenTwoHomes();
    home("a").store.calendar("Arbeit")->items.push_back(event("Feier", "20071228T160000"));
    home("a").sync();
    removeCalendar(home("b"), "Arbeit");
    syncUntilRest();
    EXPECT_EQ(home("b").store.count("Feier"), 1);
    EXPECT_EQ(home("a").store.count("Sitzung"), 0);
    expectRest();
}

TEST_F(SyncEngineRules, Rule11_ItDoesSoWhileTheThinningOutHidesTheItem)
{
    givenTwoHomes();
    auto& b = home("b");
    b.store.calendars.push_back(calendar("Geheim", {task("geheim")}));
    b.sync();
    b.switchOff("Geheim");
    b.sync();
    home("a").store.calendar("Arbeit")->items.push_back(event("Feier", "20071228T160000"));
    home("a").sync();
    removeCalendar(b, "Arbeit");
    syncUntilRest();
    EXPECT_EQ(b.store.count("Feier"), 1);
    EXPECT_EQ(home("a").store.count("Feier"), 1);
    expectRest();
}

TEST_F(SyncEngineRules, Rule11_ADeletionThatAnEditBeatsInARunWithoutARewriteIsMadeGoodByTheNext)
{
    givenTwoHomes();
    auto& b = home("b");
    b.switchOff("Arbeit");
    b.sync();
    fields(home("a"), "Arbeit", "Sitzung").set("Location", "Raum 3");
    home("a").sync();
    b.sync();  // offered in vain
    removeCalendar(b, "Arbeit");
    EXPECT_EQ(b.sync().startResult, 1);
    EXPECT_EQ(b.store.count("Sitzung"), 0);
    EXPECT_EQ(b.sync().startResult, 6);
    ASSERT_EQ(b.store.count("Sitzung"), 1);
    EXPECT_EQ(fields(b, "Arbeit", "Sitzung")["Location"], Value("Raum 3"));
    EXPECT_EQ(home("a").store.count("Sitzung"), 1);
    expectRest();
}

}  // namespace
}  // namespace kt::test
