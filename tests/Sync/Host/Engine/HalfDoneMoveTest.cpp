#include <string>

#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

/// Another home has moved a task from "Privat" to "Arbeit", and this one's rewrite was killed when
/// it had written the new place and not yet removed the old one.
class HalfDoneMove : public SyncEngineRules {
protected:
    void givenAMoveHalfDone()
    {
        givenTwoHomes();
        if (home("a").store.calendar(to) == nullptr)
            home("a").store.calendars.push_back(calendar(to));
        syncUntilRest();
        home("a").store.item("Privat", "Einkaufen")->uid = "uid-of-the-task";
        home("b").store.item("Privat", "Einkaufen")->uid = uidBefore;
        syncUntilRest();
        rowsBefore = home("b").openState().seenRows();
        move(home("a"));
        home("a").sync();
        home("b").sync(broken(Break::killAfterFinish));
        HomeItem copy = *home("b").store.item("Privat", "Einkaufen");
        copy.uid = uidAfter();
        home("b").store.calendar(to)->items.push_back(copy);
    }

    void move(MemoryHome& home)
    {
        const HomeItem item = *home.store.item("Privat", "Einkaufen");
        removeItem(home, "Privat", "Einkaufen");
        home.store.calendar(to)->items.push_back(item);
    }

    /// A rewrite gives a text that had no UID one that is made of its key.
    std::string uidAfter() const
    {
        if (!uidBefore.empty())
            return uidBefore;
        for (const SeenRow& row : rowsBefore) {
            if (row.local.conduit == kConduitTask)
                return row.agreedKey.value_or("");
        }
        return "";
    }

    void expectOneInItsNewPlace()
    {
        for (const char* name : {"a", "b"}) {
            EXPECT_EQ(home(name).store.count("Einkaufen"), 1) << name;
            EXPECT_NE(home(name).store.item(to, "Einkaufen"), nullptr) << name;
        }
        expectEqualHomes();
        expectRest();
    }

    std::string to = "Arbeit";
    std::string uidBefore = "uid-of-the-task";
    std::vector<SeenRow> rowsBefore;
};

TEST_F(HalfDoneMove, Rule19_WhatIsInBothPlacesIsOneRecord)
{
    givenAMoveHalfDone();
    syncUntilRest();
    expectOneInItsNewPlace();
}

TEST_F(HalfDoneMove, Rule19_WhatIsInBothPlacesIsOneRecordThoughItHadNoUidHere)
{
    uidBefore.clear();
    givenAMoveHalfDone();
    syncUntilRest();
    expectOneInItsNewPlace();
}

TEST_F(HalfDoneMove, Rule19_AnEditInTheNewPlaceIsAnEditOfTheOneRecord)
{
    givenAMoveHalfDone();
    fields(home("b"), "Arbeit", "Einkaufen").set("URL", "http://example.invalid");
    syncUntilRest();
    expectOneInItsNewPlace();
    for (const char* name : {"a", "b"})
        EXPECT_EQ(fields(home(name), "Arbeit", "Einkaufen")["URL"],
                  Value("http://example.invalid"));
}

TEST_F(HalfDoneMove, Rule19_AnEditInTheNewPlaceIsOneThoughItHadNoUidHere)
{
    uidBefore.clear();
    to = "Zuhause";  // which is read after the old place
    givenAMoveHalfDone();
    fields(home("b"), to, "Einkaufen").set("URL", "http://example.invalid");
    syncUntilRest();
    expectOneInItsNewPlace();
    for (const char* name : {"a", "b"})
        EXPECT_EQ(fields(home(name), to, "Einkaufen")["URL"], Value("http://example.invalid"));
}

TEST_F(HalfDoneMove, Rule19_AnEditInTheOldPlaceIsNotLost)
{
    givenAMoveHalfDone();
    fields(home("b"), "Privat", "Einkaufen").set("URL", "http://example.invalid");
    syncUntilRest();
    for (const char* name : {"a", "b"}) {
        int edited = 0;
        for (const HomeCalendar& each : home(name).store.calendars)
            for (const HomeItem& item : each.items)
                edited += item.fields["URL"] == Value("http://example.invalid") ? 1 : 0;
        EXPECT_GE(edited, 1) << name;
    }
    expectEqualHomes();
    expectRest();
}

TEST_F(HalfDoneMove, Rule19_ACopyInAnotherCalendarIsAnotherRecordWhereNothingWasMoved)
{
    givenTwoHomes();
    fields(home("a"), "Privat", "Zahnarzt").set("Location", "Praxis");
    home("a").sync();
    home("b").sync(broken(Break::killAfterFinish));
    const HomeItem copy = *home("b").store.item("Privat", "Einkaufen");
    home("b").store.calendar("Arbeit")->items.push_back(copy);
    syncUntilRest();
    for (const char* name : {"a", "b"})
        EXPECT_EQ(home(name).store.count("Einkaufen"), 2) << name;
    expectEqualHomes();
    expectRest();
}

}  // namespace
}  // namespace kt::test
