#include <filesystem>
#include <utility>

#include "tests/Sync/PlugIns/iCal/Calendar/Layout105WriterFixture.h"
#include "tests/support/FailingFileManager.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(Layout105Writer, LeavesAnEmptyStoreForNoCalendarsAndABackupOfTheOldOne)
{
    writeCalendar("A", "Arbeit");
    writeItems("A", "1.ics", eventLines("Termin"));
    writeFolder("G.group", groupInfo("G", "Gruppe", {"A"}));
    home.write(std::string(kStore) + "Calendar Cache", "Zwischenspeicher");
    const auto before = home.tree();
    EXPECT_TRUE(store({}));
    EXPECT_THAT(storeEntries(), IsEmpty());
    EXPECT_TRUE(home.exists("Library/Calendars"));
    for (const auto& [path, bytes] : before)
        EXPECT_EQ(home.read(kBackup + path.substr(std::string(kStore).size())), bytes) << path;
}

TEST_F(Layout105Writer, KeepsTheOldFilesOfAStoreThatIsALinkToAnotherVolume)
{
    home.write("Volume/A.calendar/Info.plist", "alt");
    std::filesystem::create_directories(home.path("Library"));
    std::filesystem::create_directory_symlink(home.path("Volume"), home.path("Library/Calendars"));
    EXPECT_TRUE(store({}));
    EXPECT_FALSE(home.exists("Volume/A.calendar"));
    EXPECT_EQ(home.read(std::string(kBackup) + "A.calendar/Info.plist"), "alt");
}

TEST_F(Layout105Writer, CreatesTheStoreFolderWhereThereIsNone)
{
    EXPECT_TRUE(store({}));
    EXPECT_TRUE(home.exists("Library/Calendars"));
    EXPECT_TRUE(home.exists(kBackup));
}

TEST_F(Layout105Writer, CreatesTheStoreFolderAgainWhereTheFirstTryFailed)
{
    bool isFirst = true;
    failFileOperations([&](const std::string& operation) {
        return operation.starts_with("createDirectory") &&
               operation.ends_with("Library/Calendars") && std::exchange(isFirst, false);
    });
    EXPECT_TRUE(store({}));
    EXPECT_FALSE(isFirst);
    EXPECT_TRUE(home.exists("Library/Calendars"));
}

TEST_F(Layout105Writer, KeepsOneBackupTheStoreBeforeTheLastRewrite)
{
    writeCalendar("A", "Arbeit");
    EXPECT_TRUE(store({calendar("Zuhause", "B")}));
    EXPECT_TRUE(home.exists(std::string(kBackup) + "A.calendar"));
    EXPECT_TRUE(store({}));
    EXPECT_FALSE(home.exists(std::string(kBackup) + "A.calendar"));
    EXPECT_TRUE(home.exists(std::string(kBackup) + "B.calendar"));
}

TEST_F(Layout105Writer, DeletesOldCalendarsAndGroupsAloneAndSaysSoOnTheSystemLog)
{
    writeCalendar("A", "Arbeit");
    writeFolder("G.group", groupInfo("G", "Gruppe", {}));
    writeFolder("konto.imap", calendarInfo("konto", "Konto"));
    home.write(std::string(kStore) + "Attachments/x.txt", "Anhang");
    home.write(std::string(kStore) + "Calendar Cache", "Zwischenspeicher");
    EXPECT_TRUE(store({}));
    EXPECT_THAT(storeEntries(), ElementsAre("Attachments", "konto.imap"));
    EXPECT_THAT(platform.consoleLines(), ElementsAre("Loesche alten Kalender: A.calendar",
                                                     "Loesche alten Kalender: G.group"));
    EXPECT_THAT(host.messages(), IsEmpty());
}

TEST_F(Layout105Writer, DeletesPlainFilesThatAreNamedLikeCalendarsAndGroups)
{
    home.write(std::string(kStore) + "alt.calendar", "eine Datei");
    home.write(std::string(kStore) + "alt.group", "eine Datei");
    EXPECT_TRUE(store({}));
    EXPECT_THAT(storeEntries(), IsEmpty());
    EXPECT_THAT(platform.consoleLines(), ElementsAre("Loesche alten Kalender: alt.calendar",
                                                     "Loesche alten Kalender: alt.group"));
    EXPECT_EQ(home.read(std::string(kBackup) + "alt.calendar"), "eine Datei");
}

TEST_F(Layout105Writer, SaysWhatItDeletesBeforeItDoes)
{
    writeCalendar("A", "Arbeit");
    std::vector<bool> wasThere;
    Platform::shared().setConsoleLog([&](std::string_view) {
        wasThere.push_back(home.exists(std::string(kStore) + "A.calendar"));
    });
    EXPECT_TRUE(store({}));
    EXPECT_THAT(wasThere, ElementsAre(true));
}

TEST_F(Layout105Writer, WritesTheCalendarsInTheOrderGiven)
{
    EXPECT_TRUE(store({calendar("Zwei", "B"), calendar("Drei", "C"), calendar("Eins", "A")}));
    std::vector<std::string> written;
    for (const std::string& line : host.messages()) {
        if (line.find(" -> ") != std::string::npos)
            written.push_back(line.substr(0, line.find(' ')));
    }
    EXPECT_THAT(written, ElementsAre("Zwei", "Drei", "Eins"));
}

TEST_F(Layout105Writer, WritesTheItemsOfACalendarThatHasNoInfo)
{
    const auto arbeit = calendar("Arbeit", "A");
    arbeit->setColor(std::nullopt);
    addEvent(arbeit, "e1");
    EXPECT_FALSE(store({arbeit}));
    EXPECT_TRUE(home.exists(std::string(kStore) + "A.calendar/Events/e1.ics"));
    EXPECT_EQ(storedInfo("A.calendar"), std::nullopt);
}

TEST_F(Layout105Writer, ListsAGroupInsideAGroupAsAMember)
{
    const auto aussen = group("Außen");
    const auto innen = inGroup(group("Innen"), aussen);
    EXPECT_TRUE(store({inGroup(calendar("Arbeit", "A"), innen), innen, aussen}));
    EXPECT_THAT(members(aussen), ElementsAre(*innen->recordKey()));
    EXPECT_THAT(members(innen), ElementsAre("A"));
}

TEST_F(Layout105Writer, WritesItemsAndInfoOfACalendarIntoTheFolderOfItsSourceKey)
{
    const auto arbeit = calendar("Arbeit", "QUELLE");
    addEvent(arbeit, "e1");
    addEvent(arbeit, "e2");
    addTask(arbeit, "t1");
    EXPECT_TRUE(store({arbeit}));
    EXPECT_THAT(storeEntries(), ElementsAre("QUELLE.calendar"));
    const auto info = storedInfo("QUELLE.calendar");
    ASSERT_TRUE(info.has_value());
    EXPECT_EQ((*info)["Key"], Value("QUELLE"));
    EXPECT_EQ((*info)["Title"], Value("Arbeit"));
    EXPECT_FALSE(info->contains("Calendars"));
    for (const char* file : {"e1.ics", "e2.ics", "t1.ics"})
        EXPECT_TRUE(home.exists(std::string(kStore) + "QUELLE.calendar/Events/" + file)) << file;
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(Layout105Writer, NamesAFolderAfterTheRecordKeyWithoutASourceKey)
{
    const auto arbeit = calendar("Arbeit", std::nullopt);
    const auto gruppe = group("Gruppe");
    EXPECT_TRUE(store({arbeit, gruppe}));
    const std::string calendarFolder = *arbeit->recordKey() + ".calendar";
    const std::string groupFolder = *gruppe->recordKey() + ".group";
    EXPECT_THAT(storeEntries(), ::testing::UnorderedElementsAre(calendarFolder, groupFolder));
    EXPECT_EQ((*storedInfo(calendarFolder))["Key"], Value(*arbeit->recordKey()));
    EXPECT_EQ((*storedInfo(groupFolder))["Key"], Value(*gruppe->recordKey()));
}

TEST_F(Layout105Writer, GivesAGroupThatComesAfterItsMembersAllOfThem)
{
    const auto gruppe = group("Gruppe");
    EXPECT_TRUE(store({inGroup(calendar("Arbeit", "A"), gruppe), calendar("Allein", "X"),
                       inGroup(calendar("Zuhause", "B"), gruppe), gruppe}));
    EXPECT_THAT(members(gruppe), ElementsAre("A", "B"));
}

TEST_F(Layout105Writer, GivesAGroupThatComesBeforeItsMembersAllOfThem)
{
    const auto gruppe = group("Gruppe");
    EXPECT_TRUE(store({gruppe, inGroup(calendar("Arbeit", "A"), gruppe),
                       inGroup(calendar("Zuhause", "B"), gruppe)}));
    EXPECT_THAT(members(gruppe), ElementsAre("A", "B"));
}

TEST_F(Layout105Writer, GivesAGroupBetweenItsMembersAllOfThem)
{
    const auto gruppe = group("Gruppe");
    EXPECT_TRUE(store({inGroup(calendar("Arbeit", "A"), gruppe), gruppe,
                       inGroup(calendar("Zuhause", std::nullopt), gruppe)}));
    EXPECT_THAT(members(gruppe), ElementsAre("A", *calendar("Zuhause", std::nullopt)->recordKey()));
}

TEST_F(Layout105Writer, GivesAGroupWithoutMembersAnEmptyList)
{
    const auto gruppe = group("Gruppe");
    EXPECT_TRUE(store({gruppe}));
    EXPECT_THAT(members(gruppe), IsEmpty());
}

TEST_F(Layout105Writer, DoesNotListACalendarThatIsItsOwnParentAsAMember)
{
    const auto gruppe = group("Gruppe");
    inGroup(gruppe, gruppe);
    const auto arbeit = calendar("Arbeit", "A");
    inGroup(arbeit, arbeit);
    EXPECT_TRUE(store({gruppe, arbeit}));
    EXPECT_THAT(members(gruppe), IsEmpty());
    EXPECT_FALSE(storedInfo("A.calendar")->contains("Calendars"));
}

TEST_F(Layout105Writer, WritesAMemberWhoseGroupIsNotThereWithoutAnyList)
{
    const auto missing = group("Fehlt");
    EXPECT_TRUE(store({inGroup(calendar("Arbeit", "A"), missing)}));
    EXPECT_THAT(storeEntries(), ElementsAre("A.calendar"));
    EXPECT_FALSE(storedInfo("A.calendar")->contains("Calendars"));
}

TEST_F(Layout105Writer, ReadsBackWhatItWroteWithGroupsAndMembers)
{
    const auto gruppe = group("Gruppe");
    const auto arbeit = inGroup(calendar("Arbeit", "A"), gruppe);
    arbeit->setOrder(3);
    arbeit->setSelected(false);
    arbeit->setAlarmsDisabled(true);
    gruppe->setExpanded(false);
    addEvent(arbeit, "e1");
    EXPECT_TRUE(store({arbeit, gruppe}));
    const auto parsed = readStore();
    ASSERT_EQ(parsed.size(), 2u);
    const auto read = titled(parsed, "Arbeit");
    EXPECT_EQ(read->syncRecord(), arbeit->syncRecord());
    EXPECT_FALSE(read->selected());
    ASSERT_NE(read->events(), nullptr);
    EXPECT_EQ(read->events()->size(), 1u);
    EXPECT_EQ(titled(parsed, "Gruppe")->syncRecord(), gruppe->syncRecord());
    EXPECT_FALSE(titled(parsed, "Gruppe")->expanded());
    EXPECT_THAT(classes.losses(), IsEmpty());
}

}  // namespace
}  // namespace kt::test
