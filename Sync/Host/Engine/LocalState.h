#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Host/Engine/RecordPast.h"
#include "Sync/Host/Server/RecordId.h"

namespace kt {

enum class StateAccess {
    readWrite,
    readOnly,  // for a dry run: a file that does not exist yet is not made
};

/// Where a record stands in the store: what it is recognised by when its content has changed, or
/// its text cannot be read.
struct StorePlace {
    /// Of an item, as written; of a calendar or group that has no folder, its source key. Empty
    /// without one.
    std::string uid{};
    std::string file{};  // an item's file, a calendar's folder; relative to the home if below it
    std::string recurrence{};  // of a detached occurrence, its iCalDate

    friend bool operator==(const StorePlace&, const StorePlace&) = default;
};

/// A record as server and device last exchanged it, without its content.
struct AgreedRow {
    RecordId id;
    std::optional<std::string> parentKey;
    std::int64_t revision = 0;  // the server's; 0: this server has never had it
    std::string hash;           // contentHash of the record
};

/// What this device's store gave for a record at the end of its last settled run, without its
/// content.
struct SeenRow {
    std::int64_t row = 0;  // names the row; 0 while it is not stored
    RecordId local;  // conduit and the key that the plug-in computed; several rows may share it
    std::optional<std::string>
        agreedKey;  // nullopt: comes from a rewrite, but belongs to no agreed record
    std::optional<std::string> localParentKey;  // of its calendar, as the plug-in computed it
    std::string hash;
    std::string timezone;  // the machine's own zone at that time
    StorePlace place;
};

/// A record of a switched-off calendar, as the store last gave it, under local keys, without its
/// content.
struct KeptRow {
    RecordId id;
    std::optional<std::string> parentKey;
    std::string hash;
    StorePlace place{};
    std::optional<std::string> agreedKey{};  // of a calendar that the others know, too
};

/// A record that is known, and missing because its text cannot be read at present: neither deleted
/// nor written over.
struct UnreadRow {
    enum class Whose {
        agreed = 0,  // under the key it is agreed under
        kept = 1,    // of a switched-off calendar, under the key it is kept under
        moved = 2,   // agreed, and now in a switched-off calendar that the server does not know
    };
    Whose whose = Whose::agreed;
    RecordId id;
    std::int64_t since = 0;  // texts that were there before that cannot be its own
};

/// A text that could not be read at the end of the last settled run.
struct UnreadTextRow {
    std::string name;        // what it is recognised by
    std::int64_t since = 0;  // counted as in StateFacts::unreadTextsChanged
};

/// A server's record that was offered and not taken. It is offered again.
struct UntakenRow {
    RecordId id;
    std::optional<std::string> parentKey;
    std::int64_t revision = 0;
    int offers = 0;        // how often so far
    bool refused = false;  // no store could take it
};

/// What this device's store gave in a session that is not over: it was about to push the record
/// when the state was last written, or its rewrite is not settled.
struct PushedRow {
    std::string hash;  // of what the session made of it
    SeenRow seen{};    // what the store gave; `seen.agreedKey` and the conduit name the record
};

/// Small facts that stand beside the records.
struct StateFacts {
    std::string serverIdentity;  // empty before the first meeting
    std::int64_t anchor = 0;     // server revision up to which changes have been taken
    std::int64_t anchorAfterSettling =
        0;              // what the anchor becomes when the rewrite under way is settled
    bool owed = false;  // a full comparison was asked for and could not be made yet
    std::optional<std::string>
        mark;               // a rewrite is under way: the name of the backup made before it
    int systemVersion = 0;  // whose layout the store had that was seen; 0 when not told
    std::int64_t unreadTextsChanged =
        0;  // how often settled runs have found other unread texts than the one before
    std::string loadInVain{};  // digest of what the last run compared, if that left all as it was
    bool isPutBack = false;    // beside a mark: the store was put back from a backup since
    std::vector<std::string>
        foldersUnderWay{};  // beside a mark: names of what rewrites made or took away since

    friend bool operator==(const StateFacts&, const StateFacts&) = default;
};

/// What one device remembers between runs: a SQLite file. Between begin() and commit() all reads
/// and writes are one transaction. Every operation throws Exception with a German reason when the
/// file fails.
class LocalState {
public:
    /// Opens the file, making it and its folder where they are missing, with a random device id.
    /// Throws Exception, and leaves the file alone, when it is no database or was written by a
    /// newer version.
    explicit LocalState(std::string path, StateAccess access = StateAccess::readWrite);
    ~LocalState();
    LocalState(const LocalState&) = delete;
    LocalState& operator=(const LocalState&) = delete;

    const std::string& path() const;
    const std::string& deviceId() const;
    StateAccess access() const;

    /// False when another connection holds the file.
    bool begin();
    void commit();
    /// Undoes what was written since begin(); does nothing without one. Never throws.
    void rollback() noexcept;
    /// Changes with every commit of another connection.
    std::int64_t versionOfOthers();
    bool isOpen() const;  // between begin() and commit() or rollback()

    StateFacts facts();
    void setFacts(const StateFacts& facts);

    std::vector<AgreedRow> agreedRows();  // by conduit and key
    /// Those that are there.
    std::vector<AgreedRow> agreedRows(const std::vector<RecordId>& ids);
    Dictionary agreedRecord(const RecordId& id);
    RecordPast agreedPast(const RecordId& id);
    void setAgreed(const AgreedRow& row, const Dictionary& record, const RecordPast& past = {});
    void setAgreedRevision(const RecordId& id, std::int64_t revision);
    /// No agreed record has ever been on this server.
    void clearAgreedRevisions();
    void removeAgreed(const RecordId& id);

    std::vector<SeenRow> seenRows();  // in the order in which they were first stored
    /// Those that are there.
    std::vector<SeenRow> seenRows(const std::vector<std::int64_t>& rows);
    Dictionary seenRecord(const SeenRow& row);
    void addSeen(const SeenRow& row, const Dictionary& record);
    /// Replaces the content of a stored row.
    void setSeen(const SeenRow& row, const Dictionary& record);
    void removeSeen(const SeenRow& row);

    std::vector<KeptRow> keptRows();  // by conduit and key
    Dictionary keptRecord(const RecordId& id);
    /// Its origin are the UIDs that it had before the present one.
    RecordPast keptPast(const RecordId& id);
    void setKept(const KeptRow& row, const Dictionary& record, const RecordPast& past = {});
    void removeKept(const RecordId& id);

    std::vector<UntakenRow> untakenRows();
    void setUntaken(const UntakenRow& row);
    void removeUntaken(const RecordId& id);

    std::vector<UnreadRow> unreadRows();  // by whose, conduit and key
    void setUnread(const UnreadRow& row);
    void removeUnread(const UnreadRow& row);
    std::vector<UnreadTextRow> unreadTexts();  // by name
    void setUnreadText(const UnreadTextRow& row);
    void removeUnreadText(const std::string& name);

    std::vector<PushedRow> pushedRows();  // by conduit and key
    /// What the store gave for it; nullopt where that is what the session made of it.
    std::optional<Dictionary> pushedRecord(const PushedRow& row);
    void setPushed(const PushedRow& row, const std::optional<Dictionary>& record);
    void clearPushed();

    /// Forgets everything but the device id.
    void clear();

private:
    struct Database;
    std::unique_ptr<Database> _database;
};

}  // namespace kt
