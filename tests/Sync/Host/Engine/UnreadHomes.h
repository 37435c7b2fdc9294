#pragma once

#include <string>
#include <vector>

#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {

/// Two homes in step; then texts of "a" are damaged. "Privat" has a dentist, a rehearsal and a
/// shopping list, "Arbeit" a meeting.
class UnreadHomes : public SyncEngineRules {
protected:
    void givenHomes(Layout layout = Layout::leopard,
                    MemoryHome::Telling telling = MemoryHome::Telling::all)
    {
        MemoryHome& a = home("a", layout);
        a.telling = telling;
        a.store.calendars = {calendar("Privat",
                                      {event("Zahnarzt", "20071224T100000"),
                                       event("Probe", "20071225T190000"), task("Einkaufen")}),
                             calendar("Arbeit", {event("Sitzung", "20071227T090000")})};
        home("b");
        syncAll();
        syncUntilRest();
    }

    static HomeItem& damage(MemoryHome& home, const std::string& calendar, const std::string& title)
    {
        HomeItem& item = *home.store.item(calendar, title);
        item.isBroken = true;
        return item;
    }

    static void mend(MemoryHome& home)
    {
        for (HomeCalendar& each : home.store.calendars) {
            each.isBroken = false;
            for (HomeItem& item : each.items)
                item.isBroken = false;
        }
    }

    static Wishes accepting()
    {
        Wishes wishes;
        wishes.acceptLosses = true;
        return wishes;
    }

    void expectOnceEverywhere(const std::vector<std::string>& titles)
    {
        for (const auto& each : homes) {
            for (const std::string& title : titles)
                EXPECT_EQ(each->store.count(title), 1) << title;
        }
    }
};

/// How a store tells of its unread texts.
struct HowTold {
    const char* name;
    Layout layout;
    MemoryHome::Telling telling;
};

class UnreadText : public UnreadHomes, public testing::WithParamInterface<HowTold> {
protected:
    UnreadText() { givenHomes(GetParam().layout, GetParam().telling); }

    MemoryHome& a = home("a");
    MemoryHome& b = home("b");
};

class Unread : public UnreadHomes {
protected:
    Unread() { givenHomes(); }

    MemoryHome& a = home("a");
    MemoryHome& b = home("b");
};

inline const HowTold kWaysOfTelling[] = {
    HowTold{"AFileOfItsOwn", Layout::leopard, MemoryHome::Telling::all},
    HowTold{"AComponentByItsUid", Layout::tiger, MemoryHome::Telling::all},
    HowTold{"AFileNobodyKnows", Layout::leopard, MemoryHome::Telling::onlyCalendar},
    HowTold{"AComponentWithoutUid", Layout::tiger, MemoryHome::Telling::onlyCalendar},
    HowTold{"WithoutPlaces", Layout::leopard, MemoryHome::Telling::noPlaces}};

inline std::string nameOfTelling(const testing::TestParamInfo<HowTold>& row)
{
    return row.param.name;
}

}  // namespace kt::test
