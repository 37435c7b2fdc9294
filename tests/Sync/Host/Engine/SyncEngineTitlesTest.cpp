#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

// Of two calendars of one title and type a store gives only one.
class SameTitles : public SyncEngineRules {
protected:
    void SetUp() override
    {
        b.store.calendars.clear();
        a.store.calendars = {calendar("Privat", {task("Einkaufen")}),
                             calendar("Arbeit", {task("Bericht")})};
        syncUntilRest();
    }

    static std::vector<std::string> titles(const MemoryHome& home)
    {
        std::vector<std::string> titles;
        for (const HomeCalendar& calendar : home.store.calendars)
            titles.push_back(calendar.title);
        return titles;
    }

    MemoryHome& a = home("a");
    MemoryHome& b = home("b");
};

TEST_F(SameTitles, GetANumberWhereTwoCalendarsAreRenamedAlike)
{
    a.store.calendar("Arbeit")->title = "Haus";
    b.store.calendar("Privat")->title = "Haus";
    a.sync();
    EXPECT_THAT(b.sync().notices,
                ElementsAre("Es gibt hier schon einen Kalender 'Haus'; der neu gekommene heißt "
                            "jetzt überall 'Haus 2'."));
    syncUntilRest();
    for (const MemoryHome* home : {&a, &b}) {
        EXPECT_THAT(titles(*home), UnorderedElementsAre("Haus", "Haus 2"));
        EXPECT_EQ(home->store.count("Einkaufen"), 1);
        EXPECT_EQ(home->store.count("Bericht"), 1);
    }
    EXPECT_NE(a.store.item("Haus 2", "Bericht"), nullptr);
}

TEST_F(SameTitles, AreNoneWhereOneMakesWay)
{
    a.store.calendar("Arbeit")->title = "Weder noch";
    a.store.calendar("Privat")->title = "Arbeit";
    a.store.calendar("Weder noch")->title = "Privat";
    a.sync();
    EXPECT_THAT(b.sync().notices, IsEmpty());
    EXPECT_THAT(titles(b), UnorderedElementsAre("Arbeit", "Privat"));
    EXPECT_NE(b.store.item("Privat", "Bericht"), nullptr);
}

TEST_F(SameTitles, TakeTheNextNumberThatIsFree)
{
    b.store.calendars.push_back(calendar("Haus 2", {task("Streichen")}));
    b.store.calendar("Privat")->title = "Haus";
    a.store.calendar("Arbeit")->title = "Haus";
    a.sync();
    b.sync();
    syncUntilRest();
    EXPECT_THAT(titles(a), UnorderedElementsAre("Haus", "Haus 2", "Haus 3"));
    EXPECT_NE(a.store.item("Haus 2", "Streichen"), nullptr);
    expectEqualHomes();
}

TEST_F(SameTitles, KeepBackNoItemsOfACalendarThatIsHereUnderAnotherTitle)
{
    b.switchOff("Privat");
    b.sync();
    a.store.calendar("Privat")->title = "Neu";
    a.store.calendar("Arbeit")->title = "Privat";
    a.store.calendar("Privat")->items.push_back(task("Antrag"));
    a.sync();
    b.sync();
    EXPECT_THAT(titles(b), UnorderedElementsAre("Privat", "Arbeit"));
    EXPECT_NE(b.store.item("Arbeit", "Antrag"), nullptr);
    b.switchOn("Privat");
    syncUntilRest();
    EXPECT_THAT(titles(b), UnorderedElementsAre("Privat", "Neu"));
    EXPECT_NE(b.store.item("Privat", "Antrag"), nullptr);
}

}  // namespace
}  // namespace kt::test
