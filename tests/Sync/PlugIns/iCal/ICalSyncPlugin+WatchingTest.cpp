#include <atomic>
#include <thread>

#include "tests/Sync/PlugIns/iCal/OpenPlugin.h"
#include "tests/Sync/PlugIns/iCal/StoreFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Watching : public StoreFixture {
protected:
    bool hasTriggered() const { return host.count("triggerExternalSync") > 0; }

    OpenPlugin plugin{&host};
};

TEST_F(Watching, IsOfICalWhichHasToBeClosedForASync)
{
    EXPECT_EQ(plugin.binaryToWatch(), "iCal");
    EXPECT_EQ(plugin.binaryToWatchDisplayName(), "iCal");
    EXPECT_FALSE(plugin.canSyncWithRunningBinary());
}

TEST_F(Watching, LogsThenCancelsThenTriggers)
{
    host.script.isAutomaticSyncActivated = true;
    std::vector<std::string> seen;
    host.script.before = [&](std::string_view call) {
        seen.push_back(std::string(call) + (plugin._cancelSync ? " (cancelled)" : ""));
    };
    plugin.watchedFileChanged("/egal");
    plugin._cancelSync = false;
    plugin.watchedBinaryDidTerminate();
    EXPECT_THAT(seen, ElementsAre("logMsg:Die iCal-Kalender wurden aktualisiert",
                                  "isAutomaticSyncActivated (cancelled)",
                                  "triggerExternalSync (cancelled)", "logMsg:iCal wurde beendet",
                                  "isAutomaticSyncActivated (cancelled)",
                                  "triggerExternalSync (cancelled)"));
}

class WatchingOnUnknownVersion : public Watching, public ::testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(Versions, WatchingOnUnknownVersion, ::testing::Values(0, 3, 6, 7));

TEST_P(WatchingOnUnknownVersion, IsOfNothing)
{
    host.script.macOSVersion = GetParam();
    EXPECT_EQ(plugin.filesToWatch(), std::nullopt);
}

struct TriggerRow {
    bool isAutomatic;
    bool isSynchronizing;
    bool triggers;
};
class WatchingTrigger : public Watching, public ::testing::WithParamInterface<TriggerRow> {
protected:
    WatchingTrigger()
    {
        host.script.isAutomaticSyncActivated = GetParam().isAutomatic;
        plugin._isSynchronizing = GetParam().isSynchronizing;
    }
};
INSTANTIATE_TEST_SUITE_P(States, WatchingTrigger,
                         ::testing::Values(TriggerRow{true, false, true},
                                           TriggerRow{true, true, false},
                                           TriggerRow{false, false, false},
                                           TriggerRow{false, true, false}));

TEST_P(WatchingTrigger, FollowsAChangedFileWhenSyncIsAutomaticAndNoneRuns)
{
    plugin.watchedFileChanged("/egal");
    EXPECT_EQ(host.messages(), std::vector<std::string>{"Die iCal-Kalender wurden aktualisiert"});
    EXPECT_TRUE(plugin._cancelSync);
    EXPECT_EQ(hasTriggered(), GetParam().triggers);
}

TEST_P(WatchingTrigger, FollowsICalsEndWhenSyncIsAutomaticAndNoneRuns)
{
    plugin.watchedBinaryDidTerminate();
    EXPECT_EQ(host.messages(), std::vector<std::string>{"iCal wurde beendet"});
    EXPECT_TRUE(plugin._cancelSync);
    EXPECT_EQ(hasTriggered(), GetParam().triggers);
}

TEST_P(WatchingTrigger, NeverFollowsICalsStart)
{
    plugin.watchedBinaryDidLaunch();
    EXPECT_THAT(host.calls(), ElementsAre("logMsg:iCal wurde gestartet"));
    EXPECT_TRUE(plugin._cancelSync);
}

TEST_P(WatchingTrigger, NeitherCancelsNorFollowsICalsEndWhileARunHoldsItClosed)
{
    plugin._isICalDidEndNotificationDisabled = true;
    plugin.watchedBinaryDidTerminate();
    EXPECT_THAT(host.calls(), ElementsAre("logMsg:iCal wurde beendet"));
    EXPECT_FALSE(plugin._cancelSync);
}

// A run in progress.

class WatchingDuringARun : public Watching {
protected:
    WatchingDuringARun()
    {
        host.script.preferences.set("ICAL_SYNC_PLUGIN_ACTIVATE", true);
        host.script.isAutomaticSyncActivated = true;
        writeCalendar("A", "Arbeit");
    }
    /// Runs with the notice arriving while the calendars are loaded.
    bool runWith(const std::function<void()>& notice)
    {
        host.script.before = [=](std::string_view call) {
            if (call.starts_with("progress:"))
                notice();
        };
        return plugin.doSync();
    }
};

TEST_F(WatchingDuringARun, AStoreChangeCancelsTheRunAndTriggersNone)
{
    EXPECT_FALSE(runWith([&] { plugin.watchedFileChanged("/egal"); }));
    EXPECT_EQ(host.status(), "Die Synchronisierung wurde abgebrochen!");
    EXPECT_FALSE(hasTriggered());
}

TEST_F(WatchingDuringARun, ICalsEndIsOnlyLogged)
{
    EXPECT_TRUE(runWith([&] { plugin.watchedBinaryDidTerminate(); }));
    EXPECT_THAT(host.messages(), ::testing::Contains("iCal wurde beendet"));
    EXPECT_FALSE(hasTriggered());
}

TEST_F(WatchingDuringARun, ICalsStartCancelsTheRun)
{
    EXPECT_FALSE(runWith([&] { plugin.watchedBinaryDidLaunch(); }));
    EXPECT_EQ(host.status(), "Die Synchronisierung wurde abgebrochen!");
}

TEST_F(WatchingDuringARun, ACancelThatCameBeforeItHasNoEffect)
{
    plugin.watchedFileChanged("/egal");
    plugin.watchedBinaryDidLaunch();
    EXPECT_TRUE(plugin.doSync());
}

// Notices come on whatever thread the host's watchers have. Nothing but the flags orders the two
// threads here, so the build with the thread sanitizer sees one that is written plainly.
class WatchingOnAnotherThread : public WatchingDuringARun {
protected:
    /// Runs a sync that waits, while it loads, for the other thread to give the notice.
    bool runWhile(const std::function<void()>& notice)
    {
        std::atomic<bool> isLoading = false;
        std::atomic<bool> isGiven = false;
        std::thread watcher([&] {
            while (!isLoading.load(std::memory_order_relaxed))
                std::this_thread::yield();
            notice();
            isGiven.store(true, std::memory_order_relaxed);
        });
        const bool isSynchronized = runWith([&] {
            isLoading.store(true, std::memory_order_relaxed);
            while (!isGiven.load(std::memory_order_relaxed))
                std::this_thread::yield();
        });
        isLoading.store(true, std::memory_order_relaxed);  // one that never loaded
        watcher.join();
        return isSynchronized;
    }
};

TEST_F(WatchingOnAnotherThread, ACancelEndsTheRun)
{
    EXPECT_FALSE(runWhile([&] { plugin.cancelSync(); }));
    EXPECT_EQ(host.status(), "Die Synchronisierung wurde abgebrochen!");
}

TEST_F(WatchingOnAnotherThread, TheRunIsSeenToGoOn)
{
    bool isSynchronizing = false;
    bool isEndOfICalIgnored = false;
    EXPECT_TRUE(runWhile([&] {
        isSynchronizing = plugin._isSynchronizing;
        isEndOfICalIgnored = plugin._isICalDidEndNotificationDisabled;
    }));
    EXPECT_TRUE(isSynchronizing);
    EXPECT_TRUE(isEndOfICalIgnored);
}

// Quitting and starting iCal.

TEST_F(Watching, TerminatingICalThatDoesNotRunSucceedsWithoutAScript)
{
    host.script.appleScriptResult = false;
    EXPECT_TRUE(plugin.terminateApplication());
    EXPECT_THAT(host.calls(), ElementsAre("isBinaryRunning:iCal"));
}

class WatchingScript : public Watching, public ::testing::WithParamInterface<bool> {};
INSTANTIATE_TEST_SUITE_P(Results, WatchingScript, ::testing::Bool());

TEST_P(WatchingScript, QuitsARunningICalSavingAndAnswersItsResult)
{
    host.script.runningBinaries = {"iCal"};
    host.script.appleScriptResult = GetParam();
    EXPECT_EQ(plugin.terminateApplication(), GetParam());
    EXPECT_THAT(host.appleScripts(),
                ElementsAre("tell application \"iCal\"\nquit saving yes\nend tell\n"));
}

TEST_P(WatchingScript, LaunchesICalWithoutAskingWhetherItRuns)
{
    host.script.runningBinaries = {"iCal"};
    host.script.appleScriptResult = GetParam();
    EXPECT_EQ(plugin.launchApplication(), GetParam());
    EXPECT_THAT(host.appleScripts(), ElementsAre("tell application \"iCal\"\nlaunch\nend tell\n"));
    EXPECT_THAT(host.calls(), ElementsAre("runAppleScript"));
}

}  // namespace
}  // namespace kt::test
