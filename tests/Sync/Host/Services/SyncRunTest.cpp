#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Sync/Host/Server/SyncServer.h"
#include "Sync/Host/Services/SyncRun.h"
#include "tests/Sync/Host/Services/SyncRunFixture.h"
#include "tests/support/ArchiveContents.h"

namespace kt {
namespace {

namespace fs = std::filesystem;
using test::ScriptedPlugin;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;
using testing::Not;
using testing::SizeIs;

/// A device on a server; its store is one file a calendar, named after it.
class SyncRunTest : public test::SyncRunFixture {
protected:
    SyncRunTest()
    {
        plugin.files = {kit.home.path("Library/Calendars")};
        plugin.load = [this] { return loadStore(); };
        plugin.rewrite = [this](const SyncRecordMap& records) { return rewriteStore(records); };
        kit.home.write("Library/Calendars/Privat", "Privat");
    }
    SyncRecordList loadStore() const
    {
        SyncRecordList records;
        for (const auto& [name, bytes] : kit.home.tree())
            if (name.starts_with("Library/Calendars/") && !name.ends_with("/"))
                records.push_back(calendar(fs::path(name).filename()));
        return records;
    }
    bool rewriteStore(const SyncRecordMap& records) const
    {
        kit.home.remove("Library/Calendars");
        for (const auto& [key, record] : records)
            kit.home.write("Library/Calendars/" + key, key);
        return true;
    }
    std::vector<std::string> store() const
    {
        std::vector<std::string> names;
        for (const SyncRecord& record : loadStore())
            names.push_back(record->recordKey());
        return names;
    }
};

TEST_F(SyncRunTest, ADisabledPluginIsAskedAndNothingElseHappens)
{
    plugin.isOn = false;
    const auto before = kit.home.tree();
    const SyncRunResult result = run();
    EXPECT_FALSE(result.isCompleted);
    EXPECT_EQ(result.status, "ausgeschaltet");
    EXPECT_EQ(kit.home.tree(), before);
}

TEST_F(SyncRunTest, Rule3_AStoreThatCannotBeListedEndsTheRunBeforeThePluginIsAsked)
{
    kit.home.remove("Library/Calendars");
    kit.home.write("Library/Calendars", "eine Datei");
    const SyncRunResult result = run();
    EXPECT_FALSE(result.isCompleted);
    EXPECT_THAT(result.reasons,
                ElementsAre("Der Kalenderordner \"" + kit.home.path("Library/Calendars") +
                            "\" kann nicht gelesen werden."));
    EXPECT_THAT(kit.shown(), HasSubstr(result.reasons.front()));
    EXPECT_EQ(plugin.runs, 0);
    EXPECT_THAT(backups.names(), IsEmpty());
}

TEST_F(SyncRunTest, TheStoreIsBackedUpBeforeItIsTouched)
{
    otherDeviceSends("Arbeit");
    plugin.load = [this] {
        EXPECT_THAT(backups.names(), SizeIs(1));
        return loadStore();
    };
    EXPECT_TRUE(run().isCompleted);
    EXPECT_THAT(store(), ElementsAre("Arbeit", "Privat"));
    const auto members = test::contentsOfArchive(kit.suite.backupsPath() + "/" +
                                                 backups.names().front() + ".tar.zst");
    EXPECT_THAT(members, Contains(Key("Calendars/Privat")));
    EXPECT_THAT(members, Not(Contains(Key("Calendars/Arbeit"))));
}

TEST_F(SyncRunTest, ARunThatFindsTheStoreAsTheLastBackupHasItMakesNone)
{
    run();
    const auto before = backups.names();
    EXPECT_TRUE(run().isCompleted);
    EXPECT_EQ(backups.names(), before);
}

TEST_F(SyncRunTest, TheMarkNamesTheLastBackupWhereNoneWasMade)
{
    run();
    const auto before = backups.names();
    otherDeviceSends("Arbeit");
    std::optional<std::string> marked;
    plugin.rewrite = [&](const SyncRecordMap& records) {
        marked = engine.markedBackup();
        return rewriteStore(records);
    };
    EXPECT_TRUE(run().isCompleted);
    EXPECT_EQ(marked, before.back());
    EXPECT_EQ(backups.names(), before);
}

TEST_F(SyncRunTest, WithoutABackupNothingIsTouched)
{
    kit.home.write("Library/Application Support/VeloraSuite/Backups", "eine Datei");
    const SyncRunResult result = run();
    EXPECT_FALSE(result.isCompleted);
    EXPECT_THAT(result.reasons, ElementsAre(HasSubstr("kann nicht angelegt werden.")));
    EXPECT_EQ(plugin.runs, 0);
}

TEST_F(SyncRunTest, TenBackupsAndTheFirstAreKept)
{
    for (int i = 0; i < 13; ++i) {
        kit.home.write("Library/Calendars/Privat", std::string(static_cast<std::size_t>(i), 'x'));
        run();
    }
    EXPECT_THAT(backups.names(), SizeIs(11));
}

TEST_F(SyncRunTest, ADryRunMakesNoBackup)
{
    run({.dryRun = true});
    EXPECT_THAT(backups.names(), IsEmpty());
    EXPECT_EQ(plugin.runs, 1);
}

TEST_F(SyncRunTest, WhatCannotBeBackedUpIsNotLetGo)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root, to act as somebody who may not read a file";
    const std::string secret = kit.home.path("Library/Calendars/Geheim");
    kit.home.write("Library/Calendars/Geheim", "geheim");
    fs::permissions(secret, fs::perms::none);
    fs::permissions(kit.home.path(), fs::perms::all);
    fs::permissions(kit.suite.path(), fs::perms::all);
    constexpr uid_t kNobody = 65534;
    ASSERT_EQ(::seteuid(kNobody), 0);
    const SyncRunResult accepting = run({.acceptLosses = true});
    const int runsWhileAccepting = plugin.runs;
    run();
    ASSERT_EQ(::seteuid(0), 0);
    EXPECT_THAT(accepting.reasons, ElementsAre("\"" + secret +
                                               "\" kann nicht gelesen und deshalb auch nicht "
                                               "gesichert werden."));
    EXPECT_EQ(runsWhileAccepting, 0);
    EXPECT_EQ(plugin.runs, 1) << "a run that losses hold back overwrites nothing";
    EXPECT_THAT(kit.shown(), HasSubstr("Nicht gesichert, da nicht lesbar: \"" + secret + "\""));
}

TEST_F(SyncRunTest, AfterARewriteTheStoreIsReadOnceMoreAndSettles)
{
    otherDeviceSends("Arbeit");
    const SyncRunResult result = run();
    EXPECT_TRUE(result.isCompleted);
    EXPECT_TRUE(result.summary.settled);
    EXPECT_THAT(plugin.startResults, ElementsAre(6, 1));
    EXPECT_EQ(engine.markedBackup(), std::nullopt);
    run();
    EXPECT_THAT(plugin.startResults, ElementsAre(6, 1, 1)) << "nothing to do, no rewrite";
}

TEST_F(SyncRunTest, OfASettlingRunNothingIsShownOrStored)
{
    otherDeviceSends("Arbeit");
    const SyncRunResult result = run();
    EXPECT_EQ(plugin.runs, 2);
    EXPECT_EQ(result.status, "fertig 1");
    EXPECT_EQ(host.status(), "fertig 1");
    EXPECT_THAT(kit.shown(), HasSubstr("Lauf 1\n"));
    EXPECT_THAT(kit.shown() + kit.logFile(), Not(HasSubstr("Lauf 2")));
    EXPECT_EQ(kit.preferences.objectForKey("Lauf", {}), Value(1));
}

TEST_F(SyncRunTest, AStoreThatChangedAfterTheRewriteDoesNotSettle)
{
    otherDeviceSends("Arbeit");
    plugin.load = [this] {
        if (plugin.runs == 2)
            kit.home.write("Library/Calendars/Neu", "von jemand anderem");
        return loadStore();
    };
    const SyncRunResult result = run();
    EXPECT_TRUE(result.isCompleted);
    EXPECT_FALSE(result.summary.settled);
    EXPECT_THAT(result.reasons,
                ElementsAre(HasSubstr("haben sich während der Synchronisierung geändert")));
    EXPECT_NE(engine.markedBackup(), std::nullopt);
    EXPECT_TRUE(run().summary.settled) << "the next run heals";
    EXPECT_THAT(store(), ElementsAre("Arbeit", "Neu", "Privat"));
}

/// Somebody else writes into the store while records are compared.
class MeddledHost : public ReferenceHost {
public:
    using ReferenceHost::ReferenceHost;
    bool finishSync() override
    {
        meddle();
        return ReferenceHost::finishSync();
    }
    std::function<void()> meddle;
};

TEST_F(SyncRunTest, AStoreThatChangedSinceItWasReadIsNotRewritten)
{
    otherDeviceSends("Arbeit");
    MeddledHost meddled(kit.services(), engine);
    ScriptedPlugin meddledPlugin(meddled);
    meddledPlugin.files = plugin.files;
    meddledPlugin.load = plugin.load;
    meddledPlugin.rewrite = plugin.rewrite;
    meddled.meddle = [this] { kit.home.write("Library/Calendars/Neu", "von jemand anderem"); };
    const SyncRunResult result =
        SyncRun(meddled, meddledPlugin, engine, backups, kit.home.path(), stop).run({});
    EXPECT_FALSE(result.isCompleted);
    EXPECT_THAT(result.reasons, ElementsAre(HasSubstr("haben sich während der Synchronisierung "
                                                      "geändert")));
    EXPECT_THAT(store(), ElementsAre("Neu", "Privat"));
    EXPECT_NE(engine.markedBackup(), std::nullopt);
    EXPECT_TRUE(run().summary.settled) << "the next run takes both";
    EXPECT_THAT(store(), ElementsAre("Arbeit", "Neu", "Privat"));
}

TEST_F(SyncRunTest, AProgramThatIsStartedDuringTheRewriteLeavesItUnsettled)
{
    otherDeviceSends("Arbeit");
    plugin.rewrite = [this](const SyncRecordMap& records) {
        rewriteStore(records);
        kit.proc.write("7/stat", "7 (iCal) S 1");
        kit.home.write("Library/Calendars/Neu", "von ihm");
        return true;
    };
    EXPECT_FALSE(run().summary.settled);
    EXPECT_NE(engine.markedBackup(), std::nullopt);
    kit.proc.remove("7");
    plugin.rewrite = [this](const SyncRecordMap& records) { return rewriteStore(records); };
    const SyncRunResult next = run();
    EXPECT_EQ(next.summary.sent, 1U) << "what it wrote is found";
    EXPECT_TRUE(next.summary.settled);
}

/// A rewrite that never came to its end.
class InterruptedRewrite : public SyncRunTest {
protected:
    InterruptedRewrite()
    {
        otherDeviceSends("Arbeit");
        plugin.rewrite = [this](const SyncRecordMap&) {
            kit.home.remove("Library/Calendars/Privat");
            kit.home.write("Library/Calendars/halb", "unlesbar");
            return false;
        };
        EXPECT_FALSE(run().isCompleted);
        marked = engine.markedBackup().value_or("");
        plugin.rewrite = [this](const SyncRecordMap& records) { return rewriteStore(records); };
    }
    /// The store loads only where no half of a rewrite stands.
    void refuseHalves()
    {
        plugin.load = [this]() -> std::optional<SyncRecordList> {
            if (kit.home.exists("Library/Calendars/halb"))
                return std::nullopt;
            return loadStore();
        };
    }

    std::string marked;
};

TEST_F(InterruptedRewrite, IsMarkedWithTheBackupMadeBeforeIt)
{
    EXPECT_EQ(marked, backups.names().front());
}

TEST_F(InterruptedRewrite, TheBackupIsPutBackWhenTheStoreDoesNotLoad)
{
    refuseHalves();
    const SyncRunResult result = run();
    EXPECT_TRUE(result.wasRestored);
    EXPECT_TRUE(result.isCompleted);
    EXPECT_TRUE(result.summary.settled);
    EXPECT_THAT(store(), ElementsAre("Arbeit", "Privat"));
    EXPECT_THAT(kit.shown(), HasSubstr("Die Sicherungskopie \"" + marked + "\" wird zurückgeholt"));
}

TEST_F(InterruptedRewrite, NothingIsPutBackWhileTheProgramRuns)
{
    refuseHalves();
    kit.proc.write("7/stat", "7 (iCal) S 1");
    EXPECT_FALSE(run().wasRestored);
    EXPECT_TRUE(kit.home.exists("Library/Calendars/halb"));
}

TEST_F(InterruptedRewrite, NothingIsPutBackWhenTheUserCancels)
{
    kit.home.write("Library/Calendars/Neu", "seither dazugekommen");
    plugin.load = [this]() -> std::optional<SyncRecordList> {
        stop.wish();
        return std::nullopt;
    };
    const SyncRunResult result = run();
    EXPECT_FALSE(result.wasRestored);
    EXPECT_FALSE(result.isCompleted);
    EXPECT_EQ(plugin.runs, 2) << "the broken one and the cancelled one";
    EXPECT_THAT(store(), ElementsAre("Neu", "halb"));
}

TEST_F(InterruptedRewrite, ADryRunPutsNothingBack)
{
    refuseHalves();
    EXPECT_FALSE(run({.dryRun = true}).wasRestored);
    EXPECT_TRUE(kit.home.exists("Library/Calendars/halb"));
}

TEST_F(InterruptedRewrite, TheBackupOutlivesAnyNumberOfRunsThatDoNotSettle)
{
    kit.proc.write("7/stat", "7 (iCal) S 1");
    for (int i = 0; i < 15; ++i)
        run();
    EXPECT_EQ(engine.markedBackup(), marked);
    kit.proc.remove("7");
    refuseHalves();
    EXPECT_TRUE(run().wasRestored);
    EXPECT_THAT(store(), ElementsAre("Arbeit", "Privat"));
}

TEST_F(SyncRunTest, WithoutAMarkNothingIsPutBack)
{
    run();
    plugin.load = [] { return std::nullopt; };
    const SyncRunResult result = run();
    EXPECT_FALSE(result.wasRestored);
    EXPECT_FALSE(result.isCompleted);
}

TEST_F(SyncRunTest, AServerThatIsGoneIsAReason)
{
    const auto gone = syncServerWithURL("sqlite:/nonexistent/server.sqlite");
    SyncEngine stranded(state, *gone, reports, {});
    ReferenceHost strandedHost(kit.services(), stranded);
    ScriptedPlugin strandedPlugin(strandedHost);
    const SyncRunResult result =
        SyncRun(strandedHost, strandedPlugin, stranded, backups, kit.home.path(), stop).run({});
    EXPECT_FALSE(result.isCompleted);
    EXPECT_EQ(result.summary.startResult, 0);
    EXPECT_THAT(result.reasons, SizeIs(1));
}

}  // namespace
}  // namespace kt
