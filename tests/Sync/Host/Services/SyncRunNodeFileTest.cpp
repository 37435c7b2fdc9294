#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Host/Server/SyncServer.h"
#include "Sync/Host/Services/SyncRun.h"
#include "tests/Sync/Host/Services/SyncRunFixture.h"
#include "tests/support/ArchiveContents.h"

namespace kt {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

const std::string kStore = "Library/Application Support/iCal";
const std::string kNodes = kStore + "/nodes.plist";
const std::string kWhole = "<plist version=\"1.0\"><dict/></plist>";
const std::string kHalf = "<plist version=\"1.0\"><di";

/// A device with a 10.4 store whose last rewrite ended halfway in the node file; its calendars are
/// files in "Sources".
class HalfWrittenNodeFile : public test::SyncRunFixture {
protected:
    HalfWrittenNodeFile() : SyncRunFixture(4)
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
    std::string damaged() const
    {
        return "Die Datei \"" + kit.home.path(kNodes) +
               "\" kann nicht gelesen werden oder ist beschädigt.";
    }
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
    ASSERT_THAT(backups.names(), SizeIs(2));
    EXPECT_THAT(test::contentsOfArchive(kit.suite.backupsPath() + "/" + backups.names().back() +
                                        ".tar.zst"),
                testing::Contains(testing::Pair("iCal/nodes.plist", kHalf)));
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
    const std::string marked = engine.markedBackup().value_or("");
    const std::string backup = kit.suite.backupsPath() + "/" + marked;
    fs::remove(backup + ".tar.zst");
    kit.home.write("Library/Application Support/VeloraSuite/Backups/" + marked +
                       "/iCal/nodes.plist",
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
    kit.home.remove("Library/Application Support/VeloraSuite/Backups/" + marked + ".tar.zst");
    kit.platform.setNow(*dateWithISO8601("2007-12-01T09:00:00Z"));
    EXPECT_THAT(run().reasons, ElementsAre("Es gibt keine Sicherungskopie \"" + marked + "\"."));
    EXPECT_EQ(kit.home.read(kNodes), kHalf);
}

}  // namespace
}  // namespace kt
