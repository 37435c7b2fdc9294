#include "tests/Sync/PlugIns/iCal/SyncRunFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

// The rewrite.

class SyncRunRewrite : public SyncRun {
protected:
    SyncRunRewrite()
    {
        host.script.startResult = 5;
        for (const SyncRecord& one :
             {record(kConduitCalendar, "B"), record(kConduitCalendar, "C"),
              record(kConduitEvent, "e1", "B"), record(kConduitEvent, "e2", "C"),
              record(kConduitEvent, "e3", "C"), record(kConduitTask, "t1", "B")})
            host.script.localState->emplace_back(one->recordKey(), one);
    }
};

TEST_F(SyncRunRewrite, WritesTheHostsLocalStateAndReportsItsCounts)
{
    EXPECT_TRUE(plugin.doSync());
    EXPECT_THAT(storeEntries(), ElementsAre("B.calendar", "C.calendar"));
    EXPECT_TRUE(home.exists(std::string(kStore) + "B.calendar/Events/e1.ics"));
    EXPECT_EQ(host.status(), "2 Kalender\n3 Ereignisse, 1 Aufgabe");
    EXPECT_EQ(host.statusTexts()[1], kSummary);
}

TEST_F(SyncRunRewrite, ReportsNoSwitchedOffCalendars)
{
    activate("Arbeit", 0);
    EXPECT_TRUE(plugin.doSync());
    EXPECT_EQ(host.statusTexts()[1], "0 Kalender (1 deaktiviert)\n0 Ereignisse, 0 Aufgaben");
    EXPECT_EQ(host.status(), "2 Kalender\n3 Ereignisse, 1 Aufgabe");
}

TEST_F(SyncRunRewrite, DeletesTheDataOfSyncServicesAndStopsThem)
{
    const char* data = "Library/Application Support/SyncServices/Local/data.syncdb";
    home.write(data, "Daten");
    EXPECT_TRUE(plugin.doSync());
    EXPECT_FALSE(home.exists(data));
    EXPECT_TRUE(home.exists("Library/Application Support/SyncServices/Local"));
    EXPECT_THAT(platform.launches(),
                ElementsAre(PlatformScope::Launch{"/usr/bin/killall", {"SyncServices"}}));
}

TEST_F(SyncRunRewrite, GoesOnWhenSyncServicesCannotBeStopped)
{
    platform.setLaunchResult(false);
    EXPECT_TRUE(plugin.doSync());
    EXPECT_EQ(host.count("logMsg:Die iCal-Kalender wurden synchronisiert"), 1u);
}

TEST_F(SyncRunRewrite, KeepsTheViewStateThatTheStoreHad)
{
    writeFolder("A.calendar", with(calendarInfo("A", "Arbeit"), "Checked", false));
    Dictionary fields = record(kConduitCalendar, "A")->record();
    fields.set("Title", "Arbeit");
    host.script.localState->emplace_back(
        keyOf("Arbeit"), std::make_shared<HostSyncRecord>(0, fields, keyOf("Arbeit"), std::nullopt,
                                                          "ical-calendar"));
    EXPECT_TRUE(plugin.doSync());
    EXPECT_EQ((*storedInfo("A.calendar"))["Checked"], Value(false));
    EXPECT_EQ((*storedInfo("B.calendar"))["Checked"], Value(true));
}

TEST_F(SyncRunRewrite, KeepsACollapsedGroupCollapsed)
{
    writeFolder("G.group", with(with(groupInfo("G", "Zu", {}), "Expanded", false), "Notes", ""));
    writeFolder("H.group", with(groupInfo("H", "Offen", {}), "Notes", ""));
    host.script.localState->clear();
    for (const auto& [key, group] : readStore()) {
        if (group->calendarType() == kCalendarTypeGroup)
            host.script.localState->emplace_back(
                key, std::make_shared<HostSyncRecord>(0, group->syncRecord(), key, std::nullopt,
                                                      "ical-calendar"));
    }
    EXPECT_TRUE(plugin.doSync());
    std::map<std::string, Value> expanded;
    for (const std::string& folder : storeEntries())
        expanded[(*storedInfo(folder))["Title"].description()] = (*storedInfo(folder))["Expanded"];
    EXPECT_THAT(expanded,
                ElementsAre(std::pair("Offen", Value(true)), std::pair("Zu", Value(false))));
}

// Switched-off calendars.

class SyncRunWithSwitchedOff : public SyncRun {
protected:
    SyncRunWithSwitchedOff()
    {
        writeCalendar("Z", "Aus");
        writeItems("Z", "1.ics", eventLines("Geheim") + eventLines("Noch geheimer"));
        activate("Aus", 0);
    }
    std::vector<std::string> pull(SyncRecordList records)
    {
        host.script.pulledRecords = std::move(records);
        EXPECT_TRUE(plugin.doSync());
        return keys(host.remoteUpdates().value_or(SyncRecordList{}));
    }
    std::vector<std::vector<std::string>> push(const SyncResult& result)
    {
        host.script.diff = [=](auto&, auto&) { return result; };
        EXPECT_TRUE(plugin.doSync());
        std::vector<std::vector<std::string>> all;
        for (const SyncRecordList& records : host.pushed().value_or(SyncResult{}))
            all.push_back(keys(records));
        return all;
    }
    const std::string on = keyOf("Arbeit");
    const std::string off = keyOf("Aus");
};

TEST_F(SyncRunWithSwitchedOff, AreCountedInBothSummariesAndKeptInTheLocalState)
{
    EXPECT_TRUE(plugin.doSync());
    const std::string summary = "1 Kalender (1 deaktiviert)\n1 Ereignis, 1 Aufgabe";
    EXPECT_THAT(host.statusTexts(), ElementsAre("iCal-Kalender laden...", summary, summary));
    EXPECT_THAT(host.callsNamed({"updateLocalStateWithUpdates"}),
                ElementsAre("updateLocalStateWithUpdates:3"));
    EXPECT_EQ(host.keptRecords()->front()->recordKey(), off);
    EXPECT_EQ(host.localUpdates()->size(), 3u);
}

TEST_F(SyncRunWithSwitchedOff, DropOnlyPulledItemsOfCalendarsThatTakeNoPart)
{
    EXPECT_THAT(pull({record(kConduitEvent, "e1", on), record(kConduitEvent, "e2", off),
                      record(kConduitTask, "t1", off), record(kConduitTask, "t2", on),
                      record(kConduitEvent, "e3", "unbekannt"), record(kConduitEvent, "e4")}),
                ElementsAre("e1", "t2"));
}

TEST_F(SyncRunWithSwitchedOff, DropTheirOwnPulledRecordButLetItemsAfterItPass)
{
    EXPECT_THAT(pull({record(kConduitEvent, "vorher", off), record(kConduitCalendar, off),
                      record(kConduitEvent, "nachher", off)}),
                ElementsAre("nachher"));
    EXPECT_EQ(plugin._activatedCalendars[off], Value(1));
}

TEST_F(SyncRunWithSwitchedOff, AreTurnedOnInMemoryOnlyWhenTheyComeFromTheServer)
{
    pull({record(kConduitCalendar, off)});
    EXPECT_EQ(host.script.preferences["ICAL_SYNC_PLUGIN_SYNCED_PLUGINS"].dictionary()[off],
              Value(0));
}

TEST_F(SyncRunWithSwitchedOff, LetANewCalendarFromTheServerPassWithItsItems)
{
    EXPECT_THAT(pull({record(kConduitEvent, "zu früh", "neu"), record(kConduitCalendar, "neu"),
                      record(kConduitEvent, "e1", "neu")}),
                ElementsAre("neu", "e1"));
    EXPECT_EQ(plugin._activatedCalendars["neu"], Value(1));
}

TEST_F(SyncRunWithSwitchedOff, LetACalendarThatTakesPartPass)
{
    EXPECT_THAT(pull({record(kConduitCalendar, on)}), ElementsAre(on));
}

TEST_F(SyncRunWithSwitchedOff, DropACalendarTheSecondTimeOnlyIfItTakesNoPartByThen)
{
    EXPECT_THAT(pull({record(kConduitCalendar, off), record(kConduitCalendar, off)}),
                ElementsAre(off));
}

TEST_F(SyncRunWithSwitchedOff, DropAKnownCalendarThatTakesNoPartThoughItsEntryIsOn)
{
    activate("Nicht mehr im Laden", 1);
    const std::string known = keyOf("Nicht mehr im Laden");
    EXPECT_THAT(pull({record(kConduitCalendar, known), record(kConduitEvent, "e1", known)}),
                ElementsAre("e1"));
}

TEST_F(SyncRunWithSwitchedOff, AreCountedAndTakenOutWhenThereAreSeveral)
{
    writeCalendar("Y", "Auch aus");
    activate("Auch aus", 0);
    host.script.pulledRecords = SyncRecordList{record(kConduitEvent, "e1", keyOf("Auch aus"))};
    EXPECT_THAT(push({{record(kConduitEvent, "e2", off), record(kConduitEvent, "e3", on)}}),
                ElementsAre(ElementsAre("e3")));
    EXPECT_THAT(*host.remoteUpdates(), IsEmpty());
    EXPECT_EQ(host.status(), "1 Kalender (2 deaktiviert)\n1 Ereignis, 1 Aufgabe");
}

TEST_F(SyncRunWithSwitchedOff, SkipNoRecordWhileRemovingNeighbours)
{
    EXPECT_THAT(pull({record(kConduitEvent, "1", off), record(kConduitEvent, "2", off),
                      record(kConduitEvent, "3", off), record(kConduitEvent, "4", on),
                      record(kConduitEvent, "5", off), record(kConduitEvent, "6", off)}),
                ElementsAre("4"));
}

TEST_F(SyncRunWithSwitchedOff, AreTakenOutOfEveryListOfTheResult)
{
    EXPECT_THAT(push({{record(kConduitCalendar, off), record(kConduitEvent, "e1", off),
                       record(kConduitEvent, "e2", on)},
                      {},
                      {record(kConduitCalendar, on), record(kConduitTask, "t1"),
                       record(kConduitTask, "t2", off), record(kConduitTask, "t3", on)}}),
                ElementsAre(ElementsAre("e2"), IsEmpty(), ElementsAre(on, "t3")));
}

TEST_F(SyncRunWithSwitchedOff, KeepInTheResultWhatThePullSwitchedOn)
{
    host.script.pulledRecords = SyncRecordList{record(kConduitCalendar, "neu")};
    EXPECT_THAT(push({{record(kConduitCalendar, "neu"), record(kConduitEvent, "e1", "neu")}}),
                ElementsAre(ElementsAre("neu", "e1")));
}

TEST_F(SyncRun, WithoutSwitchedOffCalendarsFiltersNothing)
{
    host.script.pulledRecords =
        SyncRecordList{record(kConduitEvent, "e1", "unbekannt"), record(kConduitCalendar, "neu")};
    const SyncResult result{{record(kConduitTask, "t1", "unbekannt")}};
    host.script.diff = [=](auto&, auto&) { return result; };
    EXPECT_TRUE(plugin.doSync());
    EXPECT_EQ(host.remoteUpdates(), host.script.pulledRecords);
    EXPECT_EQ(host.pushed(), result);
    EXPECT_FALSE(plugin._activatedCalendars.contains("neu"));
    EXPECT_THAT(host.status(), Not(::testing::HasSubstr("deaktiviert")));
}

}  // namespace
}  // namespace kt::test
