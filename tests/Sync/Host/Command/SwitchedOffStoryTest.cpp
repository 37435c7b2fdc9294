#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SyncKit.h"

namespace kt::test {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

/// The laptop has "Arbeit" switched off; the desk shows everything.
class SwitchedOffStory : public testing::Test {
protected:
    SwitchedOffStory()
    {
        laptop.addCalendar("PRIVAT", "Privat");
        laptop.addEvent("PRIVAT", "zahnarzt.ics", {.title = "Zahnarzt"});
        laptop.addCalendar("ARBEIT", "Arbeit");
        laptop.addEvent("ARBEIT", "sitzung.ics", {.title = "Sitzung"});
        laptop.sync();
        desk.sync();
        EXPECT_EQ(laptop.run({"off", laptop.calendarKey("Arbeit")}).exitCode, 0);
        EXPECT_EQ(laptop.sync().exitCode, 0);
    }
    static void move(const StoryHome& home, const std::string& file, const std::string& from,
                     const std::string& to)
    {
        fs::rename(home.pathOf(from, file), home.pathOf(to, file));
    }

    StoryServer server;
    StoryHome laptop{server};
    StoryHome desk{server};
};

TEST_F(SwitchedOffStory, WhatMovesIntoItMovesOnTheOtherDevice)
{
    const auto records = server.records();
    move(laptop, "zahnarzt.ics", "PRIVAT", "ARBEIT");
    EXPECT_THAT(laptop.sync().out, HasSubstr("Zum Server: 1 Datensatz, 0 Löschungen"));
    EXPECT_EQ(desk.sync().exitCode, 0);
    EXPECT_THAT(desk.filesWith("ARBEIT", "SUMMARY:Zahnarzt"), SizeIs(1));
    EXPECT_THAT(desk.filesWith("PRIVAT", "SUMMARY:Zahnarzt"), SizeIs(0));
    EXPECT_EQ(server.records().size(), records.size());

    EXPECT_EQ(laptop.run({"on", laptop.calendarKey("Arbeit")}).exitCode, 0);
    EXPECT_EQ(laptop.sync().exitCode, 0);
    EXPECT_EQ(desk.sync().exitCode, 0);
    EXPECT_THAT(laptop.filesWith("ARBEIT", "SUMMARY:Zahnarzt"), SizeIs(1));
    EXPECT_EQ(laptop.titles(), desk.titles());
    EXPECT_EQ(server.records().size(), records.size()) << "it is still the same record";
}

TEST_F(SwitchedOffStory, TheUserReadsWhichCalendarGoes)
{
    const std::string line =
        "Der ausgeschaltete Kalender 'Arbeit' fehlt hier und wird auf allen Geräten gelöscht, mit "
        "1 Eintrag.";
    fs::remove_all(laptop.pathOf("ARBEIT"));
    EXPECT_THAT(laptop.sync({"--dry-run"}).out, HasSubstr(line));
    const ProgramResult result = laptop.sync({"--json"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.json()["notices"], ElementsAre(line));
    EXPECT_THAT(result.err, HasSubstr(line));
    EXPECT_THAT(laptop.sync().out, Not(HasSubstr("Arbeit")));
    EXPECT_EQ(desk.sync().exitCode, 0);
    EXPECT_THAT(desk.titles(), ElementsAre("Privat", "Zahnarzt"));
}

}  // namespace
}  // namespace kt::test
