#include "Sync/Host/Engine/LocalRecords.h"

#include <algorithm>

#include "Sync/Host/Engine/EqualKeys.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Engine/RecordFields.h"

namespace kt {

namespace {

class Context : public EqualKeysContext {
public:
    Context(const Knowledge& knowledge, const RemoteChanges& remote, LocalState& state,
            LocalRecords::Base base)
        : _knowledge(knowledge),
          _remote(remote),
          _state(state),
          _base(base)
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
        if (_knowledge.seenOfAgreed(id) != nullptr)
            return std::nullopt;
        if (const RemoteChange* remote = liveOnServer(id))
            return contentHash(remote->record, HashScope::neutral);
        return agreedHash(id);
    }

    bool mayTake(const RecordId& id, const LocalRecord& record) const override
    {
        if (_knowledge.seenOfAgreed(id) != nullptr)
            return false;
        const RemoteChange* remote = liveOnServer(id);
        const bool isAgreed = _knowledge.agreedRow(id) != nullptr;
        if (remote == nullptr && !isAgreed)
            return true;
        const bool isBareKey = id.key == record.record->recordKey();
        if (_base == LocalRecords::Base::none)
            return isBareKey || remote == nullptr || !contradicts(record, remote->record);
        // A rewrite that was never settled left records that this store was not seen with: the one
        // of that name is the one that was handed out, edited since or not.
        if (remote == nullptr && _knowledge.facts().mark)
            return isBareKey;
        return isBareKey && id.conduit != kConduitTask;
    }

private:
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
};

void replaceKey(Dictionary& record, std::string_view field,
                const std::unordered_map<std::string, std::string>& keys)
{
    const Value& key = record[field];
    if (!key.isString())
        return;
    const auto found = keys.find(key.string());
    if (found != keys.end() && found->second != key.string())
        record.set(field, found->second);
}

}  // namespace

LocalRecords::LocalRecords(const SyncRecordList& records, const Knowledge& knowledge,
                           const RemoteChanges& remote, LocalState& state, Base base)
    : _knowledge(knowledge)
{
    using Rows = std::vector<const SeenRow*>;
    std::unordered_map<RecordId, Rows, RecordIdHash> rows;
    for (const SeenRow& row : knowledge.seen())
        rows[row.local].push_back(&row);

    std::vector<RecordId> order;
    std::unordered_map<RecordId, std::vector<LocalRecord*>, RecordIdHash> groups;
    _records.reserve(records.size());
    for (const SyncRecord& record : records) {
        if (!record)
            continue;
        LocalRecord& local = _records.emplace_back();
        local.record = record;
        local.hash = contentHash(record->record());
        const RecordId id{record->conduit(), record->recordKey()};
        auto& group = groups[id];
        if (group.empty())
            order.push_back(id);
        group.push_back(&local);
    }

    const Context context(knowledge, remote, state, base);
    for (const RecordId& id : order)
        tellEqualKeysApart(groups[id], rows[id], context);
    indexAgreedKeys();
}

void LocalRecords::indexAgreedKeys()
{
    for (std::size_t index = 0; index < _records.size(); ++index) {
        const LocalRecord& local = _records[index];
        const std::string& key = local.record->recordKey();
        if (local.record->conduit() == kConduitCalendar) {
            const std::string& agreedKey = local.isLeftOver ? key : local.agreedId.key;
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
    // Where one of several equal keys is agreed under the key itself, that is what others mean by
    // it.
    for (auto entry = _agreedEventKeys.begin(); entry != _agreedEventKeys.end();) {
        const bool isAmbiguous = _byAgreedId.count({std::string(kConduitEvent), entry->first}) != 0;
        entry = isAmbiguous ? _agreedEventKeys.erase(entry) : std::next(entry);
    }
}

const LocalRecord* LocalRecords::recordAgreedAs(const RecordId& id) const
{
    const auto found = _byAgreedId.find(id);
    return found == _byAgreedId.end() ? nullptr : &_records[found->second];
}

Dictionary LocalRecords::underAgreedKeys(const LocalRecord& record) const
{
    Dictionary result = record.record->record();
    replaceKey(result, "ParentRecordKey", _agreedCalendarKeys);
    replaceKey(result, "RecurrenceParentRecordKey", _agreedEventKeys);
    return result;
}

const std::string& LocalRecords::localCalendarKey(const std::string& agreedKey) const
{
    const auto found = _localCalendarKeys.find(agreedKey);
    return found == _localCalendarKeys.end() ? _knowledge.localCalendarKey(agreedKey)
                                             : found->second;
}

bool LocalRecords::hasCalendar(const std::string& localKey) const
{
    return _agreedCalendarKeys.count(localKey) != 0;
}

}  // namespace kt
