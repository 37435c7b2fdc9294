// What a session is refused for unless the user says that it is meant.

#include <algorithm>

#include "Sync/Host/Engine/MassDeletion.h"
#include "Sync/Host/Engine/RecordMerge.h"
#include "Sync/Host/Engine/SyncSession.h"

namespace kt {

std::optional<std::string> SyncSession::reasonAgainst(
    const std::vector<const Outcome*>& effective) const
{
    if (_setting.options.allowMassDelete)
        return std::nullopt;
    MassDeletionFacts facts;
    if (overwritesStore()) {
        facts.deletionsInStore = static_cast<std::size_t>(
            std::count_if(effective.begin(), effective.end(), [](const Outcome* outcome) {
                return outcome->isDeletion() && outcome->comesDown;
            }));
        facts.recordsOfStore = _localRecords.size();
        return massDeletionReason(facts);
    }
    facts.deletions = static_cast<std::size_t>(
        std::count_if(effective.begin(), effective.end(), [](const Outcome* outcome) {
            return outcome->isDeletion() && outcome->goesUp;
        }));
    if (facts.deletions != 0)
        facts.recordsOfAccount = static_cast<std::size_t>(_server->recordCount());
    // An empty store says nothing when what is missing in it was not deleted.
    facts.isStoreEmpty = !isMissingUnread() && _unread.unread.empty() &&
                         _unread.returning.empty() && _localRecords.empty() && _switchedOff.empty();
    facts.wasStoreEmpty = !facts.isStoreEmpty || _knowledge->seen().empty();
    countWhatWentBack(facts);
    return massDeletionReason(facts);
}

// Nobody's edit takes an item back to an earlier state: where many are, somebody put an older copy
// of the store in its place. While a rewrite is not settled the store may be anything.
void SyncSession::countWhatWentBack(MassDeletionFacts& facts) const
{
    if (!_hasBase || _facts.hasMark || !_local)
        return;
    for (const LocalRecord& local : _local->all()) {
        if (local.seen == nullptr || local.seen->hash == local.hash)
            continue;
        const Dictionary seen = _setting.state.seenRecord(*local.seen);
        facts.earlier += isEarlier(local.record->record(), seen) ? 1 : 0;
        facts.later += isEarlier(seen, local.record->record()) ? 1 : 0;
    }
}

}  // namespace kt
