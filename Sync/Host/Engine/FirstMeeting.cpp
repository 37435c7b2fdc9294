#include "Sync/Host/Engine/FirstMeeting.h"

#include <optional>
#include <sstream>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "Sync/Host/Engine/RecordPast.h"

namespace kt {

namespace {

// Items of the server that nobody here is, by every origin they have. Null: several have it.
class ByOrigin {
public:
    ByOrigin(const std::vector<LocalRecord>& records, const RemoteChanges& remote,
             const Knowledge& knowledge)
    {
        std::unordered_set<RecordIdView, RecordIdHash> named;
        for (const LocalRecord& local : records)
            named.insert(local.agreedId);
        for (const auto& [id, change] : remote.changes()) {
            const bool isLive = !change.server.isTombstone && !change.isRefused;
            if (isLive && id.conduit != kConduitCalendar && named.count(id) == 0 &&
                knowledge.seenOfAgreed(id) == nullptr)
                add(id, change);
        }
    }

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
    void add(const RecordId& id, const RemoteChange& change)
    {
        note(originOfIdentity(id.conduit, {id.key}), id);
        std::istringstream origins{change.past.origin};
        for (std::string origin; origins >> origin;)
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

void nameByOrigin(std::vector<LocalRecord>& records, const RemoteChanges& remote,
                  const Knowledge& knowledge)
{
    if (remote.changes().empty())
        return;
    std::vector<std::pair<LocalRecord*, std::string>> unknown;
    std::unordered_map<std::string, int> sharers;
    for (LocalRecord& local : records) {
        std::string origin = originOfIdentity(local.record->conduit(), local.place);
        if (origin.empty())
            continue;
        ++sharers[origin];
        if (local.seen == nullptr && local.agreedId.key.empty() && !local.isLeftOver)
            unknown.emplace_back(&local, std::move(origin));
    }
    if (unknown.empty())
        return;
    ByOrigin byOrigin(records, remote, knowledge);
    for (const auto& [local, origin] : unknown) {
        if (sharers[origin] != 1)
            continue;
        if (const auto id = byOrigin.take(origin))
            local->agreedId = *id;
    }
}

}  // namespace kt
