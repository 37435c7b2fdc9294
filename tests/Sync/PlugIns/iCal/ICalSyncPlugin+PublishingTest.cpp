#include "tests/Sync/PlugIns/iCal/ConfigViewFixture.h"

namespace kt::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Publishing : public ConfigViewFixture {
protected:
    /// A click, as the loaded view passes it on.
    void click(const char* selector)
    {
        const auto action = plugin->actionNamed(selector);
        ASSERT_TRUE(action) << selector;
        action(nullptr);
    }
    void publishOrTakeBack() { click("activatePublicSharing:"); }
};

const char* const kCreated = "connection.initForPlugin:nil withName:iCal andFileLogger:nil";

TEST_F(Publishing, RunsStepByStep)
{
    const std::string key = addSelectedCalendar("Arbeit", options(0, 1, 0, 0));
    setCheckboxes(1, 1, 1);
    publishOrTakeBack();
    EXPECT_THAT(
        view.calls,
        ElementsAre("publicSharingProgress.startAnimation", kCreated,
                    "publicSharingStatusLabel.setStringValue:Kalender veröffentlichen...",
                    "publicSharingStatusLabel.display",
                    "connection.activate:ical-calendar ical-event ical-task mode:RO key:" + key +
                        " options:EVENTS TASKS ANON",
                    inSystemLog("Kalender 'Arbeit' wurde veroeffentlicht"), updateOfPublished(),
                    "syncedCalendarsList.reloadData", "publicSharingProgress.stopAnimation",
                    "publicSharingStatusLabel.setStringValue:",
                    "activatePublicSharingButton.setTitle:Veröffentlichung aufheben...",
                    "publishEventsCheckbox.setEnabled:0", "publishTasksCheckbox.setEnabled:0",
                    "anonymizeAllCheckbox.setEnabled:0",
                    "showPublicCalendarsInBrowserButton.setEnabled:1",
                    "activatePublicSharingButton.setEnabled:1",
                    "publishEventsCheckbox.setIntValue:1", "publishTasksCheckbox.setIntValue:1",
                    "anonymizeAllCheckbox.setIntValue:1"));
}

TEST_F(Publishing, WithOnlyTheEventsBoxTickedSendsEventsAndTwoBlanks)
{
    const std::string key = addSelectedCalendar("Arbeit", options(0, 1, 0, 0));
    setCheckboxes(1, 0, 0);
    publishOrTakeBack();
    EXPECT_THAT(view.calls,
                Contains("connection.activate:ical-calendar ical-event ical-task mode:RO key:" +
                         key + " options:EVENTS  "));
}

struct WordsRow {
    int events;
    int tasks;
    int anonymize;
    const char* words;
};
class PublishingWords : public Publishing, public ::testing::WithParamInterface<WordsRow> {};
INSTANTIATE_TEST_SUITE_P(Boxes, PublishingWords,
                         ::testing::Values(WordsRow{0, 0, 0, "  "},
                                           WordsRow{1, 0, 1, "EVENTS  ANON"},
                                           WordsRow{0, 1, 0, " TASKS "},
                                           WordsRow{0, 0, 1, "  ANON"},
                                           WordsRow{1, 1, 0, "EVENTS TASKS "}));

TEST_P(PublishingWords, StandEachInItsPlace)
{
    const std::string key = addSelectedCalendar("Arbeit", options(0, 1, 0, 0));
    setCheckboxes(GetParam().events, GetParam().tasks, GetParam().anonymize);
    publishOrTakeBack();
    EXPECT_THAT(view.calls,
                Contains("connection.activate:ical-calendar ical-event ical-task mode:RO key:" +
                         key + " options:" + GetParam().words));
}

TEST_F(Publishing, StoresPublicWithTheBoxesAndTurnsTheButtonRound)
{
    const std::string key = addSelectedCalendar("Arbeit", options(0, 1, 1, 0));
    setCheckboxes(1, 0, 1);
    publishOrTakeBack();
    EXPECT_EQ(storedOptions(key), Value(options(1, 1, 0, 1)));
    EXPECT_EQ(view.activatePublicSharingButton.title, "Veröffentlichung aufheben...");
    EXPECT_EQ(cell("calendarName", 0), Value("Arbeit (Öffentlich)"));
}

TEST_F(Publishing, FailsWithALineInTheSystemLogAndNothingChanged)
{
    service.succeeds = false;
    const std::string key = addSelectedCalendar("Arbeit", options(0, 1, 0, 0));
    setCheckboxes(1, 1, 0);
    publishOrTakeBack();
    EXPECT_THAT(
        view.calls,
        ElementsAre("publicSharingProgress.startAnimation", kCreated,
                    "publicSharingStatusLabel.setStringValue:Kalender veröffentlichen...",
                    "publicSharingStatusLabel.display",
                    "connection.activate:ical-calendar ical-event ical-task mode:RO key:" + key +
                        " options:EVENTS TASKS ",
                    inSystemLog("Fehler beim Veroeffentlichen von 'Arbeit': \n"
                                "Der Dienst antwortet nicht"),
                    "syncedCalendarsList.reloadData", "publicSharingProgress.stopAnimation",
                    "publicSharingStatusLabel.setStringValue:",
                    "activatePublicSharingButton.setTitle:Veröffentlichen...",
                    "publishEventsCheckbox.setEnabled:0", "publishTasksCheckbox.setEnabled:1",
                    "anonymizeAllCheckbox.setEnabled:1",
                    "showPublicCalendarsInBrowserButton.setEnabled:0",
                    "activatePublicSharingButton.setEnabled:1",
                    "publishEventsCheckbox.setIntValue:1", "publishTasksCheckbox.setIntValue:0",
                    "anonymizeAllCheckbox.setIntValue:0"));
    EXPECT_EQ(plugin->_publicCalendars[key], Value(options(0, 1, 0, 0)));
}

TEST_F(Publishing, IsTakenBackStepByStep)
{
    const std::string key = addSelectedCalendar("Arbeit", options(1, 1, 0, 0));
    setCheckboxes(1, 0, 0);
    publishOrTakeBack();
    EXPECT_THAT(view.calls,
                ElementsAre("publicSharingProgress.startAnimation", kCreated,
                            "publicSharingStatusLabel.setStringValue:Veröffentlichung aufheben...",
                            "publicSharingStatusLabel.display",
                            "connection.deactivate:ical-calendar ical-event ical-task key:" + key,
                            inSystemLog("Veroeffentlichung von Kalender 'Arbeit' wurde "
                                        "deaktiviert"),
                            updateOfPublished(), "syncedCalendarsList.reloadData",
                            "publicSharingProgress.stopAnimation",
                            "publicSharingStatusLabel.setStringValue:",
                            "activatePublicSharingButton.setTitle:Veröffentlichen...",
                            "publishEventsCheckbox.setEnabled:0",
                            "publishTasksCheckbox.setEnabled:1",
                            "anonymizeAllCheckbox.setEnabled:1",
                            "showPublicCalendarsInBrowserButton.setEnabled:0",
                            "activatePublicSharingButton.setEnabled:1",
                            "publishEventsCheckbox.setIntValue:1",
                            "publishTasksCheckbox.setIntValue:0",
                            "anonymizeAllCheckbox.setIntValue:0"));
}

TEST_F(Publishing, TakenBackKeepsTheThreeOptionsAsTheBoxesShowThem)
{
    const std::string key = addSelectedCalendar("Arbeit", options(1, 1, 0, 0));
    setCheckboxes(0, 1, 1);
    publishOrTakeBack();
    EXPECT_EQ(storedOptions(key), Value(options(0, 0, 1, 1)));
}

TEST_F(Publishing, FailsToBeTakenBackWithALineInTheSystemLogAndNothingChanged)
{
    service.succeeds = false;
    const std::string key = addSelectedCalendar("Arbeit", options(1, 1, 0, 0));
    publishOrTakeBack();
    EXPECT_THAT(
        view.calls,
        ElementsAre("publicSharingProgress.startAnimation", kCreated,
                    "publicSharingStatusLabel.setStringValue:Veröffentlichung aufheben...",
                    "publicSharingStatusLabel.display",
                    "connection.deactivate:ical-calendar ical-event ical-task key:" + key,
                    inSystemLog("Fehler beim Deaktivieren der Veroeffentlichung von 'Arbeit': \n"
                                "Der Dienst antwortet nicht"),
                    "syncedCalendarsList.reloadData", "publicSharingProgress.stopAnimation",
                    "publicSharingStatusLabel.setStringValue:",
                    "activatePublicSharingButton.setTitle:Veröffentlichung aufheben...",
                    "publishEventsCheckbox.setEnabled:0", "publishTasksCheckbox.setEnabled:0",
                    "anonymizeAllCheckbox.setEnabled:0",
                    "showPublicCalendarsInBrowserButton.setEnabled:1",
                    "activatePublicSharingButton.setEnabled:1",
                    "publishEventsCheckbox.setIntValue:1", "publishTasksCheckbox.setIntValue:0",
                    "anonymizeAllCheckbox.setIntValue:0"));
    EXPECT_EQ(plugin->_publicCalendars[key], Value(options(1, 1, 0, 0)));
}

TEST_F(Publishing, FailsWithoutAReasonOnAHostWithoutAPublishingService)
{
    setClass(KTSyncConnectionClass::className, nullptr);
    addSelectedCalendar("Arbeit", options(0, 1, 0, 0));
    publishOrTakeBack();
    EXPECT_THAT(systemLog, ElementsAre("Fehler beim Veroeffentlichen von 'Arbeit': \n(null)"));
    EXPECT_FALSE(view.publicSharingProgress.isAnimating);
}

TEST_F(Publishing, OptionsAreStoredAtEachClickAsUnpublished)
{
    const std::string key = addSelectedCalendar("Arbeit", options(0, 1, 0, 0));
    setCheckboxes(1, 1, 0);
    click("changePublishOptionCheckbox:");
    EXPECT_THAT(view.calls, ElementsAre(updateOfPublished()));
    EXPECT_EQ(storedOptions(key), Value(options(0, 1, 1, 0)));
}

TEST_F(Publishing, DoesNothingWithoutASelection)
{
    addCalendar("Arbeit");
    publishOrTakeBack();
    click("changePublishOptionCheckbox:");
    EXPECT_THAT(view.calls, IsEmpty());
}

// The site.

struct SiteRow {
    const char* site;
    const char* url;
};
class PublishingSite : public Publishing, public ::testing::WithParamInterface<SiteRow> {};
INSTANTIATE_TEST_SUITE_P(
    Addresses, PublishingSite,
    ::testing::Values(SiteRow{"http://site.invalid", "http://site.invalid/vl/calendar"},
                      SiteRow{"http://site.invalid/", "http://site.invalid/vl/calendar"},
                      SiteRow{"https://site.invalid:8080/anna",
                              "https://site.invalid:8080/anna/vl/calendar"}));

TEST_P(PublishingSite, OpensBelowTheHostsAddress)
{
    host.script.publicSiteUrl = GetParam().site;
    click("showPublicCalendarsInBrowser:");
    EXPECT_THAT(workspace.urls, ElementsAre(GetParam().url));
}

TEST_F(Publishing, OpensNothingWithoutAPublicSiteAddress)
{
    for (const bool isEmpty : {true, false}) {
        host.script.publicSiteUrl = isEmpty ? std::optional<std::string>("") : std::nullopt;
        click("showPublicCalendarsInBrowser:");
    }
    EXPECT_THAT(workspace.urls, IsEmpty());
}

TEST_F(Publishing, OpensNothingOnAHostWithoutAWorkspace)
{
    setClass(Workspace::className, nullptr);
    click("showPublicCalendarsInBrowser:");
    EXPECT_THAT(workspace.urls, IsEmpty());
}

}  // namespace
}  // namespace kt::test
