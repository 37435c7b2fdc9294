#include "tests/Sync/PlugIns/iCal/Calendar/Layout105WriterFixture.h"
#include "tests/support/FailingFileManager.h"

namespace kt::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

// What goes wrong.

TEST_F(Layout105Writer, LogsAndPassesOnAnExceptionAndWritesNoInfoFile)
{
    writeCalendar("ALT", "Alt");
    const auto arbeit = calendar("Arbeit", "A");
    addEvent(arbeit, "e1");
    const auto broken = calendar("Kaputt", "B");
    broken->setColor(std::nullopt);
    EXPECT_FALSE(store({arbeit, broken, calendar("Zuhause", "C")}));

    ASSERT_FALSE(host.fileLog().empty());
    EXPECT_THAT(host.fileLog().back(),
                AllOf(StartsWith("[KTSyncCalendarStore write105Calendars(info.plist)]:\n" +
                                 broken->description() + "\n(null)\n"),
                      Not(HasSubstr("Arbeit"))));
    EXPECT_THAT(host.messages().back(), StartsWith("KTSyncCalendarStore.storeCalendars: "));
    // The old store is gone, items of calendars before the broken one are there.
    EXPECT_FALSE(home.exists(std::string(kStore) + "ALT.calendar"));
    EXPECT_TRUE(home.exists(std::string(kBackup) + "ALT.calendar/Info.plist"));
    EXPECT_TRUE(home.exists(std::string(kStore) + "A.calendar/Events/e1.ics"));
    EXPECT_FALSE(home.exists(std::string(kStore) + "A.calendar/Info.plist"));
    EXPECT_FALSE(home.exists(std::string(kStore) + "C.calendar"));
}

struct MissingPartRow {
    const char* part;
    std::function<void(KTSyncCalendar&)> remove;
};
class Layout105MissingPart : public Layout105Writer,
                             public ::testing::WithParamInterface<MissingPartRow> {};
INSTANTIATE_TEST_SUITE_P(
    Parts, Layout105MissingPart,
    ::testing::Values(MissingPartRow{"color", [](auto& made) { made.setColor({}); }},
                      MissingPartRow{"title", [](auto& made) { made.setTitle({}); }},
                      MissingPartRow{"notes", [](auto&) {}}));

TEST_P(Layout105MissingPart, StopsTheWriterAtThatCalendar)
{
    const auto broken =
        KTSyncCalendar::syncCalendarWithPluginHelper(&host, kCalendarTypeNode, "B", std::nullopt);
    broken->setTitle("Kaputt");
    broken->setColor("#0252D4");
    if (GetParam().part != std::string("notes"))
        broken->setNotes("");
    GetParam().remove(*broken);
    EXPECT_FALSE(store({broken, calendar("Zuhause", "C")}));
    ASSERT_EQ(host.fileLog().size(), 2u);
    EXPECT_THAT(host.fileLog()[0], StartsWith("[KTSyncCalendar iCalNode(105)]:\n{\n"));
    EXPECT_THAT(host.fileLog()[1],
                StartsWith("[KTSyncCalendarStore write105Calendars(info.plist)]:\n"));
    EXPECT_THAT(host.messages().back(), StartsWith("KTSyncCalendarStore.storeCalendars: "));
    EXPECT_FALSE(storedInfo("B.calendar").has_value());
    EXPECT_FALSE(home.exists(std::string(kStore) + "C.calendar"));
}

TEST_F(Layout105Writer, ShowsTheInfoDictionaryOfAnExceptionThatComesAfterIt)
{
    const auto arbeit = calendar("Arbeit", std::nullopt);
    std::size_t asked = 0;
    Platform::shared().setAssertionHandler(
        [&](std::string_view, std::string_view, int) { ++asked; });
    host.script.before = [&](std::string_view call) {
        // The refusal of the folder name is logged after the dictionary was made.
        if (call.starts_with("logMsg:Kalender 'Arbeit' wird nicht geschrieben"))
            throw Exception(NSGenericException, "mittendrin");
    };
    const auto refused = KTSyncCalendar::syncCalendarWithPluginHelper(
        &host, "../böse", Dictionary{{"Title", "Arbeit"}, {"Color", "c"}, {"Notes", "n"}});
    EXPECT_FALSE(store({refused}));
    EXPECT_THAT(host.fileLog().back(), HasSubstr("\n{\n"));
    EXPECT_THAT(host.fileLog().back(), HasSubstr("Title = Arbeit;"));
    EXPECT_THAT(host.fileLog().back(), ::testing::EndsWith("\nmittendrin"));
    EXPECT_EQ(asked, 0u);
}

TEST_F(Layout105Writer, LeavesOnlyTheLaterInfoOfTwoCalendarsInOneFolder)
{
    EXPECT_TRUE(store({calendar("Früher", "A"), calendar("Später", "A")}));
    EXPECT_THAT(storeEntries(), ElementsAre("A.calendar"));
    EXPECT_EQ((*storedInfo("A.calendar"))["Title"], Value("Später"));
    EXPECT_THAT(lossReasons(),
                ElementsAre("Zwei Kalender haben denselben Ordner, der spätere gilt"));
}

class Layout105WildSourceKey : public Layout105Writer,
                               public ::testing::WithParamInterface<std::string> {};
INSTANTIATE_TEST_SUITE_P(Keys, Layout105WildSourceKey,
                         ::testing::Values("../../böse", "a/b", "..", ".", "",
                                           std::string(260, 'x'), std::string("a\0b", 3)));

TEST_P(Layout105WildSourceKey, LeadsToAFolderNamedAfterTheRecordKeyThatReadsBackWhole)
{
    const auto gruppe = group("Gruppe");
    const auto arbeit = inGroup(calendar("Arbeit", GetParam()), gruppe);
    EXPECT_TRUE(store({gruppe, arbeit}));
    const std::string folder = *arbeit->recordKey() + ".calendar";
    EXPECT_THAT(storeEntries(), Contains(folder));
    EXPECT_EQ((*storedInfo(folder))["Key"], Value(*arbeit->recordKey()));
    EXPECT_THAT(members(gruppe), ElementsAre(*arbeit->recordKey()));
    for (const auto& [path, bytes] : home.tree())
        EXPECT_THAT(path, ::testing::AnyOf(StartsWith("Library/Calendars/"), StartsWith(kBackup)));

    classes.lossReport().clear();
    const auto read = titled(readStore(), "Arbeit");
    ASSERT_NE(read, nullptr);
    EXPECT_NE(read->events(), nullptr);
    EXPECT_EQ(read->parentRecordKey(), gruppe->recordKey());
    EXPECT_THAT(classes.losses(), IsEmpty());
}

class Layout105WildRecordKey : public Layout105Writer,
                               public ::testing::WithParamInterface<std::string> {};
INSTANTIATE_TEST_SUITE_P(Keys, Layout105WildRecordKey,
                         ::testing::Values("../../böse", "a/b", "..", "", std::string(250, 'x')));

TEST_P(Layout105WildRecordKey, WithoutAUsableSourceKeyLeavesTheCalendarOutWithALineAndALoss)
{
    const auto wild = KTSyncCalendar::syncCalendarWithPluginHelper(
        &host, GetParam(),
        Dictionary{{"Title", "Wild"}, {"Color", "c"}, {"Notes", "n"}, {"SourceKey", "x/y"}});
    EXPECT_TRUE(store({wild, calendar("Arbeit", "A")}));
    EXPECT_THAT(storeEntries(), ElementsAre("A.calendar"));
    EXPECT_THAT(host.messages(), Contains("Kalender 'Wild' wird nicht geschrieben: '" + GetParam() +
                                          ".calendar' ist kein Ordnername"));
    EXPECT_THAT(lossReasons(),
                Contains(
                    "Der Kalender wird nicht geschrieben: sein Schlüssel ist kein Ordnername"));
    for (const auto& [path, bytes] : home.tree())
        EXPECT_THAT(path, ::testing::AnyOf(StartsWith("Library/Calendars/"), StartsWith(kBackup)));
}
// Failing file operations.

TEST_F(Layout105Writer, SyncsTheFileSystemOnceAndAsTheLastThing)
{
    home.write(std::string(kStore) + "Calendar Cache", "Zwischenspeicher");
    const auto files = failFileOperation(0);
    const auto arbeit = calendar("Arbeit", "A");
    addEvent(arbeit, "e1");
    EXPECT_TRUE(store({arbeit}));
    const auto operations = files->operations();
    ASSERT_GE(operations.size(), 2u);
    EXPECT_EQ(operations[operations.size() - 2],
              "removeFileAtPath " + home.path(std::string(kStore) + "Calendar Cache"));
    EXPECT_EQ(operations.back(), "synchronizeFileSystem " + home.path("Library/Calendars"));
    EXPECT_EQ(std::count_if(operations.begin(), operations.end(),
                            [](const std::string& operation) {
                                return operation.starts_with("synchronize");
                            }),
              1);
}

/// The number of the operation that starts with this text in a run without failures.
std::size_t numberOf(const FailingFileManager& files, const std::string& operation)
{
    const auto& all = files.operations();
    const auto found = std::find_if(all.begin(), all.end(), [&](const std::string& text) {
        return text.starts_with(operation);
    });
    EXPECT_NE(found, all.end()) << operation;
    return static_cast<std::size_t>(found - all.begin()) + 1;
}

TEST_F(Layout105Writer, LogsAnInfoFileThatCannotBeWrittenAndWritesTheOthersWithSuccess)
{
    const auto all = [&] {
        return store({calendar("Hundert %@ und %d", "A"), calendar("Zuhause", "B")});
    };
    const auto counted = failFileOperation(0);
    ASSERT_TRUE(all());
    const std::string path = home.path(std::string(kStore) + "A.calendar/Info.plist");
    const std::size_t number = numberOf(*counted, "writeAtomically " + path);
    home.remove("Library");
    host.clear();
    const std::size_t linesBefore = platform.consoleLines().size();

    failFileOperation(number);
    EXPECT_TRUE(all());
    EXPECT_FALSE(home.exists(std::string(kStore) + "A.calendar/Info.plist"));
    EXPECT_TRUE(home.exists(std::string(kStore) + "B.calendar/Info.plist"));
    auto lines = platform.consoleLines();
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(linesBefore));
    ASSERT_EQ(lines.size(), 2u);
    // The dictionary is the format itself.
    EXPECT_THAT(lines[0], HasSubstr("Title = \"Hundert (null) und 0\";"));
    EXPECT_EQ(lines[1], "Fehler: Die Info.plist fuer den Kalender '" + path +
                            "' konnte nicht zurueckgeschrieben werden");
    EXPECT_EQ(host.messages().back(),
              "Fehler: Die Info.plist fuer '" + path + "' konnte nicht zurueckgeschrieben werden");
    EXPECT_THAT(classes.losses(),
                ElementsAre(KTLoss{"Hundert %@ und %d", path,
                                   "Die Info.plist konnte nicht geschrieben werden"}));
}

TEST_F(Layout105Writer, OfTwoItemsOfOneKeyTheLaterStaysAndIsToldAsALoss)
{
    const auto arbeit = calendar("Arbeit", "A");
    addEvent(arbeit, "eins");
    addEvent(arbeit, "zwei");
    addTask(arbeit, "eins");
    EXPECT_TRUE(store({arbeit, calendar("Zuhause", "B")}));
    const std::string path = home.path(std::string(kStore) + "A.calendar/Events/eins.ics");
    EXPECT_THAT(home.read(std::string(kStore) + "A.calendar/Events/eins.ics").value_or(""),
                HasSubstr("SUMMARY:Aufgabe eins\r\n"));
    EXPECT_THAT(classes.losses(),
                ElementsAre(KTLoss{"Arbeit", path,
                                   "Zwei Einträge haben denselben Schlüssel, der spätere gilt"}));
}

TEST_F(Layout105Writer, ReportsItemsThatCouldNotBeWrittenAndGoesOn)
{
    const auto all = [&] {
        const auto arbeit = calendar("Arbeit", "A");
        addEvent(arbeit, "e1");
        return store({arbeit, calendar("Zuhause", "B")});
    };
    const auto counted = failFileOperation(0);
    ASSERT_TRUE(all());
    const std::string event = home.path(std::string(kStore) + "A.calendar/Events/e1.ics");
    const std::size_t number = numberOf(*counted, "writeAtomically " + event);
    home.remove("Library");

    failFileOperation(number);
    EXPECT_TRUE(all());
    EXPECT_THAT(storeEntries(), ElementsAre("A.calendar", "B.calendar"));
    EXPECT_THAT(classes.losses(),
                Contains(KTLoss{
                    "Arbeit", home.path(std::string(kStore) + "A.calendar"),
                    "Die Ereignisse und Aufgaben konnten nicht vollständig geschrieben werden"}));
}

TEST_F(Layout105Writer, LogsAFileSystemThatCannotBeSynced)
{
    const auto counted = failFileOperation(0);
    ASSERT_TRUE(store({}));
    const std::size_t last = counted->operations().size();
    home.remove("Library");
    host.clear();
    failFileOperation(last);
    EXPECT_TRUE(store({}));
    EXPECT_THAT(host.messages(),
                ElementsAre("Das Dateisystem konnte nicht synchronisiert werden: " +
                            home.path("Library/Calendars")));
    EXPECT_EQ(platform.consoleLines().back(), host.messages().back());
}

TEST_F(Layout105Writer, SucceedsWhicheverSingleOperationFailsAndLeavesAStoreThatOpens)
{
    std::size_t operations = 0;
    for (std::size_t failing = 0; failing <= operations; ++failing) {
        home.remove("Library");
        Platform::shared().setFileManager(makePosixFileManager());
        writeCalendar("ALT", "Alt");
        writeItems("ALT", "1.ics", eventLines("Termin"));

        const auto gruppe = group("Gruppe");
        const auto arbeit = inGroup(calendar("Arbeit", "A"), gruppe);
        addEvent(arbeit, "e1");
        addTask(arbeit, "t1");
        const auto files = failFileOperation(failing);
        EXPECT_TRUE(store({gruppe, arbeit})) << failing;
        if (failing == 0)
            operations = files->operations().size();

        Platform::shared().setFileManager(makePosixFileManager());
        EXPECT_TRUE(KTSyncCalendarStore(&host).calendars().has_value()) << failing;
    }
    EXPECT_GT(operations, 10u);
}

TEST_F(Layout105Writer, BehindAWriteGuardChangesNothing)
{
    writeCalendar("A", "Arbeit");
    const auto before = home.tree();
    const WriteGuard guard;
    EXPECT_TRUE(store({calendar("Zuhause", "B")}));
    EXPECT_EQ(home.tree(), before);
}

}  // namespace
}  // namespace kt::test
