#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Engine/RemoteChanges.h"
#include "Sync/Host/Server/SyncServer.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

using Reach = RemoteChanges::Reach;

/// A record that came with revision 1 of the server and was deleted with revision 2; something else
/// came with revision 3.
class ADeletionThere : public testing::Test {
protected:
    ADeletionThere()
    {
        write({id, std::nullopt, false, contentHash(record), encodedRecord(record)});
        write({id, std::nullopt, true, "", ""});
        write({{id.conduit, "other"},
               std::nullopt,
               false,
               contentHash(record),
               encodedRecord(record)});
    }

    void write(const ServerWrite& change)
    {
        const auto opened = server->openSession("account", "device", ServerAccess::readWrite);
        opened.session->write({&change, 1});
        opened.session->commit();
    }

    /// Whether it is a change for a device that agreed on the record at that revision.
    bool isChange(std::int64_t revision, std::int64_t anchor, Reach reach)
    {
        LocalState state(folder.path("state-" + std::to_string(revision)));
        state.begin();
        state.setAgreed({id, std::nullopt, revision, contentHash(record)}, record);
        StateFacts facts = state.facts();
        facts.anchor = anchor;
        state.setFacts(facts);
        state.commit();
        const Knowledge knowledge(state);
        const auto opened = server->openSession("account", "device", ServerAccess::readOnly);
        const RemoteChanges changes(*opened.session, knowledge, reach, RemoteChanges::Base::agreed,
                                    [](std::string_view) {});
        return changes.change(id) != nullptr;
    }

    const RecordId id{"ical-task", "K"};
    const Dictionary record{{"Title", "Einkaufen"}, {"ParentRecordKey", "C"}};
    TemporaryFolder folder;
    std::unique_ptr<SyncServer> server = syncServerWithURL("sqlite:" + folder.path("server"));
};

TEST_F(ADeletionThere, Rule20_CountsWhereTheRecordWasAgreedBefore)
{
    EXPECT_TRUE(isChange(1, 1, Reach::byRevision));
    EXPECT_TRUE(isChange(1, 1, Reach::byHash));
    EXPECT_TRUE(isChange(1, 3, Reach::byHash)) << "the anchor says nothing of a single record";
}

TEST_F(ADeletionThere, Rule20_DoesNotCountAgainstWhatWasAgreedWithItOrLater)
{
    for (const std::int64_t revision : {2, 3}) {
        EXPECT_FALSE(isChange(revision, 0, Reach::byRevision)) << revision;
        EXPECT_FALSE(isChange(revision, 0, Reach::byHash)) << revision;
    }
}

}  // namespace
}  // namespace kt::test
