#include "tests/Sync/PlugIns/iCal/LoadingFixture.h"

namespace kt::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// Refusals.

TEST_F(Loading, GivesNoRecordsForACalendarThatTheHostRefusesNotEvenForItsItems)
{
    writeCalendar("A", "Arbeit");
    writeItems("A", "1.ics", eventLines("Termin"));
    writeCalendar("B", "Zuhause");
    refuse("Arbeit");
    EXPECT_THAT(titles(loaded()), ElementsAre("ical-calendar Zuhause"));
    EXPECT_THAT(host.messages(), Contains("Kalender 'Arbeit': Fehlerhafter Sync-Datensatz"));
    EXPECT_EQ(numCalendars, 1);
    EXPECT_EQ(numEvents, 0);
    EXPECT_THAT(classes.losses(),
                ElementsAre(KTLoss{"Arbeit", home.path(std::string(kStore) + "A.calendar"),
                                   "Der Kalender ergibt keinen gültigen Sync-Datensatz"}));
}

TEST_F(Loading, RemembersNothingOfACalendarThatTheHostRefuses)
{
    writeFolder("A.calendar", with(calendarInfo("A", "Arbeit"), "Checked", false));
    writeFolder("G.group",
                with(with(groupInfo("G", "Gruppe", {}), "Expanded", false), "Checked", false));
    recordClass.accepts = [](const Dictionary&, const std::string&) { return false; };
    EXPECT_THAT(loaded(), IsEmpty());
    EXPECT_THAT(notSelected, IsEmpty());
    EXPECT_THAT(notExpanded, IsEmpty());
    EXPECT_THAT(keysToSync, IsEmpty());
    EXPECT_EQ(activated, Dictionary());
    EXPECT_THAT(skipped, IsEmpty());
    EXPECT_EQ(numSkippedCalendars, 0);
}

TEST_F(Loading, TakesEveryCalendarForRefusedWhenTheHostHasNoRecordClass)
{
    writeCalendar("A", "Arbeit");
    setHostClassTable(KTClassTable());
    EXPECT_THAT(loaded(), IsEmpty());
    EXPECT_THAT(host.messages(), Contains("Kalender 'Arbeit': Fehlerhafter Sync-Datensatz"));
}

TEST_F(Loading, LeavesOutAnEventThatTheHostRefusesWithItsRecordInTheLog)
{
    writeCalendar("A", "Arbeit");
    writeItems("A", "1.ics", eventLines("Termin"));
    writeItems("A", "2.ics", eventLines("Feier"));
    refuse("Termin");
    const auto refused = readStore().begin()->second->events()->front();
    EXPECT_THAT(titles(loaded()), ElementsAre("ical-calendar Arbeit", "ical-event Feier"));
    EXPECT_EQ(numEvents, 1);
    EXPECT_THAT(host.messages(),
                Contains("Kalender 'Arbeit', Ereignis '" + refused->syncRecord().description() +
                         "': Fehlerhafter Sync-Datensatz"));
    EXPECT_THAT(classes.losses(),
                ElementsAre(KTLoss{"Arbeit", home.path(std::string(kStore) + "A.calendar"),
                                   "Das Ereignis 'Termin' ergibt keinen gültigen Sync-Datensatz"}));
}

TEST_F(Loading, LeavesOutATaskThatTheHostRefusesWithItsDescriptionInTheLog)
{
    writeCalendar("A", "Arbeit");
    writeItems("A", "1.ics", taskLines("Aufgabe") + taskLines("Putzen"));
    refuse("Aufgabe");
    const auto parsed = readStore();
    const auto refused = parsed.begin()->second->tasks()->front();
    EXPECT_THAT(titles(loaded()), ElementsAre("ical-calendar Arbeit", "ical-task Putzen"));
    EXPECT_EQ(numTasks, 1);
    EXPECT_THAT(host.messages(), Contains("Kalender 'Arbeit', Aufgabe '" + refused->description() +
                                          "': Fehlerhafter Sync-Datensatz"));
    EXPECT_THAT(classes.losses(),
                ElementsAre(KTLoss{"Arbeit", home.path(std::string(kStore) + "A.calendar"),
                                   "Die Aufgabe 'Aufgabe' ergibt keinen gültigen Sync-Datensatz"}));
}
// Exceptions.

TEST_F(Loading, PutsTheExceptionsDescriptionInPlaceOfAnEventsRecordThatRaisesAndGoesOn)
{
    writeCalendar("A", "Arbeit");
    writeItems("A", "1.ics", eventLines("Termin", "RRULE:INTERVAL=2\r\n"));
    writeItems("A", "2.ics", eventLines("Feier") + taskLines("Aufgabe"));
    std::string description;
    try {
        readStore().begin()->second->events()->front()->syncRecord();
    } catch (const Exception& exception) {
        description = exception.description();
    }
    ASSERT_FALSE(description.empty());
    EXPECT_THAT(titles(loaded()),
                ElementsAre("ical-calendar Arbeit", "ical-event Feier", "ical-task Aufgabe"));
    EXPECT_THAT(host.messages(), Contains("Kalender 'Arbeit', Ereignis '" + description +
                                          "': Fehlerhafter Sync-Datensatz"));
    EXPECT_THAT(classes.losses(),
                ElementsAre(KTLoss{"Arbeit", home.path(std::string(kStore) + "A.calendar"),
                                   "Das Ereignis 'Termin' ergibt keinen gültigen Sync-Datensatz"}));
}

TEST_F(Loading, ShowsTheRecordOfAnEventForWhichSomethingElseRaised)
{
    writeCalendar("A", "Arbeit");
    writeItems("A", "1.ics", eventLines("Termin"));
    const auto event = readStore().begin()->second->events()->front();
    recordClass.accepts = [](const Dictionary&, const std::string& conduit) -> bool {
        if (conduit == "ical-event")
            throw Exception(NSGenericException, "nicht heute");
        return true;
    };
    EXPECT_THAT(titles(loaded()), ElementsAre("ical-calendar Arbeit"));
    EXPECT_THAT(host.messages(),
                Contains("Kalender 'Arbeit', Ereignis '" + event->syncRecord().description() +
                         "': Fehlerhafter Sync-Datensatz"));
}

TEST_F(Loading, EndsTheCalendarsTurnWhenATaskRaisesAndKeepsWhatWasThere)
{
    writeCalendar("A", "Arbeit");
    writeItems("A", "1.ics", eventLines("Termin"));
    writeItems("A", "2.ics",
               taskLines("Erste") +
                   taskLines("Kaputt", "BEGIN:VALARM\r\nTRIGGER:-PT5M\r\nEND:VALARM\r\n") +
                   taskLines("Letzte"));
    writeCalendar("B", "Zuhause");
    EXPECT_THAT(titles(loaded()), ElementsAre("ical-calendar Arbeit", "ical-event Termin",
                                              "ical-task Erste", "ical-calendar Zuhause"));
    EXPECT_EQ(numTasks, 1);
    EXPECT_THAT(host.messages(), Contains(StartsWith("Exception in Kalender 'Arbeit': ")));
    EXPECT_THAT(platform.consoleLines(), Contains(StartsWith("Exception in Kalender 'Arbeit': ")));
    ASSERT_EQ(classes.losses().size(), 1u);
    EXPECT_EQ(classes.losses()[0].calendar, "Arbeit");
    EXPECT_THAT(classes.losses()[0].reason, StartsWith("Der Kalender kann nicht geladen werden: "));
}

TEST_F(Loading, EndsTheTurnOfACalendarWithoutColourWithItsExceptionInBothLogs)
{
    writeFolder("A.calendar", without(calendarInfo("A", "Arbeit"), "Color"));
    writeCalendar("B", "Zuhause");
    EXPECT_THAT(titles(loaded()), ElementsAre("ical-calendar Zuhause"));
    EXPECT_THAT(host.messages(), Contains(StartsWith("Exception in Kalender 'Arbeit': ")));
    EXPECT_THAT(platform.consoleLines(), Contains(StartsWith("Exception in Kalender 'Arbeit': ")));
    EXPECT_EQ(classes.losses().size(), 1u);
}

TEST_F(Loading, ShowsTheExceptionThatEndsACalendarsTurn)
{
    writeCalendar("A", "Arbeit");
    recordClass.accepts = [](const Dictionary&, const std::string&) -> bool {
        throw Exception(NSGenericException, "nicht heute");
    };
    EXPECT_THAT(loaded(), IsEmpty());
    EXPECT_THAT(host.messages(), Contains("Exception in Kalender 'Arbeit': nicht heute"));
    EXPECT_THAT(platform.consoleLines(), Contains("Exception in Kalender 'Arbeit': nicht heute"));
    EXPECT_THAT(classes.losses(),
                ElementsAre(KTLoss{"Arbeit", home.path(std::string(kStore) + "A.calendar"),
                                   "Der Kalender kann nicht geladen werden: nicht heute"}));
}

TEST_F(Loading, DoesNotCarryTheSwitchOfOneCalendarOverToTheNext)
{
    writeCalendar("A", "Aus");
    writeItems("A", "1.ics",
               taskLines("Kaputt", "BEGIN:VALARM\r\nTRIGGER:-PT5M\r\nEND:VALARM\r\n"));
    writeCalendar("B", "Zuhause");
    writeItems("B", "1.ics", eventLines("Kino"));
    activated.set(keyOf("Aus"), 0);
    EXPECT_THAT(titles(loaded()), ElementsAre("ical-calendar Zuhause", "ical-event Kino"));
}

class LoadingForeignObject : public Loading, public ::testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(Conduits, LoadingForeignObject,
                         ::testing::Values("ical-calendar", "ical-event", "ical-task"));

TEST_P(LoadingForeignObject, IsPassedOn)
{
    writeCalendar("A", "Arbeit");
    writeItems("A", "1.ics", eventLines("Termin") + taskLines("Aufgabe"));
    recordClass.accepts = [](const Dictionary&, const std::string& conduit) -> bool {
        if (conduit == GetParam())
            throw 42;
        return true;
    };
    EXPECT_THROW(load(), int);
}

}  // namespace
}  // namespace kt::test
