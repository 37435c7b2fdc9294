#include <string>
#include <utility>
#include <vector>

#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

TEST_F(SyncEngineRules, Rule19_ATaskEditedBeforeItsRewriteWasSettledIsNotDoubled)
{
    givenTwoHomes();
    auto& b = home("b");
    home("a").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("a").sync();
    b.sync(broken(Break::killBeforeSettling));
    fields(b, "Privat", "Blumen").set("Notes", "Tulpen");
    syncUntilRest();
    for (const char* name : {"a", "b"}) {
        ASSERT_EQ(home(name).store.count("Blumen"), 1) << name;
        EXPECT_EQ(fields(home(name), "Privat", "Blumen")["Notes"], Value("Tulpen")) << name;
    }
    expectRest();
}

TEST_F(SyncEngineRules, Rule19_AnItemThatTheCutRewriteOnlyMovedHalfwayIsNotDoubled)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    const auto move = [](MemoryHome& in) {
        in.store.calendar("Arbeit")->items.push_back(*in.store.item("Privat", "Zahnarzt"));
    };
    move(a);
    removeItem(a, "Privat", "Zahnarzt");
    a.sync();
    b.sync(broken(Break::killAfterFinish));
    move(b);
    EXPECT_EQ(b.sync().sent, 0U);
    syncUntilRest();
    for (const char* name : {"a", "b"}) {
        EXPECT_EQ(home(name).store.count("Zahnarzt"), 1) << name;
        EXPECT_NE(home(name).store.item("Arbeit", "Zahnarzt"), nullptr) << name;
    }
    expectRest();
}

/// "Arbeit" is switched off at a, and a task in it is given another title while a rewrite is not
/// settled.
class KeptItemUnderAMark : public SyncEngineRules {
protected:
    void SetUp() override
    {
        givenTwoHomes();
        auto& a = home("a");
        a.switchOff("Arbeit");
        a.store.calendar("Arbeit")->items.push_back(task("Blumen"));
        a.sync(broken(Break::killAfterFinish));
        fields(a, "Arbeit", "Blumen").set("Title", "Tulpen");
    }
    void expectOneTask()
    {
        home("a").switchOn("Arbeit");
        syncUntilRest();
        EXPECT_EQ(home("b").store.count("Tulpen"), 1);
        EXPECT_EQ(home("b").store.count("Blumen"), 0);
        expectRest();
    }
};

TEST_F(KeptItemUnderAMark, Rule19_ThatWasGivenAnotherTitleIsNotDoubled)
{
    home("a").sync();
    EXPECT_EQ(home("a").store.count("Blumen"), 0);
    expectOneTask();
}

TEST_F(KeptItemUnderAMark, Rule19_ThatWasGivenAnotherTitleIsNotDoubledWhenSwitchedOn)
{
    expectOneTask();
}

TEST_F(SyncEngineRules, Rule19_WhatEqualsItsSeenIsWhatTheOldStoreLeftBehind)
{
    givenTwoHomes();
    auto& b = home("b");
    fields(home("a"), "Privat", "Zahnarzt").set("Location", "Praxis");
    removeItem(home("a"), "Privat", "Einkaufen");
    home("a").sync();
    b.sync(broken(Break::killAfterFinish));
    const SyncRunSummary summary = b.sync();
    EXPECT_EQ(summary.startResult, 6);
    EXPECT_EQ(summary.sent, 0U);
    EXPECT_EQ(b.store.count("Einkaufen"), 0);
    EXPECT_EQ(fields(b, "Privat", "Zahnarzt")["Location"], Value("Praxis"));
    expectRest();
}

TEST_F(SyncEngineRules, Rule19_WhatIsMissingIsNotDeletedWhileTheRewriteIsNotSettled)
{
    givenTwoHomes();
    auto& b = home("b");
    home("a").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("a").sync();
    b.sync(broken(Break::killInRewrite));
    b.store.calendars.clear();
    EXPECT_EQ(b.sync().deletedOnServer, 0U);
    for (const char* title : {"Zahnarzt", "Einkaufen", "Blumen", "Sitzung"})
        EXPECT_EQ(b.store.count(title), 1) << title;
    expectRest();
}

TEST_F(SyncEngineRules, Rule19_AnEditIsComparedWithWhatIsAgreedAndTakesNothingAway)
{
    givenTwoHomes();
    auto& b = home("b");
    fields(home("a"), "Privat", "Einkaufen").set("Notes", "Milch");
    home("a").sync();
    b.sync(broken(Break::killAfterFinish));
    // The old store has no notes for it, which nobody deleted.
    fields(b, "Privat", "Einkaufen").set("URL", "http://example.invalid");
    syncUntilRest();
    for (const char* name : {"a", "b"}) {
        EXPECT_EQ(fields(home(name), "Privat", "Einkaufen")["Notes"], Value("Milch")) << name;
        EXPECT_EQ(fields(home(name), "Privat", "Einkaufen")["URL"],
                  Value("http://example.invalid"));
    }
    expectRest();
}

TEST_F(SyncEngineRules, Rule19_ATaskOfTheTitleOfOneThatWasNotWrittenYetIsAnother)
{
    givenTwoHomes();
    auto& b = home("b");
    home("a").store.calendar("Privat")->items.push_back(task("Blumen", {{"Notes", "Tulpen"}}));
    home("a").sync();
    b.sync(broken(Break::killAfterFinish));
    b.store.calendar("Privat")->items.push_back(task("Blumen", {{"Notes", "Rosen"}}));
    syncUntilRest();
    for (const char* name : {"a", "b"})
        EXPECT_EQ(home(name).store.count("Blumen"), 2) << name;
    expectEqualHomes();
    expectRest();
}

TEST_F(SyncEngineRules, Rule19_AnEditOfWhatTheRewriteHadNothingForStands)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    fields(a, "Privat", "Zahnarzt").set("Location", "Praxis");
    syncUntilRest();
    fields(a, "Privat", "Einkaufen").set("Notes", "Milch");
    a.sync();
    for (const Break at : {Break::killAfterFinish, Break::killBeforeSettling}) {
        b.sync(broken(at));
        const std::string place = "Raum " + std::to_string(static_cast<int>(at));
        fields(b, "Privat", "Zahnarzt").set("Location", place);
        syncUntilRest();
        for (auto* each : {&a, &b})
            EXPECT_EQ(fields(*each, "Privat", "Zahnarzt")["Location"], Value(place));
        EXPECT_EQ(fields(b, "Privat", "Einkaufen")["Notes"], Value("Milch"));
        fields(a, "Arbeit", "Sitzung").set("Notes", place);
        a.sync();
    }
    expectRest();
}

TEST_F(SyncEngineRules, Rule19_AnEditOfWhatTheRewriteHadNothingForKeepsWhatOnlyTheOldStoreHas)
{
    givenTwoHomes();
    auto& b = home("b");
    fields(home("a"), "Privat", "Zahnarzt").set("Location", "Praxis");
    syncUntilRest();
    fields(home("a"), "Privat", "Zahnarzt").remove("Location");
    home("a").sync();
    b.sync(broken(Break::killAfterFinish));
    fields(b, "Privat", "Zahnarzt").set("URL", "http://example.invalid");
    syncUntilRest();
    for (const char* name : {"a", "b"}) {
        EXPECT_EQ(fields(home(name), "Privat", "Zahnarzt")["Location"], Value("Praxis")) << name;
        EXPECT_EQ(fields(home(name), "Privat", "Zahnarzt")["URL"], Value("http://example.invalid"));
    }
    expectRest();
}

TEST_F(SyncEngineRules, Rule19_WhatTheStoreGaveIsKnownThroughASecondRewriteThatEndsHalfway)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    b.store.calendar("Privat")->items.push_back(task("Blumen", {{"Notes", "Tulpen"}}));
    for (const Break at : {Break::killBeforeSettling, Break::killAfterFinish}) {
        fields(a, "Arbeit", "Sitzung").set("Notes", std::to_string(static_cast<int>(at)));
        a.sync();
        b.sync(broken(at));
    }
    // Entered before both, so the rewrites had nothing to write there: the user took it out.
    fields(b, "Privat", "Blumen").remove("Notes");
    syncUntilRest();
    for (auto* each : {&a, &b})
        EXPECT_FALSE(fields(*each, "Privat", "Blumen").contains("Notes"));
    expectEqualHomes();
    expectRest();
}

// A rewrite that brought several records of one key, or records under keys of their own, and whose
// end nobody has seen.
class UnsettledRewrite : public SyncEngineRules, public testing::WithParamInterface<Layout> {
protected:
    void givenTwoHomesAnd(std::vector<HomeItem> more)
    {
        home("a").store.calendars = {calendar("Privat", {event("Zahnarzt", "20071224T100000")})};
        home("b", GetParam());
        syncUntilRest();
        for (HomeItem& item : more)
            home("a").store.calendar("Privat")->items.push_back(std::move(item));
        home("a").sync();
        home("b").sync(broken(Break::killBeforeSettling));
    }
};

INSTANTIATE_TEST_SUITE_P(OfEitherLayout, UnsettledRewrite,
                         testing::Values(Layout::tiger, Layout::leopard), [](const auto& layout) {
                             return layout.param == Layout::tiger ? "Tiger" : "Leopard";
                         });

TEST_P(UnsettledRewrite, Rule19_EqualKeysKeepTheirNumbersAlthoughOneWasEditedSince)
{
    givenTwoHomesAnd({task("Einkaufen", {{"DueDate", date("20071224")}}),
                      task("Einkaufen", {{"DueDate", date("20071225")}})});
    auto& b = home("b");
    for (auto& item : b.store.calendar("Privat")->items) {
        if (item.fields["DueDate"] == Value(date("20071225")))
            item.fields.set("Notes", "Brot");
    }
    syncUntilRest();
    for (const char* name : {"a", "b"}) {
        EXPECT_EQ(home(name).store.count("Einkaufen"), 2) << name;
        for (const auto& item : home(name).store.calendar("Privat")->items)
            EXPECT_EQ(item.fields.contains("Notes"),
                      item.fields["DueDate"] == Value(date("20071225")));
    }
    expectRest();
}

TEST_P(UnsettledRewrite, Rule19_EqualKeysKeepTheirNumbersWhenAllOfThemWereEdited)
{
    givenTwoHomesAnd({task("Einkaufen", {{"DueDate", date("20071224")}}),
                      task("Einkaufen", {{"DueDate", date("20071225")}})});
    auto& b = home("b");
    for (auto& item : b.store.calendar("Privat")->items) {
        if (item.conduit == kConduitTask)
            item.fields.set("Notes", "von b");
    }
    syncUntilRest();
    for (const char* name : {"a", "b"})
        EXPECT_EQ(home(name).store.count("Einkaufen"), 2) << name;
    EXPECT_EQ(liveOnServer().size(), 4U);
    expectRest();
    expectEqualHomes();
}

TEST_P(UnsettledRewrite, Rule19_ARecordThatComesBackUnderAnotherKeyIsNotDoubled)
{
    // The older sequence makes another key than the newer one of the store it came from.
    givenTwoHomesAnd({event("Feier", "20071228T160000", {{"Notes", "Kuchen"}})});
    auto& b = home("b");
    fields(b, "Privat", "Feier").set("Sequence", "2");
    fields(b, "Privat", "Feier").set("Location", "Garten");
    syncUntilRest();
    for (const char* name : {"a", "b"}) {
        ASSERT_EQ(home(name).store.count("Feier"), 1) << name;
        EXPECT_EQ(fields(home(name), "Privat", "Feier")["Notes"], Value("Kuchen")) << name;
        EXPECT_EQ(fields(home(name), "Privat", "Feier")["Location"], Value("Garten")) << name;
    }
    expectRest();
}

TEST_P(UnsettledRewrite, Rule19_ACalendarMadeMeanwhileIsNotTakenForOneThatWasHandedOut)
{
    givenTwoHomesAnd({});
    auto& a = home("a");
    auto& b = home("b");
    a.store.calendars.push_back(calendar("Arbeit", {task("Bericht")}));
    a.store.calendar("Arbeit")->order = 1;
    a.sync();
    b.sync(broken(Break::killAfterFinish));
    b.store.calendars.push_back(calendar("Garten", {task("Gießen")}));
    b.store.calendar("Garten")->order = 1;
    syncUntilRest();
    for (const char* name : {"a", "b"}) {
        ASSERT_NE(home(name).store.calendar("Arbeit"), nullptr) << name;
        ASSERT_NE(home(name).store.calendar("Garten"), nullptr) << name;
        EXPECT_EQ(home(name).store.calendar("Arbeit")->items.size(), 1U);
        EXPECT_EQ(home(name).store.calendar("Garten")->items.size(), 1U);
    }
    expectRest();
}

// A switched-off calendar that half a store does not show.
TEST_F(SyncEngineRules, Rule19_ASwitchedOffCalendarThatIsNotToBeSeenStillIsSwitchedOff)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    b.switchOff("Arbeit");
    b.sync();
    a.store.calendar("Privat")->items.push_back(task("Blumen"));
    a.sync();
    b.sync(broken(Break::killBeforeSettling));
    removeCalendar(b, "Arbeit");
    a.store.calendar("Arbeit")->color = "#0000FF";
    fields(a, "Arbeit", "Sitzung").set("Location", "von a");
    a.sync();
    const SyncRunSummary summary = b.sync();
    EXPECT_EQ(summary.received, 0U);
    EXPECT_EQ(b.store.count("Sitzung"), 1);
    EXPECT_FALSE(fields(b, "Arbeit", "Sitzung").contains("Location"));
    EXPECT_EQ(b.openState().untakenRows().size(), 2U);
    b.switchOn("Arbeit");
    syncUntilRest();
    EXPECT_EQ(fields(b, "Arbeit", "Sitzung")["Location"], Value("von a"));
    expectRest();
    expectEqualHomes();
}

TEST_F(SyncEngineRules, Rule19_KeptRecordsThatHalfAStoreLacksAreNotDeletedWhenTheirCalendarIsOn)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    b.switchOff("Arbeit");
    b.sync();
    b.store.calendar("Arbeit")->items.push_back(task("nur bei b"));
    b.sync();
    a.store.calendar("Privat")->items.push_back(task("Blumen"));
    a.sync();
    b.sync(broken(Break::killBeforeSettling));
    b.store.calendar("Arbeit")->items.clear();
    b.switchOn("Arbeit");
    syncUntilRest();
    for (const char* title : {"Sitzung", "nur bei b"}) {
        EXPECT_EQ(b.store.count(title), 1) << title;
        EXPECT_EQ(a.store.count(title), 1) << title;
    }
    expectRest();
}

}  // namespace
}  // namespace kt::test
