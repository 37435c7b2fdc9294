#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

using testing::ElementsAre;

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
    b.beforeSettling = [&] { fields(b, "Privat", "Zahnarzt").set("Location", "Praxis"); };
    EXPECT_FALSE(b.sync().settled);
    b.beforeSettling = nullptr;
    EXPECT_EQ(b.openState().facts().mark, "2007-12-24");
    EXPECT_EQ(b.sync().startResult, 6);
    EXPECT_EQ(fields(b, "Privat", "Zahnarzt")["Location"], Value("Praxis"));
    syncUntilRest();
    EXPECT_EQ(fields(home("a"), "Privat", "Zahnarzt")["Location"], Value("Praxis"));
    expectRest();
}

TEST_F(SyncEngineRules, Rule15_AStateThatSomebodyElseWroteIsNotTakenForWhatItWas)
{
    givenTwoHomes();
    auto& b = home("b");
    fields(home("a"), "Privat", "Zahnarzt").set("Location", "Praxis");
    home("a").sync();
    const std::size_t before = b.openState().seenRows().size();
    b.beforeSettling = [&] {
        LocalState other = b.openState();
        for (const SeenRow& row : other.seenRows()) {
            if (row.local.conduit == kConduitTask)
                other.removeSeen(row);
        }
    };
    EXPECT_TRUE(b.sync().settled);
    b.beforeSettling = nullptr;
    EXPECT_EQ(b.openState().seenRows().size(), before);
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

TEST_F(SyncEngineRules, Rule15_WhatDoesNotComeBackKeepsTheMarkAndIsNamed)
{
    givenTwoHomes();
    auto& b = home("b");
    home("a").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("a").sync();
    b.full = {"Zahnarzt", "Arbeit"};
    for (int run = 0; run < 2; ++run) {
        const SyncRunSummary summary = b.sync();
        EXPECT_EQ(summary.settlement, Settlement::unproved);
        EXPECT_THAT(summary.unproved,
                    ElementsAre("Kalender 'Arbeit'", "'Zahnarzt' (Kalender 'Privat')"));
        EXPECT_NE(b.openState().facts().mark, std::nullopt);
    }
    b.full = {};
    EXPECT_TRUE(b.sync().settled);
    for (const char* title : {"Zahnarzt", "Sitzung", "Blumen", "Einkaufen"})
        EXPECT_EQ(b.store.count(title), 1) << title;
    EXPECT_EQ(liveOnServer().size(), 6U);
    expectRest();
}

TEST_F(SyncEngineRules, Rule15_AComplaintOfTheRewriteOutlivesTheSettlingRun)
{
    givenTwoHomes();
    auto& b = home("b");
    home("a").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("a").sync();
    KTLoss unwritten{"Privat", "/home/a.ics", "Kein Platz"};
    unwritten.kind = KTLoss::Kind::unwritten;
    b.lossesOfRewrite = {unwritten};
    EXPECT_EQ(b.sync().settlement, Settlement::unproved);
    EXPECT_NE(b.openState().facts().mark, std::nullopt);
    b.lossesOfRewrite.clear();
    EXPECT_TRUE(b.sync().settled);
    expectRest();
}

TEST_F(SyncEngineRules, Rule15_WhatASwitchedOffCalendarDoesNotGiveBackIsNotDeletedWhenItIsOnAgain)
{
    givenTwoHomes();
    auto& b = home("b");
    b.switchOff("Arbeit");
    b.sync();
    home("a").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("a").sync();
    b.full = {"Sitzung"};
    EXPECT_THAT(b.sync().unproved, ElementsAre("'Sitzung' (Kalender 'Arbeit')"));
    b.full = {};
    b.switchOn("Arbeit");
    syncUntilRest();
    EXPECT_EQ(home("a").store.count("Sitzung"), 1);
    EXPECT_EQ(b.store.count("Sitzung"), 1);
    expectRest();
}

TEST_F(SyncEngineRules, Rule15_AStateThatCannotBeWrittenIsSaidAndTheNextRunSettles)
{
    givenTwoHomes();
    auto& b = home("b");
    home("a").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("a").sync();
    // The first access of the settling run that fails after it has found all to be there.
    bool wasNotStored = false;
    for (int access = 0; access < 200 && !wasNotStored; ++access) {
        b.beforeSettling = [&] { FailingSqlite::failAt(access); };
        const SyncRunSummary summary = b.sync();
        const bool hasFailed = FailingSqlite::hasFailed();
        FailingSqlite::failAt(-1);
        wasNotStored = summary.settlement == Settlement::notStored;
        if (hasFailed) {
            EXPECT_FALSE(summary.settled);
        }
        if (wasNotStored) {
            EXPECT_NE(b.openState().facts().mark, std::nullopt);
        } else if (summary.settled) {
            home("a").store.calendar("Privat")->items.push_back(
                task("Blumen " + std::to_string(access)));
            home("a").sync();
        }
    }
    EXPECT_TRUE(wasNotStored);
    b.beforeSettling = nullptr;
    EXPECT_TRUE(b.sync().settled);
    expectRest();
}

TEST_F(SyncEngineRules, Rule15_WhatCanBeReadOnlyAfterTheRewriteIsNewAndGoesUp)
{
    givenTwoHomes(Layout::leopard);
    auto& a = home("a");
    auto& b = home("b");
    b.unreadable = {"Zweitling"};
    b.store.calendar("Privat")->items.push_back(task("Zweitling"));
    syncUntilRest();
    fields(a, "Privat", "Einkaufen").set("Notes", "Milch");
    a.sync();
    b.beforeSettling = [&] { b.unreadable.clear(); };
    EXPECT_TRUE(b.sync().settled);
    b.beforeSettling = nullptr;
    fields(a, "Privat", "Einkaufen").set("Notes", "Brot");
    a.sync();
    EXPECT_EQ(b.sync().sent, 1U);
    EXPECT_EQ(b.store.count("Zweitling"), 1);
    a.sync();
    EXPECT_EQ(a.store.count("Zweitling"), 1);
    expectRest();
}

// Of what a rewrite brought and nobody missed. As long as it is remembered, the same is not new.
class WhatWasNobodys : public SyncEngineRules {
protected:
    void SetUp() override
    {
        givenTwoHomes();
        HomeItem unread = task("Zweitling");
        unread.isBroken = true;
        b.store.calendar("Privat")->items.push_back(unread);
        syncUntilRest();
    }
    // In a file of the home's.
    void see(const std::string& calendarTitle, const std::string& file)
    {
        SeenRow row;
        row.local = {std::string(kConduitTask), "niemandes"};
        row.localParentKey = b.store.calendar(calendarTitle)->recordKey();
        row.place = {"uid", file, ""};
        b.openState().addSeen(row, {{"Title", "niemandes"}});
    }
    bool isStillSeenAfterARewrite()
    {
        const std::size_t before = b.openState().seenRows().size();
        fields(home("a"), "Privat", "Einkaufen").set("Notes", "Milch");
        home("a").sync();
        EXPECT_TRUE(b.sync().settled);
        return b.openState().seenRows().size() == before;
    }

    MemoryHome& b = home("b");
};

TEST_F(WhatWasNobodys, Rule15_IsForgottenWhereItIsGoneWhateverElseIsUnread)
{
    see("Arbeit", "Arbeit/Tasks/niemandes.ics");
    EXPECT_FALSE(isStillSeenAfterARewrite());
}

TEST_F(WhatWasNobodys, Rule15_IsRememberedWhereItCannotBeRead)
{
    const std::string file = b.store.item("Privat", "Zweitling")->stored->path;
    see("Privat", file.substr(b.store.home().size() + 1));
    EXPECT_TRUE(isStillSeenAfterARewrite());
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
    HostReports reports;
    EXPECT_EQ(SyncEngine(state, *server, reports, {}).markedBackup(), "2007-12-23");
    b.sync();
    EXPECT_EQ(SyncEngine(state, *server, reports, {}).markedBackup(), std::nullopt);
}

}  // namespace
}  // namespace kt::test
