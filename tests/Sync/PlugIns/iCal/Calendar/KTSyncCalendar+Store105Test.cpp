#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "tests/Sync/PlugIns/iCal/Calendar/ModelFixture.h"
#include "tests/support/FailingFileManager.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Key;
using testing::UnorderedElementsAre;

const std::string kFolder = "Library/Calendars/source.calendar";

class KTSyncCalendarStore105 : public ModelFixture {
protected:
    std::shared_ptr<KTSyncEvent> eventNamed(const std::string& key, Dictionary more = {})
    {
        Dictionary record{{"Title", "Ereignis " + key}, {"ParentRecordKey", kParentKey}};
        record.merge(more);
        return KTSyncEvent::syncEventWithPluginHelper(&helper, key, record);
    }
    std::shared_ptr<KTSyncTask> taskNamed(const std::string& key, Dictionary more = {})
    {
        Dictionary record{{"Title", "Aufgabe " + key}, {"ParentRecordKey", kParentKey}};
        record.merge(more);
        return KTSyncTask::syncTaskWithPluginHelper(&helper, key, record);
    }
    /// Two events and a task.
    std::shared_ptr<KTSyncCalendar> filledCalendar(std::int32_t type = kCalendarTypeNode)
    {
        auto made = calendar(type);
        made->addEvent(eventNamed("e1"));
        made->addEvent(eventNamed("e2"));
        made->addTask(taskNamed("t1"));
        return made;
    }
    std::string itemFile(const std::string& name) const
    {
        return home.read(kFolder + "/Events/" + name).value_or("keine Datei");
    }
    static std::string file(const std::string& items)
    {
        return "BEGIN:VCALENDAR\r\nCALSCALE:GREGORIAN\r\n"
               "PRODID:-//Apple Computer\\, Inc//iCal 2.0//EN\r\nVERSION:2.0\r\n" +
               items + "END:VCALENDAR\r\n";
    }
    std::string arrow() const { return "Privat -> " + home.path(kFolder); }
};

/// An alarm whose date is none.
Dictionary unwritable()
{
    return {{"Alarms", Array{Dictionary{{"Action", "DISPLAY"}, {"AbsoluteTrigger", "morgen"}}}}};
}

TEST_F(KTSyncCalendarStore105, EachItemGetsAFileNamedByItsRecordKey)
{
    EXPECT_TRUE(filledCalendar()->storeEventsAndTasks());
    EXPECT_THAT(home.tree(), UnorderedElementsAre(Key(kFolder + "/Events/e1.ics"),
                                                  Key(kFolder + "/Events/e2.ics"),
                                                  Key(kFolder + "/Events/t1.ics")));
    EXPECT_EQ(itemFile("e1.ics"),
              file("BEGIN:VEVENT\r\nSUMMARY:Ereignis e1\r\nUID:e1\r\nEND:VEVENT\r\n"));
    EXPECT_EQ(itemFile("t1.ics"),
              file("BEGIN:VTODO\r\nSUMMARY:Aufgabe t1\r\nUID:t1\r\nEND:VTODO\r\n"));
}

TEST_F(KTSyncCalendarStore105, LogsTheCalendarAndWhereItGoes)
{
    const auto made = filledCalendar();
    EXPECT_TRUE(made->storeEventsAndTasks());
    EXPECT_THAT(helper.calls(), ElementsAre("logMsg:" + made->description(), "logMsg:" + arrow()));
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(KTSyncCalendarStore105, TitlesWithFormatSignsAreLoggedAsTheyAre)
{
    const auto made = calendar();
    made->setTitle("100%@");
    EXPECT_TRUE(made->storeEventsAndTasks());
    EXPECT_THAT(helper.messages().front(), testing::StartsWith("Name:'100%@', Farbe:"));
}

TEST_F(KTSyncCalendarStore105, ACalendarWithoutItemsGetsAFolderWithoutEvents)
{
    EXPECT_TRUE(calendar()->storeEventsAndTasks());
    EXPECT_THAT(home.tree(), ElementsAre(Key(kFolder + "/")));
    const auto empty = calendar();
    EXPECT_NE(empty->events(), nullptr);
    EXPECT_TRUE(empty->storeEventsAndTasks());
    EXPECT_THAT(home.tree(), ElementsAre(Key(kFolder + "/")));
}

TEST_F(KTSyncCalendarStore105, NothingIsLoadedAndNoOldFileIsRemoved)
{
    home.write(kFolder + "/Events/alt.ics", "kaputt");
    const auto made = calendar();
    made->addTask(taskNamed("t1"));
    EXPECT_TRUE(made->storeEventsAndTasks());
    EXPECT_EQ(itemFile("alt.ics"), "kaputt");
    EXPECT_EQ(helper.messages().size(), 2u);
}

TEST_F(KTSyncCalendarStore105, BirthdaysAreNotWritten)
{
    const auto made = filledCalendar(kCalendarTypeBirthday);
    EXPECT_TRUE(made->storeEventsAndTasks());
    EXPECT_THAT(home.tree(), ElementsAre(Key(kFolder + "/")));
    EXPECT_EQ(helper.messages().size(), 2u);
}

TEST_F(KTSyncCalendarStore105, AnEventIsWrittenUnderItsRecordKeyWhateverItsUIDWas)
{
    const auto made = calendar();
    made->addEvent(event("SUMMARY:a\nUID:von der Platte"));
    EXPECT_TRUE(made->storeEventsAndTasks());
    EXPECT_EQ(made->events()->front()->uid(), Value(made->events()->front()->recordKey()));
}

TEST_F(KTSyncCalendarStore105, ATaskKeepsItsUID)
{
    const auto made = calendar();
    made->addTask(task("SUMMARY:a\nUID:von der Platte"));
    EXPECT_TRUE(made->storeEventsAndTasks());
    EXPECT_THAT(itemFile(*made->tasks()->front()->recordKey() + ".ics"),
                HasSubstr("\r\nUID:von der Platte\r\n"));
}

TEST_F(KTSyncCalendarStore105, AnOccurrenceCarriesTheUIDOfItsSeries)
{
    home.write(kFolder + "/Events/a.ics",
               file("BEGIN:VEVENT\r\nSUMMARY:Serie\r\nUID:1\r\nRRULE:FREQ=DAILY\r\nEND:VEVENT\r\n"
                    "BEGIN:VEVENT\r\nSUMMARY:Ausnahme\r\nUID:1\r\n"
                    "RECURRENCE-ID:20071225T100000Z\r\nEND:VEVENT\r\n"));
    const auto made = calendar();
    ASSERT_EQ(made->events()->size(), 2u);
    EXPECT_TRUE(made->storeEventsAndTasks());
    const std::string series = *made->events()->front()->recordKey();
    for (const auto& written : *made->events())
        EXPECT_THAT(itemFile(*written->recordKey() + ".ics"),
                    HasSubstr("\r\nUID:" + series + "\r\n"));
}

TEST_F(KTSyncCalendarStore105, WhatIsStoredLoadsAgain)
{
    EXPECT_TRUE(filledCalendar()->storeEventsAndTasks());
    const auto again = calendar();
    ASSERT_NE(again->events(), nullptr);
    EXPECT_EQ(again->events()->size(), 2u);
    EXPECT_EQ(again->tasks()->size(), 1u);
    EXPECT_EQ(again->events()->front()->title(), Value("Ereignis e1"));
}

TEST_F(KTSyncCalendarStore105, WithoutAFolderNothingIsStored)
{
    helper.script.macOSVersion = 3;
    EXPECT_FALSE(filledCalendar()->storeEventsAndTasks());
    const std::string line = "Kalender 'Privat' ohne corestoragepath";
    EXPECT_THAT(helper.messages(), ElementsAre(line));
    EXPECT_THAT(platform.consoleLines(), ElementsAre(line));
    EXPECT_THAT(home.tree(), IsEmpty());
}

TEST_F(KTSyncCalendarStore105, WithoutASourceKeyNothingIsStored)
{
    EXPECT_FALSE(calendar(0, std::nullopt)->storeEventsAndTasks());
    EXPECT_THAT(helper.messages(), ElementsAre("Kalender 'Privat' ohne corestoragepath"));
}

TEST_F(KTSyncCalendarStore105, ASystemWithoutAStoreStoresNothingAndIsContent)
{
    const auto made = filledCalendar();
    made->corestoragePath();  // kept from a system with one
    helper.script.macOSVersion = 6;
    EXPECT_TRUE(made->storeEventsAndTasks());
    EXPECT_THAT(home.tree(), IsEmpty());
    EXPECT_THAT(helper.calls(), IsEmpty());
}

class BadRecordKey : public KTSyncCalendarStore105,
                     public testing::WithParamInterface<std::string> {};
INSTANTIATE_TEST_SUITE_P(Rows, BadRecordKey,
                         testing::Values("", ".", "..", "a/b", "../../x", std::string("a\0b", 3),
                                         std::string(252, 'x')));
TEST_P(BadRecordKey, CostsOneItemAndOneLogLine)
{
    const auto made = calendar();
    made->addEvent(eventNamed(GetParam()));
    made->addEvent(eventNamed("e2"));
    EXPECT_TRUE(made->storeEventsAndTasks());
    EXPECT_THAT(home.tree(), ElementsAre(Key(kFolder + "/Events/e2.ics")));
    ASSERT_EQ(helper.messages().size(), 3u);
    EXPECT_EQ(helper.messages().back(), "Kalender 'Privat': 'Ereignis " + GetParam() +
                                            "' wird nicht geschrieben, '" + GetParam() +
                                            "' ist als Dateiname nicht erlaubt");
    EXPECT_EQ(classes.losses().size(), 1u);
}

TEST_F(KTSyncCalendarStore105, TheLongestRecordKeyThatMakesAFileName)
{
    const auto made = calendar();
    made->addEvent(eventNamed(std::string(251, 'x')));
    EXPECT_TRUE(made->storeEventsAndTasks());
    EXPECT_EQ(home.tree().size(), 1u);
}

TEST_F(KTSyncCalendarStore105, AnItemThatCannotBeWrittenAsTextIsLoggedAndThrownOn)
{
    const auto made = calendar();
    made->addEvent(eventNamed("e1"));
    made->addEvent(eventNamed("e2", unwritable()));
    made->addEvent(eventNamed("e3"));
    const std::string reason = reasonOfException([&] { made->storeEventsAndTasks(); });
    EXPECT_NE(reason, "");
    EXPECT_EQ(helper.fileLog().back(), "[KTSyncCalendar storeEventsAndTasks(105)]: " +
                                           std::string(kItemFileHeader) + "\n" + reason);
    EXPECT_THAT(home.tree(), ElementsAre(Key(kFolder + "/Events/e1.ics")));
}

TEST_F(KTSyncCalendarStore105, ATaskThatCannotBeWrittenAsTextIsLoggedAndThrownOn)
{
    const auto made = calendar();
    made->addTask(taskNamed("t1", unwritable()));
    EXPECT_THROW(made->storeEventsAndTasks(), Exception);
    EXPECT_THAT(helper.fileLog().back(),
                testing::StartsWith("[KTSyncCalendar storeEventsAndTasks(105)]: "));
}

TEST_F(KTSyncCalendarStore105, AnOldFileOfTheSameNameIsReplaced)
{
    home.write(kFolder + "/Events/e1.ics", "alt");
    EXPECT_TRUE(filledCalendar()->storeEventsAndTasks());
    EXPECT_THAT(itemFile("e1.ics"), HasSubstr("SUMMARY:Ereignis e1"));
}

// Every single file operation fails in turn.

/// The operations of a run in which none fails.
std::vector<std::string> operationsOfARun(KTSyncCalendar& calendar)
{
    const auto files = failFileOperation(0);
    EXPECT_TRUE(calendar.storeEventsAndTasks());
    return files->operations();
}

TEST_F(KTSyncCalendarStore105, CreatesFoldersThenWritesFileAfterFile)
{
    EXPECT_THAT(operationsOfARun(*filledCalendar()),
                ElementsAre("createDirectoryAtPath " + home.path("Library"),
                            "createDirectoryAtPath " + home.path("Library/Calendars"),
                            "createDirectoryAtPath " + home.path(kFolder),
                            "createDirectoryAtPath " + home.path(kFolder + "/Events"),
                            "writeAtomically " + home.path(kFolder + "/Events/e1.ics"),
                            "writeAtomically " + home.path(kFolder + "/Events/e2.ics"),
                            "writeAtomically " + home.path(kFolder + "/Events/t1.ics")));
}

TEST_F(KTSyncCalendarStore105, AFailedWriteEndsTheRunWithWhatWasWrittenInPlace)
{
    const std::vector<std::string> names{"e1.ics", "e2.ics", "t1.ics"};
    for (std::size_t failing = 0; failing < names.size(); ++failing) {
        home.remove("Library");
        helper.clear();
        classes.lossReport().clear();
        for (const std::string& name : names)
            home.write(kFolder + "/Events/" + name, "alt");
        const auto files = failFileOperation(failing + 1);  // the folders are there
        EXPECT_FALSE(filledCalendar()->storeEventsAndTasks());
        EXPECT_EQ(files->operations().size(), failing + 1) << "the rest is not tried";
        for (std::size_t index = 0; index < names.size(); ++index) {
            if (index < failing)
                EXPECT_THAT(itemFile(names[index]), HasSubstr("SUMMARY:"));
            else
                EXPECT_EQ(itemFile(names[index]), "alt");
        }
        const std::string path = home.path(kFolder + "/Events/" + names[failing]);
        EXPECT_EQ(helper.messages().back(), "'" + path + "' konnte nicht geschrieben werden");
        EXPECT_THAT(classes.losses(),
                    ElementsAre(KTLoss{"Privat", path, "Datei konnte nicht geschrieben werden"}));
    }
}

TEST_F(KTSyncCalendarStore105, SuccessMeansThatAllFilesAreThere)
{
    const std::size_t operations = operationsOfARun(*filledCalendar()).size();
    for (std::size_t failing = 1; failing <= operations; ++failing) {
        home.remove("Library");
        // A folder that could not be made is made with the next one that needs it.
        const auto files = failFileOperation(failing);
        const bool stored = filledCalendar()->storeEventsAndTasks();
        EXPECT_TRUE(files->hasFailed());
        EXPECT_EQ(stored, home.tree().size() == 3) << files->operations().back();
    }
}

TEST_F(KTSyncCalendarStore105, ADiskThatFailsFromSomewhereOnIsNoSuccessAndTheNextRunMakesUpForIt)
{
    const std::size_t operations = operationsOfARun(*filledCalendar()).size();
    for (std::size_t failing = 1; failing <= operations; ++failing) {
        home.remove("Library");
        failFileOperation(failing, FailingFileManager::Afterwards::everythingFails);
        EXPECT_FALSE(filledCalendar()->storeEventsAndTasks()) << failing;
        failFileOperation(0);
        EXPECT_TRUE(filledCalendar()->storeEventsAndTasks());
        EXPECT_EQ(home.tree().size(), 3u);
    }
}

TEST_F(KTSyncCalendarStore105, BehindAWriteGuardNothingIsWritten)
{
    const WriteGuard guard;
    EXPECT_FALSE(filledCalendar()->storeEventsAndTasks());
    EXPECT_THAT(home.tree(), IsEmpty());
}

}  // namespace
}  // namespace kt::test
