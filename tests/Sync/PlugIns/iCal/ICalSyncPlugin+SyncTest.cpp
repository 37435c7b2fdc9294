#include "tests/Sync/PlugIns/iCal/SyncRunFixture.h"

namespace kt::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Refusals.

class SyncRunNotActivated : public SyncRun,
                            public ::testing::WithParamInterface<std::optional<bool>> {};
INSTANTIATE_TEST_SUITE_P(Preferences, SyncRunNotActivated, ::testing::Values(std::nullopt, false));

TEST_P(SyncRunNotActivated, EndsAtOnceAndLeavesFileNoticesAlone)
{
    host.script.preferences.remove("ICAL_SYNC_PLUGIN_ACTIVATE");
    if (GetParam())
        host.script.preferences.set("ICAL_SYNC_PLUGIN_ACTIVATE", *GetParam());
    plugin._cancelSync = true;
    EXPECT_FALSE(plugin.doSync());
    EXPECT_EQ(host.calls(), (Calls{"boolPreferenceForKey:ICAL_SYNC_PLUGIN_ACTIVATE"} +
                             failed("Die iCal-Synchronisierung ist nicht aktiviert.",
                                    "Die iCal-Synchronisierung ist nicht aktiviert")));
    EXPECT_TRUE(plugin._cancelSync);
}

TEST_F(SyncRun, EndsWhileICalRunsAndSwitchesFileNoticesOnAllTheSame)
{
    host.script.runningBinaries = {"iCal"};
    EXPECT_FALSE(plugin.doSync());
    EXPECT_EQ(
        steps(),
        kAsked +
            failed("Die Synchronisierung kann erst gestartet werden, wenn iCal beendet wurde.",
                   "iCal ist noch aktiv") +
            kCleanedUp);
    expectCleanedUp();
}

TEST_F(SyncRun, EndsWhenTheStoreCannotBeRead)
{
    writeFolder("A.calendar", with(calendarInfo("A", "Arbeit"), "Title", 1));
    EXPECT_FALSE(plugin.doSync());
    const Calls calls = host.calls();
    EXPECT_THAT(calls, Contains("logMsg:loadCalendarsWithPluginHelper: calendarStore == nil"));
    const Calls end = failed("ICalSyncPlugin konnte die iCal-Kalender nicht laden.",
                             "Die Kalender konnten nicht geladen werden!") +
                      kCleanedUp;
    EXPECT_EQ(Calls(calls.end() - static_cast<std::ptrdiff_t>(end.size()), calls.end()), end);
    EXPECT_THAT(host.engineCalls(),
                ElementsAre("disableFileNotifications", "enableFileNotifications"));
    expectCleanedUp();
}

class SyncRunRefusedByTheHost : public SyncRun, public ::testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(StartResults, SyncRunRefusedByTheHost, ::testing::Values(0, 7));

TEST_P(SyncRunRefusedByTheHost, EndsWithoutFinishingAndWithoutAnotherStatus)
{
    host.script.startResult = GetParam();
    EXPECT_FALSE(plugin.doSync());
    expectSteps(started() + kCleanedUp);
    EXPECT_EQ(host.status(), "iCal-Kalender laden...");
    expectCleanedUp();
}
// Success.

struct StartRow {
    int startResult;
    const char* statusBefore;
    bool rewrites;
};
class SyncRunStarted : public SyncRun, public ::testing::WithParamInterface<StartRow> {};

INSTANTIATE_TEST_SUITE_P(
    StartResults, SyncRunStarted,
    ::testing::Values(StartRow{1, kSummary, false}, StartRow{2, kSummary, false},
                      StartRow{3, kOverwriting, true}, StartRow{4, kOverwriting, true},
                      StartRow{5, kSummary, true}, StartRow{6, kSummary, true},
                      StartRow{8, kSummary, true}, StartRow{-1, kSummary, true}));

TEST_P(SyncRunStarted, SucceedsAndRewritesTheStoreOrNot)
{
    host.script.startResult = GetParam().startResult;
    const auto storeBefore = home.tree();
    EXPECT_TRUE(plugin.doSync());
    const Calls success{kClearFullSync, "logMsg:Die iCal-Kalender wurden synchronisiert"};
    if (GetParam().rewrites) {
        expectSteps(finished(GetParam().statusBefore) +
                    Calls{"isBinaryRunning:iCal", "getLocalState"} + success +
                    Calls{"setStatusMsg:0 Kalender\n0 Ereignisse, 0 Aufgaben"} + kCleanedUp);
        EXPECT_THAT(storeEntries(), IsEmpty());
    } else {
        expectSteps(finished() + success + Calls{std::string("setStatusMsg:") + kSummary} +
                    kCleanedUp);
        EXPECT_EQ(home.tree(), storeBefore);
        EXPECT_THAT(platform.launches(), IsEmpty());
    }
    expectCleanedUp();
}

TEST_F(SyncRun, HandsTheHostAllLocalRecordsAndWhatItPulled)
{
    host.script.pulledRecords = SyncRecordList{record(kConduitEvent, "e", "x")};
    EXPECT_TRUE(plugin.doSync());
    ASSERT_TRUE(host.localUpdates().has_value());
    EXPECT_EQ(host.localUpdates()->size(), 3u);
    EXPECT_EQ(host.remoteUpdates(), host.script.pulledRecords);
    EXPECT_EQ(host.keptRecords(), SyncRecordList{});
}

class SyncRunWithoutPulledRecords : public SyncRun, public ::testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(SkippedCalendars, SyncRunWithoutPulledRecords, ::testing::Values(0, 1));

TEST_P(SyncRunWithoutPulledRecords, HandsOnNil)
{
    if (GetParam() > 0)
        activate("Arbeit", 0);
    host.script.pulledRecords = std::nullopt;
    EXPECT_TRUE(plugin.doSync());
    EXPECT_EQ(host.remoteUpdates(), std::nullopt);
}

TEST_F(SyncRun, HandsTheHostTheSkippedRecordsBeforeTheSessionIsFinished)
{
    activate("Arbeit", 0);
    EXPECT_TRUE(plugin.doSync());
    EXPECT_THAT(host.callsNamed({"pushSyncResult", "updateLocalStateWithUpdates", "finishSync"}),
                ElementsAre("pushSyncResult", "updateLocalStateWithUpdates:3", "finishSync"));
}

TEST_F(SyncRun, MarksItselfAsSynchronizingForItsWholeLength)
{
    std::vector<bool> synchronizing;
    std::vector<bool> noticeDisabled;
    host.script.before = [&](std::string_view call) {
        if (call == "isBinaryRunning:iCal" ||
            call == "logMsg:Die iCal-Kalender werden synchronisiert" || call == "finishSync" ||
            call == "enableFileNotifications") {
            synchronizing.push_back(plugin._isSynchronizing);
            noticeDisabled.push_back(plugin._isICalDidEndNotificationDisabled);
        }
    };
    EXPECT_TRUE(plugin.doSync());
    EXPECT_THAT(synchronizing, ElementsAre(true, true, true, true));
    EXPECT_THAT(noticeDisabled, ElementsAre(false, true, true, true));
    expectCleanedUp();
}
// The mode.

struct ModeRow {
    bool reset;
    std::optional<bool> preference;
    const char* call;
};
class SyncRunMode : public SyncRun, public ::testing::WithParamInterface<ModeRow> {};
INSTANTIATE_TEST_SUITE_P(Reasons, SyncRunMode,
                         ::testing::Values(ModeRow{false, std::nullopt, "startSync:5"},
                                           ModeRow{false, false, "startSync:5"},
                                           ModeRow{false, true, "startSync:6"},
                                           ModeRow{true, std::nullopt, "startSync:6"},
                                           ModeRow{true, false, "startSync:6"}));

TEST_P(SyncRunMode, IsFullAfterAResetOrWhenThePreferenceSaysSo)
{
    if (GetParam().reset)
        plugin.resetSync();
    if (GetParam().preference)
        host.script.preferences.set("ICAL_SYNC_PLUGIN_FULL_SYNC", *GetParam().preference);
    EXPECT_TRUE(plugin.doSync());
    EXPECT_THAT(host.callsNamed({"startSync"}), ElementsAre(GetParam().call));
}

TEST_F(SyncRun, StaysFullAfterAResetUntilOneSucceeds)
{
    plugin.resetSync();
    host.script.pushResult = false;
    EXPECT_FALSE(plugin.doSync());
    EXPECT_TRUE(plugin._resetSync);
    host.script.pushResult = true;
    EXPECT_TRUE(plugin.doSync());
    EXPECT_FALSE(plugin._resetSync);
    EXPECT_TRUE(plugin.doSync());
    EXPECT_THAT(host.callsNamed({"startSync"}),
                ElementsAre("startSync:6", "startSync:6", "startSync:5"));
}

TEST_F(SyncRun, IsFullOnceAfterACancelThenIncrementalAgain)
{
    atCall("progress:", [&] { plugin.cancelSync(); });
    EXPECT_FALSE(plugin.doSync());
    host.script.before = nullptr;
    EXPECT_TRUE(plugin.doSync());
    EXPECT_TRUE(plugin.doSync());
    EXPECT_THAT(host.callsNamed({"startSync"}), ElementsAre("startSync:6", "startSync:5"));
}
// Counting.

struct SummaryRow {
    int events;
    int tasks;
    const char* summary;
};
class SyncRunSummary : public SyncRun, public ::testing::WithParamInterface<SummaryRow> {};
INSTANTIATE_TEST_SUITE_P(Counts, SyncRunSummary,
                         ::testing::Values(SummaryRow{0, 0, "1 Kalender\n0 Ereignisse, 0 Aufgaben"},
                                           SummaryRow{1, 1, "1 Kalender\n1 Ereignis, 1 Aufgabe"},
                                           SummaryRow{2, 1, "1 Kalender\n2 Ereignisse, 1 Aufgabe"},
                                           SummaryRow{10, 3,
                                                      "1 Kalender\n10 Ereignisse, 3 Aufgaben"}));

TEST_P(SyncRunSummary, UsesThePluralForEveryCountButOne)
{
    std::string items;
    for (int i = 0; i < GetParam().events; ++i)
        items += eventLines("Termin " + std::to_string(i));
    for (int i = 0; i < GetParam().tasks; ++i)
        items += taskLines("Aufgabe " + std::to_string(i));
    home.remove(std::string(kStore) + "A.calendar/Events");
    writeItems("A", "1.ics", items);
    EXPECT_TRUE(plugin.doSync());
    EXPECT_EQ(host.status(), GetParam().summary);
}

TEST_F(SyncRun, SummarizesThreeCalendarsWithOneSwitchedOff)
{
    home.remove("Library/Calendars");
    std::string events;
    for (int i = 0; i < 10; ++i)
        events += eventLines("Termin " + std::to_string(i));
    writeCalendar("A", "Arbeit");
    writeItems("A", "1.ics", events + taskLines("Aufgabe"));
    writeCalendar("B", "Zuhause");
    writeCalendar("C", "Verein");
    writeCalendar("D", "Aus");
    activate("Aus", 0);
    EXPECT_TRUE(plugin.doSync());
    EXPECT_EQ(host.status(), "3 Kalender (1 deaktiviert)\n10 Ereignisse, 1 Aufgabe");
}

}  // namespace
}  // namespace kt::test
