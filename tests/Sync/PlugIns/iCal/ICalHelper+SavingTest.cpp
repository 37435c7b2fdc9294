#include "tests/Sync/PlugIns/iCal/SavingFixture.h"

namespace kt::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

TEST_F(Saving, WithoutRecordsSaysNoToHostAndSystemAndWritesNothing)
{
    EXPECT_FALSE(save(std::nullopt));
    EXPECT_THAT(host.messages(), ElementsAre("saveCalendars: calendarData == nil"));
    EXPECT_THAT(platform.consoleLines(), ElementsAre("saveCalendars: calendarData == nil"));
    EXPECT_THAT(home.tree(), IsEmpty());
}

TEST_F(Saving, OfNoRecordsWritesAnEmptyStoreAndCountsNothing)
{
    writeCalendar("A", "Arbeit");
    EXPECT_TRUE(save(SyncRecordList{}));
    EXPECT_THAT(storeEntries(), IsEmpty());
    EXPECT_EQ(numCalendars, 0);
    EXPECT_EQ(numEvents, 0);
    EXPECT_EQ(numTasks, 0);
    EXPECT_THAT(host.messages(), ElementsAre("Kalender speichern"));
}

TEST_F(Saving, WritesCalendarsWithTheirItemsAndCountsThem)
{
    EXPECT_TRUE(save(SyncRecordList{calendar("A", "Arbeit"), event("e1", "A"), event("e2", "A"),
                                    task("t1", "A"), calendar("B", "Zuhause"), event("e3", "B")}));
    EXPECT_EQ(numCalendars, 2);
    EXPECT_EQ(numEvents, 3);
    EXPECT_EQ(numTasks, 1);
    for (const char* item : {"e1", "e2", "t1"})
        EXPECT_TRUE(isStored("A", item)) << item;
    EXPECT_TRUE(isStored("B", "e3"));
    EXPECT_THAT(host.messages(), Contains("Kalender: Arbeit"));
    EXPECT_THAT(host.messages(), Contains("Kalender: Zuhause"));
}

TEST_F(Saving, CountsOnWithoutResetting)
{
    numCalendars = 10;
    numEvents = 20;
    numTasks = 30;
    EXPECT_TRUE(save(SyncRecordList{calendar("A", "Arbeit"), event("e", "A"), task("t", "A")}));
    EXPECT_EQ(numCalendars, 11);
    EXPECT_EQ(numEvents, 21);
    EXPECT_EQ(numTasks, 31);
}

TEST_F(Saving, TakesItemsThatComeBeforeTheirCalendar)
{
    EXPECT_TRUE(save(SyncRecordList{event("e1", "A"), task("t1", "A"), calendar("A", "Arbeit"),
                                    event("e2", "A")}));
    for (const char* item : {"e1", "t1", "e2"})
        EXPECT_TRUE(isStored("A", item)) << item;
}

TEST_F(Saving, TakesAnItemsParentFromItsDictionaryNotFromTheRecord)
{
    const auto elsewhere =
        std::make_shared<HostSyncRecord>(0, Dictionary{{"Title", "t"}, {"ParentRecordKey", "B"}},
                                         "e1", "A", "ical-event");
    EXPECT_TRUE(save(SyncRecordList{calendar("A", "Arbeit"), calendar("B", "Zuhause"), elsewhere}));
    EXPECT_TRUE(isStored("B", "e1"));
    EXPECT_FALSE(isStored("A", "e1"));
}

TEST_F(Saving, DropsAnEventWhoseCalendarIsNotThereWithoutAWordOrACount)
{
    EXPECT_TRUE(save(SyncRecordList{event("e1", "FEHLT"), task("t1", "FEHLT")}));
    EXPECT_EQ(numEvents, 0);
    EXPECT_EQ(numTasks, 0);
    EXPECT_THAT(host.messages(), ElementsAre("Kalender speichern"));
    EXPECT_THAT(storeEntries(), IsEmpty());
}

class SavingDefectiveItem : public Saving, public ::testing::WithParamInterface<Value> {};
INSTANTIATE_TEST_SUITE_P(Parents, SavingDefectiveItem,
                         ::testing::Values(Value(), Value(7), Value(Array{})));

TEST_P(SavingDefectiveItem, WithoutAParentIsLoggedToHostAndSystemAndDropped)
{
    Dictionary fields{{"Title", "Termin"}};
    fields.setIfPresent("ParentRecordKey", GetParam());
    const auto defective = record(kConduitEvent, "e1", fields);
    EXPECT_TRUE(save(SyncRecordList{calendar("A", "Arbeit"), defective}));
    const std::string line = "Defekter Datensatz: " + defective->description();
    EXPECT_THAT(host.messages(), Contains(line));
    EXPECT_THAT(platform.consoleLines(), Contains(line));
    EXPECT_EQ(numEvents, 0);
    EXPECT_THAT(lossReasons(), ElementsAre("Der Datensatz 'e1' gehört zu keinem Kalender"));
}

class SavingTombstone : public Saving, public ::testing::WithParamInterface<std::string_view> {};
INSTANTIATE_TEST_SUITE_P(Conduits, SavingTombstone,
                         ::testing::Values(kConduitCalendar, kConduitEvent, kConduitTask));

TEST_P(SavingTombstone, IsNeitherCountedNorWritten)
{
    Dictionary fields = with(calendarFields("Weg", "W"), "ParentRecordKey", "A");
    EXPECT_TRUE(save(SyncRecordList{calendar("A", "Arbeit"),
                                    record(GetParam(), "W", fields, kRecordTypeTombstone)}));
    EXPECT_EQ(numCalendars, 1);
    EXPECT_EQ(numEvents, 0);
    EXPECT_EQ(numTasks, 0);
    EXPECT_THAT(storeEntries(), ElementsAre("A.calendar"));
    EXPECT_FALSE(isStored("A", "W"));
}

TEST_F(Saving, WritesRecordsOfOtherTypesThanTombstones)
{
    EXPECT_TRUE(
        save(SyncRecordList{record(kConduitCalendar, "A", calendarFields("Arbeit", "A"), 2)}));
    EXPECT_EQ(numCalendars, 1);
}

TEST_F(Saving, IgnoresItemsOfAnUnknownConduit)
{
    EXPECT_TRUE(save(SyncRecordList{calendar("A", "Arbeit"),
                                    record("ical-note", "n1",
                                           Dictionary{{"Title", "n"}, {"ParentRecordKey", "A"}})}));
    EXPECT_EQ(numEvents, 0);
    EXPECT_EQ(numTasks, 0);
    EXPECT_FALSE(isStored("A", "n1"));
}

TEST_F(Saving, WritesACalendarThatWasNotSelectedUnselectedAndACollapsedGroupCollapsed)
{
    notSelected = {"A", "H"};
    notExpanded = {"G", "B"};
    EXPECT_TRUE(save(SyncRecordList{calendar("A", "Arbeit"), calendar("B", "Zuhause"),
                                    group("G", "Zu"), group("H", "Offen")}));
    EXPECT_EQ((*storedInfo("A.calendar"))["Checked"], Value(false));
    EXPECT_EQ((*storedInfo("B.calendar"))["Checked"], Value(true));
    EXPECT_EQ((*storedInfo("G.group"))["Checked"], Value(true));
    EXPECT_EQ((*storedInfo("G.group"))["Expanded"], Value(false));
    EXPECT_EQ((*storedInfo("H.group"))["Checked"], Value(false));
    EXPECT_EQ((*storedInfo("H.group"))["Expanded"], Value(true));
}

TEST_F(Saving, WritesCalendarsByAscendingOrderWhateverTheOrderOfTheRecords)
{
    EXPECT_THAT(keysWrittenFor({calendar("A", "vier", 2147483647), calendar("C", "zwei", 0),
                                calendar("B", "drei", 7), calendar("D", "eins", -2147483647 - 1)}),
                ElementsAre("D", "C", "B", "A"));
}

TEST_F(Saving, WritesCalendarsOfEqualOrderByRecordKey)
{
    EXPECT_THAT(keysWrittenFor({calendar("C", "drei", 1), calendar("A", "eins", 1),
                                calendar("B", "zwei", 1), calendar("Z", "null", 0)}),
                ElementsAre("Z", "A", "B", "C"));
}

TEST_F(Saving, TellsTheHostHowFarItHasCome)
{
    EXPECT_TRUE(save(SyncRecordList{calendar("A", "Arbeit", 1), calendar("B", "Zuhause", 2)}));
    EXPECT_THAT(host.callsNamed({"progress"}),
                ElementsAre("progress:Arbeit 1/2", "progress:Zuhause 2/2"));
}

TEST_F(Saving, SaysNoToHostAndSystemWhenTheStoreCannotBeWritten)
{
    EXPECT_FALSE(save(SyncRecordList{
        record(kConduitCalendar, "A", without(calendarFields("Arbeit", "A"), "Color"))}));
    EXPECT_EQ(host.messages().back(), "[KTSyncCalendarStore storeCalendars] == NO");
    EXPECT_EQ(platform.consoleLines().back(), "[KTSyncCalendarStore storeCalendars] == NO");
}

TEST_F(Saving, SaysNoWhenTheWriterOfThe104LayoutDoes)
{
    host.script.macOSVersion = 4;
    EXPECT_FALSE(save(SyncRecordList{calendar("A", "Arbeit")}));
    EXPECT_EQ(host.messages().back(), "[KTSyncCalendarStore storeCalendars] == NO");
    EXPECT_EQ(platform.consoleLines().back(), "[KTSyncCalendarStore storeCalendars] == NO");
}

TEST_F(Saving, OfNoRecordsWithoutANodeFileAnswersWhatTheWriterOfThe104LayoutAnswers)
{
    host.script.macOSVersion = 4;
    EXPECT_FALSE(save(SyncRecordList{}));
    EXPECT_EQ(numCalendars, 0);
}

struct UntakableRow {
    std::string_view conduit;
    Dictionary fields;
};
class SavingUntakableRecord : public Saving, public ::testing::WithParamInterface<UntakableRow> {};
INSTANTIATE_TEST_SUITE_P(
    Records, SavingUntakableRecord,
    ::testing::Values(
        UntakableRow{kConduitCalendar, Dictionary{{"Title", 7}}},
        UntakableRow{kConduitEvent, Dictionary{{"Title", "t"},
                                               {"ParentRecordKey", "A"},
                                               {"RecurrenceParentRecordKey", Array{}}}},
        UntakableRow{kConduitTask,
                     Dictionary{{"Title", "t"}, {"ParentRecordKey", "A"}, {"Alarms", "keine"}}}));

TEST_P(SavingUntakableRecord, PassesItsExceptionOnBeforeAnythingIsWritten)
{
    writeCalendar("ALT", "Alt");
    const auto before = home.tree();
    EXPECT_THROW(save(SyncRecordList{calendar("A", "Arbeit"),
                                     record(GetParam().conduit, "k", GetParam().fields)}),
                 Exception);
    EXPECT_EQ(home.tree(), before);
}

TEST_F(Saving, PassesOnAForeignObject)
{
    host.script.before = [](std::string_view call) {
        if (call == "logMsg:Kalender: Arbeit")
            throw 42;
    };
    EXPECT_THROW(save(SyncRecordList{calendar("A", "Arbeit")}), int);
}

// Keys that come from other machines.

TEST_F(Saving, LetsTheRecordKeyStandInForASourceKeyThatCanNameNoFolder)
{
    EXPECT_TRUE(
        save(SyncRecordList{record(kConduitCalendar, "A", calendarFields("Arbeit", "../../böse")),
                            event("e1", "A")}));
    EXPECT_THAT(storeEntries(), ElementsAre("A.calendar"));
    EXPECT_TRUE(isStored("A", "e1"));
    EXPECT_EQ((*storedInfo("A.calendar"))["Key"], Value("A"));
    EXPECT_THAT(host.messages(), Contains("Kalender 'Arbeit': '../../böse' ist kein Ordnername, "
                                          "stattdessen gilt der Datensatzschlüssel"));
    for (const auto& [path, bytes] : home.tree())
        EXPECT_THAT(path, ::testing::AnyOf(StartsWith("Library/Calendars/"), StartsWith(kBackup)));
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(Saving, WritesNothingOutsideTheStoreWhenNoKeyCanNameAFolder)
{
    EXPECT_TRUE(
        save(SyncRecordList{record(kConduitCalendar, "../x", calendarFields("Wild", "../y")),
                            event("../../e", "../x"), calendar("A", "Arbeit"),
                            event("../../../f", "A")}));
    EXPECT_THAT(storeEntries(), ElementsAre("A.calendar"));
    for (const auto& [path, bytes] : home.tree())
        EXPECT_THAT(path, ::testing::AnyOf(StartsWith("Library/Calendars/"), StartsWith(kBackup)));
    EXPECT_THAT(lossReasons(),
                Contains(
                    "Der Kalender wird nicht geschrieben: sein Schlüssel ist kein Ordnername"));
}

TEST_F(Saving, LeavesAUsableSourceKeyAlone)
{
    EXPECT_TRUE(save(SyncRecordList{
        record(kConduitCalendar, "A", calendarFields("Arbeit", "mit Leerzeichen"))}));
    EXPECT_THAT(storeEntries(), ElementsAre("mit Leerzeichen.calendar"));
}

// What no record from a host can bring about.

TEST_F(Saving, WithoutAHelperMakesNoCalendarsAndWritesNothing)
{
    EXPECT_TRUE(ICalHelper::saveCalendars(SyncRecordList{calendar("A", "Arbeit"), event("e", "A")},
                                          nullptr, numCalendars, numEvents, numTasks, notSelected,
                                          notExpanded));
    EXPECT_EQ(numCalendars, 0);
    EXPECT_EQ(numEvents, 0);
    EXPECT_THAT(home.tree(), IsEmpty());
}

// Both ways.

TEST_F(Saving, GivesBackTheRecordsThatLoadingGave)
{
    writeFolder("G.group", with(groupInfo("G", "Gruppe", {"A"}), "Notes", ""));
    writeFolder("A.calendar", with(calendarInfo("A", "Arbeit"), "Checked", false));
    writeItems("A", "1.ics", eventLines("Termin", "RRULE:FREQ=DAILY;COUNT=3\r\n"));
    writeItems("A", "2.ics", taskLines("Aufgabe"));
    const auto load = [&] {
        std::int32_t number = 0;
        Dictionary activated;
        RecordKeySet keys;
        SyncRecordList skipped;
        notSelected.clear();
        return *ICalHelper::loadCalendarsWithPluginHelper(&host, number, number, number, activated,
                                                          keys, number, skipped, notSelected,
                                                          notExpanded);
    };
    const SyncRecordList before = load();
    const RecordKeySet notSelectedBefore = notSelected;
    ASSERT_EQ(before.size(), 4u);
    EXPECT_TRUE(save(before));
    std::map<std::string, Dictionary> expected;
    std::map<std::string, Dictionary> found;
    for (const SyncRecord& record : before)
        expected[record->recordKey()] = record->record();
    for (const SyncRecord& record : load())
        found[record->recordKey()] = record->record();
    EXPECT_EQ(found, expected);
    EXPECT_EQ(notSelected, notSelectedBefore);
    EXPECT_THAT(classes.losses(), IsEmpty());
}

}  // namespace
}  // namespace kt::test
