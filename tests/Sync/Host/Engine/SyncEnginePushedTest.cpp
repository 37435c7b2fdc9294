#include <string>
#include <vector>

#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

// A run that was cut off while the server was told: the state says no more than that this was about
// to be done.
class UnansweredPush : public SyncEngineRules {
protected:
    // Before what is pushed is entered.
    void remember()
    {
        static_cast<void>(LocalState(a.statePath()));
        before = *folder.read("a.state");
    }
    void push()
    {
        a.sync();
        std::vector<PushedRow> pushed;
        for (const SeenRow& row : LocalState(a.statePath()).seenRows())
            pushed.push_back({row.hash, row});
        folder.write("a.state", before);
        for (const PushedRow& row : pushed)
            LocalState(a.statePath()).setPushed(row, std::nullopt);
    }

    std::string before;
    MemoryHome& a = home("a");
    MemoryHome& b = home("b");
};

// In the first run of a store that tells nothing of UIDs.
class UnansweredFirstPush : public UnansweredPush {
protected:
    void SetUp() override
    {
        a.telling = MemoryHome::Telling::noPlaces;
        a.store.calendars = {calendar("Privat", {event("Zahnarzt", "20071224T100000")})};
        fields(a, "Privat", "Zahnarzt").set("Notes", "von a");
        remember();
        push();
        b.sync();
    }
};

TEST_F(UnansweredFirstPush, Rule22_AnEditElsewhereIsOneOfWhatItEntered)
{
    fields(b, "Privat", "Zahnarzt").set("Notes", "von b");
    b.sync();
    a.sync();
    syncUntilRest();
    EXPECT_EQ(fields(a, "Privat", "Zahnarzt")["Notes"], Value("von b"));
    expectEqualHomes();
    expectRest();
}

TEST_F(UnansweredFirstPush, Rule22_AnEditHereIsOneOfWhatItEntered)
{
    fields(a, "Privat", "Zahnarzt").set("Notes", "später von a");
    a.sync();
    syncUntilRest();
    EXPECT_EQ(fields(b, "Privat", "Zahnarzt")["Notes"], Value("später von a"));
    expectEqualHomes();
    expectRest();
}

TEST_F(UnansweredPush, Rule22_WhatAnotherDeviceEnteredUnderItsKeyIsAnotherItem)
{
    givenTwoHomes();
    const auto server = *folder.read("server.db");
    remember();
    a.store.calendar("Privat")->items.push_back(task("Anrufen", {{"Notes", "von a"}}));
    push();
    folder.write("server.db", server);
    b.store.calendar("Privat")->items.push_back(task("Anrufen", {{"Notes", "von b"}}));
    b.sync();
    a.sync();
    syncUntilRest();
    EXPECT_EQ(a.store.count("Anrufen"), 2);
    expectEqualHomes();
    expectRest();
}

}  // namespace
}  // namespace kt::test
