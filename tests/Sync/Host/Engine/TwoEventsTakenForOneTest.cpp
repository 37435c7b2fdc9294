#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "Sync/Host/Server/SyncServer.h"
#include "tests/Sync/Host/Engine/SimulatedHome.h"
#include "tests/support/HostClassesScope.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

/// Two homes that share one server.
class TwoEventsTakenForOne : public testing::Test {
protected:
    void syncUntilRest()
    {
        for (int round = 0; round < 6; ++round) {
            bool isQuiet = true;
            for (auto* each : {&a, &b}) {
                const SyncRunSummary summary = each->sync();
                EXPECT_TRUE(summary.finished) << testing::PrintToString(summary.reasons);
                isQuiet = isQuiet && summary.startResult == 1 &&
                          summary.sent + summary.deletedOnServer == 0;
            }
            if (isQuiet)
                return;
        }
        ADD_FAILURE() << "the homes do not come to rest";
    }
    std::size_t liveOnServer() const
    {
        const auto digests = syncServerWithURL(url)
                                 ->openSession("default", "test", ServerAccess::readOnly)
                                 .session->digests();
        return static_cast<std::size_t>(
            std::count_if(digests.begin(), digests.end(),
                          [](const ServerDigest& digest) { return !digest.isTombstone; }));
    }

    PlatformScope platform;
    HostClassesScope classes;
    TemporaryFolder folder;
    std::string url = "sqlite:" + folder.path("server.db");
    SimulatedHome a{folder.path("a.state"), url};
    SimulatedHome b{folder.path("b.state"), url};
};

TEST_F(TwoEventsTakenForOne, AreBothKept)
{
    a.store.calendars = {calendar("Privat")};
    syncUntilRest();
    // Both enter it, with a sequence of their own: two keys, one event to the reader.
    a.store.calendar("Privat")->items = {event("e", "20071224T100000", {{"Sequence", "2"}})};
    b.store.calendar("Privat")->items = {event("e", "20071224T100000", {{"Sequence", "3"}})};
    syncUntilRest();
    EXPECT_EQ(liveOnServer(), 3U);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(a.sync().startResult, 1);
        EXPECT_EQ(b.sync().startResult, 1);
    }
    EXPECT_EQ(liveOnServer(), 3U);
}

}  // namespace
}  // namespace kt::test
