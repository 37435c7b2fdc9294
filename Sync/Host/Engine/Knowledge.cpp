#include "Sync/Host/Engine/Knowledge.h"

#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

namespace {

const std::string& mapped(const std::unordered_map<std::string, std::string>& keys,
                          const std::string& key)
{
    const auto found = keys.find(key);
    return found == keys.end() ? key : found->second;
}

template <class Row>
const Row* rowAt(const std::vector<Row>& rows,
                 const std::unordered_map<RecordId, std::size_t, RecordIdHash>& index,
                 const RecordId& id)
{
    const auto found = index.find(id);
    return found == index.end() ? nullptr : &rows[found->second];
}

}  // namespace

Knowledge::Knowledge(LocalState& state)
    : _facts(state.facts()),
      _agreed(state.agreedRows()),
      _seen(state.seenRows()),
      _kept(state.keptRows()),
      _untaken(state.untakenRows()),
      _unread(state.unreadRows()),
      _unreadTexts(state.unreadTexts())
{
    for (std::size_t index = 0; index < _agreed.size(); ++index)
        _agreedIndex.emplace(_agreed[index].id, index);
    for (std::size_t index = 0; index < _untaken.size(); ++index)
        _untakenIndex.emplace(_untaken[index].id, index);
    for (std::size_t index = 0; index < _unread.size(); ++index) {
        const bool isKept = _unread[index].whose == UnreadRow::Whose::kept;
        (isKept ? _unreadKeptIndex : _unreadAgreedIndex).emplace(_unread[index].id, index);
    }
    for (const KeptRow& row : _kept) {
        // Of a calendar that is switched on again something unread may still be kept.
        if (row.id.conduit == kConduitCalendar)
            _keptCalendars.insert(row.id.key);
    }
    for (std::size_t index = 0; index < _seen.size(); ++index) {
        const SeenRow& row = _seen[index];
        if (!row.agreedKey)
            continue;
        _seenByAgreed.emplace(RecordId{row.local.conduit, *row.agreedKey}, index);
        if (row.local.conduit != kConduitCalendar || *row.agreedKey == row.local.key)
            continue;
        _localCalendarKeys.emplace(*row.agreedKey, row.local.key);
    }
}

const AgreedRow* Knowledge::agreedRow(const RecordId& id) const
{
    return rowAt(_agreed, _agreedIndex, id);
}

const UntakenRow* Knowledge::untakenRow(const RecordId& id) const
{
    return rowAt(_untaken, _untakenIndex, id);
}

const UnreadRow* Knowledge::unreadRow(UnreadRow::Whose whose, const RecordId& id) const
{
    const bool isKept = whose == UnreadRow::Whose::kept;
    return rowAt(_unread, isKept ? _unreadKeptIndex : _unreadAgreedIndex, id);
}

const SeenRow* Knowledge::seenOfAgreed(const RecordId& agreedId) const
{
    return rowAt(_seen, _seenByAgreed, agreedId);
}

const std::string& Knowledge::localCalendarKey(const std::string& agreedKey) const
{
    return mapped(_localCalendarKeys, agreedKey);
}

}  // namespace kt
