#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Server/SyncServer.h"
#include "Sync/Host/Services/SyncRun.h"
#include "tests/support/HostKit.h"

namespace kt {
namespace {

namespace fs = std::filesystem;
using test::HostKit;
using test::ScriptedPlugin;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

const std::string kStore = "Library/Application Support/iCal";
const std::string kNodes = kStore + "/nodes.plist";
const std::string kWhole = "<plist version=\"1.0\"><dict/></plist>";
const std::string kHalf = "<plist version=\"1.0\"><di";

SyncRecord calendar(const std::string& key)
{
    return std::make_shared<HostSyncRecord>(0,
                                            Dictionary{{"Order", 0},
                                                       {"Type", "CalendarNode"},
                                                       {"Color", "#000000FF"},
                                                       {"Title", key},
                                                       {"Notes", ""},
                                                       {"SourceKey", key}},
                                            key, std::nullopt, std::string(kConduitCalendar));
}

/// A device with a 10.4 store whose last rewrite ended halfway in the node file; its calendars are
/// files in "Sources".
class HalfWrittenNodeFile : public testing::Test {
protected:
    HalfWrittenNodeFile()
    {
        plugin.files = {kit.home.path(kStore)};
        plugin.load = [this] { return loadStore(); };
        plugin.rewrite = [this](const SyncRecordMap&) {
            kit.home.write(kNodes, kHalf);
            return false;
        };
        kit.home.write(kNodes, kWhole);
        kit.home.write(kStore + "/Sources/Privat", "");
        EXPECT_TRUE(run().isCompleted);
        otherDeviceSends("Arbeit");
        EXPECT_FALSE(run().isCompleted);
        EXPECT_EQ(kit.home.read(kNodes), kHalf);
        plugin.rewrite = [this](const SyncRecordMap& records) {
            for (const auto& [key, record] : records)
                kit.home.write(kStore + "/Sources/" + key, "");
            return true;
        };
    }
    SyncRecordList loadStore() const
    {
        EXPECT_EQ(kit.home.read(kNodes), kWhole) << "nobody may look at half a node file";
        SyncRecordList records;
        for (const auto& [name, bytes] : kit.home.tree())
            if (name.starts_with(kStore + "/Sources/") && !name.ends_with("/"))
                records.push_back(calendar(fs::path(name).filename()));
        return records;
    }
    SyncRunResult run(const SyncRunWishes& wishes = {})
    {
        return SyncRun(host, plugin, engine, backups, kit.home.path()).run(wishes);
    }
    void otherDeviceSends(const std::string& key)
    {
        LocalState otherState(kit.home.path("other.sqlite"));
        SyncEngine other(otherState, *server, losses, {});
        other.beginRun({});
        other.startSync(5);
        const auto result =
            other.diffLocalStateWithLocalUpdates({calendar(key)}, other.pullRecords(), 7);
        ASSERT_TRUE(result && other.pushSyncResult(*result) && other.finishSync());
        other.endRun(true);
    }
    std::string damaged() const
    {
        return "Die Datei \"" + kit.home.path(kNodes) +
               "\" kann nicht gelesen werden oder ist beschädigt.";
    }

    HostKit kit;
    LocalState state{kit.suite.localStatePath()};
    std::unique_ptr<SyncServer> server =
        syncServerWithURL("sqlite:" + kit.home.path("server.sqlite"));
    HostLossReport losses;
    SyncEngine engine{state, *server, losses, {}};
    ReferenceHost host{kit.services({}, 4), engine};
    ScriptedPlugin plugin{host};
    StoreBackups backups{kit.suite.backupsPath()};
};

TEST_F(HalfWrittenNodeFile, IsReplacedFromTheBackupBeforeThePluginLooks)
{
    const SyncRunResult result = run();
    EXPECT_TRUE(result.wasRestored);
    EXPECT_TRUE(result.isCompleted);
    EXPECT_TRUE(result.summary.settled);
    EXPECT_TRUE(kit.home.exists(kStore + "/Sources/Arbeit"));
    EXPECT_THAT(kit.shown(), HasSubstr(damaged()));
    EXPECT_EQ(engine.markedBackup(), std::nullopt);
}

TEST_F(HalfWrittenNodeFile, IsBackedUpBeforeItIsReplaced)
{
    run();
    ASSERT_THAT(backups.names(), SizeIs(3));
    EXPECT_EQ(kit.home.read("Library/Application Support/VeloraSuite/Backups/" +
                            backups.names().back() + "/iCal/nodes.plist"),
              kHalf);
}

TEST_F(HalfWrittenNodeFile, StaysWhileTheProgramRuns)
{
    kit.proc.write("7/stat", "7 (klein) S 1");
    const SyncRunResult result = run();
    EXPECT_FALSE(result.wasRestored);
    EXPECT_THAT(result.reasons, ElementsAre("Klein ist noch aktiv"));
    EXPECT_EQ(kit.home.read(kNodes), kHalf);
}

TEST_F(HalfWrittenNodeFile, StaysInADryRun)
{
    const SyncRunResult result = run({.dryRun = true});
    EXPECT_THAT(result.reasons, ElementsAre(damaged()));
    EXPECT_EQ(kit.home.read(kNodes), kHalf);
}

TEST_F(HalfWrittenNodeFile, IsNoReasonToReplaceAFolderThatIsElsewhere)
{
    kit.home.remove(kStore);
    fs::create_symlink("/nonexistent/volume", kit.home.path(kStore));
    const SyncRunResult result = run();
    EXPECT_FALSE(result.wasRestored);
    EXPECT_THAT(result.reasons, ElementsAre(HasSubstr("kann nicht gelesen werden.")));
    EXPECT_TRUE(fs::is_symlink(kit.home.path(kStore)));
}

TEST_F(HalfWrittenNodeFile, EndsTheRunWhenTheBackupsIsNoBetter)
{
    kit.home.write("Library/Application Support/VeloraSuite/Backups/" +
                       engine.markedBackup().value_or("") + "/iCal/nodes.plist",
                   kHalf);
    const int runsBefore = plugin.runs;
    const SyncRunResult result = run();
    EXPECT_FALSE(result.isCompleted);
    EXPECT_THAT(result.reasons, ElementsAre(damaged()));
    EXPECT_EQ(plugin.runs, runsBefore);
}

TEST_F(HalfWrittenNodeFile, EndsTheRunWhenTheBackupIsGone)
{
    const std::string marked = engine.markedBackup().value_or("");
    kit.home.remove("Library/Application Support/VeloraSuite/Backups/" + marked);
    EXPECT_THAT(run().reasons, ElementsAre("Es gibt keine Sicherungskopie \"" + marked + "\"."));
    EXPECT_EQ(kit.home.read(kNodes), kHalf);
}

}  // namespace
}  // namespace kt
