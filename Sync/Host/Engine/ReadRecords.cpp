#include "Sync/Host/Engine/ReadRecords.h"

#include "Sync/Host/Engine/IdentityPairing.h"
#include "Sync/Host/Engine/RecordCoding.h"

namespace kt {

ReadRecords::ReadRecords(const SyncRecordList& records, const StorePlaces& places)
{
    for (const SyncRecord& record : records) {
        if (!record)
            continue;
        _identities.insert(identityOf(record->conduit(), places.of(*record)));
        _hashes[{record->conduit(), record->recordKey()}].insert(contentHash(record->record()));
    }
    _identities.erase("");
}

bool ReadRecords::has(const SeenRow& row) const
{
    const auto alike = _hashes.find(row.local);
    return _identities.count(identityOf(row.local.conduit, row.place)) != 0 ||
           (alike != _hashes.end() && alike->second.count(row.hash) != 0);
}

}  // namespace kt
