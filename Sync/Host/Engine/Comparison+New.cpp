// What was not agreed so far.

#include <utility>

#include "Sync/Host/Engine/Comparison.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Engine/RecordMerge.h"

namespace kt {

void Comparison::compareNew(const RecordId& id, const LocalRecord* local,
                            const RemoteChange* remote)
{
    const bool isRefused = remote != nullptr && remote->isRefused;
    const bool isOnServer = remote != nullptr && !remote->server.isTombstone && !isRefused;
    if (local == nullptr || isLeftBehind(*local)) {
        if (!isOnServer || !remote->isTaken)
            return;
        takeMerged(id, remote->record, *remote);
        _outcomes.at(id).comesDown = true;
        return;
    }
    RecordContent own = _local.contentUnderAgreedKeys(*local);
    if (isRefused) {
        takeHereOnly(id, std::move(own));
        return;
    }
    if (isOnServer) {
        meetsNew(*local, own, *remote);
    } else {
        Outcome& outcome = take(id, std::move(own));
        outcome.goesUp = true;
        outcome.isEntered = true;
    }
}

// Entered on both sides, unless it is what this device pushed itself and never heard of again, or
// what it had before its state was lost. Of an occurrence the latter is not known: a store names it
// after its series, so that it has one name wherever it was made an item of its own.
void Comparison::meetsNew(const LocalRecord& local, const Dictionary& own,
                          const RemoteChange& remote)
{
    const RecordId& id = local.agreedId;
    const PushedRow* pushed = _knowledge.pushedRow(id);
    const bool isOwn = (pushed != nullptr && originOf(id.conduit, pushed->seen.place,
                                                      pushed->hash) == remote.past.origin) ||
                       (!own.contains("RecurrenceId") &&
                        hasOrigin(remote.past.origin, originOfIdentity(id.conduit, local.place)));
    takeMerged(id, isOwn ? mergedWithoutBase(own, remote.record) : mergedAsNew(own, remote.record),
               remote);
    Outcome& outcome = _outcomes.at(id);
    noteOverwritten(id, {nullptr, own, remote.record, outcome.record});
    const std::string ownHash = contentHash(own);
    outcome.comesDown = contentHash(outcome.record) != ownHash;
    if (outcome.goesUp && !isOwn)
        outcome.past.origin =
            joinedOrigins(originOf(id.conduit, local.place, ownHash), remote.past.origin);
}

// Seen, unchanged and no longer agreed: the session that took it away stands, the store only lags
// behind.
bool Comparison::isLeftBehind(const LocalRecord& local)
{
    if (local.seen == nullptr || !_rules.hasBase)
        return false;
    return local.seen->hash == local.hash || changesSinceSeen(local).empty();
}

}  // namespace kt
