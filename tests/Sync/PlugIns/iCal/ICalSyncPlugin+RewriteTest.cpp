// What a run does to the system and to iCal's store once the session is over.

#include "tests/Sync/PlugIns/iCal/SyncRunFixture.h"
#include "tests/support/FailingFileManager.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SyncRunAndSyncServices : public SyncRun {
protected:
    static constexpr const char* kDataFile =
        "Library/Application Support/SyncServices/Local/data.syncdb";

    SyncRunAndSyncServices()
    {
        host.script.startResult = 5;
        home.write(kDataFile, "Daten");
    }
    const PlatformScope::Launch kStopSyncServices{"/usr/bin/killall", {"SyncServices"}};
};

TEST_F(SyncRunAndSyncServices, DeletesTheDataOfSyncServicesThenStopsItThenAsksForTheLocalState)
{
    bool wasThereAtTheEndOfTheSession = false;
    bool wasThereForTheLocalState = true;
    std::size_t launchesAtTheEndOfTheSession = 1;
    std::vector<PlatformScope::Launch> launchesForTheLocalState;
    host.script.before = [&](std::string_view call) {
        if (call == "finishSync") {
            wasThereAtTheEndOfTheSession = home.exists(kDataFile);
            launchesAtTheEndOfTheSession = platform.launches().size();
        } else if (call == "getLocalState") {
            wasThereForTheLocalState = home.exists(kDataFile);
            launchesForTheLocalState = platform.launches();
        }
    };
    EXPECT_TRUE(plugin.doSync());
    EXPECT_TRUE(wasThereAtTheEndOfTheSession);
    EXPECT_EQ(launchesAtTheEndOfTheSession, 0u);
    EXPECT_FALSE(wasThereForTheLocalState);
    EXPECT_THAT(launchesForTheLocalState, ElementsAre(kStopSyncServices));
    EXPECT_THAT(platform.launches(), ElementsAre(kStopSyncServices));
}

TEST_F(SyncRunAndSyncServices, DeletesBeforeItStops)
{
    bool wasThere = true;
    Platform::shared().setLauncher([&](const std::string&, const std::vector<std::string>&) {
        wasThere = home.exists(kDataFile);
        return true;
    });
    EXPECT_TRUE(plugin.doSync());
    EXPECT_FALSE(wasThere);
}

TEST_F(SyncRunAndSyncServices, GoesOnWhenTheDataCannotBeDeletedAndNothingIsThereToStop)
{
    failFileOperations([](const std::string& operation) {
        return operation.starts_with("removeFileAtPath") && operation.ends_with("data.syncdb");
    });
    platform.setLaunchResult(false);
    EXPECT_TRUE(plugin.doSync());
    EXPECT_TRUE(home.exists(kDataFile));
    EXPECT_THAT(platform.launches(), ElementsAre(kStopSyncServices));
}

TEST_F(SyncRunAndSyncServices, WithoutALocalStateTheStoreStaysAndTheNextRunIsFull)
{
    const auto before = home.tree();
    host.script.localState = std::nullopt;
    EXPECT_FALSE(plugin.doSync());
    EXPECT_FALSE(home.exists(kDataFile));
    home.write(kDataFile, before.at(kDataFile));
    EXPECT_EQ(home.tree(), before);
    const Calls end = Calls{"getLocalState", "logMsg:saveCalendars: calendarData == nil"} +
                      failed("Die iCal-Kalender konnten nicht gespeichert werden!",
                             "Die Kalender konnten nicht gespeichert werden!") +
                      Calls{kSetFullSync} + kCleanedUp;
    const Calls calls = host.calls();
    ASSERT_GE(calls.size(), end.size());
    EXPECT_EQ(Calls(calls.end() - static_cast<std::ptrdiff_t>(end.size()), calls.end()), end);
    expectCleanedUp();
}

struct NoRewriteRow {
    const char* name;
    std::function<void(SyncRunAndSyncServices&, RecordingPluginHelper::Script&, OpenPlugin&)>
        prepare;
    friend void PrintTo(const NoRewriteRow& row, std::ostream* out) { *out << row.name; }
};
void cancelAt(RecordingPluginHelper::Script& script, OpenPlugin& plugin, std::string_view at)
{
    script.before = [at, &plugin](std::string_view call) {
        if (call == at)
            plugin.cancelSync();
    };
}
class SyncRunWithoutRewrite : public SyncRunAndSyncServices,
                              public ::testing::WithParamInterface<NoRewriteRow> {};
INSTANTIATE_TEST_SUITE_P(
    Ends, SyncRunWithoutRewrite,
    ::testing::Values(
        NoRewriteRow{"start 0", [](auto&, auto& script, auto&) { script.startResult = 0; }},
        NoRewriteRow{"start 1", [](auto&, auto& script, auto&) { script.startResult = 1; }},
        NoRewriteRow{"start 2", [](auto&, auto& script, auto&) { script.startResult = 2; }},
        NoRewriteRow{"start 7", [](auto&, auto& script, auto&) { script.startResult = 7; }},
        NoRewriteRow{"cancel in the session",
                     [](auto&, auto& script, auto& plugin) {
                         cancelAt(script, plugin, "pullRecords");
                     }},
        NoRewriteRow{"cancel after it",
                     [](auto&, auto& script, auto& plugin) {
                         cancelAt(script, plugin, "finishSync");
                     }},
        NoRewriteRow{"iCal started",
                     [](auto&, auto& script, auto&) {
                         script.before = [&script](std::string_view call) {
                             if (call == "finishSync")
                                 script.runningBinaries = {"iCal"};
                         };
                     }},
        NoRewriteRow{"push", [](auto&, auto& script, auto&) { script.pushResult = false; }},
        NoRewriteRow{"finish", [](auto&, auto& script, auto&) { script.finishResult = false; }}));

TEST_P(SyncRunWithoutRewrite, LeavesSyncServicesAndTheHomeAlone)
{
    const auto before = home.tree();
    GetParam().prepare(*this, host.script, plugin);
    plugin.doSync();
    EXPECT_EQ(home.tree(), before);
    EXPECT_THAT(platform.launches(), IsEmpty());
    EXPECT_EQ(host.count("getLocalState"), 0u);
}

/// A home of the 10.4 layout whose node file vanishes before the rewrite, which its writer cannot
/// do without.
class SyncRunRewrite104 : public SyncRun {
protected:
    static constexpr const char* kNodeFile = "Library/Application Support/iCal/nodes.plist";

    SyncRunRewrite104()
    {
        host.script.macOSVersion = 4;
        host.script.startResult = 5;
        home.write(kNodeFile, xmlPropertyList(Dictionary{{"Version", 2}, {"List", Array{}}}));
    }
};

TEST_F(SyncRunRewrite104, SucceedsWithANodeFile)
{
    EXPECT_TRUE(plugin.doSync());
    EXPECT_EQ(host.count("logMsg:[KTSyncCalendarStore storeCalendars] == NO"), 0u);
}

TEST_F(SyncRunRewrite104, ThatTheWriterRefusesFailsTheRunAndMakesTheNextOneFull)
{
    const std::string content = *home.read(kNodeFile);
    atCall("getLocalState", [&] { home.remove(kNodeFile); });
    EXPECT_FALSE(plugin.doSync());
    const Calls calls = host.calls();
    const Calls end = Calls{"logMsg:[KTSyncCalendarStore storeCalendars] == NO"} +
                      failed("Die iCal-Kalender konnten nicht gespeichert werden!",
                             "Die Kalender konnten nicht gespeichert werden!") +
                      Calls{kSetFullSync} + kCleanedUp;
    ASSERT_GE(calls.size(), end.size());
    EXPECT_EQ(Calls(calls.end() - static_cast<std::ptrdiff_t>(end.size()), calls.end()), end);
    expectCleanedUp();

    host.script.before = nullptr;
    home.write(kNodeFile, content);
    host.clear();
    EXPECT_TRUE(plugin.doSync());
    EXPECT_THAT(host.callsNamed({"startSync"}), ElementsAre("startSync:6"));
}

}  // namespace
}  // namespace kt::test
