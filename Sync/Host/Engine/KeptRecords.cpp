#include "Sync/Host/Engine/KeptRecords.h"

#include <algorithm>
#include <iterator>

#include "Sync/Host/Engine/IdentityPairing.h"
#include "Sync/Host/Engine/RecordCoding.h"

namespace kt {

namespace {

const std::string* calendarOf(const SyncRecord& record)
{
    if (record->conduit() == kConduitCalendar)
        return &record->recordKey();
    return record->recordParentKey() ? &*record->recordParentKey() : nullptr;
}

// The rows of what a switched-off calendar holds, by what the store knows the items by.
class SeenOfKept {
public:
    SeenOfKept(LocalState& state, const Knowledge& knowledge) : _state(state), _knowledge(knowledge)
    {}

    // A writer that gives items another UID gives it to those that do not take part, too.
    void follow(const KeptRow& before, const KeptRow& now)
    {
        const std::string former = identityOf(before.id.conduit, before.place);
        if (before.id.conduit == kConduitCalendar || former.empty() ||
            former == identityOf(now.id.conduit, now.place))
            return;
        const auto found = rows().find(former);
        if (found == rows().end() || found->second == nullptr || !isOf(now, *found->second))
            return;
        SeenRow row = *found->second;
        row.place = now.place;
        _state.setSeen(row, _state.seenRecord(row));
    }

private:
    using Rows = std::unordered_map<std::string, const SeenRow*>;  // null: several

    bool isOf(const KeptRow& kept, const SeenRow& row) const
    {
        const UnreadRow* unread =
            _knowledge.unreadRow(UnreadRow::Whose::agreed, {row.local.conduit, *row.agreedKey});
        return row.localParentKey == kept.parentKey ||
               (unread != nullptr && unread->whose == UnreadRow::Whose::moved);
    }

    const Rows& rows()
    {
        if (_rows)
            return *_rows;
        _rows.emplace();
        for (const SeenRow& row : _knowledge.seen()) {
            const auto identity = row.agreedKey && row.local.conduit != kConduitCalendar
                                      ? identityOf(row.local.conduit, row.place)
                                      : "";
            const auto [place, isNew] = _rows->emplace(identity, &row);
            if (!isNew || identity.empty())
                place->second = nullptr;
        }
        return *_rows;
    }

    LocalState& _state;
    const Knowledge& _knowledge;
    std::optional<Rows> _rows;
};

}  // namespace

const std::string& calendarOf(const KeptRow& row)
{
    return row.id.conduit == kConduitCalendar || !row.parentKey ? row.id.key : *row.parentKey;
}

std::unordered_set<std::string> calendarsOf(const SyncRecordList& records)
{
    std::unordered_set<std::string> calendars;
    for (const SyncRecord& record : records) {
        if (const std::string* calendar = record ? calendarOf(record) : nullptr)
            calendars.insert(*calendar);
    }
    return calendars;
}

SyncRecordList recordsOfCalendars(const SyncRecordList& records,
                                  const std::unordered_set<std::string>& calendars)
{
    SyncRecordList result;
    std::copy_if(records.begin(), records.end(), std::back_inserter(result),
                 [&](const SyncRecord& record) {
                     const std::string* calendar = record ? calendarOf(record) : nullptr;
                     return calendar != nullptr && calendars.count(*calendar) != 0;
                 });
    return result;
}

void replaceKept(LocalState& state, const Knowledge& knowledge, const SyncRecordList& records,
                 const KeptNames& names, const RecordIdSet& stays, const StorePlaces& places)
{
    std::unordered_map<RecordId, const KeptRow*, RecordIdHash> former;
    for (const KeptRow& row : knowledge.kept())
        former.emplace(row.id, &row);
    RecordIdSet kept;
    SeenOfKept seen(state, knowledge);
    for (std::size_t index = 0; index < records.size(); ++index) {
        const SyncRecord& record = records[index];
        if (!record)
            continue;
        const RecordId& id = names.ids[index];
        kept.insert(id);
        const KeptRow row{id, record->recordParentKey(), contentHash(record->record()),
                          places.of(*record)};
        const auto found = former.find(id);
        const bool isAsBefore = found != former.end() && found->second->hash == row.hash &&
                                found->second->parentKey == row.parentKey &&
                                found->second->place == row.place;
        if (!isAsBefore)
            state.setKept(row, record->record());
        if (found != former.end())
            seen.follow(*found->second, row);
    }
    for (const KeptRow& row : knowledge.kept()) {
        if (kept.count(row.id) == 0 && stays.count(row.id) == 0)
            state.removeKept(row.id);
    }
}

}  // namespace kt
