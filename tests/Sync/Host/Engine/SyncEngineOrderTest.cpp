#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Sync/Host/Engine/SyncEngineFixture.h"

namespace kt::test {
namespace {

using testing::ElementsAre;

using Titles = std::vector<std::string>;

/// A home that numbers its calendars as it likes, and one that counts them anew in every group.
class CalendarOrder : public SyncEngineFixture {
protected:
    CalendarOrder()
    {
        add(leopard, "Zuhause", 10, "", "CalendarGroup");
        add(leopard, "Familie", 11, "Zuhause");
        add(leopard, "Kinder", 12, "Zuhause");
        add(leopard, "Privat", 20);
        add(leopard, "Arbeit", 30);
        add(leopard, "Verein", 40);
        syncAll();
        EXPECT_THAT(sequence(tiger), ElementsAre("Zuhause", "Privat", "Arbeit", "Verein"));
        EXPECT_EQ(tiger.store.calendar("Verein")->order, 3);
    }
    static void add(MemoryHome& home, const std::string& title, int order,
                    const std::string& group = "", const std::string& type = "CalendarNode")
    {
        HomeCalendar each = calendar(title);
        each.type = type;
        each.order = order;
        each.group = group;
        home.store.calendars.push_back(each);
    }
    /// The titles of a group, or of the top, as the home shows them.
    static Titles sequence(const MemoryHome& home, const std::string& group = "")
    {
        std::vector<std::pair<int, std::string>> members;
        for (const HomeCalendar& each : home.store.calendars)
            if (each.group == group)
                members.emplace_back(each.order, each.title);
        std::sort(members.begin(), members.end());
        EXPECT_EQ(std::adjacent_find(members.begin(), members.end(),
                                     [](const auto& a, const auto& b) {
                                         return a.first == b.first;
                                     }),
                  members.end())
            << "two calendars with one number";
        Titles titles;
        for (const auto& member : members)
            titles.push_back(member.second);
        return titles;
    }
    /// As the older calendar program numbers them.
    static void arrange(MemoryHome& home, const Titles& titles)
    {
        int order = 0;
        for (const std::string& title : titles)
            home.store.calendar(title)->order = order++;
    }
    void expectSequence(const Titles& titles, const std::string& group = "")
    {
        syncUntilRest();
        EXPECT_EQ(sequence(leopard, group), titles);
        EXPECT_EQ(sequence(tiger, group), titles);
        expectRest();
    }

    MemoryHome& leopard = home("leopard");
    MemoryHome& tiger = home("tiger", Layout::tiger);
};

TEST_F(CalendarOrder, ChangedInEitherLayoutIsTheSameInBoth)
{
    arrange(tiger, {"Zuhause", "Privat", "Verein", "Arbeit"});
    expectSequence({"Zuhause", "Privat", "Verein", "Arbeit"});
    leopard.store.calendar("Arbeit")->order = 0;
    leopard.store.calendar("Zuhause")->order = 5;
    expectSequence({"Arbeit", "Privat", "Verein", "Zuhause"});
    expectSequence({"Familie", "Kinder"}, "Zuhause");
}

TEST_F(CalendarOrder, StaysWhenACalendarInTheMiddleIsDeleted)
{
    removeCalendar(tiger, "Privat");
    arrange(tiger, {"Zuhause", "Arbeit", "Verein"});
    expectSequence({"Zuhause", "Arbeit", "Verein"});
}

TEST_F(CalendarOrder, PutsANewCalendarWhereItWasPut)
{
    add(tiger, "Garten", 0, "Zuhause");
    arrange(tiger, {"Familie", "Garten", "Kinder"});
    expectSequence({"Familie", "Garten", "Kinder"}, "Zuhause");
    expectSequence({"Zuhause", "Privat", "Arbeit", "Verein"});
}

TEST_F(CalendarOrder, FollowsACalendarIntoAnotherGroup)
{
    tiger.store.calendar("Arbeit")->group = "Zuhause";
    arrange(tiger, {"Familie", "Kinder", "Arbeit"});
    arrange(tiger, {"Zuhause", "Privat", "Verein"});
    expectSequence({"Familie", "Kinder", "Arbeit"}, "Zuhause");
    expectSequence({"Zuhause", "Privat", "Verein"});
}

TEST_F(CalendarOrder, OfACalendarThatTheServerMovedIsNotOverruled)
{
    leopard.store.calendar("Verein")->order = 1;
    leopard.sync();
    arrange(tiger, {"Zuhause", "Privat", "Verein", "Arbeit"});
    syncUntilRest();
    EXPECT_EQ(leopard.store.calendar("Verein")->order, 1);
    expectRest();
}

TEST_F(CalendarOrder, ChangedOnOneSideDoesNotBringBackWhatTheOtherDeleted)
{
    removeCalendar(leopard, "Arbeit");
    arrange(tiger, {"Zuhause", "Arbeit", "Privat", "Verein"});
    tiger.sync();
    expectSequence({"Zuhause", "Privat", "Verein"});
    removeCalendar(leopard, "Privat");
    leopard.sync();
    arrange(tiger, {"Privat", "Zuhause", "Verein"});
    expectSequence({"Zuhause", "Verein"});
}

TEST_F(CalendarOrder, ThatNobodyChangedMakesNothingGoUp)
{
    tiger.store.calendar("Privat")->color = "#00FF00";
    EXPECT_EQ(tiger.sync().sent, 1U);
}

}  // namespace
}  // namespace kt::test
