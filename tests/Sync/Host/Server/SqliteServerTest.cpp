#include <string>
#include <vector>

#include <SQLiteCpp/SQLiteCpp.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Server/Sharings.h"
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

// The tables as the first version made them, with one record.
void makeFirstVersion(const std::string& path)
{
    SQLite::Database database(path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    database.exec(
        "CREATE TABLE server (identity TEXT NOT NULL);"
        "INSERT INTO server (identity) VALUES ('abc');"
        "CREATE TABLE accounts (name TEXT PRIMARY KEY, enabled INTEGER NOT NULL,"
        " revision INTEGER NOT NULL) WITHOUT ROWID;"
        "INSERT INTO accounts VALUES ('default', 1, 7);"
        "CREATE TABLE records (account TEXT NOT NULL, conduit TEXT NOT NULL, key TEXT NOT NULL,"
        " parent_key TEXT, revision INTEGER NOT NULL, deleted INTEGER NOT NULL,"
        " hash TEXT NOT NULL, content BLOB NOT NULL, PRIMARY KEY (account, conduit, key));"
        "CREATE INDEX records_by_revision ON records (account, revision);"
        "INSERT INTO records VALUES ('default', 'ical-event', 'E1', 'C1', 7, 0, 'h', x'61');"
        "PRAGMA application_id = 1263817555; PRAGMA user_version = 1");
}

TEST_F(SqliteServers, TakeOverADatabaseOfTheFirstVersion)
{
    makeFirstVersion(folder.path("server.db"));
    {
        const OpenedSession opened = open(folder.path("server.db"));
        ASSERT_EQ(opened.status, OpenStatus::opened) << opened.reason;
        EXPECT_EQ(opened.session->serverIdentity(), "abc");
        EXPECT_EQ(opened.session->headRevision(), 7);
        EXPECT_EQ(opened.session->recordsOfParent("C1").size(), 1U);
        opened.session->sharings()->share({{"ical-calendar", "C1"}, "RO", "EVENTS", "s", "d"});
        opened.session->commit();
    }
    EXPECT_EQ(open(folder.path("server.db")).session->sharings()->all().size(), 1U);
}

TEST_F(SqliteServers, ReadADatabaseOfTheFirstVersionWithoutChangingTheFile)
{
    makeFirstVersion(folder.path("server.db"));
    const auto before = folder.tree();
    {
        const OpenedSession opened = open(folder.path("server.db"), ServerAccess::readOnly);
        ASSERT_EQ(opened.status, OpenStatus::opened) << opened.reason;
        EXPECT_EQ(opened.session->headRevision(), 7);
        EXPECT_EQ(opened.session->recordCount(), 1);
        EXPECT_TRUE(opened.session->sharings()->all().empty());
    }
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
