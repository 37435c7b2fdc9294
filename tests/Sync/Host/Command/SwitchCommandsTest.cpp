#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SyncKit.h"

namespace kt::test {
namespace {

using testing::HasSubstr;

class SwitchStory : public testing::Test {
protected:
    SwitchStory()
    {
        home.addCalendar("PRIVAT", "Privat");
        home.addEvent("PRIVAT", "a.ics", {.title = "Zahnarzt"});
    }

    StoryServer server;
    StoryHome home{server};
};

TEST_F(SwitchStory, DisableHoldsUntilEnable)
{
    EXPECT_EQ(home.run({"disable"}).out, "Die iCal-Synchronisierung ist ausgeschaltet.\n");
    const ProgramResult refused = home.sync();
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_THAT(refused.out, HasSubstr("Die iCal-Synchronisierung ist nicht aktiviert\n"));
    EXPECT_THAT(refused.err, HasSubstr("Die iCal-Synchronisierung ist nicht aktiviert.\n"));
    EXPECT_TRUE(server.records().empty());

    EXPECT_EQ(home.run({"enable"}).out, "Die iCal-Synchronisierung ist eingeschaltet.\n");
    EXPECT_EQ(home.sync().exitCode, 0);
}

TEST_F(SwitchStory, LookingDoesNotAskWhetherThePluginIsOn)
{
    home.run({"disable"});
    EXPECT_EQ(home.run({"records", "--count"}).out, "1 Kalender, 1 Ereignis, 0 Aufgaben\n");
}

TEST_F(SwitchStory, SwitchesAnswerInJson)
{
    EXPECT_EQ(home.run({"enable", "--json"}).json()["enabled"], true);
    EXPECT_EQ(home.run({"disable", "--json"}).json()["enabled"], false);
    const std::string key = home.calendarKey("Privat");
    EXPECT_EQ(home.run({"off", key, "--json"}).json()["on"], false);
}

TEST_F(SwitchStory, SwitchingACalendarMakesTheNextSyncAFullOne)
{
    home.sync();
    const ProgramResult off = home.run({"off", home.calendarKey("Privat")});
    EXPECT_EQ(off.out,
              "'Privat' wird nicht mehr synchronisiert.\n"
              "Die Kalender werden beim nächsten Mal vollständig synchronisiert\n");
    EXPECT_EQ(home.sync({"--json"}).json()["startResult"], 6);
    const ProgramResult on = home.run({"on", home.calendarKey("Privat")});
    EXPECT_EQ(on.out,
              "'Privat' wird synchronisiert.\n"
              "Die Kalender werden beim nächsten Mal vollständig synchronisiert\n");
}

TEST_F(SwitchStory, FullComparesEverythingOnce)
{
    home.sync();
    EXPECT_EQ(home.sync({"--json"}).json()["startResult"], 1);
    EXPECT_EQ(home.sync({"--json", "--full"}).json()["startResult"], 6);
    EXPECT_EQ(home.sync({"--json"}).json()["startResult"], 1);
}

TEST_F(SwitchStory, AKeyOfNoCalendarIsRefused)
{
    const ProgramResult run = home.run({"off", "0123"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err.substr(run.err.rfind('\n', run.err.size() - 2) + 1),
              "Es gibt keinen Kalender mit dem Schlüssel \"0123\".\n");
}

TEST_F(SwitchStory, AGroupAlwaysTakesPart)
{
    home.folder().write("Library/Calendars/G.group/Info.plist",
                        "<plist version=\"1.0\"><dict><key>Title</key><string>Zuhause</string>"
                        "<key>Color</key><string>#000000FF</string><key>Notes</key><string/>"
                        "<key>Key</key><string>G</string></dict></plist>");
    const ProgramResult run = home.run({"off", home.calendarKey("Zuhause")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr("'Zuhause' ist eine Gruppe; Gruppen nehmen immer teil."));
}

}  // namespace
}  // namespace kt::test
