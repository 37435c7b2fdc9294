#pragma once

#include <vector>

#include "Sync/Host/Engine/Knowledge.h"
#include "Sync/Host/Engine/LocalRecords.h"
#include "Sync/Host/Engine/UnreadRecords.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// Which kept record each record of a switched-off calendar is.
struct KeptNames {
    std::vector<RecordId> ids;  // what each record is kept under, in the order of the records
    RecordIdSet
        known;  // what was kept before and is among them, under another name if it was edited
};

/// What becomes of kept records that none of the store's equals.
enum class KeptMissing {
    deleted,     // the user deleted them, or edited them into what is there now
    stillThere,  // a rewrite was not settled: they stay
};

/// Tells records of one key apart, as LocalRecords does: by UID and file, by content, by what is
/// left. Nothing takes the number of a record that stays without being there, so that none is
/// overwritten by another.
KeptNames keptNames(const SyncRecordList& records, LocalState& state, const Knowledge& knowledge,
                    const StoreReading& reading, KeptMissing missing);

}  // namespace kt
