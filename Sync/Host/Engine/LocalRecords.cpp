#include "Sync/Host/Engine/LocalRecords.h"

#include <algorithm>
#include <deque>

#include "Sync/Host/Engine/CalendarTitles.h"
#include "Sync/Host/Engine/EqualKeys.h"
#include "Sync/Host/Engine/FirstMeeting.h"
#include "Sync/Host/Engine/HandedState.h"
#include "Sync/Host/Engine/IdentityPairing.h"
#include "Sync/Host/Engine/NeverSeen.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Engine/RecordFields.h"
#include "Sync/Host/Engine/RecordPast.h"
#include "Sync/Host/Engine/Settling.h"
#include "Sync/Host/Engine/UnreadRecords.h"

namespace kt {

namespace {

class Context : public EqualKeysContext {
public:
    // What is in `claimed` belongs to a record that is named already.
    Context(const Knowledge& knowledge, const RemoteChanges& remote, LocalState& state,
            LocalRecords::Base base, const std::unordered_set<RecordId, RecordIdHash>& claimed,
            const UnreadTexts& texts)
        : _knowledge(knowledge),
          _remote(remote),
          _state(state),
          _base(base),
          _claimed(claimed),
          _texts(texts)
    {}

    std::string seenContent(const SeenRow& row) const override
    {
        return contentHash(_state.seenRecord(row), HashScope::neutral);
    }

    std::optional<std::string> agreedContent(const SeenRow& row) const override
    {
        if (!row.agreedKey)
            return std::nullopt;
        return agreedHash({row.local.conduit, *row.agreedKey});
    }

    std::optional<std::string> unseenContent(const RecordId& id) const override
    {
        if (isAnothers(id))
            return std::nullopt;
        if (const RemoteChange* remote = liveOnServer(id))
            return contentHash(remote->record, HashScope::neutral);
        return agreedHash(id);
    }

    bool mayTake(const RecordId& id, const LocalRecord& record) const override
    {
        if (isAnothers(id))
            return false;
        const RemoteChange* remote = liveOnServer(id);
        const bool isAgreed = _knowledge.agreedRow(id) != nullptr;
        if (remote == nullptr && !isAgreed)
            return _base == LocalRecords::Base::none ||
                   _remote.mayRevive(id, contentHash(record.record->record(), HashScope::neutral));
        const bool isBareKey = id.key == record.record->recordKey();
        const bool isCompatible =
            remote == nullptr ? isAgreedWith(record, id) : !contradicts(record, remote->record);
        if (remote == nullptr && !isCompatible)
            return false;
        if (id.conduit == kConduitCalendar)
            return isBareKey || (_base == LocalRecords::Base::none && isCompatible);
        // A task's key says little, and two that were entered with other notes are two; so are two
        // events where it is known that each was entered by itself.
        if (_base == LocalRecords::Base::none)
            return isCompatible || (isBareKey && id.conduit != kConduitTask &&
                                    (remote == nullptr || !isEnteredByItself(record, *remote)));
        return isBareKey && isCompatible && id.conduit != kConduitTask;
    }

    UnreadClaim unreadClaim(const SeenRow& row) const override
    {
        return _texts.empty() ? UnreadClaim::none
                              : _texts.claimOn(knownRecord(row, _knowledge, _texts));
    }

private:
    bool isAnothers(const RecordId& id) const
    {
        return _knowledge.seenOfAgreed(id) != nullptr || _claimed.count(id) != 0 || isUnread(id);
    }

    // For what was unread before it was ever seen.
    bool isUnread(const RecordId& id) const
    {
        if (_knowledge.unreadRow(UnreadRow::Whose::agreed, id) == nullptr)
            return false;
        const AgreedRow* agreed = _knowledge.agreedRow(id);
        return agreed != nullptr && _texts.claimOn(knownRecord(*agreed, _knowledge, _texts,
                                                               _state)) != UnreadClaim::none;
    }

    const RemoteChange* liveOnServer(const RecordId& id) const
    {
        const RemoteChange* remote = _remote.change(id);
        return remote == nullptr || remote->server.isTombstone || remote->isRefused ? nullptr
                                                                                    : remote;
    }

    std::optional<std::string> agreedHash(const RecordId& id) const
    {
        if (_knowledge.agreedRow(id) == nullptr)
            return std::nullopt;
        return contentHash(_state.agreedRecord(id), HashScope::neutral);
    }

    // What is agreed and was never seen was written by a rewrite, under a UID made of its key.
    bool isAgreedWith(const LocalRecord& record, const RecordId& id) const
    {
        const std::string& uid = record.place.uid;
        return id.conduit == kConduitCalendar || uid.empty() || uid == id.key ||
               !contradicts(record, _state.agreedRecord(id));
    }

    static bool isEnteredByItself(const LocalRecord& record, const RemoteChange& remote)
    {
        const std::string& conduit = record.record->conduit();
        const bool isMadeOfKey = record.place.uid == remote.server.id.key;
        return !isMadeOfKey &&
               excludesIdentity(remote.past.origin, originOfIdentity(conduit, record.place));
    }

    static bool contradicts(const LocalRecord& record, const Dictionary& other)
    {
        const Dictionary& own = record.record->record();
        const auto units = changedUnits(own, other);
        return std::any_of(units.begin(), units.end(), [&](const std::string& unit) {
            return !isKeyOfAnotherRecord(unit) && hasUnit(own, unit) && hasUnit(other, unit);
        });
    }

    const Knowledge& _knowledge;
    const RemoteChanges& _remote;
    LocalState& _state;
    LocalRecords::Base _base;
    const std::unordered_set<RecordId, RecordIdHash>& _claimed;
    const UnreadTexts& _texts;
};

}  // namespace

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

std::vector<LocalRecord> loadedRecords(const SyncRecordList& records)
{
    std::vector<LocalRecord> loaded;
    loaded.reserve(records.size());
    for (const SyncRecord& record : records) {
        if (!record)
            continue;
        LocalRecord& local = loaded.emplace_back();
        local.record = record;
        local.hash = contentHash(record->record());
    }
    return loaded;
}

void takePlaces(std::vector<LocalRecord>& loaded, const StorePlaces& places)
{
    for (LocalRecord& local : loaded)
        local.place = places.of(*local.record);
}

// What shares a conduit and a key, in load order.
struct LocalRecords::Groups {
    struct Group {
        std::vector<LocalRecord*> records;
        std::vector<const SeenRow*> rows;
    };

    Groups(std::vector<LocalRecord>& records, const std::vector<SeenRow>& rows)
    {
        _places.reserve(std::max(records.size(), rows.size()));
        for (LocalRecord& local : records)
            groupOf({local.record->conduit(), local.record->recordKey()}).records.push_back(&local);
        for (const SeenRow& row : rows)
            groupOf(row.local).rows.push_back(&row);
    }

    std::deque<Group> all;

private:
    Group& groupOf(const RecordIdView& id)
    {
        const auto [place, isNew] = _places.try_emplace(id, all.size());
        if (isNew)
            all.emplace_back();
        return all[place->second];
    }

    std::unordered_map<RecordIdView, std::size_t, RecordIdHash> _places;
};

LocalRecords::LocalRecords(std::vector<LocalRecord> loaded, const Knowledge& knowledge,
                           const RemoteChanges& remote, LocalState& state, Base base,
                           const StoreReading& reading)
    : _knowledge(knowledge),
      _records(std::move(loaded)),
      _rowsTaken(knowledge.seen().size())
{
    Groups groups(_records, knowledge.seen());
    takeWhatIsKnown(groups);
    Claims claimed;
    const Context context(knowledge, remote, state, base, claimed, reading.texts);
    if (knowledge.facts().mark) {
        for (const Groups::Group& group : groups.all)
            keepWhatEqualsItsSeen(group.records, group.rows, context);
        leaveFormerPlaces(_records, knowledge, state);
    }
    nameByUnsettledSession(_records, knowledge);
    if (knowledge.facts().mark) {
        claimed = nameWhatWasHandedOut(state);
        for (Groups::Group& group : groups.all)
            std::erase_if(group.rows, [&](const SeenRow* row) {
                return row->agreedKey && claimed.count({row->local.conduit, *row->agreedKey}) != 0;
            });
    }
    nameByOrigin(_records, remote, knowledge);
    nameCalendarsByTitle(_records, knowledge, remote, state);
    nameWhatWasNeverSeen(_records, knowledge, state);
    for (const Groups::Group& group : groups.all)
        tellEqualKeysApart(group.records, group.rows, context);
    for (const LocalRecord& local : _records) {
        if (local.seen != nullptr)
            _rowsTaken[_knowledge.numberOf(*local.seen)] = true;
    }
    indexAgreedKeys(reading.switchedOff);
}

// What the store knows by the same identity is the same record, whatever its key has become. Most
// of a store is what it was, and needs no search.
void LocalRecords::takeWhatIsKnown(Groups& groups)
{
    for (Groups::Group& group : groups.all) {
        if (group.records.size() != 1 || group.rows.size() != 1)
            continue;
        LocalRecord& local = *group.records.front();
        const SeenRow& row = *group.rows.front();
        if (!row.agreedKey || !haveSameIdentity(row.local.conduit, local.place, row.place))
            continue;
        takeRow(local, row);
        _rowsTaken[_knowledge.numberOf(row)] = true;
    }
    pairByIdentity(_records, _knowledge, _rowsTaken);
    for (Groups::Group& group : groups.all)
        std::erase_if(group.rows,
                      [&](const SeenRow* row) { return _rowsTaken[_knowledge.numberOf(*row)]; });
}

void takeRow(LocalRecord& record, const SeenRow& row)
{
    record.seen = &row;
    record.isLeftOver = !row.agreedKey;
    record.agreedId = {row.local.conduit, row.agreedKey.value_or("")};
}

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

void LocalRecords::indexAgreedKeys(const SwitchedOffCalendars& switchedOff)
{
    _byAgreedId.reserve(_records.size());
    for (std::size_t index = 0; index < _records.size(); ++index) {
        const LocalRecord& local = _records[index];
        const std::string& key = local.record->recordKey();
        if (local.record->conduit() == kConduitCalendar) {
            const std::string& agreedKey = local.isLeftOver ? key : local.agreedId.key;
            _calendars.insert(key);
            _agreedCalendarKeys.emplace(key, agreedKey);
            _localCalendarKeys.emplace(agreedKey, key);
        }
        if (local.isLeftOver)
            continue;
        _byAgreedId.emplace(local.agreedId, index);
        const bool isSeries = local.record->conduit() == kConduitEvent &&
                              !local.record->record().contains("RecurrenceId");
        if (isSeries && local.agreedId.key != key)
            _agreedEventKeys.emplace(key, local.agreedId.key);
    }
    // What moved into one that does not take part says so.
    switchedOff.forEachAgreed([&](const std::string& localKey, const std::string& agreedKey) {
        _agreedCalendarKeys.emplace(localKey, agreedKey);
        _localCalendarKeys.emplace(agreedKey, localKey);
    });
    // Where one of several equal keys is agreed under the key itself, that is what others mean by
    // it.
    for (auto entry = _agreedEventKeys.begin(); entry != _agreedEventKeys.end();) {
        const bool isAmbiguous = _byAgreedId.count({kConduitEvent, entry->first}) != 0;
        entry = isAmbiguous ? _agreedEventKeys.erase(entry) : std::next(entry);
    }
}

const LocalRecord* LocalRecords::recordAgreedAs(const RecordId& id) const
{
    const auto found = _byAgreedId.find(id);
    return found == _byAgreedId.end() ? nullptr : &_records[found->second];
}

Dictionary LocalRecords::underAgreedKeys(const LocalRecord& local) const
{
    Dictionary record = local.record->record();
    replaceKey(record, "ParentRecordKey", _agreedCalendarKeys);
    replaceKey(record, "RecurrenceParentRecordKey", _agreedEventKeys);
    return record;
}

RecordContent LocalRecords::contentUnderAgreedKeys(const LocalRecord& local) const
{
    const Dictionary& record = local.record->record();
    const bool isSame = otherKey(record, "ParentRecordKey", _agreedCalendarKeys) == nullptr &&
                        otherKey(record, "RecurrenceParentRecordKey", _agreedEventKeys) == nullptr;
    return isSame ? RecordContent(local.record) : RecordContent(underAgreedKeys(local));
}

const std::string& LocalRecords::localCalendarKey(const std::string& agreedKey) const
{
    const auto found = _localCalendarKeys.find(agreedKey);
    return found == _localCalendarKeys.end() ? _knowledge.localCalendarKey(agreedKey)
                                             : found->second;
}

}  // namespace kt
