#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Engine/SyncEngine.h"
#include "tests/Sync/Host/Engine/SyncEngineFixture.h"

namespace kt::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Wishes = SimulatedHome::Wishes;

Wishes broken(Break at)
{
    Wishes wishes;
    wishes.breakAt = at;
    return wishes;
}

// Rules that are tables or stand in a file of their own are tested there.
class SyncEngineRules : public SyncEngineFixture {
protected:
    void writeToServer(const std::string& key, const Dictionary& record)
    {
        auto opened = syncServerWithURL(serverUrl())
                          ->openSession("default", "other", ServerAccess::readWrite);
        ServerWrite write;
        write.id = {std::string(kConduitEvent), key};
        write.parentKey = record["ParentRecordKey"].stringOrNil();
        write.hash = contentHash(record);
        write.content = encodedRecord(record);
        opened.session->write({&write, 1});
        opened.session->commit();
    }

    // Two homes that have "Privat" with a dentist and a shopping list in step.
    void givenTwoHomes()
    {
        home("a").store.calendars = {calendar("Privat", {event("Zahnarzt", "20071224T100000"),
                                                         task("Einkaufen")}),
                                     calendar("Arbeit", {event("Sitzung", "20071227T090000")})};
        home("b");
        syncAll();
        syncUntilRest();
    }

    static SyncRunSummary synced(SimulatedHome& home) { return home.sync(); }
    static Dictionary& fields(SimulatedHome& home, const std::string& calendar,
                              const std::string& title)
    {
        return home.store.item(calendar, title)->fields;
    }
    static Dictionary edited(Dictionary& fields, const std::string& field, const Value& value)
    {
        fields.set(field, value);
        return fields;
    }
};

TEST_F(SyncEngineRules, Rule1_ARefusedRecordOfTheServerIsNotHandedOutAndNamedOnce)
{
    givenTwoHomes();
    auto& a = home("a");
    writeToServer("X", {{"Notes", "ohne Titel"}, {"ParentRecordKey", "C"}});
    const SyncRunSummary summary = a.sync();
    EXPECT_EQ(summary.startResult, 1);
    EXPECT_EQ(summary.refused, 1U);
    const std::string line =
        "Der Datensatz 'X' (ical-event) des Servers ist unvollständig und wird nicht übernommen";
    EXPECT_THAT(a.log, Contains(line).Times(1));
    a.sync();
    EXPECT_THAT(a.log, Contains(line).Times(1));
    EXPECT_THAT(liveOnServer(), Contains(RecordId{"ical-event", "X"}));
    Wishes full;
    full.isFull = true;
    EXPECT_TRUE(a.sync(full).settled);
    EXPECT_THAT(a.pulled, IsEmpty());
}

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

TEST_F(SyncEngineRules, Rule4_AServerThatCannotBeReachedGivesZeroAndSaysWhy)
{
    auto& a = home("a");
    a.serverUrl = "sqlite:" + folder.path("missing/server.db");
    const SyncRunSummary summary = a.sync();
    EXPECT_EQ(summary.startResult, 0);
    EXPECT_FALSE(summary.finished);
    EXPECT_THAT(summary.reasons, ElementsAre(HasSubstr("fehlt")));
    EXPECT_EQ(a.log, summary.reasons);
}

TEST_F(SyncEngineRules, Rule4_AnotherSessionOfTheDeviceGivesZeroAndSaysWhy)
{
    auto& a = home("a");
    LocalState other(a.statePath());
    ASSERT_TRUE(other.begin());
    const SyncRunSummary summary = a.sync();
    EXPECT_EQ(summary.startResult, 0);
    EXPECT_THAT(summary.reasons,
                ElementsAre("Ein anderer Abgleich dieses Geräts ist noch nicht beendet"));
}

TEST_F(SyncEngineRules, Rule4_AnAccountThatIsSwitchedOffGivesSeven)
{
    givenTwoHomes();
    syncServerWithURL(serverUrl())->setAccountEnabled("default", false);
    const SyncRunSummary summary = home("a").sync();
    EXPECT_EQ(summary.startResult, 7);
    EXPECT_THAT(summary.reasons,
                ElementsAre("Das Konto 'default' ist auf dem Sync-Server abgeschaltet"));
}

TEST_F(SyncEngineRules, Rule4_AnOlderServerIsComparedInFull)
{
    givenTwoHomes();
    const auto backup = *folder.read("server.db");
    home("a").store.calendar("Privat")->items.push_back(task("Blumen"));
    syncUntilRest();
    folder.write("server.db", backup);
    const SyncRunSummary summary = home("b").sync();
    EXPECT_EQ(summary.startResult, 6);
    EXPECT_EQ(home("b").store.count("Blumen"), 1);
    syncUntilRest();
    EXPECT_EQ(home("a").store.count("Blumen"), 1);
    expectRest();
}

TEST_F(SyncEngineRules, Rule5_AFullComparisonThatLossesHeldBackIsMadeLater)
{
    givenTwoHomes();
    auto& a = home("a");
    a.unreadable = {"Zahnarzt"};
    Wishes full;
    full.isFull = true;
    EXPECT_EQ(a.sync(full).startResult, 1);
    a.unreadable = {};
    EXPECT_EQ(a.sync().startResult, 6);
    EXPECT_EQ(a.sync().startResult, 1);
}

TEST_F(SyncEngineRules, Rule5_OnlyTheUserOverwritesTheStore)
{
    givenTwoHomes();
    auto& a = home("a");
    fields(a, "Privat", "Zahnarzt").set("Notes", "nur hier");
    a.store.calendar("Privat")->items.push_back(task("nur hier"));
    Wishes wishes;
    wishes.fromServer = true;
    EXPECT_EQ(a.sync(wishes).startResult, 3);
    EXPECT_EQ(a.store.count("nur hier"), 0);
    EXPECT_FALSE(fields(a, "Privat", "Zahnarzt").contains("Notes"));
    auto& c = home("c");
    c.store.calendars = {calendar("Anderes", {task("auch nur hier")})};
    EXPECT_EQ(c.sync(wishes).startResult, 4);
    EXPECT_EQ(c.store.calendar("Anderes"), nullptr);
    EXPECT_EQ(c.store.count("Zahnarzt"), 1);
    expectRest();
    expectEqualHomes();
}

TEST_F(SyncEngineRules, Rule6_GroupsCalendarsAndItemsComeInThisOrderAndTombstonesLast)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    SimulatedCalendar group = calendar("Haus");
    group.type = "CalendarGroup";
    SimulatedCalendar member = calendar("Garten", {task("Gießen")});
    member.group = "Haus";
    a.store.calendars.push_back(group);
    a.store.calendars.push_back(member);
    removeCalendar(a, "Arbeit");
    a.sync();
    b.sync();
    std::vector<std::string> order;
    for (const SyncRecord& record : b.pulled)
        order.push_back((record->recordType() == kRecordTypeTombstone ? "-" : "+") +
                        record->record()["Title"].string());
    EXPECT_THAT(order, ElementsAre("+Haus", "+Garten", "+Gießen", "-Sitzung", "-Arbeit"));
}

TEST_F(SyncEngineRules, Rule6_AFullPullGivesOnlyWhatDiffers)
{
    givenTwoHomes();
    auto& b = home("b");
    fields(home("a"), "Privat", "Zahnarzt").set("Location", "Praxis");
    home("a").sync();
    Wishes full;
    full.isFull = true;
    EXPECT_EQ(b.sync(full).startResult, 6);
    EXPECT_EQ(b.pulled.size(), 1U);
    b.sync(full);
    EXPECT_THAT(b.pulled, IsEmpty());
}

TEST_F(SyncEngineRules, Rule7_WhatALayoutDropsIsNoChange)
{
    auto& a = home("a");
    auto& b = home("b", Layout::tiger);
    SimulatedCalendar privat = calendar("Privat", {event("Zahnarzt", "20071224T100000")});
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
    SimulatedItem series =
        event("Chor", "20080107T190000", {{"RecurrenceRule", Dictionary{{"Frequency", "WEEKLY"}}}});
    SimulatedItem occurrence =
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
    edited(fields(a, "Privat", "Einkaufen"), "Notes", "Milch");
    edited(fields(a, "Privat", "Einkaufen"), "Sequence", "10");
    edited(fields(b, "Privat", "Einkaufen"), "Notes", "Brot");
    edited(fields(b, "Privat", "Einkaufen"), "Sequence", "9");
    edited(fields(b, "Privat", "Einkaufen"), "URL", "http://example.invalid");
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

TEST_F(SyncEngineRules, Rule12_AFirstMeetingDeletesNothingAndJoinsFields)
{
    auto& a = home("a");
    auto& b = home("b");
    a.store.calendars = {
        calendar("Privat", {event("Zahnarzt", "20071224T100000", {{"Notes", "Karte"}}),
                            event("nur a", "20071225T100000")})};
    b.store.calendars = {
        calendar("Privat", {event("Zahnarzt", "20071224T100000", {{"Location", "Praxis"}}),
                            event("nur b", "20071225T100000")})};
    syncUntilRest();
    expectEqualHomes();
    EXPECT_EQ(a.store.count("nur b"), 1);
    EXPECT_EQ(b.store.count("nur a"), 1);
    EXPECT_EQ(fields(a, "Privat", "Zahnarzt")["Notes"], Value("Karte"));
    EXPECT_EQ(fields(a, "Privat", "Zahnarzt")["Location"], Value("Praxis"));
    EXPECT_EQ(a.store.count("Zahnarzt"), 1);
    expectRest();
}

TEST_F(SyncEngineRules, Rule12_AServerReplacedByAnEmptyOneIsFilledAgain)
{
    givenTwoHomes();
    const auto before = contents(home("a"));
    folder.remove("server.db");
    EXPECT_EQ(home("a").sync().startResult, 2);
    EXPECT_EQ(contents(home("a")), before);
    EXPECT_EQ(liveOnServer().size(), 5U);
    EXPECT_EQ(home("b").sync().startResult, 6);
    EXPECT_EQ(contents(home("b")), before);
    expectRest();
}

TEST_F(SyncEngineRules, Rule12_AServerReplacedByASmallOneIsFilledAgain)
{
    givenTwoHomes();
    folder.remove("server.db");
    auto& stranger = home("stranger");
    stranger.store.calendars = {calendar("Fremd", {task("fremd")})};
    stranger.sync();
    syncUntilRest();
    expectEqualHomes();
    EXPECT_EQ(home("a").store.count("Zahnarzt"), 1);
    EXPECT_EQ(home("a").store.count("fremd"), 1);
    expectRest();
}

TEST_F(SyncEngineRules, Rule12_AServerReplacedKeepsWhatASwitchedOffCalendarHolds)
{
    givenTwoHomes();
    auto& a = home("a");
    a.switchOff("Arbeit");
    a.sync();
    folder.remove("server.db");
    a.sync();
    EXPECT_EQ(liveOnServer().size(), 3U);
    a.switchOn("Arbeit");
    syncUntilRest();
    EXPECT_EQ(liveOnServer().size(), 5U);
    EXPECT_EQ(home("b").store.count("Sitzung"), 1);
    expectRest();
}

TEST_F(SyncEngineRules, Rule12_AResetLocalStateDeletesNothing)
{
    givenTwoHomes();
    auto& a = home("a");
    const auto before = contents(a);
    removeItem(a, "Privat", "Einkaufen");
    EXPECT_TRUE(a.resetSync());
    EXPECT_EQ(a.sync().startResult, 6);
    EXPECT_EQ(contents(a), before);
    expectRest();
}

TEST_F(SyncEngineRules, Rule12_AFullComparisonStillTellsADeletionFromAnAddition)
{
    givenTwoHomes();
    auto& a = home("a");
    removeItem(a, "Privat", "Einkaufen");
    home("b").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("b").sync();
    Wishes full;
    full.isFull = true;
    EXPECT_EQ(a.sync(full).startResult, 6);
    EXPECT_EQ(a.store.count("Einkaufen"), 0);
    EXPECT_EQ(a.store.count("Blumen"), 1);
    syncUntilRest();
    EXPECT_EQ(home("b").store.count("Einkaufen"), 0);
}

TEST_F(SyncEngineRules, Rule14_NothingTakesEffectWithoutAPush)
{
    givenTwoHomes();
    auto& a = home("a");
    fields(a, "Privat", "Zahnarzt").set("Location", "Praxis");
    const auto before = folder.tree();
    EXPECT_FALSE(a.sync(broken(Break::cancelBeforePush)).finished);
    EXPECT_EQ(folder.tree(), before);
}

TEST_F(SyncEngineRules, Rule14_NothingTakesEffectWhenTheProcessIsKilledBeforeItFinishes)
{
    givenTwoHomes();
    auto& a = home("a");
    fields(a, "Privat", "Zahnarzt").set("Location", "Praxis");
    const auto before = folder.tree();
    a.sync(broken(Break::killBeforeFinish));
    EXPECT_EQ(folder.tree(), before);
    EXPECT_EQ(a.sync().sent, 1U);
}

TEST_F(SyncEngineRules, Rule14_ASessionLeftOpenIsRolledBack)
{
    givenTwoHomes();
    LocalState state(home("a").statePath());
    const auto server = syncServerWithURL(serverUrl());
    HostLossReport losses;
    SyncEngine engine(state, *server, losses, {});
    engine.beginRun({});
    EXPECT_EQ(engine.startSync(5), 1);
    EXPECT_TRUE(state.isOpen());
    const SyncRunSummary summary = engine.endRun(false);
    EXPECT_FALSE(state.isOpen());
    EXPECT_FALSE(summary.finished);
    EXPECT_FALSE(engine.finishSync());
    EXPECT_FALSE(engine.pushSyncResult({}));
    EXPECT_EQ(engine.pullRecords(), std::nullopt);
    EXPECT_EQ(engine.diffLocalStateWithLocalUpdates({}, std::nullopt, 7), std::nullopt);
    EXPECT_TRUE(home("a").sync().finished);
}

TEST_F(SyncEngineRules, Rule14_ADeletionInASwitchedOffCalendarDoesNotComeBack)
{
    givenTwoHomes();
    auto& a = home("a");
    a.switchOff("Arbeit");
    a.sync();
    removeItem(a, "Arbeit", "Sitzung");
    home("b").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("b").sync();
    a.sync();
    EXPECT_EQ(a.store.count("Blumen"), 1);
    EXPECT_EQ(a.store.count("Sitzung"), 0);
    EXPECT_EQ(home("b").store.count("Sitzung"), 1);
    a.switchOn("Arbeit");
    syncUntilRest();
    EXPECT_EQ(a.store.count("Sitzung"), 0);
    EXPECT_EQ(home("b").store.count("Sitzung"), 0);
    expectRest();
}

TEST_F(SyncEngineRules, Rule14_ASwitchedOffCalendarKeepsItsEditsAndTakesOthersOnceItIsOn)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    a.switchOff("Arbeit");
    a.sync();
    fields(a, "Arbeit", "Sitzung").set("Notes", "von a");
    a.store.calendar("Arbeit")->items.push_back(event("neu bei a", "20071228T100000"));
    fields(b, "Arbeit", "Sitzung").set("Location", "von b");
    b.store.calendar("Arbeit")->color = "#0000FF";
    b.store.calendar("Arbeit")->items.push_back(event("neu bei b", "20071228T100000"));
    b.store.calendar("Privat")->items.push_back(task("Blumen"));
    b.sync();
    for (int run = 0; run < 3; ++run)
        a.sync();
    EXPECT_EQ(a.store.count("neu bei b"), 0);
    EXPECT_EQ(a.store.count("neu bei a"), 1);
    EXPECT_EQ(a.store.count("Blumen"), 1);
    const int rewrites = a.store.rewrites();
    a.sync();
    EXPECT_EQ(a.store.rewrites(), rewrites) << "what is not taken is no reason to rewrite again";
    a.switchOn("Arbeit");
    syncUntilRest();
    expectEqualHomes();
    EXPECT_EQ(fields(b, "Arbeit", "Sitzung")["Notes"], Value("von a"));
    EXPECT_EQ(fields(a, "Arbeit", "Sitzung")["Location"], Value("von b"));
    EXPECT_EQ(b.store.count("neu bei a"), 1);
    expectRest();
}

TEST_F(SyncEngineRules, Rule14_ADeletedCalendarIsDeletedAlthoughTheThinningOutHidesIt)
{
    givenTwoHomes();
    auto& a = home("a");
    a.store.calendars.push_back(calendar("Geheim", {task("geheim")}));
    a.sync();
    a.switchOff("Geheim");
    a.sync();
    removeCalendar(a, "Arbeit");
    EXPECT_EQ(a.sync().deletedOnServer, 2U);
    home("b").sync();
    EXPECT_EQ(home("b").store.calendar("Arbeit"), nullptr);
    EXPECT_EQ(home("b").store.count("geheim"), 1);
}

TEST_F(SyncEngineRules, Rule14_WhatWasNotTakenComesAgainWhenItsCalendarIsOn)
{
    givenTwoHomes();
    auto& a = home("a");
    a.switchOff("Arbeit");
    a.sync();
    home("b").store.calendar("Arbeit")->items.push_back(event("Feier", "20071228T160000"));
    home("b").sync();
    a.sync();
    EXPECT_EQ(a.store.count("Feier"), 0);
    a.switchOn("Arbeit");
    a.sync();
    EXPECT_EQ(a.store.count("Feier"), 1);
    expectRest();
}

TEST_F(SyncEngineRules, Rule15_SettlingMakesTheStoresRecordsSeen)
{
    givenTwoHomes();
    auto& b = home("b");
    fields(home("a"), "Privat", "Zahnarzt").set("Location", "Praxis");
    home("a").sync();
    EXPECT_TRUE(b.sync().settled);
    EXPECT_EQ(b.openState().facts().mark, std::nullopt);
    const SyncRunSummary next = b.sync();
    EXPECT_EQ(next.startResult, 1);
    EXPECT_EQ(next.sent + next.received, 0U);
}

TEST_F(SyncEngineRules, Rule15_AStoreThatChangedSinceTheRewriteIsNotSettled)
{
    givenTwoHomes();
    auto& b = home("b");
    home("a").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("a").sync();
    b.beforeSettling = [&] {
        fields(b, "Privat", "Zahnarzt").set("Location", "Praxis");
        b.store.touch();
    };
    EXPECT_FALSE(b.sync().settled);
    b.beforeSettling = nullptr;
    EXPECT_EQ(b.openState().facts().mark, "2007-12-24");
    EXPECT_EQ(b.sync().startResult, 6);
    EXPECT_EQ(fields(b, "Privat", "Zahnarzt")["Location"], Value("Praxis"));
    syncUntilRest();
    EXPECT_EQ(fields(home("a"), "Privat", "Zahnarzt")["Location"], Value("Praxis"));
    expectRest();
}

TEST_F(SyncEngineRules, Rule15_SeenAndAnchorStandStillUntilARewriteIsSettled)
{
    givenTwoHomes();
    auto& b = home("b");
    home("a").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("a").sync();
    const StateFacts before = b.openState().facts();
    const std::size_t seenBefore = b.openState().seenRows().size();
    b.sync(broken(Break::killAfterFinish));
    EXPECT_EQ(b.openState().facts().anchor, before.anchor);
    EXPECT_EQ(b.openState().seenRows().size(), seenBefore);
    b.sync();
    EXPECT_GT(b.openState().facts().anchor, before.anchor);
    EXPECT_EQ(b.openState().seenRows().size(), seenBefore + 1);
}

TEST_F(SyncEngineRules, Rule15_AnEmptyStoreAfterARewriteIsNotSettled)
{
    givenTwoHomes();
    auto& b = home("b");
    home("a").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("a").sync();
    b.beforeSettling = [&] { b.store.calendars.clear(); };
    EXPECT_FALSE(b.sync().settled);
    b.beforeSettling = nullptr;
    b.sync();
    EXPECT_EQ(b.store.count("Zahnarzt"), 1);
    EXPECT_EQ(b.store.count("Blumen"), 1);
    expectRest();
}

TEST_F(SyncEngineRules, Rule17_AnEmptiedStoreDeletesNothingUnlessTheUserSaysSo)
{
    givenTwoHomes();
    auto& a = home("a");
    const auto all = a.store.calendars;
    a.store.calendars.clear();
    const SyncRunSummary summary = a.sync();
    EXPECT_FALSE(summary.finished);
    EXPECT_THAT(summary.reasons, ElementsAre(HasSubstr("--allow-mass-delete")));
    EXPECT_EQ(liveOnServer().size(), 5U);
    Wishes wishes;
    wishes.allowMassDelete = true;
    EXPECT_EQ(a.sync(wishes).deletedOnServer, 5U);
    EXPECT_THAT(liveOnServer(), IsEmpty());
}

TEST_F(SyncEngineRules, Rule18_LossesHoldARun)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    b.store.calendar("Privat")->items.push_back(task("Blumen"));
    b.sync();
    a.unreadable = {"Arbeit", "Einkaufen"};
    a.store.calendar("Privat")->items.push_back(task("Geschenke"));
    const SyncRunSummary summary = a.sync();
    EXPECT_EQ(summary.startResult, 1);
    EXPECT_TRUE(summary.held);
    EXPECT_EQ(summary.losses.size(), 2U);
    EXPECT_EQ(summary.sent, 1U);
    EXPECT_EQ(summary.received, 0U);
    EXPECT_EQ(summary.deletedOnServer, 0U);
    EXPECT_THAT(a.pulled, IsEmpty());
    EXPECT_THAT(a.log,
                Contains("Es konnte nicht alles gelesen werden; bis das behoben ist, gehen nur "
                         "lokale Änderungen zum Server"));
    EXPECT_EQ(a.store.count("Blumen"), 0);
    a.unreadable = {};
    syncUntilRest();
    expectEqualHomes();
    for (const char* title : {"Blumen", "Geschenke", "Sitzung", "Einkaufen"})
        EXPECT_EQ(a.store.count(title), 1) << title;
    expectRest();
}

TEST_F(SyncEngineRules, Rule18_AHeldRunSendsAnEditTogetherWithWhatTheServerHas)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    fields(b, "Privat", "Zahnarzt").set("Location", "Praxis");
    b.sync();
    a.unreadable = {"Einkaufen"};
    fields(a, "Privat", "Zahnarzt").set("Notes", "Karte");
    a.sync();
    EXPECT_FALSE(fields(a, "Privat", "Zahnarzt").contains("Location"));
    b.sync();
    EXPECT_EQ(fields(b, "Privat", "Zahnarzt")["Location"], Value("Praxis"));
    EXPECT_EQ(fields(b, "Privat", "Zahnarzt")["Notes"], Value("Karte"));
    a.unreadable = {};
    syncUntilRest();
    EXPECT_EQ(fields(a, "Privat", "Zahnarzt")["Location"], Value("Praxis"));
    expectRest();
}

TEST_F(SyncEngineRules, Rule18_AcceptedLossesAreWrittenBackFromWhatIsAgreed)
{
    givenTwoHomes();
    auto& a = home("a");
    home("b").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("b").sync();
    a.unreadable = {"Zahnarzt"};
    removeItem(a, "Privat", "Zahnarzt");  // its file is damaged, nobody deleted it
    a.store.calendar("Privat")->items.push_back(event("Zahnarzt", "19700101T000000"));
    Wishes wishes;
    wishes.acceptLosses = true;
    a.beforeSettling = [&] { a.unreadable = {}; };
    const SyncRunSummary summary = a.sync(wishes);
    EXPECT_EQ(summary.startResult, 5);
    EXPECT_EQ(summary.deletedOnServer, 0U);
    EXPECT_EQ(a.store.count("Zahnarzt"), 1);
    EXPECT_EQ(a.store.count("Blumen"), 1);
    EXPECT_EQ(fields(a, "Privat", "Zahnarzt")["StartDate"], Value(date("20071224T100000")));
    expectRest();
}

TEST_F(SyncEngineRules, Rule18_WhatIsDeletedBesidesALossIsDeletedOnceTheLossIsMended)
{
    givenTwoHomes();
    auto& a = home("a");
    a.unreadable = {"Zahnarzt"};
    removeItem(a, "Privat", "Einkaufen");
    EXPECT_EQ(a.sync().deletedOnServer, 0U);
    a.unreadable = {};
    EXPECT_EQ(a.sync().deletedOnServer, 1U);
    home("b").sync();
    EXPECT_EQ(home("b").store.count("Einkaufen"), 0);
    EXPECT_EQ(home("b").store.count("Zahnarzt"), 1);
}

TEST_F(SyncEngineRules, Rule18_LossesDoNotHoldWhileAMarkStands)
{
    givenTwoHomes();
    auto& b = home("b");
    home("a").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("a").sync();
    b.sync(broken(Break::killInRewrite));
    b.unreadable = {"Zahnarzt"};
    const SyncRunSummary summary = b.sync();
    EXPECT_EQ(summary.startResult, 6);
    EXPECT_EQ(summary.deletedOnServer, 0U);
    EXPECT_EQ(b.store.count("Zahnarzt"), 1);
}

TEST_F(SyncEngineRules, TheMarkCarriesTheFirstBackupOfARowOfUnsettledRewrites)
{
    givenTwoHomes();
    auto& b = home("b");
    home("a").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("a").sync();
    b.sync(broken(Break::killAfterFinish));
    LocalState state(b.statePath());
    StateFacts facts = state.facts();
    EXPECT_EQ(facts.mark, "2007-12-24");
    facts.mark = "2007-12-23";
    state.setFacts(facts);
    b.sync(broken(Break::killAfterFinish));
    const auto server = syncServerWithURL(serverUrl());
    HostLossReport losses;
    EXPECT_EQ(SyncEngine(state, *server, losses, {}).markedBackup(), "2007-12-23");
    b.sync();
    EXPECT_EQ(SyncEngine(state, *server, losses, {}).markedBackup(), std::nullopt);
}

TEST_F(SyncEngineRules, ADryRunCountsAndChangesNothing)
{
    givenTwoHomes();
    auto& b = home("b");
    home("a").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("a").sync();
    fields(b, "Privat", "Zahnarzt").set("Location", "Praxis");
    removeItem(b, "Privat", "Einkaufen");
    const auto before = folder.tree();
    const int rewrites = b.store.rewrites();
    Wishes wishes;
    wishes.dryRun = true;
    const SyncRunSummary summary = b.sync(wishes);
    EXPECT_EQ(summary.startResult, 5);
    EXPECT_EQ(summary.sent, 1U);
    EXPECT_EQ(summary.received, 1U);
    EXPECT_EQ(summary.deletedOnServer, 1U);
    EXPECT_FALSE(summary.needsSettling);
    EXPECT_TRUE(b.doSyncResult);
    EXPECT_EQ(folder.tree(), before);
    EXPECT_EQ(b.store.rewrites(), rewrites);
}

TEST_F(SyncEngineRules, ADryRunOfAHomeThatNeverSyncedMakesNoFile)
{
    auto& a = home("a");
    a.store.calendars = {calendar("Privat", {task("Einkaufen")})};
    Wishes wishes;
    wishes.dryRun = true;
    const SyncRunSummary summary = a.sync(wishes);
    EXPECT_EQ(summary.startResult, 2);
    EXPECT_EQ(summary.sent, 2U);
    EXPECT_THAT(folder.tree(), IsEmpty());
}

TEST_F(SyncEngineRules, AListThatIsNotAskedForIsEmpty)
{
    givenTwoHomes();
    LocalState state(home("a").statePath());
    const auto server = syncServerWithURL(serverUrl());
    HostLossReport losses;
    SyncEngine engine(state, *server, losses, {});
    engine.beginRun({});
    engine.startSync(5);
    const auto deletions = engine.diffLocalStateWithLocalUpdates({}, SyncRecordList{}, 4);
    ASSERT_TRUE(deletions);
    ASSERT_EQ(deletions->size(), 3U);
    EXPECT_EQ((*deletions)[2].size(), 5U);
    for (const SyncRecord& record : (*deletions)[2])
        EXPECT_EQ(record->recordType(), kRecordTypeTombstone);
    const auto additions = engine.diffLocalStateWithLocalUpdates({}, SyncRecordList{}, 1);
    EXPECT_THAT((*additions)[2], IsEmpty());
}

TEST_F(SyncEngineRules, AResetKeepsDeviceAndWhatAMarkNeeds)
{
    givenTwoHomes();
    auto& b = home("b");
    const std::string device = b.openState().deviceId();
    b.switchOff("Arbeit");
    b.sync(broken(Break::killAfterFinish));
    EXPECT_TRUE(b.resetSync());
    EXPECT_EQ(b.openState().deviceId(), device);
    EXPECT_EQ(b.openState().facts().mark, "2007-12-24");
    EXPECT_EQ(b.openState().keptRows().size(), 2U);
    EXPECT_THAT(b.openState().agreedRows(), IsEmpty());
    b.sync();
    EXPECT_TRUE(b.resetSync());
    EXPECT_THAT(b.openState().keptRows(), IsEmpty());
}

}  // namespace
}  // namespace kt::test
