#include "Sync/Host/Engine/KeptRecords.h"

#include <memory>

#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/RecordCoding.h"

namespace kt {

namespace {

using IdSet = std::unordered_set<RecordId, RecordIdHash>;

IdSet idsOf(const SyncRecordList& records)
{
    IdSet ids;
    for (const SyncRecord& record : records) {
        if (record)
            ids.insert({record->conduit(), record->recordKey()});
    }
    return ids;
}

const std::string& calendarOf(const KeptRow& row)
{
    return row.id.conduit == kConduitCalendar || !row.parentKey ? row.id.key : *row.parentKey;
}

}  // namespace

std::unordered_set<std::string> calendarsOf(const SyncRecordList& records)
{
    std::unordered_set<std::string> calendars;
    for (const SyncRecord& record : records) {
        if (!record)
            continue;
        if (record->conduit() == kConduitCalendar)
            calendars.insert(record->recordKey());
        else if (record->recordParentKey())
            calendars.insert(*record->recordParentKey());
    }
    return calendars;
}

void replaceKept(LocalState& state, const Knowledge& knowledge, const SyncRecordList& records,
                 const KeptReplacement& replacement)
{
    std::unordered_map<RecordId, const std::string*, RecordIdHash> formerHashes;
    for (const KeptRow& row : knowledge.kept())
        formerHashes.emplace(row.id, &row.hash);

    // Equal keys need no names here: they are never agreed, and a rewrite gives each its own file.
    // So the second of two takes the next free one.
    IdSet kept;
    for (const SyncRecord& record : records) {
        if (!record)
            continue;
        RecordId id{record->conduit(), record->recordKey()};
        for (int number = 2; !kept.insert(id).second; ++number)
            id.key = record->recordKey() + '-' + std::to_string(number);
        const std::string hash = contentHash(record->record());
        const auto former = formerHashes.find(id);
        if (former == formerHashes.end() || *former->second != hash)
            state.setKept({id, record->recordParentKey(), hash}, record->record());
    }
    for (const KeptRow& row : knowledge.kept()) {
        const bool isUnread =
            replacement.isMissingUnread && replacement.activeCalendars.count(calendarOf(row)) == 0;
        if (kept.count(row.id) == 0 && !isUnread)
            state.removeKept(row.id);
    }
}

SyncRecordList withKeptRecordsThatAreMissing(const SyncRecordList& records, LocalState& state,
                                             const Knowledge& knowledge)
{
    SyncRecordList all = records;
    if (knowledge.kept().empty())
        return all;
    const IdSet present = idsOf(records);
    for (const KeptRow& row : knowledge.kept()) {
        const bool isSwitchedOn =
            present.count({std::string(kConduitCalendar), calendarOf(row)}) != 0;
        if (isSwitchedOn && present.count(row.id) == 0)
            all.push_back(std::make_shared<HostSyncRecord>(kRecordTypeRecord,
                                                           state.keptRecord(row.id), row.id.key,
                                                           row.parentKey, row.id.conduit));
    }
    return all;
}

}  // namespace kt
