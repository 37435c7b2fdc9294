// Which items a rewrite takes, in which order, and the view state of calendars of each type.

#include "Sync/Foundation/Text.h"
#include "tests/Sync/PlugIns/iCal/SavingFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;

class SavingOfType : public Saving, public ::testing::WithParamInterface<const char*> {
protected:
    static SyncRecord calendarOfType()
    {
        return record(kConduitCalendar, "A", with(calendarFields("Eins", "A"), "Type", GetParam()));
    }
    Value storedSelection() const { return (*storedInfo(storeEntries().front()))["Checked"]; }
};
INSTANTIATE_TEST_SUITE_P(Types, SavingOfType,
                         ::testing::Values("CalendarNode", "CalendarGroup", "CalendarSubscriber",
                                           "BirthdayCalendar"));

TEST_P(SavingOfType, SelectsACalendarThatWasNotRemembered)
{
    EXPECT_TRUE(save(SyncRecordList{calendarOfType()}));
    EXPECT_EQ(storedSelection(), Value(true));
}

TEST_P(SavingOfType, LeavesACalendarUnselectedThatWas)
{
    notSelected = {"A"};
    EXPECT_TRUE(save(SyncRecordList{calendarOfType()}));
    EXPECT_EQ(storedSelection(), Value(false));
}

TEST_P(SavingOfType, TakesItsItemsAndCountsThem)
{
    EXPECT_TRUE(save(
        SyncRecordList{calendarOfType(), event("e1", "A"), event("e2", "A"), task("t1", "A")}));
    EXPECT_EQ(numCalendars, 1);
    EXPECT_EQ(numEvents, 2);
    EXPECT_EQ(numTasks, 1);
}

class SavingIn104 : public Saving {
protected:
    SavingIn104()
    {
        host.script.macOSVersion = 4;
        home.write(kNodeFile, xmlPropertyList(Dictionary{{"Version", 2}, {"List", Array{}}}));
    }
    /// The titles in the calendar's file, in its order.
    std::vector<std::string> titlesIn(const std::string& key) const
    {
        const std::string text = home.read("Library/Application Support/iCal/Sources/" + key +
                                           ".calendar/corestorage.ics")
                                     .value_or("");
        std::vector<std::string> titles;
        for (std::string_view line : componentsSeparatedByString(text, "\r\n")) {
            if (line.starts_with("SUMMARY:"))
                titles.emplace_back(line.substr(8));
        }
        return titles;
    }
};

TEST_F(SavingIn104, WritesTheItemsOfACalendarInTheOrderOfTheRecords)
{
    EXPECT_TRUE(save(SyncRecordList{event("e2", "A"), task("t2", "A"), event("e3", "A"),
                                    calendar("A", "Arbeit"), task("t1", "A"), event("e1", "A")}));
    EXPECT_THAT(titlesIn("A"), ElementsAre("Ereignis e2", "Ereignis e3", "Ereignis e1",
                                           "Aufgabe t2", "Aufgabe t1"));
}

TEST_F(SavingIn104, WritesTheItemsOfABirthdayCalendar)
{
    EXPECT_TRUE(save(
        SyncRecordList{record(kConduitCalendar, "A",
                              with(calendarFields("Geburtstage", "A"), "Type", "BirthdayCalendar")),
                       event("e1", "A"), task("t1", "A")}));
    EXPECT_THAT(titlesIn("A"), ElementsAre("Ereignis e1", "Aufgabe t1"));
    EXPECT_EQ(numEvents, 1);
    EXPECT_EQ(numTasks, 1);
}

}  // namespace
}  // namespace kt::test
