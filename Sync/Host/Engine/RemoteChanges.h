#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Sync/Host/Engine/Knowledge.h"
#include "Sync/Host/Engine/RecordContent.h"
#include "Sync/Host/Engine/RecordPast.h"
#include "Sync/Host/Server/SyncServer.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// Something that the server has otherwise than agreed.
struct RemoteChange {
    ServerRecord server;
    RecordContent record{};  // decoded; a tombstone's last record
    RecordPast past{};
    bool isRefused = false;  // no store could take it; stays on the server
    bool isOffered = false;  // given to the plug-in by pullRecords
    bool isTaken = false;    // came back from the plug-in for the comparison
};

/// What the server has otherwise than agreed: found by revision, or by comparing the hashes of
/// everything.
class RemoteChanges {
public:
    enum class Reach { byRevision, byHash };
    enum class Base { agreed, none };
    using Log = std::function<void(std::string_view)>;

    RemoteChanges() = default;
    /// Without a base no tombstone counts, and agreed revisions say nothing. Records that no store
    /// could take are named in the log when they turn up. Throws Exception when the server fails.
    RemoteChanges(SyncServerSession& server, const Knowledge& knowledge, Reach reach, Base base,
                  const Log& log);

    std::map<RecordId, RemoteChange>& changes() { return _changes; }
    const std::map<RecordId, RemoteChange>& changes() const { return _changes; }
    RemoteChange* change(const RecordId& id);
    const RemoteChange* change(const RecordId& id) const;

    /// Records whose content is as agreed and whose revision is another.
    const std::unordered_map<RecordId, std::int64_t, RecordIdHash>& renumbered() const
    {
        return _renumbered;
    }
    /// The server's revision of what is agreed; 0 where this server has never had it.
    std::int64_t revisionOf(const AgreedRow& agreed) const;
    /// Whether a record cannot have come of what this device exchanged with the server.
    bool contradictsPast() const { return _contradictsPast; }
    /// An agreed record of which the server knows neither record nor deletion: it has to go up
    /// again.
    bool isMissingOnServer(const RecordId& id) const { return _missing.count(id) != 0; }
    /// Looks up which of the names, and of those with numbers behind them, were those of records
    /// that are deleted: before mayRevive() is asked. Throws Exception when the server fails.
    void findBuried(SyncServerSession& server, std::vector<RecordId> names);
    /// Whether a new record of that name can be the one that had it: a deleted item only comes back
    /// as it was, or with what its first store knew it by (`origin`, originOfIdentity), a calendar
    /// with the title that it had. Whatever else is entered under the same title at the same hour
    /// would be taken for an edit of it where its deletion is not known yet.
    bool mayRevive(const RecordId& id, const Dictionary& record, const std::string& origin) const;
    /// Whether there is anything to come down that was not offered in vain before.
    bool hasNews() const { return _hasNews; }
    std::size_t refusedCount() const;

    /// Everything that can come down, in the order the plug-in needs: groups, calendars, items,
    /// then the tombstones of items, calendars and groups. Calendars stand under their local keys.
    std::vector<std::pair<SyncRecord, RemoteChange*>> offer(const Knowledge& knowledge);

private:
    void addByRevision(SyncServerSession& server, const Knowledge& knowledge, Base base,
                       const Log& log);
    void addByHash(SyncServerSession& server, const Knowledge& knowledge, Base base,
                   const Log& log);
    bool isDifferent(const ServerDigest& digest, const Knowledge& knowledge, Base base);
    void add(ServerRecord record, const Knowledge& knowledge, const Log& log);
    void bury(ServerRecord record);

    std::map<RecordId, RemoteChange> _changes;
    std::unordered_map<RecordId, std::int64_t, RecordIdHash> _renumbered;
    std::unordered_set<RecordId, RecordIdHash> _missing;
    struct Remains {
        std::string hash{};  // of what it comes back with
        std::string origin{};
    };
    std::unordered_map<RecordId, Remains, RecordIdHash> _buried;
    bool _hasNews = false;
    bool _contradictsPast = false;
};

}  // namespace kt
