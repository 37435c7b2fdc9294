#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/FileManager.h"
#include "tests/Sync/Host/Services/SyncRunFixture.h"

namespace kt {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kStopped = "Die Synchronisierung wurde abgebrochen!";

/// Forgets what it was told before its run began, and looks once its store is read, once the
/// comparison is made and before it rewrites; so does the real one.
class ForgetfulPlugin : public test::ScriptedPlugin {
public:
    explicit ForgetfulPlugin(KTSyncPluginHelper& helper) : ScriptedPlugin(helper) {}

    bool cancelSync() override { return _isCancelled = true; }
    bool doSync() override
    {
        onBegin();
        _isCancelled = false;
        return ScriptedPlugin::doSync();
    }
    std::optional<std::vector<std::string>> filesToBackup() override
    {
        onFilesAsked();
        return files;
    }
    bool isCancelled() const { return _isCancelled; }

    std::function<void()> onBegin = [] {};
    std::function<void()> onFilesAsked = [] {};  // the first time when the backup begins

private:
    bool _isCancelled = false;
};

class SyncRunStopTest : public test::SyncRunFixture {
protected:
    SyncRunStopTest()
    {
        kit.home.write("Library/Calendars/Privat", "Privat");
        forgetful.files = {kit.home.path("Library/Calendars")};
        forgetful.load = [this]() -> std::optional<SyncRecordList> {
            if (forgetful.isCancelled())
                return std::nullopt;
            return SyncRecordList{calendar("Privat")};
        };
        forgetful.rewrite = [this](const SyncRecordMap&) { return ++rewrites > 0; };
    }
    SyncRunResult runUntilStopped()
    {
        return SyncRun(host, forgetful, engine, backups, kit.home.path(), stop).run({});
    }
    /// The next one; the last one's wish is not this one's.
    SyncRunResult runOnce()
    {
        StopWish none;
        return SyncRun(host, forgetful, engine, backups, kit.home.path(), none).run({});
    }

    ForgetfulPlugin forgetful{host};
    int rewrites = 0;
};

TEST_F(SyncRunStopTest, BeforeTheBackupNothingIsBegun)
{
    stop.wish();
    const SyncRunResult result = runUntilStopped();
    EXPECT_FALSE(result.isCompleted);
    EXPECT_THAT(result.reasons, ElementsAre(kStopped));
    EXPECT_THAT(kit.shown(), HasSubstr(kStopped));
    EXPECT_THAT(backups.names(), IsEmpty());
    EXPECT_EQ(forgetful.runs, 0);
}

TEST_F(SyncRunStopTest, DuringTheBackupNothingOfItIsLeftAndThePluginIsNotAsked)
{
    forgetful.onFilesAsked = [this] { stop.wish(); };
    const SyncRunResult result = runUntilStopped();
    EXPECT_FALSE(result.isCompleted);
    EXPECT_THAT(result.reasons, ElementsAre(kStopped));
    EXPECT_THAT(FileManager::defaultManager().directoryContentsAtPath(kit.suite.backupsPath()),
                IsEmpty());
    EXPECT_EQ(forgetful.runs, 0);
}

TEST_F(SyncRunStopTest, WhatThePluginForgetsWhenItBeginsItIsToldAgain)
{
    forgetful.onBegin = [this] { stop.wish(); };
    const SyncRunResult result = runUntilStopped();
    EXPECT_FALSE(result.isCompleted);
    EXPECT_TRUE(forgetful.isCancelled());
    EXPECT_FALSE(result.course.hasStarted);
}

TEST_F(SyncRunStopTest, ARewriteThatHasBegunComesToItsEndAndIsSettled)
{
    otherDeviceSends("Arbeit");
    bool wasToldInSettling = false;
    forgetful.rewrite = [this](const SyncRecordMap&) {
        stop.wish();
        return ++rewrites > 0;
    };
    forgetful.load = [&, this] {
        wasToldInSettling = wasToldInSettling || forgetful.isCancelled();
        SyncRecordList records{calendar("Privat")};
        if (rewrites > 0)
            records.push_back(calendar("Arbeit"));
        return records;
    };
    const SyncRunResult result = runUntilStopped();
    EXPECT_TRUE(result.isCompleted);
    EXPECT_TRUE(result.summary.settled);
    EXPECT_FALSE(wasToldInSettling);
    EXPECT_EQ(engine.markedBackup(), std::nullopt);
}

TEST_F(SyncRunStopTest, AStoppedRunIsMadeUpForByTheNext)
{
    stop.wish();
    EXPECT_FALSE(runUntilStopped().isCompleted);
    EXPECT_TRUE(runOnce().isCompleted);
    EXPECT_THAT(backups.names(), SizeIs(1));
}

}  // namespace
}  // namespace kt
