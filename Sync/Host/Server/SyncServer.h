#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Sync/Host/Server/RecordId.h"

namespace kt {

class Sharings;

/// How the server's store is reached.
enum class ServerAccess {
    readWrite,
    readOnly,     // for a dry run: nothing is written, not even the file of a server that does not
                  // exist yet
    readCurrent,  // the same for who asks often: a server of an older version, which would have to
                  // be converted in memory each time, is unreachable until somebody writes
};

/// What a server knows of one record without its content.
struct ServerDigest {
    RecordId id;
    std::optional<std::string> parentKey;
    std::int64_t revision = 0;  // of the account; rises with every session that writes
    bool isTombstone = false;
    std::string hash;  // of the content; a tombstone keeps that of its last record
};

/// The same with the content: the record's bytes as the engine encoded them; a tombstone's are
/// those of its last record. The server does not look into them.
struct ServerRecord : ServerDigest {
    std::string content;
};

/// One change to be written. A deletion needs no content: the tombstone keeps what the server has.
struct ServerWrite {
    RecordId id;
    std::optional<std::string> parentKey;
    bool isDeletion = false;
    std::string hash;
    std::string content;
};

/// One device's session with one account: one transaction. What was written is undone when the
/// session goes away without commit(). Every operation throws Exception with a German reason when
/// the server fails.
class SyncServerSession {
public:
    virtual ~SyncServerSession() = default;

    /// Random, made with the server's database; another one means another server.
    virtual std::string serverIdentity() = 0;
    /// Makes it another one, once somebody found out that the database was put back from an older
    /// copy: so every device learns that nothing it knows of revisions holds. Returns the new one.
    virtual std::string renewIdentity() = 0;
    /// The account's latest revision; 0 while it has never held anything.
    virtual std::int64_t headRevision() = 0;
    /// Live records of the account.
    virtual std::int64_t recordCount() = 0;
    /// Records and tombstones of a revision above that one, by revision, then conduit and key.
    virtual std::vector<ServerRecord> changesSince(std::int64_t revision) = 0;
    /// Everything, tombstones included, by conduit and key.
    virtual std::vector<ServerDigest> digests() = 0;
    /// Those of the named records that the server knows, in the order asked.
    virtual std::vector<ServerRecord> records(std::span<const RecordId> ids) = 0;
    /// The live records of that parent, by conduit and key.
    virtual std::vector<ServerRecord> recordsOfParent(std::string_view parentKey) = 0;
    /// Writes all changes under a new revision, one for the whole session however often it writes,
    /// and returns it; without changes the head stays as it is and is returned. Deleting what the
    /// server does not know writes nothing for it. What is deleted is no longer shared, whatever
    /// comes under its key later.
    virtual std::int64_t write(std::span<const ServerWrite> changes) = 0;
    /// What of the account is public, part of the same transaction; null for a kind of server that
    /// makes nothing public.
    virtual Sharings* sharings() { return nullptr; }

    /// Makes the session's writes last. Nothing may be asked of the session afterwards.
    virtual void commit() = 0;
};

/// Why a session was not opened, or that it was.
enum class OpenStatus {
    opened,
    unreachable,
    busy,  // another session is open and did not end within the waiting time
    accountOff,
};

struct OpenedSession {
    OpenStatus status = OpenStatus::unreachable;
    std::unique_ptr<SyncServerSession> session;  // null unless opened
    std::string reason;                          // one German line unless opened
};

/// A server that holds the records of accounts. Sessions of one account follow one another: a
/// second one waits, for a bounded time. A device has at most one session open.
class SyncServer {
public:
    virtual ~SyncServer() = default;

    /// Never throws.
    virtual OpenedSession openSession(std::string_view account, std::string_view deviceId,
                                      ServerAccess access) = 0;
    /// Switches an account off or on again, creating it if need be. Throws Exception when the
    /// server fails.
    virtual void setAccountEnabled(std::string_view account, bool enabled) = 0;
    /// For log lines, as in `sqlite:/home/anna/sync.db`.
    virtual std::string description() const = 0;
};

/// The server that a URL names: `sqlite:PATH`. Throws Exception with a German reason for any other.
/// `wait` bounds how long another session is waited for.
std::unique_ptr<SyncServer> syncServerWithURL(
    std::string_view url, std::chrono::milliseconds wait = std::chrono::seconds(20));

}  // namespace kt
