#pragma once

#include <map>
#include <set>
#include <string>

#include "Sync/Host/Engine/HostIdentityReport.h"
#include "Sync/Host/Engine/LocalState.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// What was read of switched-off calendars.
class ReadRecords {
public:
    ReadRecords(const SyncRecordList& records, const StorePlaces& places);

    /// Whether what a row says was seen is among it, by what the store knows it by or as it was.
    bool has(const SeenRow& row) const;

private:
    std::set<std::string> _identities;
    std::map<RecordId, std::set<std::string>> _hashes;
};

}  // namespace kt
