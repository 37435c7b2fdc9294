#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

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
