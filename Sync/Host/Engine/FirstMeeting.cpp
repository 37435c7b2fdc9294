#include "Sync/Host/Engine/FirstMeeting.h"

#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "Sync/Host/Engine/IdentityPairing.h"
#include "Sync/Host/Engine/RecordPast.h"

namespace kt {

namespace {

// Items that are agreed or on the server, and that nobody here is, by every origin they have. Null:
// several have it.
class ByOrigin {
public:
    ByOrigin(const std::vector<LocalRecord>& records, const RemoteChanges& remote,
             const Knowledge& knowledge, LocalState& state)
    {
        std::unordered_set<RecordIdView, RecordIdHash> named;
        for (const LocalRecord& local : records)
            named.insert(local.agreedId);
        for (const auto& [id, change] : remote.changes()) {
            const bool isLive = !change.server.isTombstone && !change.isRefused;
            if (isLive && id.conduit != kConduitCalendar && named.count(id) == 0)
                add(id, change.past);
        }
        for (const AgreedRow& row : knowledge.agreed()) {
            if (row.id.conduit != kConduitCalendar && named.count(row.id) == 0 &&
                remote.change(row.id) == nullptr)
                add(row.id, state.agreedPast(row.id));
        }
    }

    bool empty() const { return _byOrigin.empty(); }

    // Each is given once.
    std::optional<RecordId> take(const std::string& origin)
    {
        const auto found = _byOrigin.find(origin);
        if (found == _byOrigin.end() || found->second == nullptr ||
            !_taken.insert(*found->second).second)
            return std::nullopt;
        return *found->second;
    }

private:
    void add(const RecordId& id, const RecordPast& past)
    {
        note(originOfIdentity(id.conduit, {id.key}), id);
        for (const std::string& origin : originsIn(past.origin))
            note(origin, id);
    }

    void note(const std::string& origin, const RecordId& id)
    {
        const auto [place, isNew] = _byOrigin.emplace(origin, &id);
        if (!isNew && place->second != nullptr && *place->second != id)
            place->second = nullptr;
    }

    std::unordered_map<std::string, const RecordId*> _byOrigin;
    std::unordered_set<RecordId, RecordIdHash> _taken;
};

}  // namespace

namespace {

// What the store knows by something, and nobody else does. Most of a store is known.
std::vector<LocalRecord*> unknownItems(std::vector<LocalRecord>& records)
{
    std::vector<LocalRecord*> unknown;
    for (LocalRecord& local : records) {
        const bool isUnknown =
            local.seen == nullptr && local.agreedId.key.empty() && !local.isLeftOver;
        if (isUnknown && local.record->conduit() != kConduitCalendar && !local.place.uid.empty())
            unknown.push_back(&local);
    }
    return unknown;
}

}  // namespace

void nameByOrigin(std::vector<LocalRecord>& records, const RemoteChanges& remote,
                  const Knowledge& knowledge, LocalState& state)
{
    const std::vector<LocalRecord*> unknown = unknownItems(records);
    if (unknown.empty())
        return;
    ByOrigin byOrigin(records, remote, knowledge, state);
    if (byOrigin.empty())
        return;
    std::unordered_map<std::string, int> sharers;
    for (const LocalRecord& local : records)
        ++sharers[identityOf(local.record->conduit(), local.place)];
    for (LocalRecord* const local : unknown) {
        const std::string& conduit = local->record->conduit();
        if (sharers[identityOf(conduit, local->place)] != 1)
            continue;
        const auto id = byOrigin.take(originOfIdentity(conduit, local->place));
        if (!id)
            continue;
        local->agreedId = *id;
        local->seen = knowledge.seenOfAgreed(*id);
    }
}

}  // namespace kt
