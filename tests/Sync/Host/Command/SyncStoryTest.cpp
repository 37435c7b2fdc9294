#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/ArchiveContents.h"
#include "tests/support/SyncKit.h"

namespace kt::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

/// Two devices and a server; the laptop has a calendar with two events and a task.
class SyncStory : public testing::Test {
protected:
    SyncStory()
    {
        laptop.addCalendar("PRIVAT", "Privat");
        laptop.addEvent("PRIVAT", "zahnarzt.ics", {.title = "Zahnarzt"});
        laptop.addEvent("PRIVAT", "kino.ics",
                        {.title = "Kino", .start = "20080118T200000", .end = "20080118T220000"});
        laptop.writeItem("PRIVAT", "tee.ics", textForTask("Tee kaufen"));
    }
    void bringBothTogether() const
    {
        ASSERT_EQ(laptop.sync().exitCode, 0);
        ASSERT_EQ(desk.sync().exitCode, 0);
    }

    StoryServer server;
    StoryHome laptop{server};
    StoryHome desk{server};
};

TEST_F(SyncStory, TheFirstSyncSwitchesThePluginOnAndSaysSo)
{
    const ProgramResult first = laptop.sync();
    EXPECT_EQ(first.exitCode, 0);
    EXPECT_EQ(first.out,
              "Die iCal-Synchronisierung wurde eingeschaltet.\n"
              "Die iCal-Kalender wurden synchronisiert\n"
              "1 Kalender\n2 Ereignisse, 1 Aufgabe\n"
              "Zum Server: 4 Datensätze, 0 Löschungen\n"
              "Vom Server: 0 Datensätze, 0 Löschungen\n");
    EXPECT_THAT(laptop.sync().out, Not(HasSubstr("eingeschaltet")));
}

TEST_F(SyncStory, TheFirstUploadLeavesTheStoreAsItIs)
{
    const auto before = laptop.storeSnapshot();
    laptop.sync();
    EXPECT_EQ(laptop.storeSnapshot(), before);
}

TEST_F(SyncStory, AnEmptyHomeGetsEverything)
{
    bringBothTogether();
    EXPECT_THAT(desk.titles(), ElementsAre("Kino", "Privat", "Tee kaufen", "Zahnarzt"));
    EXPECT_EQ(desk.run({"check"}).exitCode, 0);
}

TEST_F(SyncStory, BothHomesGiveTheSameRecords)
{
    bringBothTogether();
    const auto sorted = [](const StoryHome& home) {
        std::vector<std::string> lines;
        for (const auto& record : home.run({"records"}).json())
            lines.push_back(record.dump());
        std::sort(lines.begin(), lines.end());
        return lines;
    };
    EXPECT_THAT(sorted(laptop), SizeIs(4));
    EXPECT_EQ(sorted(laptop), sorted(desk));
}

TEST_F(SyncStory, WithNothingToDoNothingMoves)
{
    bringBothTogether();
    const auto laptopBefore = laptop.storeSnapshot();
    const auto deskBefore = desk.storeSnapshot();
    const auto serverBefore = server.records();
    EXPECT_EQ(laptop.sync().exitCode, 0);
    EXPECT_EQ(desk.sync().exitCode, 0);
    EXPECT_EQ(laptop.storeSnapshot(), laptopBefore);
    EXPECT_EQ(desk.storeSnapshot(), deskBefore);
    EXPECT_EQ(server.records(), serverBefore);
    EXPECT_THAT(serverBefore, SizeIs(4));
}

TEST_F(SyncStory, AnEditTravels)
{
    bringBothTogether();
    const auto files = desk.filesWith("PRIVAT", "SUMMARY:Kino");
    ASSERT_THAT(files, SizeIs(1));
    desk.addEvent("PRIVAT", files.front(),
                  {.title = "Kino",
                   .start = "20080119T200000",
                   .end = "20080119T220000",
                   .sequence = 2,
                   .more = "LOCATION:Babylon\r\n"});
    EXPECT_EQ(desk.sync().exitCode, 0);
    EXPECT_EQ(laptop.sync().exitCode, 0);
    EXPECT_THAT(laptop.titles(), ElementsAre("Kino", "Privat", "Tee kaufen", "Zahnarzt"));
    EXPECT_THAT(laptop.run({"records"}).out, HasSubstr("\"Location\":\"Babylon\""));
    EXPECT_THAT(laptop.run({"records"}).out, HasSubstr("20080119T200000"));
}

TEST_F(SyncStory, ADeletionTravels)
{
    bringBothTogether();
    laptop.removeItem("PRIVAT", "zahnarzt.ics");
    EXPECT_EQ(laptop.sync().exitCode, 0);
    EXPECT_EQ(desk.sync().exitCode, 0);
    EXPECT_THAT(desk.titles(), ElementsAre("Kino", "Privat", "Tee kaufen"));
    EXPECT_THAT(laptop.titles(), ElementsAre("Kino", "Privat", "Tee kaufen"));
}

TEST_F(SyncStory, ACalendarOfTheOtherHomeComesDown)
{
    bringBothTogether();
    desk.addCalendar("ARBEIT", "Arbeit");
    desk.addEvent("ARBEIT", "x.ics", {.title = "Messe"});
    desk.sync();
    laptop.sync();
    EXPECT_THAT(laptop.titles(),
                ElementsAre("Arbeit", "Kino", "Messe", "Privat", "Tee kaufen", "Zahnarzt"));
}

TEST_F(SyncStory, ASwitchedOffCalendarStaysWhereItIs)
{
    laptop.addCalendar("GEHEIM", "Geheim");
    laptop.addEvent("GEHEIM", "x.ics", {.title = "Überraschung"});
    EXPECT_EQ(laptop.run({"off", laptop.calendarKey("Geheim")}).exitCode, 0);
    const ProgramResult run = laptop.sync();
    EXPECT_THAT(run.out, HasSubstr("1 Kalender (1 deaktiviert)"));
    desk.sync();
    EXPECT_THAT(desk.titles(), ElementsAre("Kino", "Privat", "Tee kaufen", "Zahnarzt"));
    desk.addEvent("PRIVAT", "neu.ics", {.title = "Arzt"});
    desk.sync();
    EXPECT_EQ(laptop.sync().exitCode, 0);
    EXPECT_THAT(laptop.titles(), Contains("Überraschung"));
    EXPECT_THAT(laptop.titles(), Contains("Arzt"));
}

TEST_F(SyncStory, ACalendarThatIsSwitchedOnAgainTravels)
{
    const std::string key = laptop.calendarKey("Privat");
    laptop.run({"off", key});
    laptop.sync();
    desk.sync();
    EXPECT_THAT(desk.titles(), IsEmpty());
    laptop.run({"on", key});
    laptop.sync();
    desk.sync();
    EXPECT_THAT(desk.titles(), ElementsAre("Kino", "Privat", "Tee kaufen", "Zahnarzt"));
}

TEST_F(SyncStory, MassDeletionIsRefusedUnlessAllowed)
{
    for (int i = 0; i < 20; ++i)
        laptop.addEvent("PRIVAT", std::to_string(i) + ".ics",
                        {.title = "Termin " + std::to_string(i)});
    bringBothTogether();
    for (int i = 0; i < 20; ++i)
        laptop.removeItem("PRIVAT", std::to_string(i) + ".ics");
    EXPECT_EQ(laptop.sync().exitCode, 1);
    desk.sync();
    EXPECT_THAT(desk.titles(), SizeIs(24));
    EXPECT_EQ(laptop.sync({"--allow-mass-delete"}).exitCode, 0);
    desk.sync();
    EXPECT_THAT(desk.titles(), SizeIs(4));
}

TEST_F(SyncStory, TheServersStateOverwritesTheStoreWhenTheUserSaysSo)
{
    bringBothTogether();
    laptop.addEvent("PRIVAT", "neu.ics", {.title = "Nur hier"});
    const ProgramResult run = laptop.sync({"--from-server"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.err, HasSubstr("Die lokalen Kalender werden überschrieben"));
    EXPECT_THAT(laptop.titles(), ElementsAre("Kino", "Privat", "Tee kaufen", "Zahnarzt"));
}

TEST_F(SyncStory, ADryRunNamesWhatWouldGoUp)
{
    const ProgramResult run = laptop.sync({"--dry-run"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.out, HasSubstr("Probelauf: es wurde nichts geändert"));
    EXPECT_THAT(run.out, HasSubstr("Zum Server: 4 Datensätze, 0 Löschungen"));
    EXPECT_THAT(run.out, HasSubstr("Zum Server ginge:\n  Kalender: 'Privat'\n"));
    EXPECT_THAT(run.out, HasSubstr("  Ereignis: 'Zahnarzt' (20080116T083000 Europe/Berlin)\n"));
    EXPECT_THAT(run.out, HasSubstr("  Aufgabe: 'Tee kaufen'\n"));
    EXPECT_FALSE(std::filesystem::exists(server.path()));
}

TEST_F(SyncStory, ADryRunNamesWhatWouldComeDownOrGo)
{
    bringBothTogether();
    laptop.removeItem("PRIVAT", "kino.ics");
    laptop.addEvent("PRIVAT", "neu.ics", {.title = "Messe"});
    laptop.sync();
    const auto serverBefore = server.records();
    const auto run = desk.sync({"--dry-run", "--json"}).json();
    EXPECT_THAT(run["goingUp"], IsEmpty());
    EXPECT_THAT(run["comingDown"],
                ElementsAre("Gelöscht: Ereignis: 'Kino' (20080118T200000 Europe/Berlin)",
                            "Ereignis: 'Messe' (20080116T083000 Europe/Berlin)"));
    EXPECT_EQ(run["received"], 1);
    EXPECT_EQ(run["deletedHere"], 1);
    EXPECT_EQ(server.records(), serverBefore);
}

TEST_F(SyncStory, BackupsAreMadeBeforeEachRun)
{
    bringBothTogether();
    laptop.addEvent("PRIVAT", "neu.ics", {.title = "Neu"});
    laptop.sync();
    const auto folder = laptop.folder().path("Library/Application Support/VeloraSuite/Backups");
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.path().extension() == ".zst")
            names.push_back(entry.path().filename());
    EXPECT_THAT(names, SizeIs(2));
    EXPECT_THAT(names, Contains(EndsWith("-erste.tar.zst")));
    EXPECT_THAT(contentsOfArchive(folder + "/" + names.front()),
                Contains(testing::Key("Calendars/PRIVAT.calendar/Events/kino.ics")));
}

TEST_F(SyncStory, ARunningCalendarProgramKeepsTheSyncOut)
{
    // What runs for sure is this test.
    laptop.folder().write("Library/Application Support/VeloraSuite/icalsync.toml",
                          "[calendar-program]\nprogram = \"test_host_command\"\n");
    const ProgramResult run = laptop.sync();
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.out, HasSubstr("iCal ist noch aktiv\n"));
    EXPECT_EQ(laptop.run({"records", "--count"}).exitCode, 0) << "looking is allowed";
}

TEST_F(SyncStory, BothLayoutsMeetOnOneServer)
{
    StoryHome old(server);
    old.folder().write("Library/Application Support/iCal/nodes.plist",
                       "<plist version=\"1.0\"><dict><key>Version</key><integer>2</integer>"
                       "<key>List</key><array/></dict></plist>");
    laptop.sync();
    EXPECT_EQ(old.sync().exitCode, 0);
    EXPECT_THAT(old.titles(), ElementsAre("Kino", "Privat", "Tee kaufen", "Zahnarzt"));
    EXPECT_TRUE(old.folder().exists("Library/Application Support/iCal/Sources/PRIVAT.calendar"));
    EXPECT_FALSE(old.folder().exists("Library/Calendars/PRIVAT.calendar"));
    const auto before = server.records();
    old.sync();
    laptop.sync();
    EXPECT_EQ(server.records(), before);
}

}  // namespace
}  // namespace kt::test
