#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/PropertyList.h"
#include "tests/support/SyncKit.h"

namespace kt::test {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

class CheckStory : public testing::Test {
protected:
    CheckStory()
    {
        home.addCalendar("PRIVAT", "Privat");
        home.addEvent("PRIVAT", "a.ics", {.title = "Zahnarzt"});
    }
    void thin() const
    {
        home.addEvent("PRIVAT", "b.ics",
                      {.title = "Kino", .more = "SUMMARY;LANGUAGE=en:Cinema\r\n"});
    }
    void breakFile() const { home.writeItem("PRIVAT", "c.ics", "BEGIN:VCALENDAR\r\n\xFF\r\n"); }
    void misname(const std::string& from, const std::string& to) const
    {
        fs::rename(home.pathOf(from), home.pathOf(to));
    }
    std::vector<std::string> folders() const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(home.folder().path("Library/Calendars")))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    StoryServer server;
    StoryHome home{server};
};

TEST_F(CheckStory, WhatIsReadThoughNotInAllIsARemarkAndNoFailure)
{
    thin();
    const ProgramResult run = home.run({"check"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.out, StartsWith("Gelesen, aber nicht in allem:\n  " +
                                    home.pathOf("PRIVAT", "b.ics") + ": "));
    EXPECT_THAT(run.out, Not(HasSubstr("übersprungen")));
    EXPECT_THAT(home.run({"records", "--count"}).err, Not(HasSubstr("Nicht alles")));
}

TEST_F(CheckStory, TheKindsStandApartAndAreCounted)
{
    thin();
    breakFile();
    home.addCalendar("ARBEIT", "Arbeit");
    misname("ARBEIT", "Werk");
    const ProgramResult run = home.run({"check"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.out,
                HasSubstr("Hält die Synchronisierung an:\n  " + home.pathOf("Werk") + ": "));
    EXPECT_THAT(run.out, HasSubstr("\nBleibt unverändert liegen:\n  " +
                                   home.pathOf("PRIVAT", "c.ics") + ": "));
    EXPECT_THAT(run.out, HasSubstr("\nGelesen, aber nicht in allem:\n  "));
    const auto json = home.run({"check", "--json"}).json();
    EXPECT_EQ(json["loaded"], true);
    EXPECT_EQ(json["counts"]["unsafe"], 1);
    EXPECT_EQ(json["counts"]["unread"], 1);
    EXPECT_GE(json["counts"]["thinned"], 1);
    std::vector<std::string> kinds;
    for (const auto& loss : json["losses"])
        kinds.push_back(loss["kind"]);
    EXPECT_THAT(kinds, Contains("unsafe"));
    EXPECT_THAT(kinds, Contains("thinned"));
}

TEST_F(CheckStory, AStoreThatCannotBeLoadedNamesTheFile)
{
    home.folder().write("Library/Calendars/ZAHL.calendar/Info.plist",
                        xmlPropertyList(Dictionary{{"Key", "ZAHL"}, {"Title", 7}}));
    const std::string folder = home.pathOf("ZAHL");
    const ProgramResult check = home.run({"check"});
    EXPECT_EQ(check.exitCode, 1);
    EXPECT_THAT(check.out, StartsWith("Die Kalender konnten nicht geladen werden! " + folder));
    EXPECT_THAT(check.out, HasSubstr("Bleibt unverändert liegen:\n  " + folder + ": "));
    EXPECT_EQ(home.run({"check", "--json"}).json()["loaded"], false);
    for (const char* command : {"records", "calendars"}) {
        const ProgramResult run = home.run({command});
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_THAT(run.err, HasSubstr("Die Kalender konnten nicht geladen werden! " + folder))
            << command;
    }
}

TEST_F(CheckStory, RepairNamesFoldersAfterTheirKeys)
{
    ASSERT_EQ(home.sync().exitCode, 0);
    misname("PRIVAT", "Privates");
    EXPECT_EQ(home.run({"check"}).exitCode, 1);
    const auto before = home.snapshot();
    const ProgramResult dry = home.run({"check", "--repair", "--dry-run"});
    EXPECT_EQ(dry.exitCode, 0);
    EXPECT_THAT(dry.out,
                HasSubstr(home.pathOf("Privates") + " würde umbenannt in PRIVAT.calendar\n"));
    EXPECT_EQ(home.snapshot(), before);

    const auto repair = home.run({"check", "--repair", "--json"});
    EXPECT_EQ(repair.exitCode, 0);
    EXPECT_EQ(repair.json()["repaired"][0]["to"], home.pathOf("PRIVAT"));
    EXPECT_THAT(folders(), ElementsAre("PRIVAT.calendar"));
    EXPECT_EQ(home.run({"check"}).exitCode, 0);
    EXPECT_EQ(home.run({"check", "--repair"}).out, "Es gibt nichts zu reparieren.\n");
    const std::string backup = repair.json()["backup"];
    EXPECT_EQ(home.run({"backups", "show", backup, "--json"}).json()["calendars"][0]["items"], 1);
    const auto restored = home.run({"restore", backup});
    EXPECT_THAT(restored.out, HasSubstr("Privates.calendar\" heißt nicht wie der Schlüssel"));
    EXPECT_EQ(home.run({"check", "--repair"}).exitCode, 0);
    EXPECT_THAT(folders(), ElementsAre("PRIVAT.calendar"));
    const auto sync = home.sync({"--json"}).json();
    EXPECT_EQ(sync["completed"], true);
    EXPECT_EQ(sync["deletedOnServer"], 0);
    EXPECT_THAT(home.titles(), ElementsAre("Privat", "Zahnarzt"));
}

TEST_F(CheckStory, RepairTouchesNothingThatIsNotClear)
{
    const auto describe = [&](const std::string& folder, const Dictionary& info) {
        home.folder().write("Library/Calendars/" + folder + ".calendar/Info.plist",
                            xmlPropertyList(info));
    };
    describe("1", Dictionary{{"Key", "PRIVAT"}, {"Title", "Zweiter"}});
    describe("2", Dictionary{{"Key", "../weg"}, {"Title", "Fort"}});
    describe("3", Dictionary{{"Title", "Ohne"}});
    describe("4", Dictionary{{"Key", "ZIEL"}, {"Title", "Besetzt"}});
    home.folder().write("Library/Calendars/ZIEL.calendar/rest", "kein Kalender");
    describe("5", Dictionary{{"Key", "FREI"}, {"Title", "Frei"}});
    const ProgramResult run = home.run({"check", "--repair"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.out, HasSubstr("1.calendar: Mehrere Ordner haben den Schlüssel 'PRIVAT'\n"));
    EXPECT_THAT(run.out, HasSubstr("2.calendar: Der Schlüssel '../weg' ist als Ordnername nicht "
                                   "erlaubt\n"));
    EXPECT_THAT(run.out, HasSubstr("3.calendar: In der Info.plist steht kein Schlüssel\n"));
    EXPECT_THAT(run.out, HasSubstr("ZIEL.calendar\" gibt es schon\n"));
    EXPECT_THAT(run.out, HasSubstr("5.calendar heißt jetzt FREI.calendar\n"));
    EXPECT_THAT(run.out, HasSubstr("1 Ordner repariert, 4 nicht.\n"));
    EXPECT_THAT(folders(), ElementsAre("1.calendar", "2.calendar", "3.calendar", "4.calendar",
                                       "FREI.calendar", "PRIVAT.calendar", "ZIEL.calendar"));
}

TEST_F(CheckStory, RepairIsKeptOutWhileTheCalendarProgramRuns)
{
    misname("PRIVAT", "Privates");
    home.folder().write("Library/Application Support/VeloraSuite/icalsync.toml",
                        "[calendar-program]\nprogram = \"test_host_command\"\n");
    const ProgramResult run = home.run({"check", "--repair"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr("iCal ist noch aktiv"));
    EXPECT_THAT(folders(), ElementsAre("Privates.calendar"));
}

TEST_F(CheckStory, TheOlderLayoutHasNothingToRepair)
{
    const StoryHome old(server);
    fs::copy(std::string(KT_SOURCE_DIR) + "/samples/home-10.4", old.path(),
             fs::copy_options::recursive);
    const ProgramResult run = old.run({"check", "--repair"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "Es gibt nichts zu reparieren.\n");
}

}  // namespace
}  // namespace kt::test
