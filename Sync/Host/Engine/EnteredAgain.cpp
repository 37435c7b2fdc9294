#include "Sync/Host/Engine/EnteredAgain.h"

#include <string>
#include <unordered_map>

#include "Sync/Host/Engine/RecordPast.h"

namespace kt {

namespace {

using Ids = std::unordered_set<RecordId, RecordIdHash>;

// Items that only the server knows, by every origin they have. Null: several have it.
class Entered {
public:
    Entered(const std::vector<LocalRecord>& records, const RemoteChanges& remote,
            const Knowledge& knowledge)
    {
        Ids named;
        for (const LocalRecord& local : records)
            named.insert(local.agreedId);
        for (const auto& [id, change] : remote.changes()) {
            const bool isLive = !change.server.isTombstone && !change.isRefused;
            if (isLive && id.conduit != kConduitCalendar && named.count(id) == 0 &&
                knowledge.agreedRow(id) == nullptr)
                add(id, change.past);
        }
    }

    bool empty() const { return _byOrigin.empty(); }

    // Each is given once; null where there is none.
    const RecordId* take(const RecordPast& past)
    {
        for (const std::string& origin : originsIn(past.origin)) {
            const auto found = _byOrigin.find(origin);
            if (found != _byOrigin.end() && found->second != nullptr &&
                _taken.insert(*found->second).second)
                return found->second;
        }
        return nullptr;
    }

private:
    void add(const RecordId& id, const RecordPast& past)
    {
        for (const std::string& origin : originsIn(past.origin)) {
            const auto [place, isNew] = _byOrigin.emplace(origin, &id);
            if (!isNew)
                place->second = nullptr;
        }
    }

    std::unordered_map<std::string, const RecordId*> _byOrigin;
    Ids _taken;
};

}  // namespace

Ids nameWhatWasEnteredAgain(std::vector<LocalRecord>& records, const RemoteChanges& remote,
                            const Knowledge& knowledge, LocalState& state)
{
    Ids former;
    if (!remote.hasLostRecords())
        return former;
    Entered entered(records, remote, knowledge);
    if (entered.empty())
        return former;
    std::unordered_map<RecordId, const RecordId*, RecordIdHash> names;
    for (const AgreedRow& row : knowledge.agreed()) {
        if (row.id.conduit == kConduitCalendar || !remote.isMissingOnServer(row.id))
            continue;
        if (const RecordId* name = entered.take(state.agreedPast(row.id))) {
            names.emplace(row.id, name);
            former.insert(row.id);
        }
    }
    for (LocalRecord& local : records) {
        const auto name = names.find(local.agreedId);
        if (name == names.end())
            continue;
        local.agreedId = *name->second;
        local.seen = nullptr;
    }
    return former;
}

}  // namespace kt
