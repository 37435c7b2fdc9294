#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

using testing::Contains;
using testing::IsEmpty;

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

TEST_F(SyncEngineRules, Rule18_AHeldFirstMeetingIsAMeeting)
{
    auto& a = home("a");
    auto& b = home("b");
    a.store.calendars = b.store.calendars = {
        calendar("Privat", {event("Zahnarzt", "20071224T100000"), task("Einkaufen")})};
    a.sync();
    b.unreadable = {"Einkaufen"};
    EXPECT_TRUE(b.sync().held);
    removeItem(a, "Privat", "Zahnarzt");
    EXPECT_EQ(a.sync().deletedOnServer, 1U);
    // A device that goes on being held does not send up again what it has in common with others.
    EXPECT_EQ(b.sync().sent, 0U);
    EXPECT_EQ(liveOnServer().size(), 2U);
    b.unreadable = {};
    EXPECT_EQ(b.sync().startResult, 6) << "of everything else nothing was compared yet";
    EXPECT_EQ(b.store.count("Zahnarzt"), 0);
    expectRest();
    expectEqualHomes();
}

TEST_F(SyncEngineRules, Rule18_ATaskThatWasUnreadAtTheFirstMeetingIsNotDoubled)
{
    auto& a = home("a");
    auto& b = home("b");
    a.store.calendars = {calendar("Privat", {task("Einkaufen", {{"Notes", "Milch"}})})};
    b.store.calendars = {
        calendar("Privat", {task("Einkaufen", {{"URL", "http://example.invalid"}})})};
    a.sync();
    b.unreadable = {"Einkaufen"};
    b.sync();
    b.unreadable = {};
    syncUntilRest();
    EXPECT_EQ(a.store.count("Einkaufen"), 1);
    EXPECT_EQ(fields(b, "Privat", "Einkaufen")["Notes"], Value("Milch"));
    expectEqualHomes();
    expectRest();
}

TEST_F(SyncEngineRules, Rule18_WhatTheRewrittenStoreCannotGiveBackIsNotDeletedAndComesAgain)
{
    givenTwoHomes();
    auto& b = home("b");
    home("a").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("a").sync();
    b.beforeSettling = [&] { b.unreadable = {"Blumen"}; };
    EXPECT_TRUE(b.sync().settled);
    b.beforeSettling = nullptr;
    // As long as it cannot be read the device is at rest.
    const int rewrites = b.store.rewrites();
    EXPECT_TRUE(b.sync().held);
    EXPECT_TRUE(b.sync().held);
    EXPECT_EQ(b.store.rewrites(), rewrites);
    // The user throws the damaged file away.
    removeItem(b, "Privat", "Blumen");
    b.unreadable = {};
    EXPECT_EQ(b.sync().startResult, 6);
    EXPECT_EQ(b.store.count("Blumen"), 1);
    EXPECT_EQ(home("a").store.count("Blumen"), 1);
    expectRest();
}

TEST_F(SyncEngineRules, Rule18_AnUnreadSwitchedOffCalendarKeepsItsDeletionsOverASettlingRun)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    b.switchOff("Arbeit");
    b.sync();
    removeItem(b, "Arbeit", "Sitzung");
    a.store.calendar("Privat")->items.push_back(task("Blumen"));
    a.sync();
    b.beforeSettling = [&] { b.unreadable = {"Arbeit"}; };
    b.sync();
    b.beforeSettling = nullptr;
    b.unreadable = {};
    b.switchOn("Arbeit");
    syncUntilRest();
    EXPECT_EQ(a.store.count("Sitzung"), 0);
    EXPECT_EQ(b.store.count("Sitzung"), 0);
    expectRest();
}

}  // namespace
}  // namespace kt::test
