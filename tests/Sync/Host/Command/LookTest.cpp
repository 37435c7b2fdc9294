#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SyncKit.h"

namespace kt::test {
namespace {

using Json = nlohmann::ordered_json;
using testing::HasSubstr;
using testing::StartsWith;

class LookStory : public testing::Test {
protected:
    LookStory()
    {
        home.addCalendar("PRIVAT", "Privat");
        home.addEvent("PRIVAT", "a.ics", {.title = "Zahnarzt"});
        home.writeItem("PRIVAT", "b.ics", textForTask("Tee kaufen"));
    }

    StoryServer server;
    StoryHome home{server};
};

/// A command that only looks, before and after the home's first sync.
class LookingCommand : public LookStory,
                       public testing::WithParamInterface<std::vector<std::string>> {};
INSTANTIATE_TEST_SUITE_P(Commands, LookingCommand,
                         testing::Values(std::vector<std::string>{"records"},
                                         std::vector<std::string>{"records", "--count"},
                                         std::vector<std::string>{"calendars"},
                                         std::vector<std::string>{"check"},
                                         std::vector<std::string>{"sync", "--dry-run"},
                                         std::vector<std::string>{"sync", "--dry-run", "--full"}));

TEST_P(LookingCommand, ChangesNothingInAFreshHome)
{
    const auto before = home.snapshot();
    EXPECT_EQ(home.run(GetParam()).exitCode, 0);
    EXPECT_EQ(home.snapshot(), before);
    EXPECT_TRUE(server.records().empty());
}

TEST_P(LookingCommand, ChangesNothingInAHomeThatWasSynced)
{
    home.sync();
    home.addEvent("PRIVAT", "c.ics", {.title = "Neu"});
    const auto before = home.snapshot();
    const auto serverBefore = server.records();
    EXPECT_EQ(home.run(GetParam()).exitCode, 0);
    EXPECT_EQ(home.snapshot(), before);
    EXPECT_EQ(server.records(), serverBefore);
}

TEST_P(LookingCommand, ChangesNothingWhereThereIsNoStore)
{
    const StoryHome empty(server);
    const auto before = empty.snapshot();
    EXPECT_EQ(empty.run(GetParam()).exitCode, 0);
    EXPECT_EQ(empty.snapshot(), before);
}

TEST_P(LookingCommand, AnswersInJsonThatCanBeParsed)
{
    auto arguments = GetParam();
    arguments.push_back("--json");
    EXPECT_FALSE(home.run(arguments).json().is_null());
}

TEST_F(LookStory, RecordsShowWhatLoadingYields)
{
    const Json records = home.run({"records"}).json();
    ASSERT_EQ(records.size(), 3U);
    EXPECT_EQ(records[0]["conduit"], "ical-calendar");
    EXPECT_EQ(records[0]["parentKey"], nullptr);
    EXPECT_EQ(records[0]["record"]["Title"], "Privat");
    EXPECT_EQ(records[1]["conduit"], "ical-event");
    EXPECT_EQ(records[1]["parentKey"], records[0]["key"]);
    EXPECT_EQ(records[1]["record"]["StartDate"], Json({{"iCalDate", "20080116T083000"},
                                                       {"timezone", "Europe/Berlin"},
                                                       {"allDay", false}}));
    EXPECT_EQ(records[2]["conduit"], "ical-task");
    EXPECT_EQ(records[2]["record"]["Completed"], false);
}

TEST_F(LookStory, RecordsShowSwitchedOffCalendarsAsWell)
{
    const Json before = home.run({"records"}).json();
    home.run({"off", home.calendarKey("Privat")});
    EXPECT_EQ(home.run({"records"}).json(), before);
}

TEST_F(LookStory, CountSaysHowManyOfEach)
{
    EXPECT_EQ(home.run({"records", "--count"}).out, "1 Kalender, 1 Ereignis, 1 Aufgabe\n");
    EXPECT_EQ(home.run({"records", "--count", "--json"}).json(),
              Json({{"calendars", 1}, {"events", 1}, {"tasks", 1}}));
}

TEST_F(LookStory, CalendarsShowKeyTypeTitleGroupCountsAndSwitches)
{
    home.folder().write(
        "Library/Calendars/G.group/Info.plist",
        "<plist version=\"1.0\"><dict><key>Title</key><string>Zuhause</string>"
        "<key>Color</key><string>#000000FF</string><key>Notes</key><string/>"
        "<key>Order</key><integer>0</integer><key>Key</key><string>G</string>"
        "<key>Calendars</key><array><string>PRIVAT</string></array></dict></plist>");
    const Json calendars = home.run({"calendars", "--json"}).json();
    ASSERT_EQ(calendars.size(), 2U);
    EXPECT_EQ(calendars[0]["title"], "Zuhause");
    EXPECT_EQ(calendars[0]["type"], "CalendarGroup");
    EXPECT_EQ(calendars[0]["group"], nullptr);
    EXPECT_EQ(calendars[1]["title"], "Privat");
    EXPECT_EQ(calendars[1]["group"], "Zuhause");
    EXPECT_EQ(calendars[1]["groupKey"], calendars[0]["key"]);
    EXPECT_EQ(calendars[1]["events"], 1);
    EXPECT_EQ(calendars[1]["tasks"], 1);
    EXPECT_EQ(calendars[1]["on"], true);
    EXPECT_EQ(calendars[1]["published"], false);

    home.run({"off", calendars[1]["key"]});
    const Json after = home.run({"calendars", "--json"}).json();
    EXPECT_EQ(after[1]["on"], false);
    EXPECT_EQ(after[1]["events"], 1) << "switched off is not gone";
}

TEST_F(LookStory, CalendarsStandBehindTheirGroupWhateverTheirNumber)
{
    const auto addGroup = [&](const std::string& key, int order, const std::string& member) {
        home.folder().write("Library/Calendars/" + key + ".group/Info.plist",
                            "<plist version=\"1.0\"><dict><key>Title</key><string>" + key +
                                "</string><key>Color</key><string>#000000FF</string>"
                                "<key>Notes</key><string/><key>Order</key><integer>" +
                                std::to_string(order) + "</integer><key>Key</key><string>" + key +
                                "</string><key>Calendars</key><array><string>" + member +
                                "</string></array></dict></plist>");
    };
    home.addCalendar("BERUF", "Beruf");
    addGroup("Zuhause", 5, "PRIVAT");
    addGroup("Kreis", 0, "Quadrat");
    addGroup("Quadrat", 0, "Kreis");
    std::vector<std::string> titles;
    for (const auto& calendar : home.run({"calendars", "--json"}).json())
        titles.push_back(calendar["title"]);
    ASSERT_EQ(titles.size(), 5U);
    titles.resize(3);
    EXPECT_THAT(titles, testing::ElementsAre("Beruf", "Zuhause", "Privat"))
        << "and groups that hold one another behind them";
}

TEST_F(LookStory, CalendarsShowATableToPeople)
{
    EXPECT_THAT(home.run({"calendars"}).out, StartsWith("Schlüssel "));
    EXPECT_THAT(home.run({"calendars"}).out, HasSubstr("  Kalender  Privat"));
    EXPECT_EQ(StoryHome(server).run({"calendars"}).out, "Es gibt keine Kalender.\n");
}

TEST_F(LookStory, CheckSaysThatAllIsWell)
{
    EXPECT_EQ(home.run({"check"}).out, "Alles kann gelesen werden.\n");
    const Json json = home.run({"check", "--json"}).json();
    EXPECT_EQ(json["losses"], Json::array());
    EXPECT_EQ(json["counts"]["unread"], 0);
}

TEST_F(LookStory, TheLogGoesToStandardErrorAndCanBeSilenced)
{
    EXPECT_THAT(home.run({"records", "--count"}).err,
                HasSubstr("Ereignisse laden fuer Kalender: 'Privat'\n"));
    EXPECT_EQ(home.run({"records", "--count", "--quiet"}).err, "");
}

TEST_F(LookStory, LookingSpeaksOfNoSync)
{
    EXPECT_THAT(home.run({"records", "--count"}).err, testing::Not(HasSubstr("synchronisiert")));
}

TEST_F(LookStory, AStoreThatCannotBeListedIsAFailure)
{
    home.folder().remove("Library/Calendars");
    home.folder().write("Library/Calendars", "eine Datei");
    for (const char* command : {"records", "calendars", "check", "sync"}) {
        const ProgramResult run = home.run({command});
        EXPECT_EQ(run.exitCode, 1) << command;
        EXPECT_THAT(run.out + run.err,
                    HasSubstr("Der Kalenderordner \"" + home.folder().path("Library/Calendars") +
                              "\" kann nicht gelesen werden."))
            << command;
    }
}

}  // namespace
}  // namespace kt::test
