#include "Sync/Host/Engine/Knowledge.h"

#include <algorithm>
#include <set>
#include <utility>

#include "Sync/Host/Engine/RecordFields.h"
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
                 const std::unordered_map<RecordIdView, std::size_t, RecordIdHash>& index,
                 const RecordId& id)
{
    const auto found = index.find(id);
    return found == index.end() ? nullptr : &rows[found->second];
}

}  // namespace

Knowledge::Knowledge(LocalState& state)
    : _state(state),
      _facts(state.facts()),
      _kept(state.keptRows()),
      _untaken(state.untakenRows()),
      _unread(state.unreadRows()),
      _unreadTexts(state.unreadTexts()),
      _pushed(state.pushedRows())
{
    for (std::size_t index = 0; index < _pushed.size(); ++index) {
        const SeenRow& row = _pushed[index].seen;
        _pushedIndex.emplace(RecordIdView{row.local.conduit, *row.agreedKey}, index);
    }
    for (std::size_t index = 0; index < _untaken.size(); ++index)
        _untakenIndex.emplace(_untaken[index].id, index);
    for (std::size_t index = 0; index < _unread.size(); ++index) {
        const bool isKept = _unread[index].whose == UnreadRow::Whose::kept;
        (isKept ? _unreadKeptIndex : _unreadAgreedIndex).emplace(_unread[index].id, index);
    }
    for (const KeptRow& row : _kept) {
        // Of a calendar that is switched on again something unread may still be kept.
        if (row.id.conduit == kConduitCalendar)
            _switchedOff.add(row.id.key, row.agreedKey);
    }
}

Knowledge::Knowledge(LocalState& state, const KnowledgePart& part) : Knowledge(state)
{
    std::vector<std::int64_t> rows = part.seen;
    std::sort(rows.begin(), rows.end());
    takeSeen(state.seenRows(rows));
    std::set<RecordId> ids(part.agreed.begin(), part.agreed.end());
    for (const SeenRow& row : _seen->rows) {
        if (row.agreedKey)
            ids.insert({row.local.conduit, *row.agreedKey});
    }
    takeAgreed(state.agreedRows(std::vector<RecordId>(ids.begin(), ids.end())));
}

Knowledge::Knowledge(LocalState& state, std::vector<AgreedRow> agreed) : Knowledge(state)
{
    takeAgreed(std::move(agreed));
}

std::vector<AgreedRow> Knowledge::takeAgreedRows()
{
    allAgreed();
    std::vector<AgreedRow> rows = std::move(_agreed->rows);
    _agreed.reset();
    return rows;
}

const Knowledge::Agreed& Knowledge::allAgreed() const
{
    return _agreed ? *_agreed : takeAgreed(_state.agreedRows());
}

const Knowledge::Agreed& Knowledge::takeAgreed(std::vector<AgreedRow> rows) const
{
    return _agreed.emplace(Agreed{std::move(rows)});
}

// Of several calendars of one key the others mean the one that bears its agreed key itself.
void Knowledge::note(Seen& seen, std::size_t calendar)
{
    const SeenRow& row = seen.rows[calendar];
    const auto [folder, isNewFolder] = seen.calendarsByFolder.emplace(row.place.file, calendar);
    if (!isNewFolder)
        folder->second = std::nullopt;
    const auto [key, isNewKey] = seen.calendarsByLocalKey.emplace(row.local.key, calendar);
    if (row.agreedKey == row.local.key || !seen.rows[key->second].agreedKey)
        key->second = calendar;
}

const Knowledge::Seen& Knowledge::allSeen() const
{
    return _seen ? *_seen : takeSeen(_state.seenRows());
}

const Knowledge::Seen& Knowledge::takeSeen(std::vector<SeenRow> rows) const
{
    Seen seen{std::move(rows), {}, {}, {}, {}, {}, {}};
    seen.byAgreedId.reserve(seen.rows.size());
    for (std::size_t index = 0; index < seen.rows.size(); ++index) {
        const SeenRow& row = seen.rows[index];
        if (row.local.conduit == kConduitCalendar)
            note(seen, index);
        if (!row.agreedKey)
            continue;
        seen.byAgreedId.emplace(RecordIdView{row.local.conduit, *row.agreedKey}, index);
        if (*row.agreedKey == row.local.key)
            continue;
        if (row.local.conduit == kConduitEvent)
            seen.agreedEventKeys.emplace(row.local.key, *row.agreedKey);
        if (row.local.conduit != kConduitCalendar)
            continue;
        seen.localCalendarKeys.emplace(*row.agreedKey, row.local.key);
        seen.agreedCalendarKeys.emplace(row.local.key, *row.agreedKey);
    }
    // What bears its agreed key itself is what others mean by it.
    std::erase_if(seen.agreedEventKeys, [&](const auto& entry) {
        const auto found = seen.byAgreedId.find({kConduitEvent, entry.first});
        return found != seen.byAgreedId.end() && seen.rows[found->second].local.key == entry.first;
    });
    std::erase_if(seen.agreedCalendarKeys, [&](const auto& entry) {
        const auto found = seen.byAgreedId.find({kConduitCalendar, entry.first});
        return found != seen.byAgreedId.end() && seen.rows[found->second].local.key == entry.first;
    });
    return _seen.emplace(std::move(seen));
}

const AgreedRow* Knowledge::agreedRow(const RecordId& id) const
{
    const Agreed& all = allAgreed();
    if (!all.byId) {
        all.byId.emplace().reserve(all.rows.size());
        for (std::size_t index = 0; index < all.rows.size(); ++index)
            all.byId->emplace(all.rows[index].id, index);
    }
    return rowAt(all.rows, *all.byId, id);
}

const UntakenRow* Knowledge::untakenRow(const RecordId& id) const
{
    return rowAt(_untaken, _untakenIndex, id);
}

const PushedRow* Knowledge::pushedRow(const RecordId& agreedId) const
{
    return rowAt(_pushed, _pushedIndex, agreedId);
}

const UnreadRow* Knowledge::unreadRow(UnreadRow::Whose whose, const RecordId& id) const
{
    const bool isKept = whose == UnreadRow::Whose::kept;
    return rowAt(_unread, isKept ? _unreadKeptIndex : _unreadAgreedIndex, id);
}

const SeenRow* Knowledge::seenCalendarIn(const std::string& folder) const
{
    if (folder.empty())
        return nullptr;
    const auto found = allSeen().calendarsByFolder.find(folder);
    const bool isThere = found != allSeen().calendarsByFolder.end() && found->second;
    return isThere ? &allSeen().rows[*found->second] : nullptr;
}

const SeenRow* Knowledge::seenCalendarUnder(const std::string& localKey) const
{
    const auto found = allSeen().calendarsByLocalKey.find(localKey);
    return found == allSeen().calendarsByLocalKey.end() ? nullptr : &allSeen().rows[found->second];
}

const SeenRow* Knowledge::seenOfAgreed(const RecordId& agreedId) const
{
    return rowAt(allSeen().rows, allSeen().byAgreedId, agreedId);
}

Dictionary Knowledge::underAgreedKeys(Dictionary seenRecord) const
{
    replaceKey(seenRecord, "ParentRecordKey", allSeen().agreedCalendarKeys);
    replaceKey(seenRecord, "RecurrenceParentRecordKey", allSeen().agreedEventKeys);
    return seenRecord;
}

const std::string& Knowledge::agreedCalendarKey(const std::string& localKey) const
{
    return mapped(allSeen().agreedCalendarKeys, localKey);
}

const std::string& Knowledge::localCalendarKey(const std::string& agreedKey) const
{
    return mapped(allSeen().localCalendarKeys, agreedKey);
}

}  // namespace kt
