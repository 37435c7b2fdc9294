#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/IdentityPairing.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::Eq;
using testing::Optional;

/// Tasks of a store after a rewrite, whose keys say nothing, and what was handed out for it.
class KeysByIdentity : public testing::Test {
protected:
    KeysByIdentity() { identities.begin(); }

    // A task that the store had before the rewrite.
    void seen(const std::string& agreedKey, const std::string& uid)
    {
        SeenRow row;
        row.local = {conduit, "before " + agreedKey};
        row.agreedKey = agreedKey;
        row.place.uid = uid;
        state.addSeen(row, {});
    }
    void handOut(const std::string& key, SyncRecord given = nullptr)
    {
        handed.push_back({{conduit, key}, std::nullopt, {}, std::nullopt, std::move(given)});
    }
    SyncRecord giveBack(const std::string& uid)
    {
        records.push_back(std::make_shared<HostSyncRecord>(0, Dictionary{}, "after " + uid,
                                                           std::nullopt, conduit));
        identities.reportIdentity(records.back(), {uid, "", "", "file.ics"});
        return records.back();
    }
    std::vector<std::optional<std::string>> keys()
    {
        const Knowledge knowledge(state);
        return keysByIdentity(records, StorePlaces(identities, ""), handed, knowledge);
    }

    const std::string conduit{kConduitTask};
    TemporaryFolder folder;
    LocalState state{folder.path("device.state")};
    HostIdentityReport identities;
    SyncRecordList records;
    std::vector<HandedRecord> handed;
};

TEST_F(KeysByIdentity, AreThoseOfWhatStoodUnderTheUidBefore)
{
    seen("A", "uid-a");
    seen("B", "uid-b");
    handOut("A");
    handOut("B");
    giveBack("uid-b");
    giveBack("uid-a");
    EXPECT_THAT(keys(), ElementsAre(Optional(Eq("B")), Optional(Eq("A"))));
}

TEST_F(KeysByIdentity, AreTheUidsOfWhatTheStoreNeverHad)
{
    handOut("A");
    giveBack("A");
    giveBack("B");
    EXPECT_THAT(keys(), ElementsAre(Optional(Eq("A")), Eq(std::nullopt)));
}

TEST_F(KeysByIdentity, AreNotToldByAUidThatStandsTwice)
{
    seen("A", "uid-a");
    handOut("A");
    giveBack("uid-a");
    giveBack("uid-a");
    EXPECT_THAT(keys(), ElementsAre(Eq(std::nullopt), Eq(std::nullopt)));
}

TEST_F(KeysByIdentity, AreNotLookedForWhereARecordCameBackAsItIsAgreed)
{
    seen("A", "uid-a");
    handOut("A", giveBack("uid-a"));
    EXPECT_THAT(keys(), ElementsAre(Eq(std::nullopt)));
}

/// Groups of a layout that has no folders for them.
class GroupsWithoutFolders : public testing::Test {
protected:
    GroupsWithoutFolders() { identities.begin(); }

    void seen(const std::string& agreedKey, const std::string& sourceKey)
    {
        SeenRow row;
        row.local = {conduit, agreedKey};
        row.agreedKey = agreedKey;
        row.place.uid = sourceKey;
        state.addSeen(row, {});
    }
    SyncRecord load(const std::string& key, const std::string& sourceKey)
    {
        auto record = std::make_shared<HostSyncRecord>(0, Dictionary{}, key, std::nullopt, conduit);
        identities.reportIdentity(record, {"", "", sourceKey, ""});
        return record;
    }

    const std::string conduit{kConduitCalendar};
    TemporaryFolder folder;
    LocalState state{folder.path("device.state")};
    HostIdentityReport identities;
};

TEST_F(GroupsWithoutFolders, StayTheSameUnderAnotherTitle)
{
    seen("A", "node-1");
    seen("B", "node-2");
    const Knowledge knowledge(state);
    const StorePlaces places(identities, "");
    std::vector<LocalRecord> records(2);
    records[0].record = load("renamed", "node-1");
    records[1].record = load("new", "node-3");
    for (LocalRecord& record : records)
        record.place = places.of(*record.record);
    std::vector<bool> isRowTaken(2);
    pairByIdentity(records, knowledge, isRowTaken);
    EXPECT_EQ(records[0].agreedId.key, "A");
    EXPECT_EQ(records[1].agreedId.key, "");
}

TEST_F(GroupsWithoutFolders, AreNotToldByTheKeysThatARewriteMade)
{
    seen("A", "K1");
    seen("B", "K2");
    const Knowledge knowledge(state);
    const SyncRecordList records{load("K2", "K2"), load("K1", "K1")};  // they swapped their titles
    const std::vector<HandedRecord> handed{{{conduit, "A"}, std::nullopt, {}, std::nullopt, {}},
                                           {{conduit, "B"}, std::nullopt, {}, std::nullopt, {}}};
    EXPECT_THAT(keysByIdentity(records, StorePlaces(identities, ""), handed, knowledge),
                ElementsAre(Eq(std::nullopt), Eq(std::nullopt)));
}

}  // namespace
}  // namespace kt::test
