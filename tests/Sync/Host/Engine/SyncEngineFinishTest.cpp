#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

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
    HostReports reports;
    SyncEngine engine(state, *server, reports, {});
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

// A rewrite would write everything but this.
TEST_F(SyncEngineRules, Rule14_WhatOnlyTheStoreHasAndNobodyTookEndsTheSession)
{
    givenTwoHomes();
    fields(home("b"), "Privat", "Zahnarzt").set("Location", "Praxis");
    home("b").sync();
    LocalState state(home("a").statePath());
    const auto server = syncServerWithURL(serverUrl());
    HostReports reports;
    SyncEngine engine(state, *server, reports, {});
    engine.beginRun({});
    ASSERT_EQ(engine.startSync(5), 5);
    const auto remote = engine.pullRecords();
    SyncRecordList loaded;
    const auto agreed = engine.getLocalState();
    for (const auto& [key, record] : *agreed)
        loaded.push_back(record);
    const std::string calendar = *loaded.back()->recordParentKey();
    loaded.push_back(std::make_shared<HostSyncRecord>(
        kRecordTypeRecord,
        Dictionary{{"Title", "Nur hier"}, {"Completed", "0"}, {"ParentRecordKey", calendar}},
        "nur-hier", calendar, std::string(kConduitTask)));
    auto result = engine.diffLocalStateWithLocalUpdates(loaded, remote, 7);
    ASSERT_EQ((*result)[0].size(), 1U);
    (*result)[0].clear();
    EXPECT_TRUE(engine.pushSyncResult(*result));
    EXPECT_FALSE(engine.finishSync());
    EXPECT_THAT(engine.endRun(false).reasons, ElementsAre(HasSubstr("'Nur hier' steht nur")));
    EXPECT_TRUE(home("a").sync().finished);
}

TEST_F(SyncEngineRules, Rule14_ASessionThatPushedNothingEndsWellAndWithoutEffect)
{
    givenTwoHomes();
    LocalState state(home("a").statePath());
    const auto server = syncServerWithURL(serverUrl());
    HostReports reports;
    SyncEngine engine(state, *server, reports, {});
    engine.beginRun({});
    EXPECT_EQ(engine.startSync(5), 1);
    EXPECT_TRUE(engine.finishSync());
    EXPECT_FALSE(state.isOpen());
    EXPECT_FALSE(engine.endRun(true).finished);
}

// What a plug-in that writes carefully leaves as it stands, or changes no more than it must.
TEST_F(SyncEngineRules, Rule16_WhatIsHandedOutIsKnownAsWhatTheStoreGave)
{
    givenTwoHomes();
    fields(home("b"), "Privat", "Zahnarzt").set("Location", "Praxis");
    home("b").sync();
    LocalState state(home("a").statePath());
    const auto server = syncServerWithURL(serverUrl());
    HostReports reports;
    SyncEngine engine(state, *server, reports, {});
    engine.beginRun({});
    ASSERT_EQ(engine.startSync(5), 5);
    const auto remote = engine.pullRecords();
    std::map<std::string, SyncRecord> loaded;
    SyncRecordList records;
    const auto agreed = engine.getLocalState();
    for (const auto& [key, record] : *agreed) {
        loaded[std::string(record->record()["Title"].string())] = record;
        records.push_back(record);
    }
    const auto result = engine.diffLocalStateWithLocalUpdates(records, remote, 7);
    EXPECT_TRUE(engine.pushSyncResult(*result));
    EXPECT_TRUE(engine.finishSync());
    std::map<std::string, SyncRecord> handed;
    const auto written = engine.getLocalState();
    for (const auto& [key, record] : *written)
        handed[std::string(record->record()["Title"].string())] = record;
    EXPECT_EQ(handed["Einkaufen"], loaded["Einkaufen"]);
    EXPECT_NE(handed["Zahnarzt"], loaded["Zahnarzt"]);
    for (const char* title : {"Zahnarzt", "Privat"})
        EXPECT_EQ(reports.carefulWriting.storedRecordOf(*handed[title]), loaded[title].get());
    engine.endRun(false);
}

TEST_F(SyncEngineRules, Rule24_AHostMayLeaveSwitchesAlone)
{
    givenTwoHomes();
    auto& a = home("a");
    SyncRunOptions options;
    options.home = a.store.home();
    options.switches[a.store.calendar("Arbeit")->recordKey()] = false;
    a.switchOff("Arbeit");
    a.sync();
    a.store.calendar("Arbeit")->title = "Dienst";
    LocalState state(a.statePath());
    const auto server = syncServerWithURL(serverUrl());
    HostReports reports;
    SyncEngine engine(state, *server, reports, {});
    engine.beginRun(options);
    SyncRecordList records;
    a.writeStore();
    for (const HomeCalendar& each : a.calendarsAsRead()) {
        records.push_back(std::make_shared<HostSyncRecord>(kRecordTypeRecord, each.stored->record,
                                                           each.recordKey(), std::nullopt,
                                                           std::string(kConduitCalendar)));
        reports.identities.reportIdentity(records.back(), {"", "", "", each.stored->folder});
    }
    ASSERT_EQ(engine.startSync(5), 1);
    const auto result = engine.diffLocalStateWithLocalUpdates(records, std::nullopt, 7);
    EXPECT_TRUE(engine.pushSyncResult(*result));
    engine.updateLocalStateWithUpdates({});
    EXPECT_TRUE(engine.finishSync());
    EXPECT_THAT(engine.endRun(true).reasons, IsEmpty());
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

TEST_F(SyncEngineRules, Rule17_ManyDeletionsThatAreLessThanHalfAreMade)
{
    auto& a = home("a");
    a.store.calendars = {calendar("Privat")};
    for (int number = 0; number < 30; ++number)
        a.store.calendars.front().items.push_back(task("Aufgabe " + std::to_string(number)));
    a.sync();
    a.store.calendars.front().items.resize(18);
    EXPECT_EQ(a.sync().deletedOnServer, 12U);
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

}  // namespace
}  // namespace kt::test
