#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SyncKit.h"

namespace kt::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

/// What a damaged file holds, and where it stands.
struct DamageRow {
    const char* what;
    const char* file;  // below PRIVAT.calendar
    std::string bytes;
};

void PrintTo(const DamageRow& row, std::ostream* stream) { *stream << row.what; }

/// Two devices in step; then a file of the laptop's is damaged, and the laptop has something new.
class UnreadFile : public testing::TestWithParam<DamageRow> {
protected:
    UnreadFile()
    {
        laptop.addCalendar("PRIVAT", "Privat");
        laptop.addCalendar("ARBEIT", "Arbeit");
        for (const char* title : {"Zahnarzt", "Kino"})
            laptop.addEvent("PRIVAT", title + std::string(".ics"), {.title = title});
        laptop.addEvent("ARBEIT", "Messe.ics", {.title = "Messe"});
        laptop.sync();
        desk.sync();
        whole = laptop.folder().read(damagedFile()).value();
        laptop.folder().write(damagedFile(), GetParam().bytes);
        laptop.addEvent("ARBEIT", "Neu.ics", {.title = "Neu vom Laptop"});
    }
    static std::string damagedFile()
    {
        return std::string("Library/Calendars/PRIVAT.calendar/") + GetParam().file;
    }
    std::string damagedPath() const { return laptop.folder().path(damagedFile()); }

    StoryServer server;
    StoryHome laptop{server};
    StoryHome desk{server};
    std::string whole;
};

INSTANTIATE_TEST_SUITE_P(
    Damages, UnreadFile,
    testing::Values(
        DamageRow{"InvalidUTF8", "Events/Kino.ics",
                  "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nSUMMARY:\xFF\xFE\r\nEND:VEVENT\r\n"
                  "END:VCALENDAR\r\n"},
        DamageRow{"CutInTheMiddle", "Events/Kino.ics",
                  textForEvent({.title = "Kino"}).substr(0, 150)},
        DamageRow{"Empty", "Events/Kino.ics", ""},
        DamageRow{"NoCalendarFile", "Events/Kino.ics", "<html></html>\r\n"},
        DamageRow{"CorruptInfo", "Info.plist", "<?xml version=\"1.0\"?><plist><dict><key>Ti"}),
    [](const auto& row) { return row.param.what; });

TEST_P(UnreadFile, IsNamedWithWhatToDoWhenItIsNew)
{
    const ProgramResult run = laptop.sync();
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.out, HasSubstr("Bleibt unverändert liegen:\n  " + damagedPath() + ": "));
    EXPECT_THAT(run.out, HasSubstr("--accept-losses"));
    EXPECT_THAT(laptop.sync().out, Not(HasSubstr(damagedPath())));
    const auto told = laptop.sync({"--json"}).json();
    EXPECT_EQ(told["held"], false);
    EXPECT_EQ(told["losses"][0]["file"], damagedPath());
    EXPECT_EQ(told["losses"][0]["kind"], "unread");
    EXPECT_EQ(told["newlyUnread"].size(), 0U);
}

TEST_P(UnreadFile, HoldsNothingAndDeletesNothing)
{
    const auto before = laptop.storeSnapshot();
    laptop.sync();
    laptop.sync();
    EXPECT_EQ(laptop.storeSnapshot(), before);
    desk.sync();
    EXPECT_THAT(desk.titles(),
                ElementsAre("Arbeit", "Kino", "Messe", "Neu vom Laptop", "Privat", "Zahnarzt"));
}

TEST_P(UnreadFile, FollowsOnceItIsMended)
{
    laptop.sync();
    laptop.folder().write(damagedFile(), whole);
    desk.addEvent("ARBEIT", "neu.ics", {.title = "Neu vom Schreibtisch"});
    desk.sync();
    EXPECT_EQ(laptop.sync().exitCode, 0);
    desk.sync();
    const auto everything = ElementsAre("Arbeit", "Kino", "Messe", "Neu vom Laptop",
                                        "Neu vom Schreibtisch", "Privat", "Zahnarzt");
    EXPECT_THAT(laptop.titles(), everything);
    EXPECT_THAT(desk.titles(), everything);
}

TEST_P(UnreadFile, IsWrittenOverWhenTheUserSaysSo)
{
    laptop.sync();
    const ProgramResult run = laptop.sync({"--accept-losses"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.out, HasSubstr("Mit dem zuletzt bekannten Inhalt überschrieben:\n  " +
                                   damagedPath() + ": "));
    EXPECT_THAT(laptop.titles(),
                ElementsAre("Arbeit", "Kino", "Messe", "Neu vom Laptop", "Privat", "Zahnarzt"));
    EXPECT_EQ(laptop.run({"check"}).exitCode, 0);
}

TEST_P(UnreadFile, ComesBackWhenItIsThrownAway)
{
    laptop.sync();
    std::filesystem::remove(damagedPath());
    if (std::string(GetParam().what) == "CorruptInfo")
        std::filesystem::remove_all(laptop.pathOf("PRIVAT"));
    EXPECT_EQ(laptop.sync().exitCode, 0);
    EXPECT_THAT(laptop.titles(),
                ElementsAre("Arbeit", "Kino", "Messe", "Neu vom Laptop", "Privat", "Zahnarzt"));
}

TEST_P(UnreadFile, CheckNamesTheFile)
{
    const ProgramResult check = laptop.run({"check"});
    EXPECT_EQ(check.exitCode, 1);
    EXPECT_THAT(check.out, HasSubstr(damagedPath() + ": "));
    const auto told = laptop.run({"check", "--json"}).json();
    ASSERT_EQ(told["losses"].size(), 1U);
    EXPECT_EQ(told["losses"][0]["file"], damagedPath());
    EXPECT_NE(told["losses"][0]["reason"], "");
}

TEST_P(UnreadFile, LookingGoesOnWithoutTheFileAndWarns)
{
    const ProgramResult records = laptop.run({"records"});
    EXPECT_EQ(records.exitCode, 0);
    EXPECT_THAT(records.err, HasSubstr("Nicht alles konnte gelesen werden (1 Stelle); mehr dazu: "
                                       "icalsync check"));
    EXPECT_THAT(laptop.titles(), Contains("Messe"));
    EXPECT_THAT(laptop.titles(), Not(Contains("Kino")));
}

class OddKeys : public testing::Test {
protected:
    StoryServer server;
    StoryHome laptop{server};
    StoryHome desk{server};
};

TEST_F(OddKeys, ASourceKeyThatIsNoPlainNameNeverLeavesTheStore)
{
    laptop.addCalendar("GUT", "Gut");
    laptop.addEvent("GUT", "a.ics", {.title = "Da"});
    laptop.addCalendar("BOESE", "Böse");
    std::string info = laptop.folder().read("Library/Calendars/BOESE.calendar/Info.plist").value();
    info.replace(info.find(">BOESE<"), 7, ">../../../../entkommen<");
    laptop.folder().write("Library/Calendars/BOESE.calendar/Info.plist", info);

    const ProgramResult run = laptop.sync();
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.out, HasSubstr("BOESE.calendar"));
    EXPECT_EQ(laptop.run({"check"}).exitCode, 1);

    EXPECT_EQ(desk.sync().exitCode, 0);
    EXPECT_THAT(desk.titles(), Contains("Da"));
    for (const auto& [name, bytes] : desk.folder().tree())
        EXPECT_THAT(name, testing::StartsWith("Library/"));
    EXPECT_FALSE(std::filesystem::exists(desk.path() + "/../entkommen.calendar"));
}

}  // namespace
}  // namespace kt::test
