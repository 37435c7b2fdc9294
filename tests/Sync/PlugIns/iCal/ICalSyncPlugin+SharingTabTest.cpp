#include "tests/Sync/PlugIns/iCal/ConfigViewFixture.h"

namespace kt::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

using SharingTab = ConfigViewFixture;

// Selecting a calendar.

TEST_F(SharingTab, AsksTheServiceWithTheControlsOffAndThenShowsWhatItSays)
{
    const std::string key = addSelectedCalendar("Arbeit", options(0, 1, 0, 0));
    plugin->tableViewSelectionDidChange();
    EXPECT_THAT(
        view.calls,
        ElementsAre(
            "publicSharingProgress.startAnimation",
            "publicSharingStatusLabel.setStringValue:Daten abfragen...",
            "publicSharingStatusLabel.display", "activatePublicSharingButton.setEnabled:0",
            "activatePublicSharingButton.display", "publishEventsCheckbox.setEnabled:0",
            "publishEventsCheckbox.display", "publishTasksCheckbox.setEnabled:0",
            "publishTasksCheckbox.display", "anonymizeAllCheckbox.setEnabled:0",
            "anonymizeAllCheckbox.display", "showPublicCalendarsInBrowserButton.setEnabled:0",
            "showPublicCalendarsInBrowserButton.display",
            "connection.initForPlugin:nil withName:iCal andFileLogger:nil",
            "connection.list:ical-calendar nil key:" + key, updateOfPublished(),
            "publicSharingProgress.stopAnimation", "publicSharingStatusLabel.setStringValue:",
            "activatePublicSharingButton.setTitle:Veröffentlichen...",
            "publishEventsCheckbox.setEnabled:0", "publishTasksCheckbox.setEnabled:1",
            "anonymizeAllCheckbox.setEnabled:1", "showPublicCalendarsInBrowserButton.setEnabled:0",
            "activatePublicSharingButton.setEnabled:1", "publishEventsCheckbox.setIntValue:1",
            "publishTasksCheckbox.setIntValue:0", "anonymizeAllCheckbox.setIntValue:0",
            "sharingTabView.setHidden:0"));
}

TEST_F(SharingTab, IsHiddenForABirthdayCalendarWithoutAQuery)
{
    addCalendar("Geburtstage", kCalendarTypeBirthday);
    view.syncedCalendarsList.select(0);
    EXPECT_THAT(view.calls, ElementsAre("sharingTabView.setHidden:1"));
}

TEST_F(SharingTab, IsHiddenWithoutASelectionWithoutAQuery)
{
    addCalendar("Arbeit");
    view.syncedCalendarsList.select(-1);
    EXPECT_THAT(view.calls, ElementsAre("sharingTabView.setHidden:1"));
}

TEST_F(SharingTab, TakesOverWhatTheServiceReportsAsPublishedWithEventsAndAnon)
{
    service.sharings = {Dictionary{{"public", "YES"}, {"publicOptions", "EVENTS  ANON"}}};
    const std::string key = addCalendar("Arbeit");
    view.syncedCalendarsList.select(0);
    EXPECT_EQ(storedOptions(key), Value(options(1, 1, 0, 1)));
    EXPECT_EQ(cell("calendarName", 0), Value("Arbeit (Öffentlich)"));
}

struct SharingRow {
    Dictionary sharing;
    int isPublic;
    int events;
    int tasks;
    int anonymize;
};
class SharingTabReport : public SharingTab, public ::testing::WithParamInterface<SharingRow> {};
INSTANTIATE_TEST_SUITE_P(
    Sharings, SharingTabReport,
    ::testing::Values(
        SharingRow{{{"public", "YES"}, {"publicOptions", "EVENTS TASKS ANON"}}, 1, 1, 1, 1},
        SharingRow{{{"public", "YES"}, {"publicOptions", " TASKS "}}, 1, 0, 1, 0},
        SharingRow{{{"public", "YES"}, {"publicOptions", "xANONxTASKSx"}}, 1, 0, 1, 1},
        SharingRow{{{"public", "NO"}, {"publicOptions", "EVENTS  "}}, 0, 1, 0, 0},
        SharingRow{{{"public", "yes"}, {"publicOptions", "events"}}, 0, 0, 0, 0},
        SharingRow{{{"public", "YES"}}, 1, 0, 0, 0}, SharingRow{{}, 0, 0, 0, 0}));

TEST_P(SharingTabReport, IsStoredWordByWord)
{
    service.sharings = {GetParam().sharing, Dictionary{{"public", "YES"}}};
    const std::string key = addSelectedCalendar("Arbeit", options(0, 1, 1, 1));
    plugin->tableViewSelectionDidChange();
    EXPECT_EQ(storedOptions(key), Value(options(GetParam().isPublic, GetParam().events,
                                                GetParam().tasks, GetParam().anonymize)));
}

struct StoredRow {
    Dictionary before;
    Dictionary after;
};
class SharingTabWithoutReport : public SharingTab,
                                public ::testing::WithParamInterface<StoredRow> {};
INSTANTIATE_TEST_SUITE_P(
    Stored, SharingTabWithoutReport,
    ::testing::Values(
        StoredRow{{{"Public", 1}, {"PublishEvents", 0}, {"PublishTasks", 1}, {"Anonymize", 1}},
                  {{"Public", 0}, {"PublishEvents", 0}, {"PublishTasks", 1}, {"Anonymize", 1}}},
        StoredRow{{{"Public", 1}, {"PublishTasks", 1}, {"Anonymize", 1}}, {{"Public", 0}}},
        StoredRow{{{"Public", 1}, {"PublishEvents", 1}, {"Anonymize", 1}},
                  {{"Public", 0}, {"PublishEvents", 1}}},
        StoredRow{{}, {{"Public", 0}}}));

TEST_P(SharingTabWithoutReport, KeepsTheStoredChoicesUpToTheFirstThatIsMissing)
{
    const std::string key = addSelectedCalendar("Arbeit", GetParam().before);
    plugin->tableViewSelectionDidChange();
    EXPECT_EQ(storedOptions(key), Value(GetParam().after));
}

TEST_F(SharingTab, StoresNothingAndShowsNoErrorWhenTheQueryFails)
{
    service.succeeds = false;
    service.sharings = {Dictionary{{"public", "YES"}}};
    const std::string key = addSelectedCalendar("Arbeit", options(1, 1, 1, 0));
    plugin->tableViewSelectionDidChange();
    EXPECT_THAT(
        view.calls,
        ElementsAre(
            "publicSharingProgress.startAnimation",
            "publicSharingStatusLabel.setStringValue:Daten abfragen...",
            "publicSharingStatusLabel.display", "activatePublicSharingButton.setEnabled:0",
            "activatePublicSharingButton.display", "publishEventsCheckbox.setEnabled:0",
            "publishEventsCheckbox.display", "publishTasksCheckbox.setEnabled:0",
            "publishTasksCheckbox.display", "anonymizeAllCheckbox.setEnabled:0",
            "anonymizeAllCheckbox.display", "showPublicCalendarsInBrowserButton.setEnabled:0",
            "showPublicCalendarsInBrowserButton.display",
            "connection.initForPlugin:nil withName:iCal andFileLogger:nil",
            "connection.list:ical-calendar nil key:" + key, "publicSharingProgress.stopAnimation",
            "publicSharingStatusLabel.setStringValue:",
            "activatePublicSharingButton.setTitle:Veröffentlichung aufheben...",
            "publishEventsCheckbox.setEnabled:0", "publishTasksCheckbox.setEnabled:0",
            "anonymizeAllCheckbox.setEnabled:0", "showPublicCalendarsInBrowserButton.setEnabled:1",
            "activatePublicSharingButton.setEnabled:1", "publishEventsCheckbox.setIntValue:1",
            "publishTasksCheckbox.setIntValue:1", "anonymizeAllCheckbox.setIntValue:0",
            "sharingTabView.setHidden:0"));
    EXPECT_EQ(plugin->_publicCalendars[key], Value(options(1, 1, 1, 0)));
}

TEST_F(SharingTab, StaysUsableOnAHostWithoutAPublishingService)
{
    setClass(KTSyncConnectionClass::className, nullptr);
    addSelectedCalendar("Arbeit", options(0, 1, 0, 0));
    plugin->tableViewSelectionDidChange();
    EXPECT_THAT(view.calls, Not(Contains(StartsWith("updatePreference:"))));
    EXPECT_FALSE(view.sharingTabView.isHidden);
    EXPECT_TRUE(view.activatePublicSharingButton.isEnabled);
}

// The controls.

TEST_F(SharingTab, OffersToTakeAPublishedCalendarBackWithItsOptionsLocked)
{
    addSelectedCalendar("Arbeit", options(1, 1, 0, 1));
    plugin->updateUI();
    EXPECT_THAT(view.calls,
                ElementsAre("activatePublicSharingButton.setTitle:Veröffentlichung aufheben...",
                            "publishEventsCheckbox.setEnabled:0",
                            "publishTasksCheckbox.setEnabled:0",
                            "anonymizeAllCheckbox.setEnabled:0",
                            "showPublicCalendarsInBrowserButton.setEnabled:1",
                            "activatePublicSharingButton.setEnabled:1",
                            "publishEventsCheckbox.setIntValue:1",
                            "publishTasksCheckbox.setIntValue:0",
                            "anonymizeAllCheckbox.setIntValue:1"));
}

TEST_F(SharingTab, TreatsACalendarWithoutOptionsAsUnpublishedWithEmptyBoxes)
{
    addSelectedCalendar("Arbeit", {});
    setCheckboxes(1, 1, 1);
    plugin->updateUI();
    EXPECT_EQ(view.activatePublicSharingButton.title, "Veröffentlichen...");
    EXPECT_EQ(view.publishEventsCheckbox.state, 0);
    EXPECT_EQ(view.publishTasksCheckbox.state, 0);
    EXPECT_EQ(view.anonymizeAllCheckbox.state, 0);
}

TEST_F(SharingTab, LeavesTheControlsAloneWithoutASelection)
{
    addCalendar("Arbeit");
    plugin->updateUI();
    EXPECT_THAT(view.calls, IsEmpty());
}

}  // namespace
}  // namespace kt::test
