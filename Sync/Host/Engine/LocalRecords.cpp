#include "Sync/Host/Engine/LocalRecords.h"

#include <algorithm>
#include <cstdint>

#include "Sync/Host/Engine/CalendarTitles.h"
#include "Sync/Host/Engine/EqualKeys.h"
#include "Sync/Host/Engine/FirstMeeting.h"
#include "Sync/Host/Engine/IdentityPairing.h"
#include "Sync/Host/Engine/NeverSeen.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Engine/RecordFields.h"
#include "Sync/Host/Engine/RecordPast.h"
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
            return _remote.mayRevive(id, record.record->record(),
                                     originOfIdentity(id.conduit, record.place));
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

// What shares a conduit and a key, in load order. Nearly always that is one record and the row of
// what it was, which two pointers tell: with two lists for each they took 1 MB more of 10,000, when
// a run holds most.
struct LocalRecords::Groups {
    using Records = std::vector<LocalRecord*>;
    using Rows = std::vector<const SeenRow*>;

    Groups(std::vector<LocalRecord>& records, const std::vector<SeenRow>& rows)
    {
        std::unordered_map<RecordIdView, std::uint32_t, RecordIdHash> numbers;
        numbers.reserve(std::max(records.size(), rows.size()));
        const auto numberOf = [&](const RecordIdView& id) {
            const auto next = static_cast<std::uint32_t>(_groups.size());
            const auto [number, isNew] = numbers.try_emplace(id, next);
            if (isNew)
                _groups.emplace_back();
            return number->second;
        };
        for (LocalRecord& local : records)
            add(numberOf({local.record->conduit(), local.record->recordKey()}), &local, nullptr);
        for (const SeenRow& row : rows)
            add(numberOf(row.local), nullptr, &row);
    }

    // Where there is one of each: gives them to `take`, and never again when it says that it did.
    template <class Take>
    void takePairs(const Take& take)
    {
        for (std::uint32_t number = 0; number < _groups.size(); ++number) {
            One& one = _groups[number];
            if (one.record != nullptr && one.row != nullptr && _shared.count(number) == 0 &&
                take(*one.record, *one.row))
                one = {};
        }
    }

    template <class Predicate>
    void dropRows(const Predicate& isOut)
    {
        for (One& one : _groups) {
            if (one.row != nullptr && isOut(*one.row))
                one.row = nullptr;
        }
        for (auto& [number, shared] : _shared)
            std::erase_if(shared.second, [&](const SeenRow* row) { return isOut(*row); });
    }

    // In the order of their first records, then of their rows.
    template <class Function>
    void forEach(const Function& function) const
    {
        for (std::uint32_t number = 0; number < _groups.size(); ++number) {
            const One& one = _groups[number];
            const auto shared = _shared.find(number);
            if (shared != _shared.end())
                function(shared->second.first, shared->second.second);
            else if (one.record != nullptr)
                function(Records{one.record}, one.row == nullptr ? Rows{} : Rows{one.row});
        }
    }

private:
    struct One {
        LocalRecord* record = nullptr;
        const SeenRow* row = nullptr;
    };

    // One of the two is null.
    void add(std::uint32_t number, LocalRecord* record, const SeenRow* row)
    {
        One& one = _groups[number];
        auto shared = _shared.find(number);
        const bool isFirst = record != nullptr ? one.record == nullptr : one.row == nullptr;
        if (shared == _shared.end() && isFirst) {
            one = record != nullptr ? One{record, one.row} : One{one.record, row};
            return;
        }
        if (shared == _shared.end())
            shared = _shared.emplace(number, listsOf(one)).first;
        if (record != nullptr)
            shared->second.first.push_back(record);
        else
            shared->second.second.push_back(row);
    }

    static std::pair<Records, Rows> listsOf(const One& one)
    {
        return {one.record == nullptr ? Records{} : Records{one.record},
                one.row == nullptr ? Rows{} : Rows{one.row}};
    }

    std::vector<One> _groups;
    std::unordered_map<std::uint32_t, std::pair<Records, Rows>> _shared;  // where there are more
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
    // What is not compared is no record of these, whatever title a new calendar has been given.
    if (!reading.switchedOff.empty())
        groups.dropRows(
            [&](const SeenRow& row) { return reading.switchedOff.holds(row, knowledge); });
    Claims claimed;
    const Context context(knowledge, remote, state, base, claimed, reading.texts);
    if (knowledge.facts().mark) {
        groups.forEach([&](const Groups::Records& sharers, const Groups::Rows& rows) {
            keepWhatEqualsItsSeen(sharers, rows, context);
        });
        leaveFormerPlaces(_records, knowledge, state);
    }
    nameByUnsettledSession(_records, knowledge);
    if (knowledge.facts().mark) {
        claimed = nameWhatWasHandedOut(state);
        groups.dropRows([&](const SeenRow& row) {
            return row.agreedKey && claimed.count({row.local.conduit, *row.agreedKey}) != 0;
        });
    }
    nameByOrigin(_records, remote, knowledge, state);
    nameCalendarsByTitle(_records, knowledge, remote, state);
    nameWhatWasNeverSeen(_records, knowledge, state);
    groups.forEach([&](const Groups::Records& sharers, const Groups::Rows& rows) {
        tellEqualKeysApart(sharers, rows, context);
    });
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
    groups.takePairs([&](LocalRecord& local, const SeenRow& row) {
        if (!row.agreedKey || !haveSameIdentity(row.local.conduit, local.place, row.place))
            return false;
        takeRow(local, row);
        _rowsTaken[_knowledge.numberOf(row)] = true;
        return true;
    });
    pairByIdentity(_records, _knowledge, _rowsTaken);
    groups.dropRows([&](const SeenRow& row) { return _rowsTaken[_knowledge.numberOf(row)]; });
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
