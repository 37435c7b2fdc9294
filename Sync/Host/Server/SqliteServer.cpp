#include "Sync/Host/Server/SqliteServer.h"

#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "Sync/Foundation/Format.h"
#include "Sync/Host/Server/Sharings.h"
#include "Sync/Host/Server/SqliteDatabase.h"

namespace kt {

namespace {

// One table serves records and tombstones: a tombstone is a record's last state, said to be gone.
constexpr std::string_view kSchema = R"(
CREATE TABLE server (
    identity TEXT NOT NULL
);
INSERT INTO server (identity) VALUES (lower(hex(randomblob(16))));
CREATE TABLE accounts (
    name TEXT PRIMARY KEY,
    enabled INTEGER NOT NULL,
    revision INTEGER NOT NULL
) WITHOUT ROWID;
CREATE TABLE records (
    account TEXT NOT NULL,
    conduit TEXT NOT NULL,
    key TEXT NOT NULL,
    parent_key TEXT,
    revision INTEGER NOT NULL,
    deleted INTEGER NOT NULL,
    hash TEXT NOT NULL,
    content BLOB NOT NULL,
    PRIMARY KEY (account, conduit, key)
);
CREATE INDEX records_by_revision ON records (account, revision);
)";

constexpr std::string_view kSharings = R"(
CREATE TABLE sharings (
    account TEXT NOT NULL,
    conduit TEXT NOT NULL,
    key TEXT NOT NULL,
    mode TEXT NOT NULL,
    options TEXT NOT NULL,
    secret TEXT NOT NULL,
    since TEXT NOT NULL,
    PRIMARY KEY (account, conduit, key)
) WITHOUT ROWID;
CREATE INDEX records_by_parent ON records (account, parent_key);
)";

constexpr std::string_view kSteps[] = {kSchema, kSharings};
constexpr SqliteFormat kFormat{"Der Sync-Server", 0x4B545353 /* KTSS */, kSteps};

void readDigest(ServerDigest& digest, SQLite::Statement& row)
{
    digest.id = {row.getColumn(0).getString(), row.getColumn(1).getString()};
    digest.parentKey = textOrNull(row, 2);
    digest.revision = row.getColumn(3).getInt64();
    digest.isTombstone = row.getColumn(4).getInt() != 0;
    digest.hash = row.getColumn(5).getString();
}

ServerRecord readRecord(SQLite::Statement& row)
{
    ServerRecord record;
    readDigest(record, row);
    record.content = row.getColumn(6).getString();
    return record;
}

Sharing readSharing(SQLite::Statement& row)
{
    return {{row.getColumn(0).getString(), row.getColumn(1).getString()},
            row.getColumn(2).getString(),
            row.getColumn(3).getString(),
            row.getColumn(4).getString(),
            row.getColumn(5).getString()};
}

class SqliteServerSession : public SyncServerSession, public Sharings {
public:
    SqliteServerSession(std::unique_ptr<SqliteDatabase> database, std::string_view account)
        : _database(std::move(database)),
          _account(account)
    {}

    std::string serverIdentity() override
    {
        std::string identity;
        _database->each("SELECT identity FROM server",
                        [&](auto& row) { identity = row.getColumn(0).getString(); });
        return identity;
    }

    std::string renewIdentity() override
    {
        _database->run("UPDATE server SET identity = lower(hex(randomblob(16)))");
        return serverIdentity();
    }

    std::int64_t headRevision() override
    {
        return number("SELECT revision FROM accounts WHERE name = ?");
    }

    std::int64_t recordCount() override
    {
        return number("SELECT count(*) FROM records WHERE account = ? AND deleted = 0");
    }

    std::vector<ServerRecord> changesSince(std::int64_t revision) override
    {
        std::vector<ServerRecord> changes;
        _database->each(
            "SELECT conduit, key, parent_key, revision, deleted, hash, content FROM records"
            " WHERE account = ? AND revision > ? ORDER BY revision, conduit, key",
            [&](auto& row) { changes.push_back(readRecord(row)); }, _account, revision);
        return changes;
    }

    std::vector<ServerDigest> digests() override
    {
        std::vector<ServerDigest> digests;
        _database->each(
            "SELECT conduit, key, parent_key, revision, deleted, hash FROM records"
            " WHERE account = ? ORDER BY conduit, key",
            [&](auto& row) { readDigest(digests.emplace_back(), row); }, _account);
        return digests;
    }

    std::vector<ServerRecord> records(std::span<const RecordId> ids) override
    {
        std::vector<ServerRecord> found;
        for (const RecordId& id : ids) {
            _database->each(
                "SELECT conduit, key, parent_key, revision, deleted, hash, content FROM records"
                " WHERE account = ? AND conduit = ? AND key = ?",
                [&](auto& row) { found.push_back(readRecord(row)); }, _account, id.conduit, id.key);
        }
        return found;
    }

    std::vector<ServerRecord> recordsOfParent(std::string_view parentKey) override
    {
        std::vector<ServerRecord> found;
        _database->each(
            "SELECT conduit, key, parent_key, revision, deleted, hash, content FROM records"
            " WHERE account = ? AND parent_key = ? AND deleted = 0 ORDER BY conduit, key",
            [&](auto& row) { found.push_back(readRecord(row)); }, _account, std::string(parentKey));
        return found;
    }

    Sharings* sharings() override { return this; }

    std::vector<Sharing> all() override
    {
        std::vector<Sharing> all;
        _database->each(
            "SELECT conduit, key, mode, options, secret, since FROM sharings WHERE account = ?"
            " ORDER BY conduit, key",
            [&](auto& row) { all.push_back(readSharing(row)); }, _account);
        return all;
    }

    void share(const Sharing& sharing) override
    {
        _database->run(
            "INSERT INTO sharings (account, conduit, key, mode, options, secret, since)"
            " VALUES (?, ?, ?, ?, ?, ?, ?) ON CONFLICT (account, conduit, key)"
            " DO UPDATE SET mode = excluded.mode, options = excluded.options",
            _account, sharing.id.conduit, sharing.id.key, sharing.mode, sharing.options,
            sharing.secret, sharing.since);
    }

    void unshare(const RecordId& id) override
    {
        _database->run("DELETE FROM sharings WHERE account = ? AND conduit = ? AND key = ?",
                       _account, id.conduit, id.key);
    }

    std::int64_t write(std::span<const ServerWrite> changes) override
    {
        if (changes.empty())
            return headRevision();
        if (!_revision)
            beginRevision();
        for (const ServerWrite& change : changes)
            writeOne(change, *_revision);
        return *_revision;
    }

    void commit() override { _database->commit(); }

private:
    std::int64_t number(const char* query)
    {
        std::int64_t number = 0;
        _database->each(
            query, [&](auto& row) { number = row.getColumn(0).getInt64(); }, _account);
        return number;
    }

    void beginRevision()
    {
        const std::int64_t revision = headRevision() + 1;
        _database->run(
            "INSERT INTO accounts (name, enabled, revision) VALUES (?, 1, ?)"
            " ON CONFLICT (name) DO UPDATE SET revision = excluded.revision",
            _account, revision);
        _revision = revision;
    }

    void writeOne(const ServerWrite& change, std::int64_t revision)
    {
        if (change.isDeletion) {
            _database->run(
                "UPDATE records SET deleted = 1, revision = ? WHERE account = ? AND conduit = ? "
                "AND key = ?",
                revision, _account, change.id.conduit, change.id.key);
            unshare(change.id);
            return;
        }
        _database->run(
            "INSERT OR REPLACE INTO records"
            " (account, conduit, key, parent_key, revision, deleted, hash, content)"
            " VALUES (?, ?, ?, ?, ?, 0, ?, ?)",
            _account, change.id.conduit, change.id.key, change.parentKey, revision, change.hash,
            SqliteBytes{change.content});
    }

    std::unique_ptr<SqliteDatabase> _database;
    std::string _account;
    std::optional<std::int64_t> _revision;  // of what this session writes
};

bool isAccountOff(SqliteDatabase& database, const std::string& account)
{
    bool isOff = false;
    database.each(
        "SELECT enabled FROM accounts WHERE name = ?",
        [&](auto& row) { isOff = row.getColumn(0).getInt() == 0; }, account);
    return isOff;
}

// SQLite would say no more than that it cannot open the file.
void checkFolder(const std::string& path)
{
    std::error_code error;
    const auto folder = std::filesystem::absolute(path, error).parent_path();
    if (!std::filesystem::is_directory(folder, error))
        throw Exception(
            NSGenericException,
            stringWithFormat("Der Sync-Server '%@' ist nicht verfügbar: Der Ordner '%@' fehlt",
                             path, folder.string()));
}

SqliteAccess sqliteAccess(ServerAccess access)
{
    switch (access) {
    case ServerAccess::readOnly:
        return SqliteAccess::readOnly;
    case ServerAccess::readCurrent:
        return SqliteAccess::readCurrent;
    case ServerAccess::readWrite:
        break;
    }
    return SqliteAccess::readWrite;
}

std::unique_ptr<SqliteDatabase> opened(const std::string& path, ServerAccess access,
                                       std::chrono::milliseconds wait)
{
    checkFolder(path);
    return std::make_unique<SqliteDatabase>(path, kFormat, sqliteAccess(access), wait);
}

OpenedSession notOpened(OpenStatus status, std::string reason)
{
    return {status, nullptr, std::move(reason)};
}

}  // namespace

SqliteServer::SqliteServer(std::string path, std::chrono::milliseconds wait)
    : _path(std::move(path)),
      _wait(wait)
{}

OpenedSession SqliteServer::openSession(std::string_view account, std::string_view,
                                        ServerAccess access)
{
    try {
        auto database = opened(_path, access, _wait);
        if (!database->begin())
            return notOpened(
                OpenStatus::busy,
                stringWithFormat("Der Sync-Server '%@' ist von einem anderen Abgleich belegt",
                                 _path));
        if (isAccountOff(*database, std::string(account)))
            return notOpened(OpenStatus::accountOff,
                             stringWithFormat("Das Konto '%@' ist auf dem Sync-Server abgeschaltet",
                                              account));
        return {OpenStatus::opened,
                std::make_unique<SqliteServerSession>(std::move(database), account), ""};
    } catch (const std::exception& failure) {
        return notOpened(OpenStatus::unreachable, failure.what());
    }
}

void SqliteServer::setAccountEnabled(std::string_view account, bool enabled)
{
    auto database = opened(_path, ServerAccess::readWrite, _wait);
    database->run(
        "INSERT INTO accounts (name, enabled, revision) VALUES (?, ?, 0)"
        " ON CONFLICT (name) DO UPDATE SET enabled = excluded.enabled",
        std::string(account), static_cast<std::int64_t>(enabled ? 1 : 0));
}

std::string SqliteServer::description() const { return "sqlite:" + _path; }

}  // namespace kt
