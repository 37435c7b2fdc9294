#include "tests/Sync/PlugIns/iCal/LoadingFixture.h"

namespace kt::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

TEST_F(Loading, GivesEachCalendarsRecordThenItsEventsThenItsTasks)
{
    writeCalendar("A", "Arbeit");
    writeItems("A", "1.ics", taskLines("Aufgabe"));
    writeItems("A", "2.ics", eventLines("Termin"));
    writeItems("A", "3.ics", eventLines("Feier"));
    writeCalendar("B", "Zuhause");
    writeItems("B", "1.ics", taskLines("Putzen"));
    EXPECT_THAT(titles(loaded()),
                ElementsAre("ical-calendar Arbeit", "ical-event Termin", "ical-event Feier",
                            "ical-task Aufgabe", "ical-calendar Zuhause", "ical-task Putzen"));
    EXPECT_EQ(numCalendars, 2);
    EXPECT_EQ(numEvents, 2);
    EXPECT_EQ(numTasks, 2);
    EXPECT_EQ(numSkippedCalendars, 0);
    EXPECT_THAT(skipped, IsEmpty());
    EXPECT_THAT(keysToSync, UnorderedElementsAre(keyOf("Arbeit"), keyOf("Zuhause")));
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(Loading, MakesRecordsOfTypeZeroWithKeysParentsAndConduits)
{
    writeFolder("G.group", groupInfo("G", "Gruppe", {"A"}));
    writeFolder("G.group", with(groupInfo("G", "Gruppe", {"A"}), "Notes", ""));
    writeCalendar("A", "Arbeit");
    writeItems("A", "1.ics", eventLines("Termin"));
    writeItems("A", "2.ics", taskLines("Aufgabe"));
    const auto parsed = readStore();
    const auto arbeit = titled(parsed, "Arbeit");
    const auto gruppe = titled(parsed, "Gruppe");
    const SyncRecordList records = loaded();
    ASSERT_EQ(records.size(), 4u);
    struct Expected {
        std::string key;
        std::optional<std::string> parent;
        std::string conduit;
        Dictionary record;
    };
    const std::vector<Expected> expected{
        {*arbeit->recordKey(), *gruppe->recordKey(), "ical-calendar", arbeit->syncRecord()},
        {*arbeit->events()->front()->recordKey(), *arbeit->recordKey(), "ical-event",
         arbeit->events()->front()->syncRecord()},
        {*arbeit->tasks()->front()->recordKey(), *arbeit->recordKey(), "ical-task",
         arbeit->tasks()->front()->syncRecord()},
        {*gruppe->recordKey(), std::nullopt, "ical-calendar", gruppe->syncRecord()}};
    for (std::size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(records[i]->recordType(), 0);
        EXPECT_EQ(records[i]->recordKey(), expected[i].key);
        EXPECT_EQ(records[i]->recordParentKey(), expected[i].parent);
        EXPECT_EQ(records[i]->conduit(), expected[i].conduit);
        EXPECT_EQ(records[i]->record(), expected[i].record);
    }
}

TEST_F(Loading, CountsOnWithoutResetting)
{
    writeCalendar("A", "Arbeit");
    writeItems("A", "1.ics", eventLines("Termin") + taskLines("Aufgabe"));
    numCalendars = 10;
    numEvents = 20;
    numTasks = 30;
    loaded();
    EXPECT_EQ(numCalendars, 11);
    EXPECT_EQ(numEvents, 21);
    EXPECT_EQ(numTasks, 31);
}

TEST_F(Loading, TellsTheHostHowFarItHasCome)
{
    writeCalendar("A", "Arbeit");
    writeCalendar("B", "Zuhause");
    loaded();
    EXPECT_THAT(host.callsNamed({"progress"}),
                ElementsAre("progress:Arbeit 1/2", "progress:Zuhause 2/2"));
}

TEST_F(Loading, WithoutAStoreGivesNilAndSaysSoToHostAndSystem)
{
    writeFolder("A.calendar", with(calendarInfo("A", "Arbeit"), "Title", 1));
    EXPECT_EQ(load(), std::nullopt);
    EXPECT_EQ(host.messages().back(), "loadCalendarsWithPluginHelper: calendarStore == nil");
    EXPECT_EQ(platform.consoleLines().back(), host.messages().back());
}

TEST_F(Loading, OfAnEmptyStoreGivesNoRecords)
{
    home.makeFolder("Library/Calendars");
    EXPECT_THAT(loaded(), IsEmpty());
}

TEST_F(Loading, SwitchesOnACalendarSeenForTheFirstTimeWithoutStoringThat)
{
    writeCalendar("A", "Arbeit");
    loaded();
    EXPECT_EQ(activated[keyOf("Arbeit")], Value(1));
    EXPECT_THAT(keysToSync, Contains(keyOf("Arbeit")));
    EXPECT_THAT(host.messages(), Contains("Kalender 'Arbeit' wurde aktiviert"));
    EXPECT_THAT(platform.consoleLines(), Contains("Kalender 'Arbeit' wurde aktiviert"));
    EXPECT_THAT(host.callsNamed({"updatePreference"}), IsEmpty());
}

TEST_F(Loading, DoesNotAnnounceACalendarThatIsAlreadySwitchedOn)
{
    writeCalendar("A", "Arbeit");
    activated.set(keyOf("Arbeit"), true);
    loaded();
    EXPECT_THAT(host.messages(), Not(Contains("Kalender 'Arbeit' wurde aktiviert")));
    EXPECT_EQ(numCalendars, 1);
}

TEST_F(Loading, SyncsAGroupThatWasStoredAsSwitchedOffAndTurnsItsEntryToOne)
{
    writeFolder("G.group", groupInfo("G", "Gruppe", {}));
    const std::string key = keyOf("Gruppe", kCalendarTypeGroup);
    activated.set(key, 0);
    EXPECT_THAT(titles(loaded()), ElementsAre("ical-calendar Gruppe"));
    EXPECT_EQ(activated[key], Value(1));
    EXPECT_EQ(numCalendars, 1);
    EXPECT_EQ(numSkippedCalendars, 0);
    EXPECT_THAT(keysToSync, Contains(key));
    EXPECT_THAT(host.messages(), Not(Contains("Kalender 'Gruppe' wurde aktiviert")));
}

TEST_F(Loading, PutsASwitchedOffCalendarWithAllItsItemsAsideAndCountsOnlyTheCalendar)
{
    writeCalendar("A", "Arbeit");
    writeItems("A", "1.ics", eventLines("Termin") + eventLines("Feier") + taskLines("Aufgabe"));
    writeCalendar("B", "Zuhause");
    writeItems("B", "1.ics", eventLines("Kino"));
    activated.set(keyOf("Arbeit"), 0);
    EXPECT_THAT(titles(loaded()), ElementsAre("ical-calendar Zuhause", "ical-event Kino"));
    EXPECT_THAT(titles(skipped), ElementsAre("ical-calendar Arbeit", "ical-event Termin",
                                             "ical-event Feier", "ical-task Aufgabe"));
    EXPECT_EQ(numSkippedCalendars, 1);
    EXPECT_EQ(numCalendars, 1);
    EXPECT_EQ(numEvents, 1);
    EXPECT_EQ(numTasks, 0);
    EXPECT_THAT(keysToSync, UnorderedElementsAre(keyOf("Zuhause")));
    EXPECT_EQ(activated[keyOf("Arbeit")], Value(0));
}

TEST_F(Loading, GivesExactlyOneRecordForABirthdayCalendar)
{
    writeFolder("A.calendar", with(calendarInfo("A", "Geburtstage"), "Type", "Birthday"));
    writeItems("A", "1.ics", eventLines("Anna") + taskLines("Geschenk"));
    EXPECT_THAT(titles(loaded()), ElementsAre("ical-calendar Geburtstage"));
    EXPECT_EQ(numCalendars, 1);
    EXPECT_EQ(numEvents, 0);
    EXPECT_EQ(numTasks, 0);
}

TEST_F(Loading, GivesExactlyOneRecordForASwitchedOffBirthdayCalendar)
{
    writeFolder("A.calendar", with(calendarInfo("A", "Geburtstage"), "Type", "Birthday"));
    writeItems("A", "1.ics", eventLines("Anna"));
    activated.set(keyOf("Geburtstage", kCalendarTypeBirthday), 0);
    EXPECT_THAT(loaded(), IsEmpty());
    EXPECT_THAT(titles(skipped), ElementsAre("ical-calendar Geburtstage"));
}

class LoadingWithoutItems : public Loading, public ::testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(Types, LoadingWithoutItems, ::testing::Values("Local", "Subscription"));

TEST_P(LoadingWithoutItems, GivesNoRecordForACalendarWhoseItemsCannotBeLoaded)
{
    writeFolder("A.calendar",
                with(without(calendarInfo("A", "Arbeit"), "Key"), "Type", GetParam()));
    writeCalendar("B", "Zuhause");
    EXPECT_THAT(titles(loaded()), ElementsAre("ical-calendar Zuhause"));
    EXPECT_THAT(host.messages(), Contains("Keine Ereignisse fuer Kalender: 'Arbeit'"));
    EXPECT_THAT(skipped, IsEmpty());
    EXPECT_EQ(numCalendars, 1);
    EXPECT_EQ(numSkippedCalendars, 0);
    EXPECT_EQ(activated.size(), 1u);
    EXPECT_THAT(keysToSync, UnorderedElementsAre(keyOf("Zuhause")));
    EXPECT_THAT(classes.losses(),
                Contains(KTLoss{"Arbeit", "",
                                "Die Ereignisse des Kalenders können nicht geladen werden"}));
}

TEST_F(Loading, GivesABirthdayCalendarWithoutFolderItsRecordAllTheSame)
{
    writeFolder("A.calendar",
                with(without(calendarInfo("A", "Geburtstage"), "Key"), "Type", "Birthday"));
    EXPECT_THAT(titles(loaded()), ElementsAre("ical-calendar Geburtstage"));
}

TEST_F(Loading, GivesAGroupWithoutFolderItsRecordAllTheSame)
{
    writeFolder("G.group", without(groupInfo("G", "Gruppe", {}), "Key"));
    EXPECT_THAT(titles(loaded()), ElementsAre("ical-calendar Gruppe"));
    EXPECT_THAT(host.messages(), Not(Contains("Keine Ereignisse fuer Kalender: 'Gruppe'")));
}

TEST_F(Loading, LogsWhatItIsDoingCalendarByCalendar)
{
    writeCalendar("A", "Arbeit");
    writeItems("A", "1.ics", eventLines("Termin"));
    activated.set(keyOf("Arbeit"), 1);
    readStore();
    host.clear();
    loaded();
    EXPECT_THAT(host.messages(),
                ElementsAre("Kalender: 'Arbeit'", "Ereignisse laden fuer Kalender: 'Arbeit'",
                            "Name:'Arbeit', Farbe:'#0252D4', Typ:'CalendarNode', 1 Ereignisse, "
                            "0 Aufgaben, selected"));
}

TEST_F(Loading, AsksForTheFolderOfACalendarOnlyWhenItLoadsIt)
{
    writeFolder("A.calendar", with(calendarInfo("A", "Arbeit"), "Key", "../A"));
    activated.set(keyOf("Arbeit"), 1);
    loaded();
    EXPECT_THAT(host.messages(),
                ElementsAre("Kalender: 'Arbeit'", "Ereignisse laden fuer Kalender: 'Arbeit'",
                            "Kalender 'Arbeit': '../A' ist als Ordnername nicht erlaubt",
                            "loadEventsAndTasks: _corestoragePath == nil",
                            "Keine Ereignisse fuer Kalender: 'Arbeit'"));
}

TEST_F(Loading, NeverAsksForTheFolderOfACalendarWithoutItems)
{
    writeFolder("A.calendar",
                with(with(calendarInfo("A", "Geburtstage"), "Type", "Birthday"), "Key", "../A"));
    activated.set(keyOf("Geburtstage", kCalendarTypeBirthday), 1);
    EXPECT_THAT(titles(loaded()), ElementsAre("ical-calendar Geburtstage"));
    EXPECT_THAT(host.messages(),
                testing::Not(Contains("Kalender 'Geburtstage': '../A' ist als Ordnername nicht "
                                      "erlaubt")));
}

TEST_F(Loading, RemembersWhichCalendarsAreNotSelectedAndWhichGroupsAreCollapsed)
{
    writeFolder("A.calendar", with(calendarInfo("A", "Arbeit"), "Checked", false));
    writeCalendar("B", "Zuhause");
    writeFolder("C.calendar", with(calendarInfo("C", "Aus"), "Checked", false));
    writeFolder("G.group", with(groupInfo("G", "Zu", {}), "Expanded", false));
    writeFolder("H.group", with(groupInfo("H", "Offen", {}), "Checked", false));
    writeFolder("I.group",
                with(with(groupInfo("I", "Beides", {}), "Expanded", false), "Checked", false));
    activated.set(keyOf("Aus"), 0);
    loaded();
    EXPECT_THAT(notSelected, UnorderedElementsAre(keyOf("Arbeit"), keyOf("Aus"),
                                                  keyOf("Offen", kCalendarTypeGroup),
                                                  keyOf("Beides", kCalendarTypeGroup)));
    EXPECT_THAT(notExpanded, UnorderedElementsAre(keyOf("Zu", kCalendarTypeGroup),
                                                  keyOf("Beides", kCalendarTypeGroup)));
}

}  // namespace
}  // namespace kt::test
