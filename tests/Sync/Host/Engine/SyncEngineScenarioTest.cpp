#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Sync/Host/Engine/SyncEngineFixture.h"

namespace kt::test {
namespace {

using testing::IsEmpty;

/// The first home has either layout.
class Scenario : public SyncEngineFixture, public testing::WithParamInterface<Layout> {
protected:
    MemoryHome& a = home("a", GetParam());
};

INSTANTIATE_TEST_SUITE_P(Layouts, Scenario, testing::Values(Layout::leopard, Layout::tiger));

TEST_P(Scenario, TheFirstHomeGoesUpAndTheSecondComesDown)
{
    auto& b = home("b");
    a.store.calendars = {
        calendar("Privat", {event("Zahnarzt", "20071224T100000"), task("Einkaufen")})};
    EXPECT_EQ(a.sync().startResult, 2);
    EXPECT_EQ(a.store.rewrites(), 0);
    const auto summary = b.sync();
    EXPECT_EQ(summary.startResult, 6);
    EXPECT_TRUE(summary.settled);
    EXPECT_EQ(summary.received, 3U);
    EXPECT_EQ(b.store.count("Zahnarzt"), 1);
    EXPECT_EQ(b.store.count("Einkaufen"), 1);
    expectRest();
}

TEST_P(Scenario, AnEditTravelsAndADeletionTravels)
{
    auto& b = home("b");
    a.store.calendars = {
        calendar("Privat", {event("Zahnarzt", "20071224T100000"), task("Einkaufen")})};
    syncAll();
    a.store.item("Privat", "Zahnarzt")->fields.set("Location", "Praxis");
    b.store.calendar("Privat")->items.erase(
        b.store.calendar("Privat")->items.begin() +
        (b.store.item("Privat", "Einkaufen") - b.store.calendar("Privat")->items.data()));
    syncAll();
    syncAll();
    EXPECT_EQ(b.store.item("Privat", "Zahnarzt")->fields["Location"], Value("Praxis"));
    EXPECT_EQ(a.store.count("Einkaufen"), 0);
    expectRest();
}

// Where a run is broken off after its session took effect.
class ScenarioBrokenOff : public SyncEngineFixture,
                          public testing::WithParamInterface<std::tuple<Layout, Break>> {
protected:
    MemoryHome& a = home("a", std::get<Layout>(GetParam()));
};

INSTANTIATE_TEST_SUITE_P(
    AfterFinish, ScenarioBrokenOff,
    testing::Combine(testing::Values(Layout::leopard, Layout::tiger),
                     testing::Values(Break::killAfterFinish, Break::killInRewrite,
                                     Break::killBeforeSettling, Break::cancelBeforeRewrite)));

TEST_P(ScenarioBrokenOff, WhatWasDeletedStaysGoneAndWhatWasEditedIsThereOnce)
{
    auto& b = home("b");
    a.store.calendars = {calendar("Privat",
                                  {event("e", "20071224T100000"), event("f", "20071225T100000")}),
                         calendar("Arbeit", {task("Bericht")})};
    syncUntilRest();
    removeItem(b, "Privat", "e");
    b.store.item("Privat", "f")->fields.set("Location", "Praxis");
    b.store.item("Privat", "f")->fields.set("Sequence", "2");  // another key
    b.sync();
    MemoryHome::Wishes wishes;
    wishes.breakAt = std::get<Break>(GetParam());
    a.sync(wishes);
    EXPECT_EQ(a.sync().startResult, 6);
    for (const auto* each : {&a, &b}) {
        EXPECT_EQ(each->store.count("e"), 0);
        EXPECT_EQ(each->store.count("f"), 1);
        EXPECT_EQ(each->store.count("Bericht"), 1);
    }
    expectRest();
    expectEqualHomes();
}

TEST_P(ScenarioBrokenOff, WhatWasEditedMeanwhileIsNotLost)
{
    auto& b = home("b");
    a.store.calendars = {
        calendar("Privat", {event("e", "20071224T100000"), event("f", "20071225T100000")})};
    syncUntilRest();
    b.store.item("Privat", "e")->fields.set("Location", "Praxis");
    b.sync();
    MemoryHome::Wishes wishes;
    wishes.breakAt = std::get<Break>(GetParam());
    a.sync(wishes);
    if (HomeItem* f = a.store.item("Privat", "f"))
        f->fields.set("Notes", "danach");
    const bool wasThere = a.store.item("Privat", "f") != nullptr;
    syncUntilRest();
    EXPECT_EQ(b.store.item("Privat", "f")->fields.contains("Notes"), wasThere);
    EXPECT_EQ(a.store.item("Privat", "e")->fields["Location"], Value("Praxis"));
    expectRest();
    expectEqualHomes();
}

TEST_P(Scenario, AStoreWithoutASingleInfoFileIsHealed)
{
    auto& b = home("b");
    a.store.calendars = {calendar("Privat", {event("e", "20071224T100000")}),
                         calendar("Geheim", {task("geheim")})};
    a.sync();
    a.switchOff("Geheim");
    a.sync();
    b.sync();
    b.store.calendar("Privat")->items.push_back(task("Blumen"));
    b.sync();
    MemoryHome::Wishes wishes;
    wishes.breakAt = Break::killAfterFinish;
    a.sync(wishes);
    for (const HomeCalendar& each : a.store.calendars)
        a.store.disk()->removeFileAtPath(StorePaths::infoFile(each.stored->folder));
    EXPECT_TRUE(a.sync().settled);
    EXPECT_EQ(a.store.count("e"), 1);
    EXPECT_EQ(a.store.count("Blumen"), 1);
    EXPECT_EQ(a.store.count("geheim"), 1);
    EXPECT_EQ(b.store.count("geheim"), 1);
    expectRest();
}

TEST_P(Scenario, OneEventEditedOnTwoDevicesHasBothEdits)
{
    auto& b = home("b");
    a.store.calendars = {calendar("Privat", {event("e", "20071224T100000")})};
    syncUntilRest();
    a.store.item("Privat", "e")->fields.set("Notes", "Karte");
    a.store.item("Privat", "e")->fields.set("Sequence", "2");
    b.store.item("Privat", "e")->fields.set("Location", "Praxis");
    b.store.item("Privat", "e")->fields.set("Sequence", "2");
    syncUntilRest();
    for (auto* each : {&a, &b}) {
        ASSERT_EQ(each->store.count("e"), 1);
        EXPECT_EQ(each->store.item("Privat", "e")->fields["Notes"], Value("Karte"));
        EXPECT_EQ(each->store.item("Privat", "e")->fields["Location"], Value("Praxis"));
    }
    expectRest();
}

TEST_P(Scenario, ADeletedEventStaysDeletedWhenACheckBoxIsClickedBeforeTheSync)
{
    auto& b = home("b");
    a.store.calendars = {calendar("Privat", {event("e", "20071224T100000"), task("t")}),
                         calendar("Arbeit", {task("Bericht")})};
    syncUntilRest();
    removeItem(a, "Privat", "e");
    a.switchOff("Arbeit");
    a.sync();
    EXPECT_EQ(a.store.count("e"), 0);
    syncUntilRest();
    EXPECT_EQ(b.store.count("e"), 0);
    EXPECT_EQ(a.store.count("Bericht"), 1);
    expectRest();
}

TEST_P(Scenario, ACalendarThatCannotBeReadWaitsAndFollowsOnceItIsMended)
{
    auto& b = home("b");
    a.store.calendars = {calendar("Privat", {event("e", "20071224T100000")}),
                         calendar("Arbeit", {task("Bericht")})};
    syncUntilRest();
    a.unreadable = {"Privat"};
    a.store.item("Arbeit", "Bericht")->fields.set("Notes", "fertig");
    const SyncRunSummary unread = a.sync();
    EXPECT_FALSE(unread.held);
    ASSERT_EQ(unread.newlyUnread.size(), 1U);
    EXPECT_EQ(unread.newlyUnread[0].file,
              StorePaths::infoFile(a.store.calendar("Privat")->stored->folder));
    EXPECT_EQ(unread.deletedOnServer, 0U);
    EXPECT_EQ(unread.sent, 1U);
    b.store.item("Privat", "e")->fields.set("Location", "Praxis");
    b.sync();
    a.sync();
    EXPECT_FALSE(a.store.item("Privat", "e")->fields.contains("Location")) << "it waits";
    a.unreadable = {};
    a.store.item("Privat", "e")->fields.set("Notes", "Karte");
    syncUntilRest();
    EXPECT_EQ(a.store.item("Privat", "e")->fields["Location"], Value("Praxis"));
    EXPECT_EQ(b.store.item("Privat", "e")->fields["Notes"], Value("Karte"));
    expectRest();
}

TEST_P(Scenario, TwentyIdleRunsMoveNotAByte)
{
    auto& b = home("b");
    HomeCalendar group = calendar("Haus");
    group.type = "CalendarGroup";
    group.notes = "alles ums Haus";
    HomeCalendar garden = calendar("Garten", {task("Gießen"), event("Ernte", "20080801T100000")});
    garden.group = "Haus";
    garden.notes = "hinten";
    HomeCalendar feed = calendar("Feiertage", {event("Neujahr", "20080101")});
    feed.type = "CalendarSubscriber";
    feed.extra = {{"Subscriber",
                   Dictionary{{"SubscriptionURL", "http://example.invalid"}, {"RefreshDate", 1}}}};
    a.store.calendars = {calendar("Privat", {event("e", "20071224T100000")})};
    b.store.calendars = {group, garden, feed};
    syncUntilRest();
    const auto before = folder.tree();
    const auto storesBefore = std::make_pair(contents(a), contents(b));
    for (int run = 0; run < 20; ++run) {
        EXPECT_EQ(a.sync().startResult, 1);
        EXPECT_EQ(b.sync().startResult, 1);
    }
    EXPECT_EQ(folder.tree(), before);
    EXPECT_EQ(std::make_pair(contents(a), contents(b)), storesBefore);
}

TEST_P(Scenario, ARefreshedSubscriptionIsNoChange)
{
    home("b");
    HomeCalendar feed = calendar("Feiertage", {event("Neujahr", "20080101")});
    feed.type = "CalendarSubscriber";
    feed.extra = {{"Subscriber",
                   Dictionary{{"SubscriptionURL", "http://example.invalid"}, {"RefreshDate", 1}}}};
    a.store.calendars = {feed};
    syncUntilRest();
    a.store.calendar("Feiertage")->extra = {
        {"Subscriber", Dictionary{{"SubscriptionURL", "http://example.invalid"},
                                  {"RefreshDate", 2},
                                  {"NeedsRefresh", true}}}};
    EXPECT_EQ(a.sync().sent, 0U);
}

}  // namespace
}  // namespace kt::test
