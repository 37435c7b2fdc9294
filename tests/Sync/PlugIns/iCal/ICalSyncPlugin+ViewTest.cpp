#include "tests/Sync/PlugIns/iCal/ConfigViewFixture.h"

namespace kt::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

using ConfigView = ConfigViewFixture;

// Preparing the view.

TEST_F(ConfigView, IsPreparedStepByStep)
{
    home.makeFolder("Library/Calendars");
    EXPECT_EQ(plugin->configView(), &view.configView);
    EXPECT_THAT(view.calls,
                ElementsAre("syncedCalendarsList.setDelegate:1",
                            "syncedCalendarsList.setDataSource:1",
                            "publicSharingProgress.setUsesThreadedAnimation:1",
                            "publicSharingProgress.setDisplayedWhenStopped:0",
                            "boolPreferenceForKey:ICAL_SYNC_PLUGIN_FULL_SYNC",
                            "syncCalendarsStatusLabel.setStringValue:",
                            // The store is read here.
                            inSystemLog("Es gibt keine Kalender, evtl. wurde iCal noch nie "
                                        "gestartet"),
                            "logMsg:Es gibt keine Kalender, evtl. wurde iCal noch nie gestartet",
                            "objectPreferenceForKey:ICAL_SYNC_PLUGIN_SYNCED_PLUGINS",
                            "objectPreferenceForKey:ICAL_SYNC_PLUGIN_PUBLISHED_CALENDARS",
                            "updatePreference:ICAL_SYNC_PLUGIN_SYNCED_PLUGINS={\n}",
                            "updatePreference:ICAL_SYNC_PLUGIN_PUBLISHED_CALENDARS={\n}",
                            "sharingTabView.setHidden:1"));
    EXPECT_EQ(view.syncedCalendarsList.delegate, &*plugin);
    EXPECT_EQ(view.syncedCalendarsList.dataSource, &*plugin);
}

TEST_F(ConfigView, SaysThatTheNextSyncIsAFullOne)
{
    host.script.preferences.set("ICAL_SYNC_PLUGIN_FULL_SYNC", true);
    plugin->configView();
    EXPECT_EQ(view.syncCalendarsStatusLabel.text,
              "Die Kalender werden beim nächsten Mal vollständig synchronisiert");
}

TEST_F(ConfigView, ListsTheStoresCalendarsWithoutGroups)
{
    writeCalendar("A", "Arbeit");
    writeFolder("B.calendar", with(calendarInfo("B", "Geburtstage"), "Type", "Birthday"));
    writeFolder("G.group", groupInfo("G", "Gruppe", {}));
    plugin->configView();
    ASSERT_EQ(plugin->numberOfRowsInTableView(&view.syncedCalendarsList), 2);
    EXPECT_EQ(cell("calendarName", 0), Value("Arbeit "));
    EXPECT_EQ(cell("calendarName", 1), Value("Geburtstage "));
}

TEST_F(ConfigView, RebuildsTheListEachTime)
{
    writeCalendar("A", "Arbeit");
    plugin->configView();
    writeCalendar("A", "Büro");
    plugin->configView();
    ASSERT_EQ(plugin->numberOfRowsInTableView(&view.syncedCalendarsList), 1);
    EXPECT_EQ(cell("calendarName", 0), Value("Büro "));
}

TEST_F(ConfigView, IsEmptyWithALineInTheLogWhenTheStoreCannotBeRead)
{
    addCalendar("Von vorhin");
    writeFolder("A.calendar", with(calendarInfo("A", "Arbeit"), "Title", 1));
    EXPECT_EQ(plugin->configView(), &view.configView);
    EXPECT_EQ(plugin->numberOfRowsInTableView(&view.syncedCalendarsList), 0);
    EXPECT_EQ(host.messages().back(), "ICalSyncPlugin.calendarsList: calendarStore == nil");
}

struct SelectionRow {
    int row;
    bool isHidden;
};
class ConfigViewSelection : public ConfigView,
                            public ::testing::WithParamInterface<SelectionRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, ConfigViewSelection,
                         ::testing::Values(SelectionRow{-1, true}, SelectionRow{0, false},
                                           SelectionRow{1, true},    // birthdays
                                           SelectionRow{2, false},   // a subscription
                                           SelectionRow{3, true}));  // of a longer list, before

TEST_P(ConfigViewSelection, ShowsTheSharingTabForACalendarThatCanBePublished)
{
    writeCalendar("A", "Arbeit");
    writeFolder("B.calendar", with(calendarInfo("B", "Geburtstage"), "Type", "Birthday"));
    writeFolder("C.calendar", with(calendarInfo("C", "Feiertage"), "Type", "Subscription"));
    view.syncedCalendarsList.row = GetParam().row;
    plugin->configView();
    ASSERT_EQ(plugin->numberOfRowsInTableView(&view.syncedCalendarsList), 3);
    EXPECT_EQ(view.sharingTabView.isHidden, GetParam().isHidden);
}

// Cells.

TEST_F(ConfigView, ShowsACalendarAsTickedWhenItTakesPart)
{
    const std::string key = addCalendar("Arbeit");
    for (const int isActive : {1, 0}) {
        plugin->_activatedCalendars.set(key, isActive);
        EXPECT_EQ(cell("calendarActive", 0), Value(isActive));
    }
}

TEST_F(ConfigView, HasNoStateForACalendarThatNobodyDecidedOn)
{
    addCalendar("Arbeit");
    EXPECT_TRUE(cell("calendarActive", 0).isNil());
}

TEST_F(ConfigView, ShowsTheTitleAndOneBlankOfACalendarWithoutPublishingOptions)
{
    addCalendar("Arbeit");
    EXPECT_EQ(cell("calendarName", 0), Value("Arbeit "));
    EXPECT_EQ(cell("", 0), Value("Arbeit "));
}

struct MarkRow {
    Dictionary options;
    const char* text;
};
class ConfigViewMark : public ConfigView, public ::testing::WithParamInterface<MarkRow> {};
INSTANTIATE_TEST_SUITE_P(Options, ConfigViewMark,
                         ::testing::Values(MarkRow{{{"Public", 1}}, "Arbeit (Öffentlich)"},
                                           MarkRow{{{"Public", true}}, "Arbeit (Öffentlich)"},
                                           MarkRow{{{"Public", 0}}, "Arbeit "},
                                           MarkRow{{}, "Arbeit "}));

TEST_P(ConfigViewMark, StandsBehindTheTitleOfAPublishedCalendar)
{
    plugin->_publicCalendars.set(addCalendar("Arbeit"), GetParam().options);
    EXPECT_EQ(cell("calendarName", 0), Value(GetParam().text));
}

TEST_F(ConfigView, ShowsAnEmptyCellInsteadOfAnException)
{
    EXPECT_EQ(cell("calendarName", 0), Value(""));
    EXPECT_EQ(cell("calendarActive", -1), Value(""));
    plugin->_publicCalendars.set(addCalendar("Arbeit"), "keine Optionen");
    EXPECT_EQ(cell("calendarName", 0), Value(""));
    EXPECT_THAT(systemLog, IsEmpty());
}

TEST_F(ConfigView, GivesEachRowTheColourOfItsCalendar)
{
    addCalendar("Arbeit");
    EXPECT_EQ(plugin->tableViewColorForRow(&view.syncedCalendarsList, 0), std::nullopt);
    plugin->_localCalendarsList[0]->setColor("#0252D4");
    EXPECT_EQ(plugin->tableViewColorForRow(&view.syncedCalendarsList, 0), "#0252D4");
    EXPECT_EQ(plugin->tableViewColorForRow(&view.syncedCalendarsList, 1), std::nullopt);
}

TEST_F(ConfigView, KnowsEachRowByTheRecordKeyOfItsCalendar)
{
    const std::string key = addCalendar("Arbeit");
    EXPECT_EQ(plugin->tableViewIdentityOfRow(&view.syncedCalendarsList, 0), key);
    EXPECT_EQ(plugin->tableViewIdentityOfRow(&view.syncedCalendarsList, 1), std::nullopt);
}

// Edits.

class ConfigViewTick : public ConfigView, public ::testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(States, ConfigViewTick, ::testing::Values(0, 1));

TEST_P(ConfigViewTick, SetsTheFullSyncPreferenceAndShowsTheNoticeAtOnce)
{
    const std::string key = addCalendar("Arbeit");
    plugin->_activatedCalendars.set(key, 1 - GetParam());
    setCell("calendarActive", 0, GetParam());
    EXPECT_THAT(view.calls,
                ElementsAre("updatePreference:ICAL_SYNC_PLUGIN_SYNCED_PLUGINS=" +
                                Dictionary{{key, GetParam()}}.description(),
                            "updatePreference:ICAL_SYNC_PLUGIN_FULL_SYNC=1",
                            std::string("syncCalendarsStatusLabel.setStringValue:") + kNotice));
    EXPECT_EQ(cell("calendarActive", 0), Value(GetParam()));
    EXPECT_EQ(view.syncCalendarsStatusLabel.text,
              "Die Kalender werden beim nächsten Mal vollständig synchronisiert");
}

TEST_F(ConfigView, LetsOnlyTheCheckBoxesBeEdited)
{
    addCalendar("Arbeit");
    setCell("calendarName", 0, "Büro");
    EXPECT_EQ(cell("calendarName", 0), Value("Arbeit "));
    EXPECT_THAT(view.calls, IsEmpty());
}

TEST_F(ConfigView, LogsTheExceptionOfAnEditAndStoresNothing)
{
    const std::string key = addCalendar("Arbeit");
    setCell("calendarActive", 0, Value());
    setCell("calendarActive", 1, 1);
    EXPECT_THAT(view.calls,
                ElementsAre(inSystemLog("CorvidPluginsHelber tableView:setObjectValue: nil kann "
                                        "nicht in ein Wörterbuch (Schlüssel: " +
                                        key + ")"),
                            inSystemLog("CorvidPluginsHelber tableView:setObjectValue: no calendar "
                                        "in row 1")));
    EXPECT_EQ(plugin->_activatedCalendars.size(), 0u);
}

// Loading.

TEST_F(ConfigView, IsLoadedAtCreationFromThePluginsBundle)
{
    EXPECT_THAT(nibLoader.requests, ElementsAre("ICalSyncPlugin in /bundle"));
}

TEST_F(ConfigView, IsLetGoOfWithThePlugin)
{
    plugin->configView();
    view.calls.clear();
    plugin.reset();
    EXPECT_THAT(view.calls, ElementsAre("syncedCalendarsList.setDelegate:0",
                                        "syncedCalendarsList.setDataSource:0", "nib released"));
}

TEST_F(ConfigView, ConnectsEveryOutletByName)
{
    EXPECT_EQ(plugin->_outlets.configView, &view.configView);
    EXPECT_EQ(plugin->_outlets.syncedCalendarsList, &view.syncedCalendarsList);
    EXPECT_EQ(plugin->_outlets.syncCalendarsStatusLabel, &view.syncCalendarsStatusLabel);
    EXPECT_EQ(plugin->_outlets.sharingTabView, &view.sharingTabView);
    EXPECT_EQ(plugin->_outlets.activatePublicSharingButton, &view.activatePublicSharingButton);
    EXPECT_EQ(plugin->_outlets.publishEventsCheckbox, &view.publishEventsCheckbox);
    EXPECT_EQ(plugin->_outlets.publishTasksCheckbox, &view.publishTasksCheckbox);
    EXPECT_EQ(plugin->_outlets.anonymizeAllCheckbox, &view.anonymizeAllCheckbox);
    EXPECT_EQ(plugin->_outlets.showPublicCalendarsInBrowserButton,
              &view.showPublicCalendarsInBrowserButton);
    EXPECT_EQ(plugin->_outlets.publicSharingProgress, &view.publicSharingProgress);
    EXPECT_EQ(plugin->_outlets.publicSharingStatusLabel, &view.publicSharingStatusLabel);
}

TEST_F(ConfigView, TakesNoOutletOfAnotherNameOrKind)
{
    RecordingLabel other{view.calls, "other"};
    EXPECT_FALSE(plugin->setOutlet("other", &other));
    EXPECT_FALSE(plugin->setOutlet("publishEventsCheckbox", &other));
    EXPECT_EQ(plugin->_outlets.publishEventsCheckbox, &view.publishEventsCheckbox);
    EXPECT_TRUE(plugin->setOutlet("publicSharingStatusLabel", &other));
    EXPECT_EQ(plugin->_outlets.publicSharingStatusLabel, &other);
}

TEST_F(ConfigView, HasNoActionOfAnotherName)
{
    EXPECT_FALSE(plugin->actionNamed("activatePublicSharing"));
    EXPECT_FALSE(plugin->actionNamed(""));
}

class ConfigViewMissing : public ConfigView, public ::testing::WithParamInterface<bool> {
protected:
    ConfigViewMissing()
    {
        nibLoader.isMissing = GetParam();
        if (!GetParam())
            setClass(NibLoader::className, nullptr);
        plugin.emplace(&host, "/bundle");
        view.calls.clear();
    }
};
INSTANTIATE_TEST_SUITE_P(FileOrLoader, ConfigViewMissing, ::testing::Bool());

TEST_P(ConfigViewMissing, LeavesTheOutletsNilAndAllElseAtWork)
{
    writeCalendar("A", "Arbeit");
    EXPECT_EQ(plugin->configView(), nullptr);
    EXPECT_EQ(plugin->_outlets.syncedCalendarsList, nullptr);
    EXPECT_EQ(plugin->numberOfRowsInTableView(nullptr), 1);
    setCell("calendarActive", 0, 0);
    EXPECT_EQ(cell("calendarActive", 0), Value(0));
    EXPECT_EQ(host.script.preferences["ICAL_SYNC_PLUGIN_FULL_SYNC"], Value(true));
    plugin->tableViewSelectionDidChange();
    plugin->activatePublicSharing(nullptr);
    plugin->changePublishOptionCheckbox(nullptr);
    plugin->updateUI();
    EXPECT_THAT(view.calls, Not(Contains(::testing::HasSubstr("connection."))));
    plugin.reset();
}

}  // namespace
}  // namespace kt::test
