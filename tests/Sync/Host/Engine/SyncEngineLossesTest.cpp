#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

using testing::Contains;
using testing::IsEmpty;

TEST_F(SyncEngineRules, Rule18_UnsafeTextsHoldARun)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    b.store.calendar("Privat")->items.push_back(task("Blumen"));
    b.sync();
    a.unsafe = {"Arbeit", "Privat"};
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
                Contains("Nicht alles in den Kalendern bliebe beim Schreiben erhalten; bis das "
                         "behoben ist, gehen nur lokale Änderungen zum Server"));
    EXPECT_EQ(a.store.count("Blumen"), 0);
    a.unsafe = {};
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
    a.unsafe = {"Privat"};
    fields(a, "Privat", "Zahnarzt").set("Notes", "Karte");
    a.sync();
    EXPECT_FALSE(fields(a, "Privat", "Zahnarzt").contains("Location"));
    b.sync();
    EXPECT_EQ(fields(b, "Privat", "Zahnarzt")["Location"], Value("Praxis"));
    EXPECT_EQ(fields(b, "Privat", "Zahnarzt")["Notes"], Value("Karte"));
    a.unsafe = {};
    syncUntilRest();
    EXPECT_EQ(fields(a, "Privat", "Zahnarzt")["Location"], Value("Praxis"));
    expectRest();
}

TEST_F(SyncEngineRules, Rule18_WhatIsDeletedBesidesALossIsDeletedOnceTheLossIsMended)
{
    givenTwoHomes();
    auto& a = home("a");
    a.unsafe = {"Privat"};
    removeItem(a, "Privat", "Einkaufen");
    EXPECT_EQ(a.sync().deletedOnServer, 0U);
    a.unsafe = {};
    EXPECT_EQ(a.sync().deletedOnServer, 1U);
    home("b").sync();
    EXPECT_EQ(home("b").store.count("Einkaufen"), 0);
    EXPECT_EQ(home("b").store.count("Zahnarzt"), 1);
}

TEST_F(SyncEngineRules, Rule18_AHeldFirstMeetingIsAMeeting)
{
    auto& a = home("a");
    auto& b = home("b");
    a.store.calendars = b.store.calendars = {
        calendar("Privat", {event("Zahnarzt", "20071224T100000"), task("Einkaufen")})};
    a.sync();
    b.unsafe = {"Privat"};
    EXPECT_TRUE(b.sync().held);
    removeItem(a, "Privat", "Zahnarzt");
    EXPECT_EQ(a.sync().deletedOnServer, 1U);
    // A device that goes on being held does not send up again what it has in common with others.
    EXPECT_EQ(b.sync().sent, 0U);
    EXPECT_EQ(liveOnServer().size(), 2U);
    b.unsafe = {};
    EXPECT_EQ(b.sync().startResult, 6) << "of everything else nothing was compared yet";
    EXPECT_EQ(b.store.count("Zahnarzt"), 0);
    expectRest();
    expectEqualHomes();
}

TEST_F(SyncEngineRules, Rule18_UnsafeTextsDoNotHoldWhileAMarkStands)
{
    givenTwoHomes();
    auto& b = home("b");
    home("a").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("a").sync();
    b.sync(broken(Break::killInRewrite));
    b.unsafe = {"Privat"};
    const SyncRunSummary summary = b.sync();
    EXPECT_EQ(summary.startResult, 6);
    EXPECT_EQ(summary.deletedOnServer, 0U);
    EXPECT_EQ(b.store.count("Zahnarzt"), 1);
}

TEST_F(SyncEngineRules, Rule18_TheUserCanGoOnWithUnsafeTextsAndNothingMissingIsDeleted)
{
    givenTwoHomes();
    auto& a = home("a");
    home("b").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("b").sync();
    a.unsafe = {"Arbeit"};
    Wishes wishes;
    wishes.acceptLosses = true;
    a.beforeSettling = [&] { a.unsafe = {}; };
    const SyncRunSummary summary = a.sync(wishes);
    EXPECT_FALSE(summary.held);
    EXPECT_TRUE(summary.settled);
    EXPECT_EQ(summary.deletedOnServer, 0U);
    EXPECT_EQ(a.store.count("Sitzung"), 1);
    EXPECT_EQ(a.store.count("Blumen"), 1);
    expectRest();
}

TEST_F(SyncEngineRules, Rule18_WhatIsThinnedOrCurtailedHoldsNothing)
{
    givenTwoHomes();
    auto& a = home("a");
    home("b").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("b").sync();
    KTLoss thinned{"Privat", "/home/a.ics", "Parameter abgeschnitten"};
    thinned.kind = KTLoss::Kind::thinned;
    KTLoss curtailed{"Privat", "/home/b.ics", "mehrere Werte"};
    curtailed.kind = KTLoss::Kind::curtailed;
    a.furtherLosses = {thinned, curtailed};
    const SyncRunSummary summary = a.sync();
    EXPECT_EQ(summary.startResult, 5);
    EXPECT_FALSE(summary.held);
    EXPECT_TRUE(summary.settled);
    EXPECT_EQ(a.store.count("Blumen"), 1);
    removeItem(a, "Privat", "Blumen");
    EXPECT_EQ(a.sync().deletedOnServer, 1U);
}

}  // namespace
}  // namespace kt::test
