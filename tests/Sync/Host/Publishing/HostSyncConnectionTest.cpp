#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Publishing/HostSyncConnection.h"
#include "Sync/Host/Server/SqliteServer.h"
#include "tests/Sync/Host/Publishing/PlainServer.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/RecordingFileLogger.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

const std::string kConduit = "ical-calendar";
const std::vector<std::string> kItems{"ical-event", "ical-task"};

class HostSyncConnections : public testing::Test {
protected:
    std::shared_ptr<KTSyncConnection> connection()
    {
        return HostSyncConnectionClass("sqlite:" + folder.path("server.db"))
            .initForPlugin(nullptr, "iCal", nullptr);
    }
    bool activate(const std::string& key, const std::string& options, const char* mode = "RO")
    {
        return connection()->activatePublicSharingForMainConduit(kConduit, kItems, mode, key,
                                                                 options, error);
    }
    bool deactivate(const std::string& key)
    {
        return connection()->deactivatePublicSharingForMainConduit(kConduit, kItems, key, error);
    }
    std::vector<Dictionary> list(const std::string& key)
    {
        std::vector<Dictionary> sharings(1);
        EXPECT_TRUE(connection()->listPublicSharings(sharings, kConduit, std::nullopt, key, error));
        return sharings;
    }

    TemporaryFolder folder;
    PlatformScope platform;
    KTSyncError error;
};

TEST_F(HostSyncConnections, ListNothingThatWasNotMadePublic)
{
    EXPECT_THAT(list("C1"), IsEmpty());
    EXPECT_FALSE(folder.exists("server.db"));
}

TEST_F(HostSyncConnections, ListWhatWasMadePublicWithItsOptions)
{
    EXPECT_TRUE(activate("C1", "EVENTS  ANON"));
    const auto sharings = list("C1");
    ASSERT_THAT(sharings, SizeIs(1));
    EXPECT_EQ(sharings[0]["public"], Value("YES"));
    EXPECT_EQ(sharings[0]["publicOptions"], Value("EVENTS  ANON"));
    EXPECT_THAT(list("C2"), IsEmpty());
}

TEST_F(HostSyncConnections, TakeBackWhatWasMadePublic)
{
    EXPECT_TRUE(activate("C1", "EVENTS  "));
    EXPECT_TRUE(deactivate("C1"));
    EXPECT_THAT(list("C1"), IsEmpty());
    EXPECT_TRUE(deactivate("C1"));
}

TEST_F(HostSyncConnections, KeepWhatIsPublicWhileASyncIsUnderWay)
{
    SqliteServer server(folder.path("server.db"), std::chrono::milliseconds(50));
    auto opened = server.openSession("default", "laptop", ServerAccess::readWrite);
    HostSyncConnection busy(std::make_unique<SqliteServer>(folder.path("server.db"),
                                                           std::chrono::milliseconds(50)),
                            "default", nullptr);
    EXPECT_FALSE(
        busy.activatePublicSharingForMainConduit(kConduit, kItems, "RO", "C1", "EVENTS", error));
    EXPECT_THAT(error.localizedDescription, HasSubstr("belegt"));
    opened.session.reset();
    EXPECT_THAT(list("C1"), IsEmpty());
}

TEST_F(HostSyncConnections, RefuseAModeThatLetsOthersWrite)
{
    EXPECT_FALSE(activate("C1", "EVENTS", "RW"));
    EXPECT_EQ(error.localizedDescription, "Die Freigabeart 'RW' gibt es nicht");
    EXPECT_THAT(list("C1"), IsEmpty());
}

TEST_F(HostSyncConnections, RefuseACalendarWithoutAKey) { EXPECT_FALSE(activate("", "EVENTS")); }

TEST_F(HostSyncConnections, ChangeNothingBehindTheWriteGuard)
{
    const WriteGuard guard;
    EXPECT_FALSE(activate("C1", "EVENTS"));
    EXPECT_FALSE(deactivate("C1"));
    EXPECT_FALSE(folder.exists("server.db"));
}

TEST_F(HostSyncConnections, SayAndLogWhyTheyFail)
{
    RecordingFileLogger logger;
    const auto lost = HostSyncConnectionClass("sqlite:" + folder.path("fehlt/server.db"))
                          .initForPlugin(nullptr, "iCal", &logger);
    std::vector<Dictionary> sharings;
    EXPECT_FALSE(lost->listPublicSharings(sharings, kConduit, std::nullopt, "C1", error));
    EXPECT_THAT(error.localizedDescription, HasSubstr("Der Ordner"));
    ASSERT_THAT(logger.entries(), SizeIs(1));
    EXPECT_THAT(logger.entries()[0], HasSubstr(error.localizedDescription));
}

TEST_F(HostSyncConnections, FailWithAServerThatMakesNothingPublic)
{
    HostSyncConnection plain(std::make_unique<PlainServer>(), "default", nullptr);
    EXPECT_FALSE(
        plain.activatePublicSharingForMainConduit(kConduit, kItems, "RO", "C1", "EVENTS", error));
    EXPECT_EQ(error.localizedDescription, "Dieser Server kann nichts veröffentlichen");
}

TEST_F(HostSyncConnections, FailWithoutAServer)
{
    const auto none = HostSyncConnectionClass("").initForPlugin(nullptr, "iCal", nullptr);
    EXPECT_FALSE(none->deactivatePublicSharingForMainConduit(kConduit, kItems, "C1", error));
    EXPECT_EQ(error.localizedDescription, "Es ist kein Server eingestellt");
}

}  // namespace
}  // namespace kt::test
