#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SyncKit.h"

namespace kt::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

/// Two devices that write into the same place while they are apart.
class ConflictStory : public testing::Test {
protected:
    ConflictStory()
    {
        laptop.addCalendar("PRIVAT", "Privat");
        laptop.addEvent("PRIVAT", "kino.ics", {.title = "Kino"});
        laptop.sync();
        desk.sync();
    }
    void syncBoth() const
    {
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(laptop.sync().exitCode, 0);
            EXPECT_EQ(desk.sync().exitCode, 0);
        }
    }
    static void write(const StoryHome& home, const std::string& file, const std::string& uid,
                      const std::string& title, const std::string& more)
    {
        std::string text = textForEvent({.title = title, .more = more});
        const std::string before = "UID:" + title;
        text.replace(text.find(before), before.size(), "UID:" + uid);
        home.writeItem("PRIVAT", file, text);
    }

    StoryServer server;
    StoryHome laptop{server};
    StoryHome desk{server};
};

TEST_F(ConflictStory, OfTwoTitlesTheOneThatGivesWayIsInTheLog)
{
    const std::string file = desk.filesWith("PRIVAT", "SUMMARY:Kino").at(0);
    write(laptop, "kino.ics", "Kino", "Theater", "");
    std::string text = *desk.folder().read("Library/Calendars/PRIVAT.calendar/Events/" + file);
    text.replace(text.find("SUMMARY:Kino"), 12, "SUMMARY:Oper");
    text.replace(text.find("20080110T080000Z"), 16, "20080111T080000Z");
    desk.writeItem("PRIVAT", file, text);
    EXPECT_EQ(laptop.sync().exitCode, 0);
    const std::string line =
        "'Oper', Titel: auf zwei Geräten verschieden, nicht übernommen wurde \"Theater\"";
    EXPECT_THAT(desk.sync().err, HasSubstr(line));
    EXPECT_THAT(desk.sync().err, Not(HasSubstr(line)));
    EXPECT_THAT(laptop.sync().err, Not(HasSubstr(line)));
    EXPECT_THAT(laptop.filesWith("PRIVAT", "SUMMARY:Oper"), SizeIs(1));
    EXPECT_EQ(laptop.titles(), desk.titles());
}

TEST_F(ConflictStory, TwoNewEventsOfOneTitleAndTimeKeepBothNotes)
{
    write(laptop, "a.ics", "uid-a", "Zahnarzt", "DESCRIPTION:von hier\r\n");
    write(desk, "b.ics", "uid-b", "Zahnarzt", "DESCRIPTION:von dort\r\n");
    syncBoth();
    for (const StoryHome* home : {&laptop, &desk}) {
        EXPECT_THAT(home->filesWith("PRIVAT", "von hier"), SizeIs(1));
        EXPECT_THAT(home->filesWith("PRIVAT", "von dort"), SizeIs(1));
    }
}

}  // namespace
}  // namespace kt::test
