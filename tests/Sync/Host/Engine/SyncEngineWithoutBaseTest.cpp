#include <filesystem>

#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

TEST_F(SyncEngineRules, Rule12_AFirstMeetingDeletesNothingAndJoinsFields)
{
    auto& a = home("a");
    auto& b = home("b");
    a.store.calendars = {
        calendar("Privat", {event("Zahnarzt", "20071224T100000", {{"Notes", "Karte"}}),
                            event("nur a", "20071225T100000")})};
    b.store.calendars = {
        calendar("Privat", {event("Zahnarzt", "20071224T100000", {{"Location", "Praxis"}}),
                            event("nur b", "20071225T100000")})};
    syncUntilRest();
    expectEqualHomes();
    EXPECT_EQ(a.store.count("nur b"), 1);
    EXPECT_EQ(b.store.count("nur a"), 1);
    EXPECT_EQ(fields(a, "Privat", "Zahnarzt")["Notes"], Value("Karte"));
    EXPECT_EQ(fields(a, "Privat", "Zahnarzt")["Location"], Value("Praxis"));
    EXPECT_EQ(a.store.count("Zahnarzt"), 1);
    expectRest();
}

TEST_F(SyncEngineRules, Rule12_AServerReplacedByAnEmptyOneIsFilledAgain)
{
    givenTwoHomes();
    const auto before = contents(home("a"));
    folder.remove("server.db");
    EXPECT_EQ(home("a").sync().startResult, 2);
    EXPECT_EQ(contents(home("a")), before);
    EXPECT_EQ(liveOnServer().size(), 5U);
    EXPECT_EQ(home("b").sync().startResult, 6);
    EXPECT_EQ(contents(home("b")), before);
    expectRest();
}

TEST_F(SyncEngineRules, Rule12_AServerReplacedByASmallOneIsFilledAgain)
{
    givenTwoHomes();
    folder.remove("server.db");
    auto& stranger = home("stranger");
    stranger.store.calendars = {calendar("Fremd", {task("fremd")})};
    stranger.sync();
    syncUntilRest();
    expectEqualHomes();
    EXPECT_EQ(home("a").store.count("Zahnarzt"), 1);
    EXPECT_EQ(home("a").store.count("fremd"), 1);
    expectRest();
}

TEST_F(SyncEngineRules, Rule12_AServerReplacedKeepsWhatASwitchedOffCalendarHolds)
{
    givenTwoHomes();
    auto& a = home("a");
    a.switchOff("Arbeit");
    a.sync();
    folder.remove("server.db");
    a.sync();
    EXPECT_EQ(liveOnServer().size(), 3U);
    a.switchOn("Arbeit");
    syncUntilRest();
    EXPECT_EQ(liveOnServer().size(), 5U);
    EXPECT_EQ(home("b").store.count("Sitzung"), 1);
    expectRest();
}

TEST_F(SyncEngineRules, Rule12_WhatAReplacedServerNeverHadAndIsDeletedHereStaysDeleted)
{
    auto& a = home("a");
    a.store.calendars = {calendar("Privat", {event("Zahnarzt", "20071224T100000")}),
                         calendar("Arbeit", {event("Sitzung", "20071227T090000")})};
    a.sync();
    a.switchOff("Arbeit");
    a.sync();
    std::filesystem::remove(folder.path("server.db"));
    a.sync();
    removeItem(a, "Arbeit", "Sitzung");
    a.switchOn("Arbeit");
    a.sync();
    auto& b = home("b");
    b.sync();
    fields(b, "Privat", "Zahnarzt").set("Location", "Praxis");
    b.sync();
    EXPECT_EQ(a.sync().received, 1U) << "the store is rewritten from what is agreed";
    syncUntilRest();
    EXPECT_EQ(a.store.count("Sitzung"), 0);
    EXPECT_EQ(b.store.count("Sitzung"), 0);
    expectRest();
}

TEST_F(SyncEngineRules, Rule12_AResetLocalStateDeletesNothing)
{
    givenTwoHomes();
    auto& a = home("a");
    const auto before = contents(a);
    removeItem(a, "Privat", "Einkaufen");
    EXPECT_TRUE(a.resetSync());
    EXPECT_EQ(a.sync().startResult, 6);
    EXPECT_EQ(contents(a), before);
    expectRest();
}

TEST_F(SyncEngineRules, Rule12_AFullComparisonStillTellsADeletionFromAnAddition)
{
    givenTwoHomes();
    auto& a = home("a");
    removeItem(a, "Privat", "Einkaufen");
    home("b").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("b").sync();
    EXPECT_EQ(a.sync(full()).startResult, 6);
    EXPECT_EQ(a.store.count("Einkaufen"), 0);
    EXPECT_EQ(a.store.count("Blumen"), 1);
    syncUntilRest();
    EXPECT_EQ(home("b").store.count("Einkaufen"), 0);
}

// What a store knows an item by outlives the state of a device.
class WithoutState : public SyncEngineRules {
protected:
    static HomeItem withUid(HomeItem item, const std::string& uid)
    {
        item.uid = uid;
        return item;
    }
    void SetUp() override
    {
        b.store.calendars.clear();
        a.store.calendars = {
            calendar("Privat", {withUid(event("Zahnarzt", "20071224T100000"), "uid-1"),
                                withUid(task("Einkaufen"), "uid-2")})};
        syncUntilRest();
        before = liveOnServer();
    }
    // The later one where two devices have other texts.
    static void rename(MemoryHome& home, const std::string& title, const std::string& now)
    {
        Dictionary& item = fields(home, "Privat", title);
        item.set("DateStamp", date("20071223T080000"));
        item.set("Title", now);
    }
    void expectThatAllIsAsBefore()
    {
        syncUntilRest();
        expectEqualHomes();
        EXPECT_EQ(liveOnServer(), before);
        expectRest();
    }

    MemoryHome& a = home("a");
    MemoryHome& b = home("b");
    std::vector<RecordId> before;
};

TEST_F(WithoutState, Rule13_AnItemOfAnotherTitleIsStillTheSame)
{
    rename(a, "Zahnarzt", "Augenarzt");
    rename(a, "Einkaufen", "Blumen");
    std::filesystem::remove(a.statePath());
    expectThatAllIsAsBefore();
    EXPECT_EQ(b.store.count("Augenarzt"), 1);
    EXPECT_EQ(b.store.count("Blumen"), 1);
    EXPECT_EQ(b.store.count("Zahnarzt"), 0);
}

TEST_F(WithoutState, Rule13_SoIsWhatARewriteBrought)
{
    rename(b, "Zahnarzt", "Augenarzt");
    std::filesystem::remove(b.statePath());
    expectThatAllIsAsBefore();
    EXPECT_EQ(a.store.count("Augenarzt"), 1);
}

TEST_F(WithoutState, Rule13_WhatBothChangedIsNotJoinedInOneText)
{
    fields(a, "Privat", "Zahnarzt").set("Notes", "alt");
    a.sync();
    fields(a, "Privat", "Zahnarzt").set("Notes", "neu");
    fields(a, "Privat", "Zahnarzt").set("DateStamp", date("20071223T080000"));
    std::filesystem::remove(a.statePath());
    expectThatAllIsAsBefore();
    EXPECT_EQ(fields(b, "Privat", "Zahnarzt")["Notes"], Value("neu"));
}

TEST_F(WithoutState, Rule13_EventsThatWereEnteredTwiceStayTwoWhereTheyContradict)
{
    fields(a, "Privat", "Zahnarzt").set("Notes", "Karte");
    a.sync();
    MemoryHome& c = home("c");
    c.store.calendars = {calendar(
        "Privat",
        {withUid(event("Zahnarzt", "20071224T100000", {{"Notes", "Röntgenbild"}}), "uid-3")})};
    c.sync();
    fields(a, "Privat", "Zahnarzt").set("Notes", "Karte und Geld");
    syncUntilRest();
    expectEqualHomes();
    EXPECT_EQ(a.store.count("Zahnarzt"), 2);
    EXPECT_EQ(liveOnServer().size(), before.size() + 1);
    expectRest();
}

TEST_F(WithoutState, Rule13_AnInvitationThatTwoDevicesTakeInIsOneEvent)
{
    const HomeItem invitation = withUid(event("Sitzung", "20071227T090000"), "uid-4");
    a.store.calendar("Privat")->items.push_back(invitation);
    HomeItem renamed = invitation;
    renamed.fields.set("Title", "Sitzung (Anna)");
    b.store.calendar("Privat")->items.push_back(renamed);
    syncUntilRest();
    expectEqualHomes();
    EXPECT_EQ(liveOnServer().size(), before.size() + 1);
    expectRest();
}

}  // namespace
}  // namespace kt::test
