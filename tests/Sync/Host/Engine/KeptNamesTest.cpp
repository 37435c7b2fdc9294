#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Engine/HostIdentityReport.h"
#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/KeptNames.h"
#include "Sync/Host/Engine/LocalState.h"
#include "Sync/Host/Engine/RecordPast.h"
#include "Sync/Host/Engine/UnreadTexts.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

// Two tasks of one title were kept; the store knows its texts by nothing.
class NamesOfTwins : public testing::Test {
protected:
    NamesOfTwins()
    {
        for (const char* key : {"K", "K-2"})
            state.setKept({idOf(key), "calendar", key, {}}, content(key));
    }

    static RecordId idOf(const std::string& key) { return {std::string(kConduitTask), key}; }
    static Dictionary content(const std::string& notes)
    {
        return {{"Title", "Einkaufen"}, {"Notes", notes}, {"ParentRecordKey", "calendar"}};
    }

    KeptNames namesOf(const std::string& notes, KeptMissing missing)
    {
        const HostIdentityReport report;
        const StorePlaces places(report, "/home");
        const Knowledge knowledge(state);
        const UnreadTexts texts({}, places, knowledge);
        const SwitchedOffCalendars none;
        const SyncRecordList records{
            std::make_shared<HostSyncRecord>(kRecordTypeRecord, content(notes), "K", "calendar",
                                             std::string(kConduitTask))};
        return keptNames(records, state, knowledge, {places, texts, none}, missing);
    }

    TemporaryFolder folder;
    LocalState state{folder.path("state.sqlite")};
};

TEST_F(NamesOfTwins, AnEditedOneTakesTheFirstNameThatIsLeft)
{
    const KeptNames names = namesOf("anders", KeptMissing::deleted);
    EXPECT_THAT(names.ids, ElementsAre(idOf("K")));
    EXPECT_THAT(names.known, UnorderedElementsAre(idOf("K")));
}

TEST_F(NamesOfTwins, AnEditedOneTakesNoneWhereTheOtherMayOnlyBeMissing)
{
    const KeptNames names = namesOf("anders", KeptMissing::stillThere);
    EXPECT_THAT(names.ids, ElementsAre(idOf("K-3")));
    EXPECT_TRUE(names.known.empty());
}

// A task was kept that a rewrite gave another UID.
class NamesOfRewritten : public testing::Test {
protected:
    static RecordId idOf(const std::string& key) { return {std::string(kConduitTask), key}; }

    void keep(const std::string& uid, const RecordPast& past)
    {
        state.setKept({idOf("K"), "calendar", "hash", {uid, "file"}}, {{"Title", "Einkaufen"}},
                      past);
    }

    /// What is known when the store gives that task under another title.
    RecordIdSet knownWith(const std::string& uid)
    {
        const auto task =
            std::make_shared<HostSyncRecord>(kRecordTypeRecord, Dictionary{{"Title", "Kochen"}},
                                             "L", "calendar", std::string(kConduitTask));
        HostIdentityReport report;
        report.begin();
        report.reportIdentity(task, {uid, "", "", "/home/file"});
        const StorePlaces places(report, "/home");
        const Knowledge knowledge(state);
        const UnreadTexts texts({}, places, knowledge);
        return keptNames({task}, state, knowledge, {places, texts, {}}, KeptMissing::stillThere)
            .known;
    }

    TemporaryFolder folder;
    LocalState state{folder.path("state.sqlite")};
};

TEST_F(NamesOfRewritten, AnEditedOneIsKnownByTheUidThatARewriteMadeOfItsKey)
{
    keep("first", {});
    EXPECT_THAT(knownWith("K"), UnorderedElementsAre(idOf("K")));
}

TEST_F(NamesOfRewritten, AnOlderCopyIsKnownByTheUidThatItHadBefore)
{
    keep("K", {originOfIdentity(kConduitTask, {"first"}), ""});
    EXPECT_THAT(knownWith("first"), UnorderedElementsAre(idOf("K")));
}

TEST_F(NamesOfRewritten, WhatHasAnyOtherUidIsAnotherOne)
{
    keep("K", {originOfIdentity(kConduitTask, {"first"}), ""});
    EXPECT_TRUE(knownWith("second").empty());
}

}  // namespace
}  // namespace kt::test
