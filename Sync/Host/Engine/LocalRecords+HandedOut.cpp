// Names what a rewrite that was not settled left in the store.

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Sync/Host/Engine/EqualKeys.h"
#include "Sync/Host/Engine/HandedState.h"
#include "Sync/Host/Engine/LocalRecords.h"
#include "Sync/Host/Engine/Settling.h"

namespace kt {

namespace {

// What a rewrite writes has the UID that the store had for it, or one made of its key. So an item
// of any other UID was not handed out: somebody entered it since.
class UidsOfRewrite {
public:
    UidsOfRewrite(const std::vector<HandedRecord>& handed, const Knowledge& knowledge)
    {
        for (const HandedRecord& record : handed) {
            _uids.insert(record.id.key);
            if (!record.isKept() && knowledge.seenOfAgreed(record.id) == nullptr)
                _new.insert(record.id);
        }
        for (const SeenRow& row : knowledge.seen())
            _uids.insert(row.place.uid);
    }

    bool mayBe(const LocalRecord& local) const
    {
        const std::string& uid = local.place.uid;
        const auto bareKey = keyBeforeNumber(uid);
        return uid.empty() || _uids.count(uid) != 0 || (bareKey && _uids.count(*bareKey) != 0);
    }

    void leaveOut(const RecordId& named) { _new.erase(named); }

    // The key of the record that a UID was made of; each is given once.
    std::optional<std::string> takeKeyOf(const LocalRecord& local)
    {
        const bool isMade = local.place.recurrence.empty() &&
                            _new.erase({local.record->conduit(), local.place.uid}) != 0;
        return isMade ? std::optional(local.place.uid) : std::nullopt;
    }

private:
    std::unordered_set<std::string> _uids;
    std::unordered_set<RecordId, RecordIdHash> _new;  // that the store did not have before
};

}  // namespace

// Gives what has no name yet that of the record it was handed out as, and says which names those
// are.
LocalRecords::Claims LocalRecords::nameWhatWasHandedOut(LocalState& state)
{
    const std::vector<HandedRecord> handed = handedState(state, _knowledge);
    UidsOfRewrite uids(handed, _knowledge);
    for (const LocalRecord& local : _records)
        uids.leaveOut(local.agreedId);
    SyncRecordList records;
    std::vector<std::optional<std::string>> names;
    for (const LocalRecord& local : _records) {
        const bool mayBeHanded = !local.isLeftOver && uids.mayBe(local);
        records.push_back(mayBeHanded ? local.record : nullptr);
        const std::string& key = local.agreedId.key;
        if (!key.empty())
            names.emplace_back(key);
        else
            names.push_back(mayBeHanded ? uids.takeKeyOf(local) : std::nullopt);
    }
    names = pairWithHanded(records, handed, std::move(names), Looks::sayNothing);
    Claims claimed;
    for (std::size_t index = 0; index < _records.size(); ++index) {
        LocalRecord& local = _records[index];
        if (local.seen == nullptr && !local.agreedId.key.empty())
            claimed.insert(local.agreedId);
        if (!records[index] || !names[index] || !local.agreedId.key.empty())
            continue;
        local.agreedId = {local.record->conduit(), *names[index]};
        local.seen = _knowledge.seenOfAgreed(local.agreedId);
        claimed.insert(local.agreedId);
    }
    return claimed;
}

}  // namespace kt
