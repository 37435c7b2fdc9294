#include "tests/Sync/PlugIns/iCal/SyncRunFixture.h"

namespace kt::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

// Cancelling, at each point that looks for it.

TEST_F(SyncRun, CancelledWhileLoadingOpensNoSession)
{
    atCall("progress:", [&] { plugin.cancelSync(); });
    EXPECT_FALSE(plugin.doSync());
    expectSteps(begun() + failed(kCancelled) + Calls{kSetFullSync} + kCleanedUp);
    expectCleanedUp();
}

class SyncRunCancelledInTheSession : public SyncRun,
                                     public ::testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(Calls, SyncRunCancelledInTheSession,
                         ::testing::Values("startSync", "pullRecords",
                                           "diffLocalStateWithLocalUpdates"));

TEST_P(SyncRunCancelledInTheSession, FinishesItAndAsksForAFullSync)
{
    atCall(GetParam(), [&] { plugin.cancelSync(); });
    EXPECT_FALSE(plugin.doSync());
    expectSteps(compared() + failed(kCancelled) + Calls{kSetFullSync, "finishSync"} + kCleanedUp);
    expectCleanedUp();
}

TEST_P(SyncRunCancelledInTheSession, MakesTheNextRunAFullOne)
{
    atCall(GetParam(), [&] { plugin.cancelSync(); });
    EXPECT_FALSE(plugin.doSync());
    host.script.before = nullptr;
    host.clear();
    EXPECT_TRUE(plugin.doSync());
    EXPECT_THAT(host.callsNamed({"startSync"}), ElementsAre("startSync:6"));
}

TEST_F(SyncRun, CancelledIsSaidBeforeAFailedComparison)
{
    host.script.diff = [&](auto&, auto&) {
        plugin.cancelSync();
        return std::nullopt;
    };
    EXPECT_FALSE(plugin.doSync());
    EXPECT_EQ(host.status(), kCancelled);
    EXPECT_TRUE(host.script.preferences["ICAL_SYNC_PLUGIN_FULL_SYNC"].boolValue());
}

class SyncRunCancelledBeforeTheRewrite : public SyncRun,
                                         public ::testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(Calls, SyncRunCancelledBeforeTheRewrite,
                         ::testing::Values("pushSyncResult", "updateLocalStateWithUpdates",
                                           "finishSync"));

TEST_P(SyncRunCancelledBeforeTheRewrite, LeavesTheStoreAloneThoughTheSessionIsFinished)
{
    host.script.startResult = 5;
    const auto storeBefore = home.tree();
    atCall(GetParam(), [&] { plugin.cancelSync(); });
    EXPECT_FALSE(plugin.doSync());
    expectSteps(finished() + failed(kCancelled) + Calls{kSetFullSync} + kCleanedUp);
    EXPECT_EQ(home.tree(), storeBefore);
    EXPECT_THAT(platform.launches(), IsEmpty());
    expectCleanedUp();
}

TEST_P(SyncRunCancelledBeforeTheRewrite, HasNoEffectWhenTheStoreIsNotRewritten)
{
    atCall(GetParam(), [&] { plugin.cancelSync(); });
    EXPECT_TRUE(plugin.doSync());
    EXPECT_EQ(host.status(), kSummary);
}

class SyncRunWithICalStarted : public SyncRun, public ::testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(StartResults, SyncRunWithICalStarted, ::testing::Values(3, 4, 5, 6));

TEST_P(SyncRunWithICalStarted, TurnsTheRewriteIntoACancelAfterTheSessionIsFinished)
{
    host.script.startResult = GetParam();
    const auto storeBefore = home.tree();
    atCall("finishSync", [&] { host.script.runningBinaries = {"iCal"}; });
    EXPECT_FALSE(plugin.doSync());
    expectSteps(finished(GetParam() < 5 ? kOverwriting : kSummary) + Calls{"isBinaryRunning:iCal"} +
                failed(kCancelled) + Calls{kSetFullSync} + kCleanedUp);
    EXPECT_EQ(home.tree(), storeBefore);
    EXPECT_THAT(platform.launches(), IsEmpty());
    expectCleanedUp();
}
// Failing steps.

TEST_F(SyncRun, FailsWhenTheComparisonFails)
{
    host.script.diff = [](auto&, auto&) { return std::nullopt; };
    EXPECT_FALSE(plugin.doSync());
    expectSteps(compared() + failed("Die Synchronisierung ist fehlgeschlagen!") +
                Calls{"finishSync"} + kCleanedUp);
    expectCleanedUp();
}

TEST_F(SyncRun, FailsWhenThePushFails)
{
    host.script.pushResult = false;
    EXPECT_FALSE(plugin.doSync());
    expectSteps(compared() + Calls{"pushSyncResult"} +
                failed("Die Daten konnten nicht auf den Server übertragen werden") +
                Calls{"finishSync"} + kCleanedUp);
    expectCleanedUp();
}

struct FailedSessionRow {
    const char* name;
    std::function<void(RecordingPluginHelper&, OpenPlugin&)> prepare;
    const char* text;
    friend void PrintTo(const FailedSessionRow& row, std::ostream* out) { *out << row.name; }
};
class SyncRunFailedSession : public SyncRun,
                             public ::testing::WithParamInterface<FailedSessionRow> {};
INSTANTIATE_TEST_SUITE_P(
    Ends, SyncRunFailedSession,
    ::testing::Values(
        FailedSessionRow{"cancelled",
                         [](auto& host, auto& plugin) {
                             host.script.diff = [&](auto&, auto&) {
                                 plugin.cancelSync();
                                 return SyncResult();
                             };
                         },
                         kCancelled},
        FailedSessionRow{"diff",
                         [](auto& host, auto&) {
                             host.script.diff = [](auto&, auto&) { return std::nullopt; };
                         },
                         "Die Synchronisierung ist fehlgeschlagen!"},
        FailedSessionRow{"push", [](auto& host, auto&) { host.script.pushResult = false; },
                         "Die Daten konnten nicht auf den Server übertragen werden"}));

TEST_P(SyncRunFailedSession, SaysNothingMoreWhenItDoesNotFinishCleanlyEither)
{
    GetParam().prepare(host, plugin);
    host.script.finishResult = false;
    EXPECT_FALSE(plugin.doSync());
    EXPECT_EQ(host.status(), GetParam().text);
    EXPECT_EQ(host.messages().back(), GetParam().text);
    EXPECT_EQ(host.count("finishSync"), 1u);
}

TEST_F(SyncRun, FailsWhenTheSessionDoesNotFinishCleanly)
{
    host.script.finishResult = false;
    host.script.startResult = 5;
    const auto storeBefore = home.tree();
    EXPECT_FALSE(plugin.doSync());
    expectSteps(finished() +
                failed("Die Synchronisierung konnte nicht sauber beendet werden",
                       "Fehler beim Zurückschreiben der Kalender!") +
                kCleanedUp);
    EXPECT_EQ(home.tree(), storeBefore);
    expectCleanedUp();
}

TEST_F(SyncRun, FailsWhenTheStoreCannotBeWrittenAndAsksForAFullSync)
{
    host.script.startResult = 5;
    const Dictionary colourless{{"Title", "Arbeit"}, {"Type", "CalendarNode"}, {"Notes", ""}};
    host.script.localState = {
        {"k", std::make_shared<HostSyncRecord>(0, colourless, "k", std::nullopt, "ical-calendar")}};
    EXPECT_FALSE(plugin.doSync());
    const Calls calls = host.calls();
    EXPECT_THAT(calls, Contains("logMsg:[KTSyncCalendarStore storeCalendars] == NO"));
    const Calls end = failed("Die iCal-Kalender konnten nicht gespeichert werden!",
                             "Die Kalender konnten nicht gespeichert werden!") +
                      Calls{kSetFullSync} + kCleanedUp;
    EXPECT_EQ(Calls(calls.end() - static_cast<std::ptrdiff_t>(end.size()), calls.end()), end);
    expectCleanedUp();
}

constexpr const char* kInfoFile = "Library/Calendars/A.calendar/Info.plist";

struct MemoryRow {
    const char* name;
    std::function<void(RecordingPluginHelper::Script&, const TemporaryFolder&)> prepare;
};
class SyncRunMemory : public SyncRun,
                      public ::testing::WithParamInterface<std::tuple<MemoryRow, bool>> {};
INSTANTIATE_TEST_SUITE_P(
    Failures, SyncRunMemory,
    ::testing::Combine(
        ::testing::Values(
            MemoryRow{"iCal runs", [](auto& script, auto&) { script.runningBinaries = {"iCal"}; }},
            MemoryRow{"load", [](auto&, auto& home) {
    home.write(kInfoFile, xmlPropertyList(Dictionary{{"Key", "A"}, {"Title", 1}}));
}},
            MemoryRow{"start 0", [](auto& script, auto&) { script.startResult = 0; }},
            MemoryRow{"start 7", [](auto& script, auto&) { script.startResult = 7; }},
            MemoryRow{"diff",
                      [](auto& script, auto&) {
                          script.diff = [](auto&, auto&) { return std::nullopt; };
                      }},
            MemoryRow{"push", [](auto& script, auto&) { script.pushResult = false; }},
            MemoryRow{"finish", [](auto& script, auto&) { script.finishResult = false; }},
            MemoryRow{"exception",
                      [](auto& script, auto&) {
                          script.before = [](std::string_view call) {
                              if (call == "pullRecords")
                                  throw Exception(NSGenericException, "mittendrin");
                          };
                      }}),
        ::testing::Bool()));

TEST_P(SyncRunMemory, IsLeftAsItWasByAnEndThatIsNeitherCancelNorFailedRewrite)
{
    const auto& [row, before] = GetParam();
    host.script.preferences.set("ICAL_SYNC_PLUGIN_FULL_SYNC", before);
    row.prepare(host.script, home);
    EXPECT_FALSE(plugin.doSync());
    EXPECT_EQ(host.script.preferences["ICAL_SYNC_PLUGIN_FULL_SYNC"], Value(before)) << row.name;
}

TEST_P(SyncRunMemory, OfAResetLastsUntilARunSucceeds)
{
    const auto& [row, preference] = GetParam();
    host.script.preferences.set("ICAL_SYNC_PLUGIN_FULL_SYNC", preference);
    const RecordingPluginHelper::Script working = host.script;
    const std::string info = *home.read(kInfoFile);
    plugin.resetSync();
    row.prepare(host.script, home);
    EXPECT_FALSE(plugin.doSync());
    EXPECT_TRUE(plugin._resetSync) << row.name;

    host.script = working;
    home.write(kInfoFile, info);
    host.clear();
    EXPECT_TRUE(plugin.doSync());
    EXPECT_FALSE(plugin._resetSync);
    EXPECT_THAT(host.callsNamed({"startSync"}), ElementsAre("startSync:6"));
}

// Exceptions.

class SyncRunException : public SyncRun, public ::testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(Calls, SyncRunException,
                         ::testing::Values("isBinaryRunning", "logMsg:Die iCal-Kalender",
                                           "setStatusMsg:iCal-Kalender laden...",
                                           "disableFileNotifications", "objectPreferenceForKey",
                                           "boolPreferenceForKey:ICAL_SYNC_PLUGIN_FULL_SYNC",
                                           "startSync", "pullRecords",
                                           "diffLocalStateWithLocalUpdates", "pushSyncResult",
                                           "updateLocalStateWithUpdates", "finishSync",
                                           "getLocalState", "logMsg:Kalender speichern",
                                           "updatePreference:ICAL_SYNC_PLUGIN_FULL_SYNC"));

TEST_P(SyncRunException, IsLoggedToHostAndSystemWithoutAStatusAndEndsTheRun)
{
    host.script.startResult = 5;
    std::size_t statusTexts = 0;
    atCall(GetParam(), [&] {
        statusTexts = host.statusTexts().size();
        throw Exception(NSGenericException, "mittendrin");
    });
    EXPECT_FALSE(plugin.doSync());
    const std::string line = "Nichtabgefangener Fehler in [ICalSyncPlugin doSync]: mittendrin";
    EXPECT_EQ(host.messages().back(), line);
    EXPECT_EQ(platform.consoleLines().back(), line);
    EXPECT_EQ(host.statusTexts().size(), statusTexts);
    EXPECT_EQ(host.calls().back(), "enableFileNotifications");
    EXPECT_EQ(host.count("enableFileNotifications"), 1u);
    expectCleanedUp();
}

TEST_P(SyncRunException, OfAForeignKindIsPassedOnAfterTheCleanUp)
{
    host.script.startResult = 5;
    atCall(GetParam(), [] { throw 42; });
    EXPECT_THROW(plugin.doSync(), int);
    EXPECT_EQ(host.calls().back(), "enableFileNotifications");
    EXPECT_THAT(host.messages(), Not(Contains(StartsWith("Nichtabgefangener Fehler"))));
    expectCleanedUp();
}

TEST_F(SyncRun, ExceptionFromTheCleanUpIsPassedOnWithTheFlagsDown)
{
    atCall("enableFileNotifications", [] { throw Exception(NSGenericException, "zuletzt"); });
    EXPECT_THROW(plugin.doSync(), Exception);
    expectCleanedUp();
    host.script.before = nullptr;
    EXPECT_TRUE(plugin.doSync());
}

TEST_F(SyncRun, GuardsNothingWhenItIsNotActivated)
{
    host.script.preferences.remove("ICAL_SYNC_PLUGIN_ACTIVATE");
    atCall("logMsg", [] { throw Exception(NSGenericException, "außerhalb"); });
    EXPECT_THROW(plugin.doSync(), Exception);
    EXPECT_EQ(host.count("enableFileNotifications"), 0u);
}

TEST_F(SyncRun, LogsAPreferenceOfTheWrongKindAndEnds)
{
    host.script.preferences.set("ICAL_SYNC_PLUGIN_SYNCED_PLUGINS", "kein Wörterbuch");
    EXPECT_FALSE(plugin.doSync());
    EXPECT_THAT(host.messages().back(),
                StartsWith("Nichtabgefangener Fehler in [ICalSyncPlugin doSync]: "));
    expectCleanedUp();
}

TEST_F(SyncRun, CanRunAgainAfterAnException)
{
    atCall("pullRecords", [] { throw Exception(NSGenericException, "mittendrin"); });
    EXPECT_FALSE(plugin.doSync());
    host.script.before = nullptr;
    EXPECT_TRUE(plugin.doSync());
}

}  // namespace
}  // namespace kt::test
