#include <filesystem>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include "tests/support/SyncKit.h"

namespace kt::test {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

constexpr const char* kSuite = "Library/Application Support/VeloraSuite";

/// Two devices in step. The laptop's first backup holds "Zahnarzt" and "Kino" of "Privat".
class BackupStory : public testing::Test {
protected:
    BackupStory()
    {
        laptop.addCalendar("PRIVAT", "Privat");
        laptop.addEvent("PRIVAT", "zahnarzt.ics", {.title = "Zahnarzt"});
        laptop.addEvent("PRIVAT", "kino.ics", {.title = "Kino", .start = "20080118T200000"});
        laptop.sync();
        desk.sync();
        first = backups()[0]["name"];
    }
    nlohmann::ordered_json backups() const { return laptop.run({"backups", "--json"}).json(); }
    void expectRefusal(const std::vector<std::string>& arguments, const std::string& line) const
    {
        const auto before = laptop.storeSnapshot();
        const ProgramResult run = laptop.run(arguments);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_THAT(run.err, HasSubstr(line));
        EXPECT_EQ(laptop.storeSnapshot(), before);
    }
    /// Whatever has to go round goes round.
    void syncAll() const
    {
        for (int round = 0; round < 2; ++round) {
            ASSERT_EQ(laptop.sync().exitCode, 0);
            ASSERT_EQ(desk.sync().exitCode, 0);
        }
    }
    fs::path archive(const std::string& name) const
    {
        return laptop.folder().path(std::string(kSuite) + "/Backups/" + name + ".tar.zst");
    }

    StoryServer server;
    StoryHome laptop{server};
    StoryHome desk{server};
    std::string first;
};

TEST_F(BackupStory, BackupsAreListedWithWhatIsInThem)
{
    const auto all = backups();
    ASSERT_THAT(all, SizeIs(1));
    EXPECT_EQ(first.substr(0, 9), "000001-20");
    EXPECT_EQ(all[0]["first"], true);
    EXPECT_EQ(all[0]["calendars"], 1);
    EXPECT_EQ(all[0]["items"], 2);
    EXPECT_EQ(all[0]["size"], fs::file_size(archive(first)));
    const std::string text = laptop.run({"backups"}).out;
    EXPECT_THAT(text, HasSubstr("Name "));
    EXPECT_THAT(text, HasSubstr(first + "  "));
    EXPECT_EQ(StoryHome(server).run({"backups"}).out, "Es gibt keine Sicherungskopien.\n");
}

TEST_F(BackupStory, OneIsShownCalendarByCalendar)
{
    const auto shown = laptop.run({"backups", "show", "1", "--json"}).json();
    EXPECT_EQ(shown["name"], first);
    ASSERT_THAT(shown["calendars"], SizeIs(1));
    EXPECT_EQ(shown["calendars"][0]["key"], laptop.calendarKey("Privat"));
    EXPECT_EQ(shown["calendars"][0]["sourceKey"], "PRIVAT");
    EXPECT_EQ(shown["calendars"][0]["title"], "Privat");
    EXPECT_EQ(shown["calendars"][0]["items"], 2);
    EXPECT_TRUE(shown["unreadable"].empty());
    EXPECT_THAT(laptop.run({"backups", "show", "letzte"}).out,
                HasSubstr(laptop.calendarKey("Privat") + "  2         Privat\n"));
}

TEST_F(BackupStory, ListingChangesNothing)
{
    const auto before = laptop.snapshot();
    laptop.run({"backups"});
    laptop.run({"backups", "show", first});
    EXPECT_EQ(laptop.snapshot(), before);
}

TEST_F(BackupStory, ADamagedOneIsListedAsSuch)
{
    fs::resize_file(archive(first), 20);
    fs::remove(laptop.folder().path(std::string(kSuite) + "/Backups/." + first + ".plist"));
    const auto all = backups();
    EXPECT_EQ(all[0]["calendars"], nullptr);
    EXPECT_THAT(std::string(all[0]["error"]), HasSubstr("ist beschädigt"));
    expectRefusal({"restore", first}, "Die Sicherungskopie \"" + first + "\" ist beschädigt");
}

TEST_F(BackupStory, ASyncThatChangesNothingMakesNoneAndTouchesNone)
{
    laptop.sync();
    const auto before = laptop.snapshot();
    laptop.sync();
    auto after = laptop.snapshot();
    const auto isOfBackups = [](const auto& entry) {
        return entry.first.find("Backups") == std::string::npos;
    };
    auto expected = before;
    std::erase_if(expected, isOfBackups);
    std::erase_if(after, isOfBackups);
    EXPECT_EQ(after, expected);
}

TEST_F(BackupStory, WhatWasDeletedIsBackEverywhereAndNothingNewerGoes)
{
    // After the backup: one is deleted, one is edited, one is added, and all goes round.
    laptop.removeItem("PRIVAT", "kino.ics");
    laptop.addEvent("PRIVAT", "neu.ics", {.title = "Neu", .start = "20080201T100000"});
    laptop.sync();
    desk.sync();
    desk.addEvent("PRIVAT", "schreibtisch.ics",
                  {.title = "Vom Schreibtisch", .start = "20080301T100000"});
    syncAll();
    ASSERT_THAT(desk.titles(), ElementsAre("Neu", "Privat", "Vom Schreibtisch", "Zahnarzt"));

    const ProgramResult restored = laptop.run({"restore", first});
    EXPECT_EQ(restored.exitCode, 0) << restored.err;
    EXPECT_THAT(restored.out, HasSubstr("Die Sicherungskopie \"" + first +
                                        "\" ist zurückgeholt: 1 Kalender, 2 Einträge.\n"));
    EXPECT_THAT(laptop.titles(), ElementsAre("Kino", "Privat", "Zahnarzt"));
    EXPECT_EQ(laptop.sync({"--json"}).json()["deletedOnServer"], 0);
    syncAll();
    for (const StoryHome* home : {&laptop, &desk})
        EXPECT_THAT(home->titles(),
                    ElementsAre("Kino", "Neu", "Privat", "Vom Schreibtisch", "Zahnarzt"));
}

TEST_F(BackupStory, WhatWasEditedSinceStaysAsItWasEdited)
{
    laptop.addEvent("PRIVAT", "kino.ics",
                    {.title = "Kino",
                     .start = "20080118T200000",
                     .sequence = 1,
                     .more = "LOCATION:Lichtspiele\r\n"});
    syncAll();
    laptop.run({"restore", first});
    EXPECT_THAT(laptop.filesWith("PRIVAT", "Lichtspiele"), SizeIs(0));
    syncAll();
    EXPECT_THAT(laptop.filesWith("PRIVAT", "Lichtspiele"), SizeIs(1));
    EXPECT_THAT(desk.filesWith("PRIVAT", "Lichtspiele"), SizeIs(1));
}

TEST_F(BackupStory, ACalendarThatWasDeletedIsBackEverywhere)
{
    laptop.addCalendar("ARBEIT", "Arbeit");
    laptop.addEvent("ARBEIT", "messe.ics", {.title = "Messe"});
    syncAll();
    fs::remove_all(laptop.pathOf("PRIVAT"));
    laptop.sync();
    syncAll();
    ASSERT_THAT(desk.titles(), ElementsAre("Arbeit", "Messe"));
    const std::string arbeit =
        *laptop.folder().read("Library/Calendars/ARBEIT.calendar/Info.plist");
    EXPECT_EQ(laptop.run({"restore", first, "--calendar", "PRIVAT"}).exitCode, 0);
    EXPECT_THAT(laptop.titles(), ElementsAre("Arbeit", "Kino", "Messe", "Privat", "Zahnarzt"));
    EXPECT_EQ(laptop.folder().read("Library/Calendars/ARBEIT.calendar/Info.plist"), arbeit);
    syncAll();
    EXPECT_THAT(desk.titles(), ElementsAre("Arbeit", "Kino", "Messe", "Privat", "Zahnarzt"));
    EXPECT_EQ(laptop.titles(), desk.titles());
}

TEST_F(BackupStory, OneCalendarLeavesTheOthersAlone)
{
    laptop.addCalendar("ARBEIT", "Arbeit");
    laptop.addEvent("ARBEIT", "messe.ics", {.title = "Messe"});
    laptop.sync();
    laptop.removeItem("PRIVAT", "kino.ics");
    laptop.removeItem("ARBEIT", "messe.ics");
    const auto run =
        laptop.run({"restore", "letzte", "--calendar", laptop.calendarKey("Privat"), "--json"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.json()["calendar"], laptop.calendarKey("Privat"));
    EXPECT_THAT(laptop.titles(), ElementsAre("Arbeit", "Kino", "Privat", "Zahnarzt"));
    expectRefusal({"restore", first, "--calendar", "ARBEIT"},
                  "In der Sicherungskopie \"" + first +
                      "\" steht kein Kalender mit dem Schlüssel \"ARBEIT\".");
}

TEST_F(BackupStory, WhatStoodThereIsSavedAndCanBeHadBack)
{
    laptop.addEvent("PRIVAT", "neu.ics", {.title = "Neu"});
    const auto before = laptop.storeSnapshot();
    const auto restored = laptop.run({"restore", first, "--json"}).json();
    EXPECT_EQ(restored["restored"], first);
    EXPECT_THAT(laptop.titles(), Not(Contains("Neu")));
    EXPECT_EQ(laptop.run({"restore", restored["before"]}).exitCode, 0);
    EXPECT_EQ(laptop.storeSnapshot(), before);
}

TEST_F(BackupStory, RestoringMakesTheNextSyncAFullOne)
{
    laptop.run({"restore", first});
    EXPECT_EQ(laptop.sync({"--json"}).json()["startResult"], 6);
    EXPECT_EQ(laptop.sync({"--json"}).json()["startResult"], 1);
}

TEST_F(BackupStory, RestoringWaitsForNobody)
{
    laptop.folder().write(std::string(kSuite) + "/icalsync.toml",
                          "[calendar-program]\nprogram = \"test_host_command\"\n");
    expectRefusal({"restore", first}, "iCal ist noch aktiv");
    laptop.folder().remove(std::string(kSuite) + "/icalsync.toml");
    const int lock =
        ::open(laptop.folder().path(std::string(kSuite) + "/Synchronisierung.lock").c_str(),
               O_RDWR);
    ASSERT_EQ(::flock(lock, LOCK_SH), 0);
    expectRefusal({"restore", first},
                  "Für diesen Heimordner läuft gerade eine andere Synchronisierung.");
    ::close(lock);
    expectRefusal({"restore", "77"}, "Es gibt keine Sicherungskopie \"77\".");
}

TEST_F(BackupStory, AHomeThatHasNeverSyncedCanBeGivenABackup)
{
    const StoryHome fresh(server);
    fresh.folder().makeFolder(std::string(kSuite) + "/Backups");
    fs::copy(archive(first), fresh.folder().path(std::string(kSuite) + "/Backups"));
    EXPECT_EQ(fresh.run({"restore", "1"}).exitCode, 0);
    EXPECT_THAT(fresh.titles(), ElementsAre("Kino", "Privat", "Zahnarzt"));
    EXPECT_EQ(fresh.sync().exitCode, 0);
    EXPECT_THAT(fresh.titles(), ElementsAre("Kino", "Privat", "Zahnarzt"));
}

TEST_F(BackupStory, AFolderOfAnOlderVersionIsListedAndRestored)
{
    const std::string name = "2007-11-01T09-00-00.000Z";
    const std::string folder = laptop.folder().path(std::string(kSuite) + "/Backups/" + name);
    fs::create_directories(folder);
    fs::copy(laptop.folder().path("Library/Calendars"), folder + "/Calendars",
             fs::copy_options::recursive);
    fs::remove(folder + "/Calendars/PRIVAT.calendar/Events/kino.ics");
    const auto all = backups();
    ASSERT_THAT(all, SizeIs(2));
    EXPECT_EQ(all[0]["name"], name);
    EXPECT_EQ(all[0]["date"], "2007-11-01T09:00:00Z");
    EXPECT_EQ(all[0]["items"], 1);
    EXPECT_EQ(laptop.run({"restore", "2007", "--calendar", "PRIVAT"}).exitCode, 0);
    EXPECT_THAT(laptop.titles(), ElementsAre("Privat", "Zahnarzt"));
    EXPECT_EQ(laptop.run({"restore", first}).exitCode, 0);
    EXPECT_EQ(laptop.run({"restore", "2007"}).exitCode, 0);
    EXPECT_THAT(laptop.titles(), ElementsAre("Privat", "Zahnarzt"));
}

/// The sample of the older layout: calendars in groups, a node for each.
class OldStoreBackup : public testing::Test {
protected:
    OldStoreBackup()
    {
        fs::copy(std::string(KT_SOURCE_DIR) + "/samples/home-10.4", home.path(),
                 fs::copy_options::recursive);
        home.sync();
    }
    StoryServer server;
    StoryHome home{server};
};

TEST_F(OldStoreBackup, IsPutBackWhole)
{
    const auto before = home.run({"records"}).json();
    const auto titles = home.titles();
    fs::remove_all(home.folder().path("Library/Application Support/iCal/Sources"));
    home.folder().remove("Library/Application Support/iCal/nodes.plist");
    ASSERT_EQ(home.run({"restore", "1", "--system-version", "4"}).exitCode, 0);
    EXPECT_EQ(home.run({"records"}).json(), before);
    EXPECT_EQ(home.sync().exitCode, 0);
    EXPECT_EQ(home.titles(), titles);
}

TEST_F(OldStoreBackup, EachCalendarComesBackWithItsNode)
{
    const auto before = home.run({"calendars", "--json"}).json();
    const auto shown = home.run({"backups", "show", "1", "--json"}).json();
    ASSERT_FALSE(shown["calendars"].empty());
    const std::string nodes = home.folder().path("Library/Application Support/iCal/nodes.plist");
    for (const auto& calendar : shown["calendars"]) {
        const std::string key = calendar["sourceKey"];
        const std::string command =
            "python3 -c 'import plistlib,sys\n"
            "p=sys.argv[1]\n"
            "d=plistlib.load(open(p,\"rb\"))\n"
            "def strip(nodes): return [dict(n, **({\"Subnodes\": strip(n[\"Subnodes\"])} if "
            "\"Subnodes\" in n else {})) for n in nodes if n.get(\"SourceKey\", n.get(\"Key\")) != "
            "sys.argv[2]]\n"
            "d[\"List\"]=strip(d[\"List\"])\n"
            "plistlib.dump(d,open(p,\"wb\"))' '" +
            nodes + "' '" + key + "'";
        ASSERT_EQ(std::system(command.c_str()), 0);
        fs::remove_all(
            home.folder().path("Library/Application Support/iCal/Sources/" + key + ".calendar"));
        ASSERT_THAT(home.run({"calendars", "--json"}).json(), SizeIs(before.size() - 1)) << key;
        const ProgramResult run = home.run({"restore", "1", "--calendar", calendar["key"]});
        ASSERT_EQ(run.exitCode, 0) << run.err;
        const auto after = home.run({"calendars", "--json"}).json();
        ASSERT_THAT(after, SizeIs(before.size())) << key;
        for (const auto& row : before)
            EXPECT_THAT(after, Contains(testing::Truly([&](const auto& other) {
                            return other["key"] == row["key"] && other["group"] == row["group"] &&
                                   other["events"] == row["events"] &&
                                   other["tasks"] == row["tasks"];
                        })))
                << key;
    }
    EXPECT_EQ(home.sync().exitCode, 0);
    EXPECT_THAT(home.run({"calendars", "--json"}).json(), SizeIs(before.size()));
}

}  // namespace
}  // namespace kt::test
