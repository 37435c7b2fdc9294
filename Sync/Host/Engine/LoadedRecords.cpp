// The records of a load before they have names.

#include "Sync/Host/Engine/LocalRecords.h"
#include "Sync/Host/Engine/RecordCoding.h"

namespace kt {

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

void takeRow(LocalRecord& record, const SeenRow& row)
{
    record.seen = &row;
    record.isLeftOver = !row.agreedKey;
    record.agreedId = {row.local.conduit, row.agreedKey.value_or("")};
}

}  // namespace kt
