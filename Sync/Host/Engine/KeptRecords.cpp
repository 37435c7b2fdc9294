#include "Sync/Host/Engine/KeptRecords.h"

#include <algorithm>
#include <iterator>

#include "Sync/Host/Engine/RecordCoding.h"

namespace kt {

namespace {

const std::string* calendarOf(const SyncRecord& record)
{
    if (record->conduit() == kConduitCalendar)
        return &record->recordKey();
    return record->recordParentKey() ? &*record->recordParentKey() : nullptr;
}

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
    }
    for (const KeptRow& row : knowledge.kept()) {
        if (kept.count(row.id) == 0 && stays.count(row.id) == 0)
            state.removeKept(row.id);
    }
}

}  // namespace kt
