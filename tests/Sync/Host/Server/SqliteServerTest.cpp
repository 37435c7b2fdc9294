#include <string>
#include <vector>

#include <SQLiteCpp/SQLiteCpp.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Server/SqliteServer.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

using testing::HasSubstr;

class SqliteServers : public testing::Test {
protected:
    OpenedSession open(const std::string& path, ServerAccess access = ServerAccess::readWrite)
    {
        return SqliteServer(path, std::chrono::milliseconds(50))
            .openSession("default", "device", access);
    }

    TemporaryFolder folder;
};

TEST_F(SqliteServers, AreNamedByTheirFile)
{
    EXPECT_EQ(SqliteServer("/tmp/a.db").description(), "sqlite:/tmp/a.db");
}

TEST_F(SqliteServers, CannotBeReachedInAFolderThatIsMissing)
{
    const OpenedSession opened = open(folder.path("missing/server.db"));
    EXPECT_EQ(opened.status, OpenStatus::unreachable);
    EXPECT_EQ(opened.reason, "Der Sync-Server '" + folder.path("missing/server.db") +
                                 "' ist nicht verfügbar: Der Ordner '" + folder.path("missing") +
                                 "' fehlt");
    EXPECT_FALSE(folder.exists("missing"));
}

TEST_F(SqliteServers, CannotBeReachedWhereAFolderStandsInTheFilesPlace)
{
    folder.makeFolder("server.db");
    EXPECT_EQ(open(folder.path("server.db")).status, OpenStatus::unreachable);
}

TEST_F(SqliteServers, LeaveAFileAloneThatIsNoDatabase)
{
    folder.write("server.db", "Das ist keine Datenbank, sondern ein Brief an Anna.");
    const OpenedSession opened = open(folder.path("server.db"));
    EXPECT_EQ(opened.status, OpenStatus::unreachable);
    EXPECT_THAT(opened.reason, HasSubstr("Die Datei ist keine Datenbank"));
    EXPECT_EQ(folder.read("server.db"), "Das ist keine Datenbank, sondern ein Brief an Anna.");
}

TEST_F(SqliteServers, LeaveAnotherProgramsDatabaseAlone)
{
    {
        SQLite::Database other(folder.path("server.db"),
                               SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
        other.exec("CREATE TABLE recipes (name TEXT)");
    }
    const auto before = folder.read("server.db");
    const OpenedSession opened = open(folder.path("server.db"));
    EXPECT_EQ(opened.status, OpenStatus::unreachable);
    EXPECT_THAT(opened.reason, HasSubstr("Die Datei gehört zu einem anderen Programm"));
    EXPECT_EQ(folder.read("server.db"), before);
}

TEST_F(SqliteServers, LeaveADatabaseOfANewerVersionAlone)
{
    open(folder.path("server.db"));
    {
        SQLite::Database newer(folder.path("server.db"), SQLite::OPEN_READWRITE);
        newer.exec("PRAGMA user_version = 99");
    }
    const OpenedSession opened = open(folder.path("server.db"));
    EXPECT_EQ(opened.status, OpenStatus::unreachable);
    EXPECT_THAT(opened.reason, HasSubstr("Die Datei stammt von einer neueren Version"));
}

TEST_F(SqliteServers, TakeAnEmptyFileForAServerThatIsToBeFilled)
{
    folder.write("server.db", "");
    EXPECT_EQ(open(folder.path("server.db")).status, OpenStatus::opened);
}

TEST_F(SqliteServers, MakeNoFileForADryRun)
{
    const OpenedSession opened = open(folder.path("server.db"), ServerAccess::readOnly);
    EXPECT_EQ(opened.status, OpenStatus::opened);
    EXPECT_EQ(opened.session->headRevision(), 0);
    EXPECT_FALSE(folder.exists("server.db"));
}

TEST_F(SqliteServers, ReadForADryRunWithoutChangingTheFile)
{
    open(folder.path("server.db"));
    const auto before = folder.tree();
    EXPECT_EQ(open(folder.path("server.db"), ServerAccess::readOnly).status, OpenStatus::opened);
    EXPECT_EQ(folder.tree(), before);
}

TEST_F(SqliteServers, HaveAnIdentityOfTheirOwn)
{
    EXPECT_NE(open(folder.path("a.db")).session->serverIdentity(),
              open(folder.path("b.db")).session->serverIdentity());
}

TEST_F(SqliteServers, SwitchNoAccountOffWhereThereIsNoFolder)
{
    EXPECT_THROW(SqliteServer(folder.path("missing/server.db")).setAccountEnabled("default", false),
                 Exception);
}

}  // namespace
}  // namespace kt::test
