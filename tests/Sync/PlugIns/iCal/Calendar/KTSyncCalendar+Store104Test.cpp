// A calendar's own files in the 10.4 layout.

#include "tests/Sync/PlugIns/iCal/Calendar/Store104Fixture.h"
#include "tests/support/FailingFileManager.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

const std::string kHead =
    "BEGIN:VCALENDAR\r\n"
    "CALSCALE:GREGORIAN\r\n"
    "PRODID:-//Apple Computer\\, Inc//iCal 2.0//EN\r\n"
    "VERSION:2.0\r\n";

class Items104 : public Store104Fixture {
protected:
    const std::string folder = folderOf("source");

    std::string text() const { return home.read(folder + "corestorage.ics").value_or("(none)"); }
    Dictionary info() const
    {
        return storedDictionary(folder + "Info.plist").value_or(Dictionary{{"(none)", true}});
    }
    std::shared_ptr<KTSyncEvent> party() { return event("SUMMARY:Fest\nDTSTART:20071224T100000Z"); }
    std::shared_ptr<KTSyncTask> shopping() { return task("SUMMARY:Einkaufen"); }
};

TEST_F(Items104, AreOneFileWithAllEventsThenAllTasks)
{
    const auto made = calendar();
    made->addTask(shopping());
    made->addEvent(party());
    made->addEvent(event("SUMMARY:Feier\nDTSTART:20071225T100000Z"));
    ASSERT_TRUE(made->storeEventsAndTasks());
    const auto& events = *made->events();
    EXPECT_EQ(text(), kHead + events[0]->iCalLines() + events[1]->iCalLines() +
                          made->tasks()->front()->iCalLines() + "END:VCALENDAR\r\n");
    EXPECT_LT(text().find("SUMMARY:Feier"), text().find("SUMMARY:Einkaufen"));
}

TEST_F(Items104, AreAnEmptyEnvelopeForACalendarWithoutItems)
{
    ASSERT_TRUE(calendar()->storeEventsAndTasks());
    EXPECT_EQ(text(), kHead + "END:VCALENDAR\r\n");
}

TEST_F(Items104, AreNotLoadedToBeWritten)
{
    writeItems("source", "BEGIN:VTODO\r\nSUMMARY:alt\r\nEND:VTODO\r\n");
    ASSERT_TRUE(calendar()->storeEventsAndTasks());
    EXPECT_EQ(text(), kHead + "END:VCALENDAR\r\n");
}

TEST_F(Items104, OfABirthdayCalendarAreWrittenLikeAllOthers)
{
    const auto made = calendar(kCalendarTypeBirthday);
    made->addEvent(party());
    ASSERT_TRUE(made->storeEventsAndTasks());
    EXPECT_THAT(text(), HasSubstr("SUMMARY:Fest"));
}

TEST_F(Items104, CarryTheirRecordKeyAsUID)
{
    const auto made = calendar();
    made->addEvent(event("UID:alt\nSUMMARY:Fest\nDTSTART:20071224T100000Z"));
    ASSERT_TRUE(made->storeEventsAndTasks());
    const auto& stored = *made->events()->front();
    EXPECT_EQ(stored.uid(), Value(stored.recordKey()));
    EXPECT_THAT(text(), HasSubstr("UID:" + *stored.recordKey() + "\r\n"));
}

TEST_F(Items104, ThatAreTasksKeepTheirUID)
{
    const auto made = calendar();
    made->addTask(task("UID:alt\nSUMMARY:Einkaufen"));
    made->addTask(task("SUMMARY:Putzen"));
    ASSERT_TRUE(made->storeEventsAndTasks());
    EXPECT_THAT(text(), HasSubstr("\r\nUID:alt\r\n"));
    EXPECT_THAT(text(), HasSubstr("\r\nUID:" + *made->tasks()->at(1)->recordKey() + "\r\n"));
}

TEST_F(Items104, OfASeriesAndItsOccurrenceCarryTheSeriesRecordKeyAsUID)
{
    writeItems("source",
               "BEGIN:VEVENT\r\nUID:u\r\nSUMMARY:Kurs\r\nDTSTART:20071224T100000Z\r\n"
               "RRULE:FREQ=DAILY\r\nEND:VEVENT\r\n"
               "BEGIN:VEVENT\r\nUID:u\r\nSUMMARY:Kurs verlegt\r\nDTSTART:20071225T120000Z\r\n"
               "RECURRENCE-ID:20071225T100000Z\r\nEND:VEVENT\r\n");
    const auto made = calendar();
    ASSERT_NE(made->events(), nullptr);
    ASSERT_EQ(made->events()->size(), 2u);
    const auto& series = *(*made->events())[0];
    const auto& occurrence = *(*made->events())[1];
    EXPECT_EQ(occurrence.recurrenceParentRecordKey(), series.recordKey());
    ASSERT_TRUE(series.recurrenceExceptionDates().has_value());
    EXPECT_EQ(series.recurrenceExceptionDates()->size(), 1u);

    ASSERT_TRUE(made->storeEventsAndTasks());
    EXPECT_EQ(series.uid(), Value(series.recordKey()));
    EXPECT_EQ(occurrence.uid(), Value(series.recordKey()));

    // Written into one file they find one another again.
    const auto again = calendar();
    ASSERT_EQ(again->events()->size(), 2u);
    EXPECT_EQ((*again->events())[1]->recurrenceParentRecordKey(), series.recordKey());
}

TEST_F(Items104, AreReadFromEveryFileOfTheFolderWithTheExtensionIcs)
{
    const std::string one = "BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nSUMMARY:";
    const std::string end = "\r\nEND:VTODO\r\nEND:VCALENDAR\r\n";
    home.write(folder + "corestorage.ics", one + "eins" + end);
    home.write(folder + "other.ics", one + "zwei" + end);
    home.write(folder + "LOUD.ICS", one + "drei" + end);
    home.write(folder + "Events/inner.ics", one + "vier" + end);
    const auto made = calendar();
    ASSERT_NE(made->tasks(), nullptr);
    ASSERT_EQ(made->tasks()->size(), 2u);
    EXPECT_EQ((*made->tasks())[0]->title(), Value("eins"));
    EXPECT_EQ((*made->tasks())[1]->title(), Value("zwei"));
}

TEST_F(Items104, OfOtherFilesOfTheFolderStay)
{
    home.write(folder + "other.ics", "other");
    ASSERT_TRUE(calendar()->storeEventsAndTasks());
    EXPECT_EQ(home.read(folder + "other.ics"), "other");
}

TEST_F(Items104, AreAnnouncedWithTheCalendarsDescriptionAndItsFolder)
{
    const auto made = calendar();
    made->addEvent(party());
    ASSERT_TRUE(made->storeEventsAndTasks());
    EXPECT_THAT(helper.messages(),
                ElementsAre("Name:'Privat', Farbe:'#FF0000', Typ:'CalendarNode', 1 Ereignisse, "
                            "0 Aufgaben, selected",
                            "Privat -> " + home.path(kICal + "Sources/source.calendar")));
    EXPECT_THAT(platform.consoleLines(), IsEmpty());
    EXPECT_THAT(helper.fileLog(), IsEmpty());
}

TEST_F(Items104, OfACalendarWithoutAFolderAreNotWritten)
{
    const auto made = calendar(kCalendarTypeNode, std::nullopt);
    EXPECT_FALSE(made->storeEventsAndTasks());
    EXPECT_THAT(helper.messages(), ElementsAre("Kalender 'Privat' ohne corestoragepath"));
    EXPECT_THAT(platform.consoleLines(), ElementsAre("Kalender 'Privat' ohne corestoragepath"));
    EXPECT_THAT(home.tree(), IsEmpty());
}

// The description.

struct InfoRow {
    std::int32_t calendarType;
    const char* sourceType;
};
class Info104 : public Items104, public ::testing::WithParamInterface<InfoRow> {};

INSTANTIATE_TEST_SUITE_P(Rows, Info104,
                         ::testing::Values(InfoRow{0, "com.apple.ical.sources.naivereadwrite"},
                                           InfoRow{1, "com.apple.ical.sources.naivereadwrite"},
                                           InfoRow{2, "com.apple.ical.sources.urlsubscribesource"},
                                           InfoRow{3, "com.apple.ical.sources.birthdays"},
                                           InfoRow{7, "com.apple.ical.sources.naivereadwrite"}));

TEST_P(Info104, HoldsExactlyTitleKeyAndType)
{
    const auto made = calendar(GetParam().calendarType);
    made->setNotes("gehen verloren");
    ASSERT_TRUE(made->storeEventsAndTasks());
    EXPECT_EQ(info(), (Dictionary{{"Title", "Privat"},
                                  {"Key", "source"},
                                  {"Type", GetParam().sourceType}}));
    EXPECT_EQ(home.exists(folder + "Properties.plist"),
              GetParam().calendarType == kCalendarTypeSubscriber);
}

TEST_F(Items104, OfACalendarWithoutATitleHaveADescriptionWithItsTypeAlone)
{
    const auto made = calendar();
    made->setTitle(std::nullopt);
    ASSERT_TRUE(made->storeEventsAndTasks());
    EXPECT_EQ(info(), (Dictionary{{"Type", kOrdinary}}));
}

TEST_F(Items104, ReplaceTheDescriptionAndDoNotMergeIt)
{
    home.write(folder + "Info.plist",
               xmlPropertyList(Dictionary{{"Notes", "alt"}, {"Title", "X"}}));
    ASSERT_TRUE(calendar()->storeEventsAndTasks());
    EXPECT_FALSE(info().contains("Notes"));
}

// Failures.

TEST_F(Items104, ThatCannotBeWrittenGetNoDescription)
{
    home.makeFolder(folder + "corestorage.ics");
    EXPECT_FALSE(calendar(kCalendarTypeSubscriber)->storeEventsAndTasks());
    EXPECT_FALSE(home.exists(folder + "Info.plist"));
    EXPECT_FALSE(home.exists(folder + "Properties.plist"));
}

TEST_F(Items104, WithoutADescriptionAreAFailure)
{
    home.makeFolder(folder + "Info.plist");
    EXPECT_FALSE(calendar()->storeEventsAndTasks());
    EXPECT_EQ(text(), kHead + "END:VCALENDAR\r\n");
}

TEST_F(Items104, WithoutTheirSubscriptionAreASuccessThatTellsTheLoss)
{
    home.makeFolder(folder + "Properties.plist");
    EXPECT_TRUE(calendar(kCalendarTypeSubscriber)->storeEventsAndTasks());
    EXPECT_TRUE(home.exists(folder + "Info.plist"));
    EXPECT_THAT(losses(), ElementsAre(KTLoss{"Privat", home.path(folder + "Properties.plist"),
                                             "Die Abo-Beschreibung konnte nicht geschrieben "
                                             "werden"}));
}

TEST_F(Items104, AreWholeOrAsBeforeWhicheverOperationFails)
{
    const std::string oldItems = kHead + "X-OLD:1\r\nEND:VCALENDAR\r\n";
    const std::string oldInfo = xmlPropertyList(Dictionary{{"Title", "alt"}});
    const std::string newItems = kHead + "END:VCALENDAR\r\n";
    for (std::size_t failing = 1;; ++failing) {
        home.remove("Library");
        home.write(folder + "corestorage.ics", oldItems);
        home.write(folder + "Info.plist", oldInfo);
        home.write(folder + "Properties.plist", "alt");
        const auto files = failFileOperation(failing);
        const bool isStored = calendar(kCalendarTypeSubscriber)->storeEventsAndTasks();
        if (!files->hasFailed()) {
            EXPECT_TRUE(isStored);
            EXPECT_EQ(failing, 4u);  // items, subscription and description
            return;
        }
        const bool hasNewInfo = info()["Title"] == Value("Privat");
        EXPECT_TRUE(text() == oldItems || text() == newItems);
        EXPECT_TRUE(hasNewInfo || home.read(folder + "Info.plist") == oldInfo);
        EXPECT_EQ(isStored, hasNewInfo && text() == newItems);
    }
}

TEST_F(Items104, LogTheTextThatWasBuiltWhenAnExceptionEndsTheWriting)
{
    const auto made = calendar();
    made->addEvent(party());
    helper.script.before = [](std::string_view call) {
        if (call.starts_with("logMsg:Privat -> "))
            throw Exception("Name", "Grund");
    };
    EXPECT_EQ(reasonOfException([&] { made->storeEventsAndTasks(); }), "Grund");
    ASSERT_EQ(helper.fileLog().size(), 1u);
    EXPECT_THAT(helper.fileLog()[0],
                StartsWith("[KTSyncCalendar storeEventsAndTasks(104)]: " + kHead));
    EXPECT_THAT(helper.fileLog()[0], HasSubstr("SUMMARY:Fest\r\n"));
    EXPECT_THAT(helper.fileLog()[0], ::testing::EndsWith("END:VCALENDAR\r\n\nGrund"));
}

TEST_F(Items104, LogTheDescriptionWhenASubscriberOfTheWrongKindEndsTheWriting)
{
    const auto made = calendar(kCalendarTypeSubscriber);
    made->setSubscriber("text");
    EXPECT_EQ(reasonOfException([&] { made->storeEventsAndTasks(); }),
              "Wörterbuch erwartet, Text gefunden");
    const Dictionary built{{"Title", "Privat"}, {"Key", "source"}, {"Type", kSubscription}};
    EXPECT_THAT(
        helper.fileLog(),
        ElementsAre(stringWithFormat("[KTSyncCalendar storeEventsAndTasks(104,info.plist)]: %@\n%@",
                                     built, "Wörterbuch erwartet, Text gefunden"),
                    stringWithFormat("[KTSyncCalendar storeEventsAndTasks(104)]: %@\n%@",
                                     kHead + "END:VCALENDAR\r\n",
                                     "Wörterbuch erwartet, Text gefunden")));
    EXPECT_FALSE(home.exists(folder + "Info.plist"));
}

class Items104WithoutStore : public Items104, public ::testing::WithParamInterface<int> {};

INSTANTIATE_TEST_SUITE_P(Versions, Items104WithoutStore, ::testing::Values(-1, 0, 3, 6));

TEST_P(Items104WithoutStore, HaveNoFolder)
{
    helper.script.macOSVersion = GetParam();
    const auto made = calendar();
    EXPECT_FALSE(made->loadEventsAndTasks());
    EXPECT_FALSE(made->storeEventsAndTasks());
    EXPECT_THAT(helper.messages(), ElementsAre("loadEventsAndTasks: _corestoragePath == nil",
                                               "Kalender 'Privat' ohne corestoragepath"));
    EXPECT_THAT(home.tree(), IsEmpty());
}

}  // namespace
}  // namespace kt::test
