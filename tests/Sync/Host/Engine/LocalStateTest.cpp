#include <string>

#include <SQLiteCpp/SQLiteCpp.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Engine/LocalState.h"
#include "tests/Sync/Host/Engine/HomeModel.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

std::string reasonOf(const std::string& path)
{
    try {
        LocalState state(path);
    } catch (const Exception& exception) {
        return exception.reason();
    }
    return "";
}

class LocalStates : public testing::Test {
protected:
    std::string path() const { return folder.path("suite/device.state"); }

    TemporaryFolder folder;
};

TEST_F(LocalStates, KeepTheDeviceIdMadeWithTheFile)
{
    const std::string id = LocalState(path()).deviceId();
    EXPECT_THAT(id, SizeIs(32));
    EXPECT_EQ(LocalState(path()).deviceId(), id);
    EXPECT_NE(LocalState(folder.path("other.state")).deviceId(), id);
}

TEST_F(LocalStates, KeepFacts)
{
    StateFacts facts;
    facts.serverIdentity = "server";
    facts.anchor = 5'000'000'000;
    facts.anchorAfterSettling = 7;
    facts.owed = true;
    facts.mark = "";
    facts.systemVersion = 4;
    facts.unreadTextsChanged = 3;
    facts.loadInVain = "digest";
    facts.isPutBack = true;
    facts.foldersUnderWay = {"A.calendar", "B C.calendar"};
    {
        LocalState state(path());
        EXPECT_EQ(state.facts(), StateFacts{});
        state.setFacts(facts);
    }
    EXPECT_EQ(LocalState(path()).facts(), facts);
    LocalState(path()).setFacts({});
    EXPECT_EQ(LocalState(path()).facts(), StateFacts{});
}

TEST_F(LocalStates, KeepAgreedRecords)
{
    const Dictionary record{{"Title", "Zahnarzt"}, {"StartDate", date("20071224T100000")}};
    {
        LocalState state(path());
        state.setAgreed({{"ical-event", "E"}, "C", 3, "hash"}, record);
        state.setAgreed({{"ical-calendar", "C"}, std::nullopt, 1, "other"}, {{"Title", "Privat"}});
    }
    LocalState state(path());
    const auto rows = state.agreedRows();
    ASSERT_THAT(rows, SizeIs(2));
    EXPECT_EQ(rows[0].id, (RecordId{"ical-calendar", "C"}));
    EXPECT_EQ(rows[0].parentKey, std::nullopt);
    EXPECT_EQ(rows[1].parentKey, "C");
    EXPECT_EQ(rows[1].revision, 3);
    EXPECT_EQ(rows[1].hash, "hash");
    EXPECT_EQ(state.agreedRecord(rows[1].id), record);
    state.setAgreedRevision(rows[1].id, 9);
    EXPECT_EQ(state.agreedRows()[1].revision, 9);
    state.clearAgreedRevisions();
    EXPECT_EQ(state.agreedRows()[1].revision, 0);
    state.removeAgreed(rows[0].id);
    EXPECT_THAT(state.agreedRows(), SizeIs(1));
}

TEST_F(LocalStates, KeepSeveralSeenRecordsOfOneKey)
{
    LocalState state(path());
    SeenRow row;
    row.local = {"ical-task", "T"};
    row.agreedKey = "T";
    row.localParentKey = "C";
    row.hash = "1";
    row.timezone = "Europe/Berlin";
    row.place = {"uid-1", "Library/Calendars/P.calendar/Events/1.ics"};
    state.addSeen(row, {{"Title", "Einkaufen"}, {"DueDate", date("20071224")}});
    row.agreedKey = std::nullopt;
    state.addSeen(row, {{"Title", "Einkaufen"}});
    auto rows = state.seenRows();
    ASSERT_THAT(rows, SizeIs(2));
    EXPECT_EQ(rows[0].agreedKey, "T");
    EXPECT_EQ(rows[1].agreedKey, std::nullopt);
    EXPECT_EQ(rows[0].timezone, "Europe/Berlin");
    EXPECT_EQ(state.seenRecord(rows[0])["DueDate"], Value(date("20071224")));
    EXPECT_EQ(rows[0].place, row.place);
    rows[0].hash = "2";
    rows[0].place.uid = "uid-2";
    state.setSeen(rows[0], {{"Title", "Anders"}});
    EXPECT_EQ(state.seenRows()[0].hash, "2");
    EXPECT_EQ(state.seenRows()[0].place.uid, "uid-2");
    EXPECT_EQ(state.seenRecord(rows[0])["Title"], Value("Anders"));
    state.removeSeen(rows[0]);
    EXPECT_THAT(state.seenRows(), SizeIs(1));
}

TEST_F(LocalStates, GiveOnlyTheRowsThatAreAskedFor)
{
    LocalState state(path());
    for (const char* key : {"eins", "zwei", "drei"}) {
        state.setAgreed({{"tasks", key}, std::nullopt, 1, key}, {});
        state.addSeen({0, {"tasks", key}, key, std::nullopt, key, "UTC", {"uid", "file", ""}}, {});
    }
    const auto agreed =
        state.agreedRows({{"tasks", "drei"}, {"tasks", "vier"}, {"events", "eins"}});
    ASSERT_THAT(agreed, SizeIs(1));
    EXPECT_EQ(agreed.front().hash, "drei");
    const auto all = state.seenRows();
    const auto seen = state.seenRows({all[2].row, all[0].row, 1000});
    ASSERT_THAT(seen, SizeIs(2));
    EXPECT_EQ(seen[0].local.key, "drei");
    EXPECT_EQ(seen[0].place, all[2].place);
    EXPECT_EQ(seen[1].local.key, "eins");
}

TEST_F(LocalStates, TellThatAnotherConnectionCommitted)
{
    LocalState state(path());
    const std::int64_t before = state.versionOfOthers();
    ASSERT_TRUE(state.begin());
    state.setFacts(StateFacts{});
    state.setAgreed({{"tasks", "eins"}, std::nullopt, 1, "eins"}, {});
    state.commit();
    EXPECT_EQ(state.versionOfOthers(), before);
    LocalState(path()).removeAgreed({"tasks", "eins"});
    EXPECT_NE(state.versionOfOthers(), before);
}

TEST_F(LocalStates, KeepKeptAndUntakenRecords)
{
    LocalState state(path());
    state.setKept({{"ical-event", "E"}, "C", "hash", {"uid", "a.ics"}, "A"},
                  {{"Title", "Zahnarzt"}});
    ASSERT_THAT(state.keptRows(), SizeIs(1));
    EXPECT_EQ(state.keptRows()[0].agreedKey, "A");
    EXPECT_EQ(state.keptRows()[0].place, (StorePlace{"uid", "a.ics"}));
    EXPECT_EQ(state.keptRows()[0].parentKey, "C");
    EXPECT_EQ(state.keptRecord({"ical-event", "E"})["Title"], Value("Zahnarzt"));
    state.setUntaken({{"ical-event", "F"}, "C", 5, 2, true});
    const auto untaken = state.untakenRows();
    ASSERT_THAT(untaken, SizeIs(1));
    EXPECT_EQ(untaken[0].revision, 5);
    EXPECT_EQ(untaken[0].offers, 2);
    EXPECT_TRUE(untaken[0].refused);
    state.removeKept({"ical-event", "E"});
    state.removeUntaken({"ical-event", "F"});
    EXPECT_THAT(state.keptRows(), IsEmpty());
    EXPECT_THAT(state.untakenRows(), IsEmpty());
}

TEST_F(LocalStates, KeepWhatIsUnreadByWhoseItIs)
{
    const RecordId id{"ical-event", "E"};
    LocalState state(path());
    state.setUnread({UnreadRow::Whose::agreed, id, 5'000'000'000});
    state.setUnread({UnreadRow::Whose::kept, id, 2});
    state.setUnreadText({"text", 7});
    auto rows = state.unreadRows();
    ASSERT_THAT(rows, SizeIs(2));
    EXPECT_EQ(rows[0].whose, UnreadRow::Whose::agreed);
    EXPECT_EQ(rows[0].id, id);
    EXPECT_EQ(rows[0].since, 5'000'000'000);
    EXPECT_EQ(rows[1].whose, UnreadRow::Whose::kept);
    ASSERT_THAT(state.unreadTexts(), SizeIs(1));
    EXPECT_EQ(state.unreadTexts()[0].name, "text");
    EXPECT_EQ(state.unreadTexts()[0].since, 7);
    state.removeUnread(rows[0]);
    state.removeUnreadText("text");
    rows = state.unreadRows();
    ASSERT_THAT(rows, SizeIs(1));
    EXPECT_EQ(rows[0].whose, UnreadRow::Whose::kept);
    EXPECT_THAT(state.unreadTexts(), IsEmpty());
}

// The tables as the first version made them, with a record in each that has since been widened.
constexpr const char* kFirstVersion = R"(
CREATE TABLE facts (name TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID;
CREATE TABLE agreed (conduit TEXT NOT NULL, key TEXT NOT NULL, parent_key TEXT,
    revision INTEGER NOT NULL, hash TEXT NOT NULL, record BLOB NOT NULL,
    PRIMARY KEY (conduit, key));
CREATE TABLE seen (id INTEGER PRIMARY KEY, conduit TEXT NOT NULL, local_key TEXT NOT NULL,
    agreed_key TEXT, local_parent_key TEXT, hash TEXT NOT NULL, timezone TEXT NOT NULL,
    record BLOB NOT NULL);
CREATE TABLE kept (conduit TEXT NOT NULL, key TEXT NOT NULL, parent_key TEXT, hash TEXT NOT NULL,
    record BLOB NOT NULL, PRIMARY KEY (conduit, key));
CREATE TABLE untaken (conduit TEXT NOT NULL, key TEXT NOT NULL, parent_key TEXT,
    revision INTEGER NOT NULL, offers INTEGER NOT NULL, refused INTEGER NOT NULL,
    PRIMARY KEY (conduit, key));
INSERT INTO facts VALUES ('device', 'd'), ('server', 's'), ('anchor', '7');
INSERT INTO seen VALUES (3, 'ical-task', 'T', 'T-2', 'C', 'seen hash', 'Europe/Berlin', x'00');
INSERT INTO kept VALUES ('ical-event', 'E', 'C', 'kept hash', x'00');
INSERT INTO kept VALUES ('ical-calendar', 'C', NULL, 'kept hash', x'00');
INSERT INTO kept VALUES ('ical-calendar', 'D', NULL, 'kept hash', x'00');
INSERT INTO kept VALUES ('ical-calendar', 'never agreed', NULL, 'kept hash', x'00');
INSERT INTO kept VALUES ('ical-calendar', 'taken', NULL, 'kept hash', x'00');
INSERT INTO seen VALUES (4, 'ical-calendar', 'C', 'C-2', NULL, 'seen hash', 'Europe/Berlin', x'00');
INSERT INTO seen VALUES (5, 'ical-calendar', 'F', 'taken', NULL, 'seen hash', 'UTC', x'00');
INSERT INTO agreed VALUES ('ical-calendar', 'C-2', NULL, 1, 'hash', x'00');
INSERT INTO agreed VALUES ('ical-calendar', 'D', NULL, 1, 'hash', x'00');
INSERT INTO agreed VALUES ('ical-calendar', 'taken', NULL, 1, 'hash', x'00');
PRAGMA application_id = 1263815763;
PRAGMA user_version = 1;
)";

TEST_F(LocalStates, TakeOverAFileOfTheFirstVersion)
{
    folder.makeFolder("suite");
    SQLite::Database(path(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE).exec(kFirstVersion);
    LocalState state(path());
    EXPECT_EQ(state.deviceId(), "d");
    EXPECT_EQ(state.facts().serverIdentity, "s");
    EXPECT_EQ(state.facts().anchor, 7);
    const auto seen = state.seenRows();
    ASSERT_THAT(seen, SizeIs(3));
    EXPECT_EQ(seen[0].agreedKey, "T-2");
    EXPECT_EQ(seen[0].hash, "seen hash");
    EXPECT_EQ(seen[0].place, StorePlace{});
    const auto kept = state.keptRows();
    ASSERT_THAT(kept, SizeIs(5));
    EXPECT_EQ(kept[0].agreedKey, "C-2");
    EXPECT_EQ(kept[1].agreedKey, "D");
    EXPECT_EQ(kept[2].agreedKey, std::nullopt);
    EXPECT_EQ(kept[3].agreedKey, std::nullopt) << "it is what another calendar is agreed under";
    EXPECT_EQ(kept[4].hash, "kept hash");
    EXPECT_EQ(kept[4].place, StorePlace{});
    EXPECT_EQ(kept[4].agreedKey, std::nullopt) << "items go by their calendars";
    EXPECT_THAT(state.unreadRows(), IsEmpty());
    EXPECT_THAT(state.unreadTexts(), IsEmpty());
}

TEST_F(LocalStates, ForgetWhatWasNotCommitted)
{
    LocalState state(path());
    ASSERT_TRUE(state.begin());
    EXPECT_TRUE(state.isOpen());
    state.setAgreed({{"ical-event", "E"}, "C", 3, "hash"}, {{"Title", "Zahnarzt"}});
    state.rollback();
    EXPECT_FALSE(state.isOpen());
    EXPECT_THAT(state.agreedRows(), IsEmpty());
    state.rollback();
}

TEST_F(LocalStates, AreHeldByOneTransactionAtATime)
{
    LocalState state(path());
    LocalState other(path());
    ASSERT_TRUE(state.begin());
    EXPECT_FALSE(other.begin());
    state.commit();
    EXPECT_TRUE(other.begin());
}

TEST_F(LocalStates, ForgetEverythingButTheDevice)
{
    LocalState state(path());
    const std::string id = state.deviceId();
    state.setKept({{"ical-event", "E"}, "C", "hash", {}}, {{"Title", "Zahnarzt"}});
    state.setUnread({UnreadRow::Whose::kept, {"ical-event", "E"}, 1});
    state.setUnreadText({"text", 1});
    state.setFacts({"server", 1, 2, true, "backup"});
    state.clear();
    EXPECT_THAT(state.keptRows(), IsEmpty());
    EXPECT_THAT(state.unreadRows(), IsEmpty());
    EXPECT_THAT(state.unreadTexts(), IsEmpty());
    EXPECT_EQ(state.facts(), StateFacts{});
    EXPECT_EQ(LocalState(path()).deviceId(), id);
}

TEST_F(LocalStates, LeaveAFileAloneThatIsNoDatabase)
{
    folder.write("suite/device.state", "Das ist keine Datenbank, sondern ein Brief an Anna.");
    EXPECT_EQ(reasonOf(path()), "Der lokale Sync-Stand '" + path() +
                                    "' ist nicht verfügbar: Die Datei ist keine Datenbank");
    EXPECT_EQ(folder.read("suite/device.state"),
              "Das ist keine Datenbank, sondern ein Brief an Anna.");
}

TEST_F(LocalStates, LeaveAFileOfANewerVersionAlone)
{
    LocalState{path()};
    SQLite::Database(path(), SQLite::OPEN_READWRITE).exec("PRAGMA user_version = 99");
    const auto before = folder.read("suite/device.state");
    EXPECT_THAT(reasonOf(path()), HasSubstr("Die Datei stammt von einer neueren Version"));
    EXPECT_EQ(folder.read("suite/device.state"), before);
}

TEST_F(LocalStates, LeaveAServersFileAlone)
{
    LocalState{path()};
    SQLite::Database(path(), SQLite::OPEN_READWRITE).exec("PRAGMA application_id = 1");
    EXPECT_THAT(reasonOf(path()), HasSubstr("Die Datei gehört zu einem anderen Programm"));
}

TEST_F(LocalStates, SayWhyTheyCannotBeMade)
{
    folder.write("suite", "eine Datei, wo ein Ordner stehen müsste");
    EXPECT_THAT(reasonOf(path()),
                HasSubstr("Der lokale Sync-Stand '" + path() + "' ist nicht verfügbar"));
}

TEST_F(LocalStates, MakeNoFileForADryRun)
{
    LocalState state(path(), StateAccess::readOnly);
    EXPECT_THAT(state.deviceId(), SizeIs(32));
    EXPECT_TRUE(state.begin());
    EXPECT_FALSE(folder.exists("suite"));
}

TEST_F(LocalStates, ReadForADryRunWithoutChangingTheFile)
{
    LocalState(path()).setFacts({"server", 1, 2, true, "backup"});
    const auto before = folder.tree();
    {
        LocalState state(path(), StateAccess::readOnly);
        EXPECT_TRUE(state.begin());
        EXPECT_EQ(state.facts().serverIdentity, "server");
    }
    EXPECT_EQ(folder.tree(), before);
}

}  // namespace
}  // namespace kt::test
