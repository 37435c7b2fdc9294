#include <string>

#include <SQLiteCpp/SQLiteCpp.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Sync/Host/Engine/SyncEngineFixture.h"

namespace kt::test {
namespace {

// A run that is given just what an earlier one compared in vain compares nothing. Whatever else
// could make a difference must make one.
class QuietRun : public SyncEngineFixture {
protected:
    void SetUp() override
    {
        a.store.calendars = {calendar("Privat", {event("Zahnarzt", "20071224T100000"),
                                                 event("Friseur", "20071225T100000")}),
                             calendar("Arbeit", {task("Bericht")})};
        syncUntilRest();
        a.sync();
        ASSERT_FALSE(memory().empty());
    }

    std::string memory() { return a.openState().facts().loadInVain; }

    MemoryHome& a = home("a");
    MemoryHome& b = home("b");
};

TEST_F(QuietRun, IsRememberedUntilSomethingIsDone)
{
    const std::string before = memory();
    a.sync();
    EXPECT_EQ(memory(), before);
    a.store.item("Privat", "Zahnarzt")->fields.set("Notes", "nüchtern");
    EXPECT_EQ(a.sync().sent, 1U);
    EXPECT_EQ(memory(), "");
    a.sync();
    EXPECT_NE(memory(), before);
    EXPECT_NE(memory(), "");
}

TEST_F(QuietRun, ReadsNoRowsOfTheState)
{
    const auto rename = [&](const std::string& from, const std::string& to) {
        SQLite::Database(a.statePath(), SQLite::OPEN_READWRITE)
            .exec("ALTER TABLE " + from + " RENAME TO " + to);
    };
    rename("agreed", "agreed_away");
    rename("seen", "seen_away");
    const SyncRunSummary summary = a.sync();
    EXPECT_TRUE(summary.finished);
    EXPECT_THAT(summary.reasons, testing::IsEmpty());
    rename("agreed_away", "agreed");
    rename("seen_away", "seen");
}

TEST_F(QuietRun, FindsWhatTheUserDidSince)
{
    a.store.item("Privat", "Zahnarzt")->fields.set("Notes", "nüchtern");
    EXPECT_EQ(a.sync().sent, 1U);
    removeItem(a, "Privat", "Friseur");
    EXPECT_EQ(a.sync().deletedOnServer, 1U);
    a.store.calendar("Arbeit")->items.push_back(task("Einkaufen"));
    EXPECT_EQ(a.sync().sent, 1U);
    syncUntilRest();
    expectEqualHomes();
}

TEST_F(QuietRun, FindsAnEditThatWasTakenBack)
{
    HomeItem& item = *a.store.item("Privat", "Zahnarzt");
    const Dictionary before = item.fields;
    item.fields.set("Notes", "nüchtern");
    EXPECT_EQ(a.sync().sent, 1U);
    a.store.item("Privat", "Zahnarzt")->fields = before;
    EXPECT_EQ(a.sync().sent, 1U);
    syncUntilRest();
    EXPECT_FALSE(b.store.item("Privat", "Zahnarzt")->fields.contains("Notes"));
}

TEST_F(QuietRun, FindsWhatOthersDidSince)
{
    b.store.item("Privat", "Zahnarzt")->fields.set("Notes", "nüchtern");
    b.sync();
    EXPECT_EQ(a.sync().received, 1U);
    EXPECT_EQ(a.store.item("Privat", "Zahnarzt")->fields["Notes"], Value("nüchtern"));
}

TEST_F(QuietRun, FindsACalendarThatWasSwitchedOffOrMade)
{
    a.switchOff("Arbeit");
    removeItem(a, "Arbeit", "Bericht");
    a.sync();
    EXPECT_EQ(memory(), "");
    EXPECT_EQ(liveOnServer().size(), 5U) << "what is deleted in a calendar that is off stays";
    a.store.calendars.push_back(calendar("Neu"));
    EXPECT_EQ(a.sync().sent, 1U);
}

TEST_F(QuietRun, FindsTheUnread)
{
    a.store.item("Privat", "Zahnarzt")->isBroken = true;
    EXPECT_EQ(a.sync().deletedOnServer, 0U);
    EXPECT_EQ(memory(), "");
    a.sync();
    EXPECT_EQ(memory(), "") << "what is unread may be mended or removed at any time";
    a.store.item("Privat", "Zahnarzt")->isBroken = false;
    a.sync();
    EXPECT_EQ(liveOnServer().size(), 5U);
}

TEST_F(QuietRun, FindsAnotherServer)
{
    b.serverUrl = a.serverUrl = "sqlite:" + folder.path("other.db");
    EXPECT_EQ(a.sync().sent, 5U);
}

TEST_F(QuietRun, DoesAllThatIsAskedOfIt)
{
    MemoryHome::Wishes full;
    full.isFull = true;
    EXPECT_EQ(a.sync(full).startResult, 6);
    EXPECT_EQ(memory(), "") << "the store was rewritten";
    ASSERT_TRUE(a.resetSync());
    EXPECT_EQ(memory(), "");
    EXPECT_EQ(a.sync().startResult, 6);
    expectEqualHomes();
}

}  // namespace
}  // namespace kt::test
