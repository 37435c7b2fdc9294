// What a session is refused for unless the user says that it is meant.

#include <algorithm>

#include "Sync/Foundation/Format.h"
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

// A rewrite writes what is agreed and kept. What only this store has, and is neither afterwards,
// would be nowhere any more: no session may end so, whatever led to it.
std::optional<std::string> SyncSession::reasonAgainstRewrite(
    const std::vector<const Outcome*>& effective) const
{
    if (!isRewriteExpected(_result) || overwritesStore())
        return std::nullopt;
    const std::unordered_set<const Outcome*> taken(effective.begin(), effective.end());
    std::unordered_set<const KTSyncRecord*> kept;
    for (const SyncRecord& record : _keptRecords.value_or(SyncRecordList()))
        kept.insert(record.get());
    for (const auto& [record, outcome] : _staged) {
        const LocalRecord* local =
            outcome->isDeletion() ? nullptr : _local->recordAgreedAs(outcome->id);
        if (local == nullptr || taken.count(outcome) != 0 || kept.count(local->record.get()) != 0 ||
            _knowledge->agreedRow(outcome->id) != nullptr)
            continue;
        return stringWithFormat(
            "'%@' steht nur in diesem Kalenderspeicher und hätte nach dem Schreiben keinen Platz "
            "mehr; es wurde nichts geändert.",
            local->record->record()["Title"]);
    }
    return std::nullopt;
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
