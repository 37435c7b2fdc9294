#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/UnreadTexts.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

using Extent = KTLoss::Extent;

// "C" in /home/C with two items that have files of their own, "D" in /home/D with one.
class UnreadTextsTest : public testing::Test {
protected:
    UnreadTextsTest()
    {
        identities.begin();
        see(kConduitCalendar, "C", "", {"", "C"});
        see(kConduitEvent, "a", "C", {"uid-a", "C/Events/a.ics"});
        see(kConduitEvent, "b", "C", {"uid-b", "C/Events/b.ics"});
        see(kConduitCalendar, "D", "", {"", "D"});
        see(kConduitEvent, "d", "D", {"uid-d", "D/Events/d.ics"});
    }
    void see(std::string_view conduit, const std::string& key, const std::string& calendar,
             const StorePlace& place)
    {
        SeenRow row;
        row.local = {std::string(conduit), key};
        row.agreedKey = key;
        if (!calendar.empty())
            row.localParentKey = calendar;
        row.place = place;
        state.addSeen(row, {});
    }
    void loadCalendar(const std::string& key)
    {
        loaded.push_back(std::make_shared<HostSyncRecord>(0, Dictionary{}, key, std::nullopt,
                                                          std::string(kConduitCalendar)));
        identities.reportIdentity(loaded.back(), {});
    }
    UnreadTexts texts(const std::vector<KTLoss>& losses)
    {
        return {losses, StorePlaces(identities, "/home"), Knowledge(state)};
    }
    static KTLoss text(Extent extent, const std::string& file, const std::string& uid = "",
                       const std::string& key = "")
    {
        KTLoss loss{"Titel", file, "unlesbar"};
        loss.extent = extent;
        loss.uid = uid;
        loss.digest = "digest";
        loss.calendarKey = key;
        return loss;
    }
    static KnownRecord item(const std::string& calendar, const StorePlace& place,
                            std::int64_t since = 1)
    {
        return {false, calendar, place, since, ""};
    }
    static KnownRecord calendarNamed(const std::string& key, const std::string& folder)
    {
        return {true, key, {"", folder}, 1, ""};
    }

    const KnownRecord a = item("C", {"uid-a", "C/Events/a.ics"});
    const KnownRecord b = item("C", {"uid-b", "C/Events/b.ics"});
    const KnownRecord d = item("D", {"uid-d", "D/Events/d.ics"});

    TemporaryFolder folder;
    LocalState state{folder.path("state")};
    HostIdentityReport identities;
    SyncRecordList loaded;
};

TEST_F(UnreadTextsTest, AFileIsKnownByItsName)
{
    const UnreadTexts unread = texts({text(Extent::file, "/home/C/Events/a.ics")});
    EXPECT_EQ(unread.claimOn(a), UnreadClaim::certain);
    EXPECT_EQ(unread.claimOn(b), UnreadClaim::none);
    EXPECT_EQ(unread.claimOn(d), UnreadClaim::none);
}

TEST_F(UnreadTextsTest, AComponentIsKnownByItsUidWhereverTheFileIs)
{
    const UnreadTexts unread =
        texts({text(Extent::component, "/home/C/Events/anders.ics", "uid-a", "C")});
    EXPECT_EQ(unread.claimOn(a), UnreadClaim::certain);
    EXPECT_EQ(unread.claimOn(b), UnreadClaim::none);
}

TEST_F(UnreadTextsTest, AComponentOfAnotherCalendarIsKnownByItsUidToo)
{
    const UnreadTexts unread =
        texts({text(Extent::component, "/home/D/Events/neu.ics", "uid-a", "D")});
    EXPECT_EQ(unread.claimOn(a), UnreadClaim::certain);
    EXPECT_EQ(unread.claimOn(d), UnreadClaim::none);
}

TEST_F(UnreadTextsTest, WhatCannotBeToldMayBeAllOfItsCalendar)
{
    for (const KTLoss& loss : {text(Extent::file, "/home/C/Events/neu.ics"),
                               text(Extent::component, "/home/C/Events/neu.ics", "fremd"),
                               text(Extent::component, "", "", "C")}) {
        const UnreadTexts unread = texts({loss});
        EXPECT_EQ(unread.claimOn(a), UnreadClaim::possible);
        EXPECT_EQ(unread.claimOn(b), UnreadClaim::possible);
        EXPECT_EQ(unread.claimOn(d), UnreadClaim::none);
    }
}

TEST_F(UnreadTextsTest, WhatIsMissingOfTheSameFileComesFirst)
{
    const UnreadTexts unread = texts({text(Extent::component, "/home/C/Events/a.ics")});
    const auto claims = unread.claimsOn({a, b});
    EXPECT_EQ(claims.onRecords[0], UnreadClaim::possible);
    EXPECT_EQ(claims.onRecords[1], UnreadClaim::none);
}

TEST_F(UnreadTextsTest, WhatIsToldForSureIsNobodyElses)
{
    const UnreadTexts unread = texts({text(Extent::component, "/home/C/Events/neu.ics", "", "C"),
                                      text(Extent::component, "", "uid-a", "C")});
    const auto claims = unread.claimsOn({a});
    EXPECT_EQ(claims.onRecords[0], UnreadClaim::certain);
    EXPECT_EQ(claims.byTexts, (std::vector<bool>{false, true}));
}

TEST_F(UnreadTextsTest, ATextThatWasThereWhileTheRecordWasReadIsNotItsOwn)
{
    const KTLoss loss = text(Extent::file, "/home/C/Events/neu.ics");
    state.setUnreadText({texts({loss}).name(0), 1});
    state.setFacts({"", 0, 0, false, std::nullopt, 0, 1});
    const UnreadTexts unread = texts({loss});
    EXPECT_FALSE(unread.isNew(0));
    EXPECT_EQ(unread.now(), 2);
    EXPECT_EQ(unread.claimOn(item("C", a.place, 2)), UnreadClaim::none) << "missing since now";
    EXPECT_EQ(unread.claimOn(item("C", a.place, 1)), UnreadClaim::possible) << "since it came";
    KTLoss changed = loss;
    changed.digest = "anders";
    EXPECT_EQ(texts({changed}).claimOn(item("C", a.place, 2)), UnreadClaim::possible);
    KTLoss nameless = loss;
    nameless.digest.clear();
    EXPECT_EQ(texts({nameless}).claimOn(item("C", a.place, 2)), UnreadClaim::possible);
}

TEST_F(UnreadTextsTest, AWholeCalendarIsKnownByKeyOrFolder)
{
    for (const KTLoss& loss :
         {text(Extent::calendar, "", "", "C"), text(Extent::calendar, "/home/C/Info.plist"),
          text(Extent::calendar, "/home/C"), text(Extent::calendar, "/home/C/Events/a.ics")}) {
        const UnreadTexts unread = texts({loss});
        EXPECT_EQ(unread.claimOn(calendarNamed("C", "C")), UnreadClaim::certain);
        EXPECT_EQ(unread.claimOn(a), UnreadClaim::certain);
        EXPECT_EQ(unread.claimOn(calendarNamed("D", "D")), UnreadClaim::none);
        EXPECT_EQ(unread.claimOn(d), UnreadClaim::none);
    }
}

TEST_F(UnreadTextsTest, ADisplacedCalendarIsNotTheOneThatIsRead)
{
    loadCalendar("C");
    const UnreadTexts unread = texts({text(Extent::calendar, "/home/Zweiter", "", "C")});
    EXPECT_EQ(unread.claimOn(a), UnreadClaim::none);
    EXPECT_EQ(texts({text(Extent::calendar, "/home/C", "", "C")}).claimOn(a), UnreadClaim::certain);
}

TEST_F(UnreadTextsTest, ACalendarThatNobodyKnowsMayBeAnyThatIsMissing)
{
    const UnreadTexts unread = texts({text(Extent::calendar, "/home/Fremd/Info.plist")});
    const auto claims = unread.claimsOn({calendarNamed("C", "C"), a, d});
    EXPECT_EQ(claims.onRecords[0], UnreadClaim::possible);
    EXPECT_EQ(claims.onRecords[1], UnreadClaim::possible) << "it goes with its calendar";
    EXPECT_EQ(claims.onRecords[2], UnreadClaim::none) << "its calendar is there";
}

TEST_F(UnreadTextsTest, ACalendarThatWasNeverSeenIsKnownByWhatItsFolderIsCalled)
{
    KnownRecord fresh = calendarNamed("neu", "");
    fresh.sourceKey = "Neu";
    EXPECT_EQ(texts({text(Extent::calendar, "/home/Neu.calendar/Info.plist")}).claimOn(fresh),
              UnreadClaim::certain);
    const UnreadTexts unread = texts({text(Extent::calendar, "/home/Neu.calendar")});
    EXPECT_EQ(unread.claimsOn({item("neu", {}), fresh}).onRecords,
              (std::vector<UnreadClaim>{UnreadClaim::certain, UnreadClaim::certain}))
        << "with all that is missing of it";
    EXPECT_NE(texts({text(Extent::calendar, "/home/Neuer.calendar/Info.plist")}).claimOn(fresh),
              UnreadClaim::certain);
}

TEST_F(UnreadTextsTest, OtherLossesAreNoUnreadTexts)
{
    KTLoss thinned = text(Extent::file, "/home/C/Events/a.ics");
    thinned.kind = KTLoss::Kind::thinned;
    EXPECT_TRUE(texts({thinned}).empty());
}

}  // namespace
}  // namespace kt::test
