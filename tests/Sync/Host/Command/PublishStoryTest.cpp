#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SyncKit.h"

namespace kt::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

class PublishStory : public testing::Test {
protected:
    PublishStory()
    {
        home.addCalendar("PRIVAT", "Privat");
        home.addEvent("PRIVAT", "a.ics", {.title = "Zahnarzt"});
        home.sync();
        key = home.calendarKey("Privat");
    }

    bool isShownAsPublished() const
    {
        return home.run({"calendars", "--json"}).json()[0]["published"];
    }

    StoryServer server;
    StoryHome home{server};
    std::string key;
};

TEST_F(PublishStory, PublishingTellsTheAddressAndIsShown)
{
    EXPECT_FALSE(isShownAsPublished());
    const ProgramResult run = home.run({"publish", key});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "'Privat' ist öffentlich: http://127.0.0.1:8080/vl/calendar/" + key + "\n");
    EXPECT_TRUE(isShownAsPublished());
}

TEST_F(PublishStory, UnpublishingTakesItBack)
{
    home.run({"publish", key});
    const ProgramResult run = home.run({"unpublish", key});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "Der Kalender ist nicht mehr öffentlich.\n");
    EXPECT_FALSE(isShownAsPublished());
    const ProgramResult again = home.run({"unpublish", key});
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_THAT(again.err, EndsWith("Es gibt keinen öffentlichen Kalender mit dem Schlüssel \"" +
                                    key + "\".\n"));
}

TEST_F(PublishStory, PublishingAnswersInJson)
{
    const auto json =
        home.run({"publish", key, "--tasks", "--anonymize", "--no-events", "--json"}).json();
    EXPECT_EQ(json["published"], true);
    EXPECT_EQ(json["events"], false);
    EXPECT_EQ(json["tasks"], true);
    EXPECT_EQ(json["anonymized"], true);
    EXPECT_EQ(home.run({"unpublish", key, "--json"}).json()["published"], false);
}

TEST_F(PublishStory, PublishingChangesNoRecord)
{
    const auto before = server.records();
    home.run({"publish", key});
    EXPECT_EQ(server.records(), before);
    EXPECT_EQ(home.sync({"--json"}).json()["startResult"], 1);
}

TEST_F(PublishStory, ThereHasToBeSomethingToPublish)
{
    EXPECT_EQ(home.run({"publish", key, "--no-events"}).exitCode, 1);
    EXPECT_FALSE(isShownAsPublished());
}

TEST_F(PublishStory, GroupsAndUnknownKeysAreRefused)
{
    home.folder().write("Library/Calendars/G.group/Info.plist",
                        "<plist version=\"1.0\"><dict><key>Title</key><string>Zuhause</string>"
                        "<key>Color</key><string>#000000FF</string><key>Notes</key><string/>"
                        "<key>Key</key><string>G</string></dict></plist>");
    EXPECT_THAT(home.run({"publish", home.calendarKey("Zuhause")}).err,
                HasSubstr("'Zuhause' ist eine Gruppe"));
    EXPECT_THAT(home.run({"publish", "0123"}).err,
                HasSubstr("Es gibt keinen Kalender mit dem Schlüssel \"0123\"."));
}

TEST_F(PublishStory, ARenamedCalendarStaysPublicUnderItsAddressAndCanBeTakenBack)
{
    home.run({"publish", key});
    home.addCalendar("PRIVAT", "Familie");
    ASSERT_EQ(home.sync().exitCode, 0);
    const std::string newKey = home.calendarKey("Familie");
    ASSERT_NE(newKey, key);
    EXPECT_EQ(server.sharings(), std::vector<std::string>{key});
    EXPECT_TRUE(isShownAsPublished());
    EXPECT_THAT(home.run({"publish", newKey}).out, EndsWith("/vl/calendar/" + key + "\n"));
    EXPECT_EQ(server.sharings(), std::vector<std::string>{key});
    EXPECT_EQ(home.run({"unpublish", newKey}).exitCode, 0);
    EXPECT_TRUE(server.sharings().empty());
    EXPECT_FALSE(isShownAsPublished());
}

TEST_F(PublishStory, ADeletedCalendarIsNoLongerPublic)
{
    home.addCalendar("ZWEITER", "Zweiter");
    home.addEvent("ZWEITER", "b.ics", {.title = "Chor"});
    home.sync();
    const std::string second = home.calendarKey("Zweiter");
    home.run({"publish", second});
    home.folder().remove("Library/Calendars/ZWEITER.calendar");
    EXPECT_EQ(home.sync().exitCode, 0);
    EXPECT_TRUE(server.sharings().empty());
}

}  // namespace
}  // namespace kt::test
