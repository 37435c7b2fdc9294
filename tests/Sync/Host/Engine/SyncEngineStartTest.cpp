#include <string>
#include <vector>

#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

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
    a.unsafe = {"Privat"};
    EXPECT_EQ(a.sync(full()).startResult, 1);
    a.unsafe = {};
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

TEST_F(SyncEngineRules, Rule5_AServerThatHoldsNothingOverwritesNoStore)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& c = home("c");
    c.store.calendars = {calendar("Anderes", {task("nur hier")})};
    Wishes wishes;
    wishes.fromServer = true;
    for (MemoryHome* each : {&a, &c}) {
        each->serverUrl = "sqlite:" + folder.path("vertippt.db");
        const auto before = contents(*each);
        for (const bool isDry : {true, false}) {
            wishes.dryRun = isDry;
            const SyncRunSummary summary = each->sync(wishes);
            EXPECT_EQ(summary.startResult, 0);
            EXPECT_FALSE(summary.finished);
            EXPECT_THAT(summary.reasons,
                        ElementsAre(testing::HasSubstr("Der Server enthält nichts")));
        }
        EXPECT_EQ(contents(*each), before);
        EXPECT_EQ(each->store.rewrites(), 0);
    }
}

TEST_F(SyncEngineRules, Rule17_OverwritingTheStoreCountsWhatItWouldLose)
{
    givenTwoHomes();
    auto& c = home("c");
    c.store.calendars = {calendar("Anderes")};
    for (int number = 0; number < 12; ++number)
        c.store.calendars.front().items.push_back(task("nur hier " + std::to_string(number)));
    Wishes wishes;
    wishes.fromServer = true;
    wishes.dryRun = true;
    EXPECT_FALSE(c.sync(wishes).finished);
    wishes.dryRun = false;
    const SyncRunSummary refused = c.sync(wishes);
    EXPECT_FALSE(refused.finished);
    EXPECT_THAT(refused.reasons, ElementsAre(testing::HasSubstr("13 von 13 Datensätzen dieses")));
    EXPECT_EQ(c.store.calendar("Anderes")->items.size(), 12U);
    wishes.allowMassDelete = true;
    wishes.dryRun = true;
    const SyncRunSummary listed = c.sync(wishes);
    EXPECT_EQ(listed.deletedHere, 13U);
    EXPECT_EQ(listed.deletedOnServer, 0U);
    wishes.dryRun = false;
    EXPECT_TRUE(c.sync(wishes).settled);
    EXPECT_EQ(c.store.calendar("Anderes"), nullptr);
    expectRest();
    expectEqualHomes();
}

TEST_F(SyncEngineRules, Rule6_GroupsCalendarsAndItemsComeInThisOrderAndTombstonesLast)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    HomeCalendar group = calendar("Haus");
    group.type = "CalendarGroup";
    HomeCalendar member = calendar("Garten", {task("Gießen")});
    member.group = "Haus";
    a.store.calendars.push_back(group);
    a.store.calendars.push_back(member);
    removeCalendar(a, "Arbeit");
    a.sync();
    b.sync();
    std::vector<std::string> order;
    for (const SyncRecord& record : b.pulled)
        order.push_back((record->recordType() == kRecordTypeTombstone ? "-" : "+") +
                        std::string(record->record()["Title"].string()));
    EXPECT_THAT(order, ElementsAre("+Haus", "+Garten", "+Gießen", "-Sitzung", "-Arbeit"));
}

TEST_F(SyncEngineRules, Rule6_AFullPullGivesOnlyWhatDiffers)
{
    givenTwoHomes();
    auto& b = home("b");
    fields(home("a"), "Privat", "Zahnarzt").set("Location", "Praxis");
    home("a").sync();
    EXPECT_EQ(b.sync(full()).startResult, 6);
    EXPECT_EQ(b.pulled.size(), 1U);
    b.sync(full());
    EXPECT_THAT(b.pulled, IsEmpty());
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
    HostReports reports;
    SyncEngine engine(state, *server, reports, {});
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
