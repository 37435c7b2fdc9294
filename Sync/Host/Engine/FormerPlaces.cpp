// Items that a rewrite which is not settled has moved, and that stand in both places.

#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "Sync/Host/Engine/IdentityPairing.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Engine/UniquePairs.h"

namespace kt {

namespace {

struct FormerPlace {
    std::string agreedKey;
    bool isEdited = false;  // since the rewrite began
};

// What the session before the rewrite was given and stands where it stood then, in a calendar that
// it has left as the server and this device agree.
class FormerPlaces {
public:
    FormerPlaces(const std::vector<LocalRecord>& records, const Knowledge& knowledge)
        : _calendars(agreedCalendars(records)),
          _knowledge(knowledge)
    {
        for (const PushedRow& row : knowledge.pushed())
            _given.emplace(identityOf(row.seen.local.conduit, row.seen.place), &row.seen);
        for (const LocalRecord& local : records)
            _named.insert(local.agreedId);
    }

    // nullopt of what stands nowhere that it has left.
    std::optional<FormerPlace> of(const LocalRecord& local) const
    {
        if (local.isLeftOver || local.record->conduit() == kConduitCalendar)
            return std::nullopt;
        if (const SeenRow* row = rowBefore(local))
            return ifLeft(local, *row);
        return std::nullopt;
    }

private:
    // What was given for it in its calendar, in the session before the rewrite or else before that.
    const SeenRow* rowBefore(const LocalRecord& local) const
    {
        const std::string& conduit = local.record->conduit();
        const std::string identity = identityOf(conduit, local.place);
        const auto [first, last] = _given.equal_range(identity);
        for (auto given = first; given != last && !identity.empty(); ++given) {
            const SeenRow& row = *given->second;
            if (isInPlaceOf(local, row) && !isAnothers({conduit, *row.agreedKey}, local))
                return &row;
        }
        return local.seen != nullptr && isInPlaceOf(local, *local.seen) ? local.seen : nullptr;
    }

    static bool isInPlaceOf(const LocalRecord& local, const SeenRow& row)
    {
        return local.record->recordParentKey() == row.localParentKey;
    }

    bool isAnothers(const RecordId& id, const LocalRecord& local) const
    {
        return _named.count(id) != 0 && local.agreedId != id;
    }

    std::optional<FormerPlace> ifLeft(const LocalRecord& local, const SeenRow& row) const
    {
        const RecordId id{row.local.conduit, *row.agreedKey};
        const AgreedRow* agreed = _knowledge.agreedRow(id);
        const auto calendar = _calendars.find(local.record->recordParentKey().value_or(""));
        const bool hasLeft = agreed != nullptr && agreed->parentKey &&
                             calendar != _calendars.end() && calendar->second != *agreed->parentKey;
        if (!hasLeft)
            return std::nullopt;
        return FormerPlace{id.key, row.hash != local.hash};
    }

    std::unordered_map<std::string, std::string> _calendars;  // local to agreed keys
    const Knowledge& _knowledge;
    std::unordered_multimap<std::string, const SeenRow*> _given;  // by identity
    std::unordered_set<RecordId, RecordIdHash> _named;
};

// A rewrite gives what had no UID one that is made of its key.
StorePlace placeInRewrite(const LocalRecord& local, const std::string& agreedKey)
{
    StorePlace place = local.place;
    if (place.uid.empty() && place.recurrence.empty())
        place.uid = agreedKey;
    return place;
}

void takeName(LocalRecord& record, const RecordId& id, const Knowledge& knowledge)
{
    if (const SeenRow* seen = knowledge.seenOfAgreed(id))
        takeRow(record, *seen);
    else
        record.agreedId = id;
}

void leaveOver(LocalRecord& record)
{
    record.seen = nullptr;
    record.agreedId.key.clear();
    record.isLeftOver = true;
}

std::string contentOf(const Dictionary& record) { return contentHash(record, HashScope::neutral); }

}  // namespace

void leaveFormerPlaces(std::vector<LocalRecord>& records, const Knowledge& knowledge,
                       LocalState& state)
{
    const FormerPlaces places(records, knowledge);
    std::unordered_map<std::size_t, FormerPlace> formerPlaces;
    UniquePairs pairs;
    for (std::size_t index = 0; index < records.size(); ++index) {
        const LocalRecord& local = records[index];
        const std::string& conduit = local.record->conduit();
        if (const auto former = places.of(local)) {
            pairs.addRight(identityOf(conduit, placeInRewrite(local, former->agreedKey)), index);
            formerPlaces.emplace(index, *former);
        } else if (local.seen == nullptr && local.agreedId.key.empty() &&
                   conduit != kConduitCalendar) {
            pairs.addLeft(identityOf(conduit, local.place), index);
        }
    }
    pairs.forEach([&](std::size_t arrival, std::size_t former) {
        const FormerPlace& place = formerPlaces.at(former);
        const RecordId id{records[former].record->conduit(), place.agreedKey};
        if (!place.isEdited) {
            leaveOver(records[former]);
            takeName(records[arrival], id, knowledge);
        } else if (contentOf(records[arrival].record->record()) ==
                   contentOf(state.agreedRecord(id))) {
            takeName(records[former], id, knowledge);
            leaveOver(records[arrival]);
        }
    });
}

}  // namespace kt
