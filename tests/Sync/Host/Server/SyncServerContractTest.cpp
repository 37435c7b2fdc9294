#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Server/Sharings.h"
#include "Sync/Host/Server/SqliteServer.h"
#include "Sync/Host/Server/SyncServer.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

// One kind of server, made on a fresh database.
struct Kind {
    std::string name;
    std::function<std::unique_ptr<SyncServer>(const TemporaryFolder&,
                                              std::chrono::milliseconds wait)>
        make;
};

const RecordId kEvent{"ical-event", "E1"};
const RecordId kTask{"ical-task", "T1"};

ServerWrite written(const RecordId& id, const std::string& content)
{
    ServerWrite write;
    write.id = id;
    write.parentKey = "C1";
    write.hash = "hash of " + content;
    write.content = content;
    return write;
}

ServerWrite deleted(const RecordId& id)
{
    ServerWrite write;
    write.id = id;
    write.isDeletion = true;
    return write;
}

// What every kind of server owes its callers.
class SyncServerContract : public testing::TestWithParam<Kind> {
protected:
    std::unique_ptr<SyncServer> make(std::chrono::milliseconds wait = std::chrono::seconds(5))
    {
        return GetParam().make(folder, wait);
    }

    std::unique_ptr<SyncServerSession> open(const std::string& account = "default",
                                            const std::string& device = "device")
    {
        OpenedSession opened = server->openSession(account, device, ServerAccess::readWrite);
        EXPECT_EQ(opened.status, OpenStatus::opened) << opened.reason;
        return std::move(opened.session);
    }

    std::int64_t write(const std::vector<ServerWrite>& changes,
                       const std::string& account = "default")
    {
        const auto session = open(account);
        const std::int64_t revision = session->write(changes);
        session->commit();
        return revision;
    }

    TemporaryFolder folder;
    std::unique_ptr<SyncServer> server = make();
};

INSTANTIATE_TEST_SUITE_P(
    Kinds, SyncServerContract,
    testing::Values(Kind{"Sqlite",
                         [](const TemporaryFolder& folder, std::chrono::milliseconds wait) {
                             return std::make_unique<SqliteServer>(folder.path("server.db"), wait);
                         }}),
    [](const auto& kind) { return kind.param.name; });

TEST_P(SyncServerContract, HoldsNothingAtFirst)
{
    const auto session = open();
    EXPECT_EQ(session->headRevision(), 0);
    EXPECT_EQ(session->recordCount(), 0);
    EXPECT_THAT(session->digests(), IsEmpty());
    EXPECT_THAT(session->changesSince(0), IsEmpty());
}

TEST_P(SyncServerContract, GivesBackWhatWasWritten)
{
    const std::string bytes("bplist\0\xFF", 8);
    EXPECT_EQ(write({written(kEvent, bytes)}), 1);
    const auto records = open()->records({&kEvent, 1});
    ASSERT_THAT(records, SizeIs(1));
    EXPECT_EQ(records[0].id, kEvent);
    EXPECT_EQ(records[0].parentKey, "C1");
    EXPECT_EQ(records[0].revision, 1);
    EXPECT_FALSE(records[0].isTombstone);
    EXPECT_EQ(records[0].hash, "hash of " + bytes);
    EXPECT_EQ(records[0].content, bytes);
}

TEST_P(SyncServerContract, KeepsARecordWithoutParent)
{
    ServerWrite write = written({"ical-calendar", "C1"}, "x");
    write.parentKey = std::nullopt;
    this->write({write});
    EXPECT_EQ(open()->digests().at(0).parentKey, std::nullopt);
}

TEST_P(SyncServerContract, RaisesTheRevisionWithEverySessionThatWrites)
{
    EXPECT_EQ(write({written(kEvent, "a"), written(kTask, "b")}), 1);
    EXPECT_EQ(write({written(kEvent, "c")}), 2);
    EXPECT_EQ(write({}), 2);
    EXPECT_EQ(open()->headRevision(), 2);
}

TEST_P(SyncServerContract, GivesASessionOneRevisionHoweverOftenItWrites)
{
    write({written(kEvent, "a")});
    auto session = open();
    EXPECT_EQ(session->write(std::vector{written(kEvent, "b")}), 2);
    EXPECT_EQ(session->write(std::vector<ServerWrite>{}), 2);
    EXPECT_EQ(session->write(std::vector{written(kTask, "c")}), 2);
    session->commit();
    session.reset();
    EXPECT_EQ(open()->headRevision(), 2);
    EXPECT_THAT(open()->changesSince(1), SizeIs(2));
}

TEST_P(SyncServerContract, PullsOnlyWhatIsNewer)
{
    write({written(kEvent, "a"), written(kTask, "b")});
    write({written(kEvent, "c")});
    const auto changes = open()->changesSince(1);
    ASSERT_THAT(changes, SizeIs(1));
    EXPECT_EQ(changes[0].id, kEvent);
    EXPECT_EQ(changes[0].content, "c");
    EXPECT_THAT(open()->changesSince(0), SizeIs(2));
    EXPECT_THAT(open()->changesSince(2), IsEmpty());
}

TEST_P(SyncServerContract, RemembersADeletionWithTheLastRecord)
{
    write({written(kEvent, "a"), written(kTask, "b")});
    write({deleted(kEvent)});
    const auto session = open();
    EXPECT_EQ(session->recordCount(), 1);
    const auto changes = session->changesSince(1);
    ASSERT_THAT(changes, SizeIs(1));
    EXPECT_TRUE(changes[0].isTombstone);
    EXPECT_EQ(changes[0].revision, 2);
    EXPECT_EQ(changes[0].parentKey, "C1");
    EXPECT_EQ(changes[0].content, "a");
    EXPECT_EQ(changes[0].hash, "hash of a");
}

TEST_P(SyncServerContract, BringsADeletedRecordBack)
{
    write({written(kEvent, "a")});
    write({deleted(kEvent)});
    write({written(kEvent, "b")});
    const auto records = open()->records({&kEvent, 1});
    ASSERT_THAT(records, SizeIs(1));
    EXPECT_FALSE(records[0].isTombstone);
    EXPECT_EQ(records[0].revision, 3);
}

TEST_P(SyncServerContract, KnowsNoDeletionOfWhatItNeverHad)
{
    write({deleted(kEvent)});
    EXPECT_THAT(open()->digests(), IsEmpty());
}

TEST_P(SyncServerContract, ListsEverythingByConduitAndKey)
{
    write({written(kTask, "b"), written(kEvent, "a"), written({"ical-event", "E0"}, "z")});
    write({deleted(kEvent)});
    const auto digests = open()->digests();
    ASSERT_THAT(digests, SizeIs(3));
    EXPECT_EQ(digests[0].id.key, "E0");
    EXPECT_EQ(digests[1].id, kEvent);
    EXPECT_TRUE(digests[1].isTombstone);
    EXPECT_EQ(digests[2].id, kTask);
}

TEST_P(SyncServerContract, FindsNamedRecordsInTheOrderAsked)
{
    write({written(kTask, "b"), written(kEvent, "a")});
    const std::vector<RecordId> ids{kTask, {"ical-task", "unknown"}, kEvent};
    const auto records = open()->records(ids);
    ASSERT_THAT(records, SizeIs(2));
    EXPECT_EQ(records[0].id, kTask);
    EXPECT_EQ(records[1].id, kEvent);
}

TEST_P(SyncServerContract, ForgetsWhatWasNotCommitted)
{
    {
        const auto session = open();
        session->write(std::vector<ServerWrite>{written(kEvent, "a")});
        EXPECT_EQ(session->recordCount(), 1);
    }
    EXPECT_EQ(open()->headRevision(), 0);
}

TEST_P(SyncServerContract, KeepsAccountsApart)
{
    write({written(kEvent, "a")}, "anna");
    const auto session = open("berta");
    EXPECT_EQ(session->headRevision(), 0);
    EXPECT_THAT(session->digests(), IsEmpty());
}

TEST_P(SyncServerContract, RefusesAnAccountThatIsSwitchedOff)
{
    write({written(kEvent, "a")});
    server->setAccountEnabled("default", false);
    const OpenedSession opened = server->openSession("default", "device", ServerAccess::readWrite);
    EXPECT_EQ(opened.status, OpenStatus::accountOff);
    EXPECT_EQ(opened.session, nullptr);
    EXPECT_EQ(opened.reason, "Das Konto 'default' ist auf dem Sync-Server abgeschaltet");
    server->setAccountEnabled("default", true);
    EXPECT_EQ(open()->recordCount(), 1);
}

TEST_P(SyncServerContract, TakesAnotherIdentityWhenItIsAskedTo)
{
    const std::string identity = open()->serverIdentity();
    {
        const auto undone = open();
        EXPECT_NE(undone->renewIdentity(), identity);
    }
    EXPECT_EQ(open()->serverIdentity(), identity);
    const auto session = open();
    const std::string renewed = session->renewIdentity();
    session->commit();
    EXPECT_NE(renewed, identity);
    EXPECT_EQ(open()->serverIdentity(), renewed);
}

TEST_P(SyncServerContract, KeepsItsIdentity)
{
    const std::string identity = open()->serverIdentity();
    EXPECT_THAT(identity, Not(IsEmpty()));
    server = make();
    EXPECT_EQ(open()->serverIdentity(), identity);
}

Sharing shared(const RecordId& id, const std::string& options)
{
    return {id, "RO", options, "secret of " + options, "2007-12-24T09:00:00Z"};
}

TEST_P(SyncServerContract, RemembersWhatIsPublic)
{
    const RecordId first{"ical-calendar", "C1"};
    const RecordId second{"ical-calendar", "C2"};
    {
        const auto session = open();
        session->sharings()->share(shared(second, "TASKS"));
        session->sharings()->share(shared(first, "EVENTS"));
        session->commit();
    }
    const auto sharings = open()->sharings()->all();
    ASSERT_THAT(sharings, SizeIs(2));
    EXPECT_EQ(sharings[0].id, first);
    EXPECT_EQ(sharings[0].mode, "RO");
    EXPECT_EQ(sharings[0].options, "EVENTS");
    EXPECT_EQ(sharings[0].secret, "secret of EVENTS");
    EXPECT_EQ(sharings[0].since, "2007-12-24T09:00:00Z");
    EXPECT_EQ(sharings[1].id, second);
    EXPECT_THAT(open("berta")->sharings()->all(), IsEmpty());
}

TEST_P(SyncServerContract, KeepsSecretAndDateOfWhatIsPublicAlready)
{
    const RecordId id{"ical-calendar", "C1"};
    const auto session = open();
    session->sharings()->share(shared(id, "EVENTS"));
    session->sharings()->share({id, "RO", "EVENTS TASKS ", "another", "2008-01-01T00:00:00Z"});
    ASSERT_THAT(session->sharings()->all(), SizeIs(1));
    EXPECT_EQ(session->sharings()->all()[0].options, "EVENTS TASKS ");
    EXPECT_EQ(session->sharings()->all()[0].secret, "secret of EVENTS");
    EXPECT_EQ(session->sharings()->all()[0].since, "2007-12-24T09:00:00Z");
}

TEST_P(SyncServerContract, ForgetsWhatIsNoLongerPublic)
{
    const RecordId id{"ical-calendar", "C1"};
    const auto session = open();
    session->sharings()->share(shared(id, "EVENTS"));
    session->sharings()->unshare({"ical-calendar", "C2"});
    EXPECT_THAT(session->sharings()->all(), SizeIs(1));
    session->sharings()->unshare(id);
    EXPECT_THAT(session->sharings()->all(), IsEmpty());
}

TEST_P(SyncServerContract, CountsSharingAsNoChangeOfRecords)
{
    {
        const auto session = open();
        session->sharings()->share(shared({"ical-calendar", "C1"}, "EVENTS"));
        session->commit();
    }
    EXPECT_EQ(open()->headRevision(), 0);
    EXPECT_EQ(open()->recordCount(), 0);
}

TEST_P(SyncServerContract, SharesNothingOfADeletedRecordThatComesBack)
{
    const RecordId id{"ical-calendar", "C1"};
    write({written(id, "a")});
    {
        const auto session = open();
        session->sharings()->share(shared(id, "EVENTS"));
        session->commit();
    }
    write({deleted(id)});
    EXPECT_THAT(open()->sharings()->all(), IsEmpty());
    write({written(id, "b")});
    EXPECT_THAT(open()->sharings()->all(), IsEmpty());
}

TEST_P(SyncServerContract, FindsTheLiveRecordsOfAParent)
{
    ServerWrite other = written({"ical-event", "E9"}, "z");
    other.parentKey = "C2";
    write({written(kTask, "b"), written(kEvent, "a"), written({"ical-event", "E0"}, "c"), other});
    write({deleted({"ical-event", "E0"})});
    const auto records = open()->recordsOfParent("C1");
    ASSERT_THAT(records, SizeIs(2));
    EXPECT_EQ(records[0].id, kEvent);
    EXPECT_EQ(records[0].content, "a");
    EXPECT_EQ(records[1].id, kTask);
    EXPECT_THAT(open()->recordsOfParent("C3"), IsEmpty());
    EXPECT_THAT(open("berta")->recordsOfParent("C1"), IsEmpty());
}

TEST_P(SyncServerContract, DoesNotWaitForeverForAnotherSession)
{
    const auto session = open();
    const auto impatient = make(std::chrono::milliseconds(50));
    const OpenedSession second =
        impatient->openSession("default", "other", ServerAccess::readWrite);
    EXPECT_EQ(second.status, OpenStatus::busy);
    EXPECT_THAT(second.reason, Not(IsEmpty()));
}

TEST_P(SyncServerContract, LetsDevicesFollowOneAnother)
{
    constexpr int kRounds = 10;
    const auto device = [&](const std::string& name) {
        const auto own = make();
        for (int round = 0; round < kRounds; ++round) {
            OpenedSession opened = own->openSession("default", name, ServerAccess::readWrite);
            ASSERT_EQ(opened.status, OpenStatus::opened) << opened.reason;
            const std::int64_t head = opened.session->headRevision();
            EXPECT_EQ(opened.session->write(std::vector<ServerWrite>{
                          written({"ical-event", name + std::to_string(round)}, "x")}),
                      head + 1);
            opened.session->commit();
        }
    };
    std::thread other([&] { device("a"); });
    device("b");
    other.join();
    EXPECT_EQ(open()->headRevision(), 2 * kRounds);
    EXPECT_EQ(open()->recordCount(), 2 * kRounds);
}

}  // namespace
}  // namespace kt::test
